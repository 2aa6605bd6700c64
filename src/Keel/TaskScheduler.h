// The cooperative scheduler of the event loop. Ready tasks run highest priority first and,
// within a priority, in the order they were scheduled; a timer task waits in a due-time
// queue until the clock reaches its due time and then joins the ready tasks of its priority.
//
// Queues are intrusive (ready lists link the tasks themselves) or index-based (the timer
// heap, sized when a timer task is created), so scheduling and unscheduling never allocate.
//
// The agent calls runReady() whenever it wakes and sleeps until nextDueTime(). With a
// ManualClock, runUntil()/advanceBy() step the clock from due time to due time, running
// what falls due at each, which makes every timer in a test deterministic.
//
// workQuota bounds the work a single run may count before taskShouldYield() turns true;
// counting work instead of measuring time keeps yielding deterministic as well.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "Keel/Clock.h"
#include "Keel/IndexedHeap.h"
#include "Keel/Task.h"

namespace Keel {

class ManualClock;
class TimerTask;

class TaskScheduler : public Qor::PtrInterface {
 public:
  static constexpr uint64_t defaultWorkQuota = 100;

  explicit TaskScheduler(Qor::Ptr<Clock> clock);

  Qor::Ptr<Clock> const& clock() const noexcept { return clock_; }
  double now() const { return clock_->now(); }

  uint64_t workQuota() const noexcept { return workQuota_; }
  void workQuotaIs(uint64_t quota);

  // Runs tasks until none is ready, including those scheduled or falling due meanwhile.
  // Returns the number of runs.
  size_t runReady();
  // Manual clock only: runs what is ready, then moves the clock to each due time up to
  // `time` in order, running what falls due there, and leaves the clock at `time`.
  size_t runUntil(double time);
  size_t advanceBy(double seconds);

  // When the next run can happen: now if a task is ready, the earliest due time of a
  // delayed task otherwise, neverDue when nothing is pending.
  double nextDueTime() const;
  size_t pendingTaskCount() const noexcept { return readyCount_ + timers_.size(); }
  // Tasks run since the scheduler was created: whoever compares two readings knows whether
  // any deferred work ran between them (the input recorder does).
  uint64_t taskRuns() const noexcept { return taskRuns_; }

 private:
  friend class Task;
  friend class TimerTask;

  struct TimerOrder {
    bool before(TimerTask const* a, TimerTask const* b) const;
    void placed(TimerTask* task, size_t pos) const;
  };
  struct ReadyList {
    Task* head = nullptr;
    Task* tail = nullptr;
  };
  static constexpr size_t priorityCount = 256;

  void scheduleNow(Task* task);
  void scheduleAt(TimerTask* task, double time);
  void unschedule(Task* task);
  void timerTaskAdded();
  void timerTaskRemoved() noexcept { --timerTaskCount_; }

  void pushReady(Task* task);
  void unlinkReady(Task* task);
  Task* popReady();
  void promoteDue(double now);
  ManualClock& manualClock() const;

  Qor::Ptr<Clock> clock_;
  ManualClock* manualClock_;
  std::array<ReadyList, priorityCount> ready_{};
  // Bit p set when ready_[p] is not empty, so the highest ready priority is a bit scan.
  std::array<uint64_t, priorityCount / 64> readyMask_{};
  size_t readyCount_ = 0;
  IndexedHeap<TimerTask*, TimerOrder> timers_;
  size_t timerTaskCount_ = 0;
  uint64_t nextSequence_ = 0;
  uint64_t workQuota_ = defaultWorkQuota;
  uint64_t taskRuns_ = 0;
};

}  // namespace Keel
