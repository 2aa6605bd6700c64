#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Keel/ManualClock.h"
#include "Keel/TaskScheduler.h"
#include "Keel/TimerTask.h"

namespace {

class TimerTaskTest : public ::testing::Test {
 protected:
  Qor::Ptr<Keel::ManualClock> clock{new Keel::ManualClock};
  Qor::Ptr<Keel::TaskScheduler> scheduler{new Keel::TaskScheduler(clock)};
  std::vector<double> runs;
  Keel::TimerTask review{scheduler, Keel::priorityNormal, "review", [this] { runs.push_back(clock->now()); }};
};

// The latest delay decides the due time, but a pending immediate run is never postponed.
TEST_F(TimerTaskTest, SchedulingAgainMovesTheDueTimeUnlessARunIsDueNow) {
  EXPECT_EQ(review.dueTime(), Keel::neverDue);
  review.scheduleTaskDelay(5);
  review.scheduleTaskDelay(8);
  EXPECT_EQ(review.dueTime(), 8.0);
  scheduler->advanceBy(10);
  review.scheduleTaskDelay(8);
  review.scheduleTaskDelay(3);
  scheduler->advanceBy(10);  // runs at 13
  review.scheduleTaskDelay(5);
  review.scheduleTask();
  review.scheduleTaskDelay(5);
  EXPECT_EQ(review.dueTime(), 20.0);
  scheduler->advanceBy(10);
  EXPECT_EQ(runs, (std::vector<double>{8, 13, 20}));
  EXPECT_EQ(review.dueTime(), Keel::neverDue);
}

TEST_F(TimerTaskTest, ATaskReschedulesItselfAfterADelayFromItsRun) {
  Keel::TimerTask retry{scheduler, Keel::priorityNormal, "retry", [&] {
                          runs.push_back(clock->now());
                          if (runs.size() < 3) retry.scheduleTaskDelay(5);
                        }};
  retry.scheduleTask();
  scheduler->advanceBy(60);
  EXPECT_EQ(runs, (std::vector<double>{0, 5, 10}));
  EXPECT_EQ(scheduler->pendingTaskCount(), 0u);
}

}  // namespace
