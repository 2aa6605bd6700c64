#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Keel/ManualClock.h"
#include "Keel/RealClock.h"
#include "Keel/TaskScheduler.h"
#include "Keel/TimerTask.h"

namespace {

using Keel::Priority;

class TaskSchedulerTest : public ::testing::Test {
 protected:
  template <class T = Keel::Task>
  std::unique_ptr<T> task(Priority priority, std::string name, std::function<void()> then = {}) {
    return std::make_unique<T>(scheduler, priority, name, [this, name, then] {
      log.push_back(name);
      if (then) then();
    });
  }
  // Logs "name@time", for tasks whose run time matters.
  std::unique_ptr<Keel::TimerTask> timer(Priority priority, std::string name) {
    return std::make_unique<Keel::TimerTask>(scheduler, priority, name, [this, name] {
      log.push_back(name + "@" + std::to_string(int(clock->now())));
    });
  }

  Qor::Ptr<Keel::ManualClock> clock{new Keel::ManualClock};
  Qor::Ptr<Keel::TaskScheduler> scheduler{new Keel::TaskScheduler(clock)};
  std::vector<std::string> log;
};

TEST_F(TaskSchedulerTest, ReadyTasksRunByPriorityThenInScheduleOrder) {
  auto low1 = task(1, "low1");
  auto high1 = task(200, "high1");
  auto mid = task(70, "mid");
  auto low2 = task(1, "low2");
  auto high2 = task(200, "high2");
  for (auto* t : {low1.get(), high1.get(), mid.get(), low2.get(), high2.get()}) t->scheduleTask();
  low1->scheduleTask();  // already scheduled: keeps its place, runs once
  EXPECT_TRUE(low1->taskScheduled());
  EXPECT_EQ(scheduler->pendingTaskCount(), 5u);

  EXPECT_EQ(scheduler->runReady(), 5u);
  EXPECT_EQ(log, (std::vector<std::string>{"high1", "high2", "mid", "low1", "low2"}));
  EXPECT_FALSE(low1->taskScheduled());
  EXPECT_EQ(scheduler->pendingTaskCount(), 0u);
}

// The pattern of every review task: drain a backlog in slices of at most workQuota items,
// rescheduling after each slice, so that more urgent work gets in between. Tasks scheduled
// during the run, its own included, run in the same runReady.
TEST_F(TaskSchedulerTest, WorkQuotaMakesALongTaskYieldInSlices) {
  scheduler->workQuotaIs(3);
  auto urgent = task(200, "urgent");
  std::vector<int> backlog{0, 1, 2, 3, 4, 5, 6, 7};
  size_t next = 0;
  std::unique_ptr<Keel::Task> drain;
  drain = task(10, "drain", [&] {
    EXPECT_FALSE(drain->taskShouldYield());  // each run starts with a fresh count
    std::string slice;
    while (next < backlog.size()) {
      slice += std::to_string(backlog[next++]);
      drain->taskWorkCountInc(1);
      if (drain->taskShouldYield()) break;
    }
    log.back() += " " + slice;
    if (next == 3) urgent->scheduleTask();
    if (next < backlog.size()) drain->scheduleTask();
  });
  drain->scheduleTask();
  EXPECT_EQ(scheduler->runReady(), 4u);
  EXPECT_EQ(log, (std::vector<std::string>{"drain 012", "urgent", "drain 345", "drain 67"}));
  EXPECT_EQ(scheduler->nextDueTime(), Keel::neverDue);
}

// Tasks leave the ready list and the timer queue from any position, before or during a run,
// by unscheduling or by being destroyed.
TEST_F(TaskSchedulerTest, UnscheduledOrDestroyedTasksDoNotRun) {
  auto a = task(5, "a");
  auto b = task(5, "b");
  auto c = task(5, "c");
  auto d = task(5, "d");
  auto e = task(5, "e");
  auto t1 = timer(5, "t1");
  auto t2 = timer(5, "t2");
  auto t3 = timer(5, "t3");
  auto first = task(9, "first", [&] {
    c->unscheduleTask();
    e.reset();
  });
  for (auto* t : {first.get(), a.get(), b.get(), c.get(), d.get(), e.get()}) t->scheduleTask();
  t1->scheduleTaskDelay(1);
  t2->scheduleTaskDelay(1);
  t3->scheduleTaskDelay(2);
  b.reset();
  d->unscheduleTask();
  a->unscheduleTask();
  a->scheduleTask();  // back in, at the end
  t1->unscheduleTask();
  t2.reset();
  EXPECT_FALSE(d->taskScheduled());
  EXPECT_EQ(scheduler->pendingTaskCount(), 5u);

  scheduler->advanceBy(5);
  EXPECT_EQ(log, (std::vector<std::string>{"first", "a", "t3@2"}));
  EXPECT_EQ(scheduler->pendingTaskCount(), 0u);
}

TEST_F(TaskSchedulerTest, RunUntilStepsTheClockThroughEachDueTime) {
  auto t5 = timer(1, "t5");
  auto t2 = timer(1, "t2");
  auto t5late = timer(1, "t5late");
  auto t5high = timer(9, "t5high");
  auto t30 = timer(1, "t30");
  t5->scheduleTaskDelay(5);
  t2->scheduleTaskDelay(2);
  t5late->scheduleTaskDelay(5);
  t5high->scheduleTaskDelay(5);  // due with others: its priority puts it first
  t30->scheduleTaskDelay(30);
  EXPECT_EQ(scheduler->nextDueTime(), 2.0);

  EXPECT_EQ(scheduler->runUntil(1.5), 0u);
  EXPECT_EQ(clock->now(), 1.5);
  EXPECT_EQ(scheduler->advanceBy(8.5), 4u);
  EXPECT_EQ(log, (std::vector<std::string>{"t2@2", "t5high@5", "t5@5", "t5late@5"}));
  EXPECT_EQ(clock->now(), 10.0);
  EXPECT_EQ(scheduler->nextDueTime(), 30.0);
  t2->scheduleTask();
  EXPECT_EQ(scheduler->nextDueTime(), 10.0);
}

// A timer task's latest delay decides its due time, but a pending immediate run is never
// postponed.
TEST_F(TaskSchedulerTest, SchedulingATimerTaskAgainMovesItsDueTimeUnlessARunIsDueNow) {
  auto review = timer(5, "review");
  EXPECT_EQ(review->dueTime(), Keel::neverDue);
  review->scheduleTaskDelay(5);
  review->scheduleTaskDelay(8);
  EXPECT_EQ(review->dueTime(), 8.0);
  scheduler->advanceBy(10);
  review->scheduleTaskDelay(8);
  review->scheduleTaskDelay(3);
  scheduler->advanceBy(10);
  review->scheduleTaskDelay(5);
  review->scheduleTask();
  review->scheduleTaskDelay(5);
  EXPECT_EQ(review->dueTime(), 20.0);
  scheduler->advanceBy(10);
  EXPECT_EQ(log, (std::vector<std::string>{"review@8", "review@13", "review@20"}));
  EXPECT_EQ(review->dueTime(), Keel::neverDue);
}

TEST_F(TaskSchedulerTest, SteppingTimeNeedsAManualClock) {
  Qor::Ptr<Keel::TaskScheduler> real(new Keel::TaskScheduler(Qor::Ptr<Keel::Clock>(new Keel::RealClock)));
  EXPECT_DEATH(real->advanceBy(1), "assertion failed: stepping time needs a manual clock");
}

}  // namespace
