// Simulated time only moves by finite, non-negative amounts: an infinite or undefined
// advance or FEC answer delay would never reach the next due task.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "sim/Switch.h"

namespace {

TEST(SwitchTime, RefusesSecondsThatNeverArrive) {
  Sim::Switch sw(Sim::HardwareConfig{});
  sw.advance(1.5);
  for (double bad : {std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
                     std::nan(""), -0.5}) {
    EXPECT_THROW(sw.advance(bad), std::invalid_argument) << bad;
    EXPECT_THROW(sw.fecResponseDelayIs(bad), std::invalid_argument) << bad;
  }
  EXPECT_EQ(sw.now(), 1.5);
  sw.advance(0);
  EXPECT_EQ(sw.now(), 1.5);
}

}  // namespace
