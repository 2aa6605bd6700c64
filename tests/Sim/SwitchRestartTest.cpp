// Restarting the library at random points of a run: after each restart the new machines
// rebuild everything from the inputs, and the run ends where the same run without restarts
// ends, with every hardware tunnel ID handed back that the old machines held.
#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>

#include "Sim/SwitchInputs.h"

namespace {

using namespace SimTest;

TEST(SwitchRestart, HundredRestartsAtRandomPointsEndAsWithoutRestarts) {
  setenv("SIMULATION_VMID", "test", 0);
  uint64_t const seed = testSeed();
  std::cerr << "FENN_TEST_SEED=" << seed << "\n";
  SCOPED_TRACE("FENN_TEST_SEED=" + std::to_string(seed));
  std::vector<Op> const ops = randomInputs(seed, 400);
  // 100 restart points, repeats allowed: a restart right after a restart is a case too.
  std::mt19937_64 rng(seed + 7);
  std::vector<size_t> restarts(100);
  for (auto& r : restarts) r = size_t(rng() % ops.size());
  std::sort(restarts.begin(), restarts.end());

  Sim::Switch plain(hardware(), "plain/");
  Sim::Switch restarted(hardware(), "restarted/");
  size_t next = 0;
  size_t done = 0;
  for (size_t i = 0; i < ops.size(); ++i) {
    for (; next < restarts.size() && restarts[next] == i; ++next, ++done) restarted.restart();
    apply(plain, ops[i]);
    apply(restarted, ops[i]);
  }
  ASSERT_EQ(done, 100u);
  // FEC answers a restart withdrew the requests for come back after the delay.
  plain.advance(11);
  restarted.advance(11);

  Sim::HardwareState const expected = plain.state();
  Sim::HardwareState const actual = restarted.state();
  EXPECT_EQ(entries(actual), entries(expected));
  EXPECT_EQ(actual.pools, expected.pools) << "hardware tunnel IDs held by no machine";
  EXPECT_EQ(actual.waitingTunnels, expected.waitingTunnels);
  EXPECT_EQ(actual.esiPortMaps, expected.esiPortMaps);
  EXPECT_EQ(actual.esiData, expected.esiData);
  EXPECT_EQ(restarted.hwTunnelIdBadReleases(), 0u);
  EXPECT_EQ(restarted.floodingHardware().badEsiDeleteCount(), 0u);
  EXPECT_FALSE(expected.floodSets.empty()) << "the run programmed nothing";
}

}  // namespace
