#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "Keel/ManualClock.h"
#include "Keel/TimerWheel.h"

namespace {

class TimerWheelTest : public ::testing::Test {
 protected:
  Keel::TimerWheel::Callback fire(std::string name) {
    return [this, name] { log.push_back(name + "@" + std::to_string(int(clock->now()))); };
  }

  Qor::Ptr<Keel::ManualClock> clock{new Keel::ManualClock};
  Qor::Ptr<Keel::TaskScheduler> scheduler{new Keel::TaskScheduler(clock)};
  Qor::Ptr<Keel::TimerWheel> wheel{new Keel::TimerWheel(scheduler)};
  std::vector<std::string> log;
};

TEST_F(TimerWheelTest, TimersFireInDueOrderAtTheirTimes) {
  wheel->timerAt(3, fire("a"));
  wheel->timerAfter(1, fire("b"));
  wheel->timerAt(3, fire("c"));
  EXPECT_EQ(scheduler->pendingTaskCount(), 1u);  // one task serves every timer
  EXPECT_EQ(scheduler->nextDueTime(), 1.0);
  scheduler->advanceBy(10);
  EXPECT_EQ(log, (std::vector<std::string>{"b@1", "a@3", "c@3"}));
  EXPECT_EQ(wheel->timerCount(), 0u);
  EXPECT_EQ(scheduler->pendingTaskCount(), 0u);
}

TEST_F(TimerWheelTest, CancelStopsATimerAndStaleIdsStayHarmless) {
  auto const early = wheel->timerAt(1, fire("early"));
  auto const late = wheel->timerAt(5, fire("late"));
  EXPECT_NE(early, Keel::TimerWheel::noTimer);
  EXPECT_TRUE(wheel->timerCancel(early));
  EXPECT_FALSE(wheel->timerCancel(early));
  EXPECT_EQ(scheduler->nextDueTime(), 5.0);  // re-armed for what is left

  // The cancelled timer's slot is reused; its old id must not reach the new timer.
  auto const reuse = wheel->timerAt(2, fire("reuse"));
  EXPECT_FALSE(wheel->timerCancel(early));
  EXPECT_TRUE(wheel->timerPending(reuse));

  scheduler->advanceBy(10);
  EXPECT_EQ(log, (std::vector<std::string>{"reuse@2", "late@5"}));
  EXPECT_FALSE(wheel->timerPending(late));
  EXPECT_FALSE(wheel->timerCancel(late));

  wheel->timerCancel(wheel->timerAt(20, fire("never")));
  EXPECT_EQ(scheduler->pendingTaskCount(), 0u);
}

TEST_F(TimerWheelTest, CallbacksMayArmAndCancelTimers) {
  Keel::TimerWheel::TimerId doomed = wheel->timerAt(2, fire("doomed"));
  wheel->timerAt(1, [&] {
    log.push_back("first@1");
    wheel->timerCancel(doomed);
    wheel->timerAfter(0, fire("now"));
    wheel->timerAfter(3, fire("later"));
  });
  scheduler->advanceBy(10);
  EXPECT_EQ(log, (std::vector<std::string>{"first@1", "now@1", "later@4"}));
}

// Many timers armed out of order and cancelled from every position of the due-time
// queue: what is left must still fire in due order.
TEST_F(TimerWheelTest, CancellingAnywhereKeepsTheDueOrder) {
  std::vector<int> fired;
  std::vector<int> expected;
  std::vector<Keel::TimerWheel::TimerId> ids;
  for (int i = 0; i < 64; ++i) {
    int const due = (i * 37) % 64 + 1;  // a permutation of 1..64
    ids.push_back(wheel->timerAt(due, [&fired, due] { fired.push_back(due); }));
    if (i % 3 != 0) expected.push_back(due);
  }
  for (int i = 0; i < 64; i += 3) EXPECT_TRUE(wheel->timerCancel(ids[i]));
  std::sort(expected.begin(), expected.end());
  scheduler->advanceBy(100);
  EXPECT_EQ(fired, expected);
}

}  // namespace
