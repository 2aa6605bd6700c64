#include "Keel/TaskScheduler.h"

#include <bit>
#include <utility>

#include "Keel/ManualClock.h"
#include "Keel/TimerTask.h"
#include "Qor/Assert.h"

namespace Keel {

bool TaskScheduler::TimerOrder::before(TimerTask const* a, TimerTask const* b) const {
  if (a->dueTime_ != b->dueTime_) return a->dueTime_ < b->dueTime_;
  return a->sequence_ < b->sequence_;
}

void TaskScheduler::TimerOrder::placed(TimerTask* task, size_t pos) const { task->heapPosition_ = pos; }

TaskScheduler::TaskScheduler(Qor::Ptr<Clock> clock)
    : clock_(std::move(clock)), manualClock_(dynamic_cast<ManualClock*>(clock_.get())) {
  QOR_ASSERT(clock_);
}

void TaskScheduler::workQuotaIs(uint64_t quota) {
  QOR_ASSERT(quota > 0);
  workQuota_ = quota;
}

void TaskScheduler::scheduleNow(Task* task) {
  if (task->state_ == Task::State::ready) return;
  if (task->state_ == Task::State::delayed) timers_.erase(static_cast<TimerTask*>(task)->heapPosition_);
  pushReady(task);
}

void TaskScheduler::scheduleAt(TimerTask* task, double time) {
  if (task->state_ == Task::State::ready) return;  // a run at once is earlier than any delay
  task->dueTime_ = time;
  task->sequence_ = nextSequence_++;
  if (task->state_ == Task::State::delayed) {
    timers_.fix(task->heapPosition_);
  } else {
    task->state_ = Task::State::delayed;
    timers_.push(task);
  }
}

void TaskScheduler::unschedule(Task* task) {
  if (task->state_ == Task::State::ready) {
    unlinkReady(task);
  } else if (task->state_ == Task::State::delayed) {
    timers_.erase(static_cast<TimerTask*>(task)->heapPosition_);
  }
  task->state_ = Task::State::idle;
}

// Keeps one heap slot per timer task, so that scheduling one never allocates.
void TaskScheduler::timerTaskAdded() {
  if (++timerTaskCount_ > timers_.capacity()) timers_.reserve(2 * timerTaskCount_);
}

void TaskScheduler::pushReady(Task* task) {
  ReadyList& list = ready_[task->priority_];
  task->state_ = Task::State::ready;
  task->prev_ = list.tail;
  task->next_ = nullptr;
  if (list.tail) {
    list.tail->next_ = task;
  } else {
    list.head = task;
    readyMask_[task->priority_ / 64] |= uint64_t{1} << (task->priority_ % 64);
  }
  list.tail = task;
  ++readyCount_;
}

void TaskScheduler::unlinkReady(Task* task) {
  ReadyList& list = ready_[task->priority_];
  (task->prev_ ? task->prev_->next_ : list.head) = task->next_;
  (task->next_ ? task->next_->prev_ : list.tail) = task->prev_;
  if (!list.head) readyMask_[task->priority_ / 64] &= ~(uint64_t{1} << (task->priority_ % 64));
  task->prev_ = task->next_ = nullptr;
  task->state_ = Task::State::idle;
  --readyCount_;
}

Task* TaskScheduler::popReady() {
  for (size_t word = readyMask_.size(); word-- > 0;) {
    if (uint64_t const bits = readyMask_[word]) {
      Task* const task = ready_[word * 64 + 63 - std::countl_zero(bits)].head;
      unlinkReady(task);
      return task;
    }
  }
  return nullptr;
}

void TaskScheduler::promoteDue(double now) {
  while (!timers_.empty() && timers_.top()->dueTime_ <= now) pushReady(timers_.pop());
}

size_t TaskScheduler::runReady() {
  size_t runs = 0;
  for (;;) {
    promoteDue(clock_->now());
    Task* const task = popReady();
    if (!task) return runs;
    task->workCount_ = 0;
    ++runs;
    ++taskRuns_;
    // The handler may schedule, unschedule or destroy other tasks, so nothing is held
    // across the call.
    task->handler_();
  }
}

ManualClock& TaskScheduler::manualClock() const {
  QOR_ASSERT_TEXT(manualClock_, "stepping time needs a manual clock");
  return *manualClock_;
}

size_t TaskScheduler::runUntil(double time) {
  ManualClock& clock = manualClock();
  size_t runs = runReady();
  while (!timers_.empty() && timers_.top()->dueTime_ <= time) {
    if (timers_.top()->dueTime_ > clock.now()) clock.nowIs(timers_.top()->dueTime_);
    runs += runReady();
  }
  if (time > clock.now()) clock.nowIs(time);
  return runs;
}

size_t TaskScheduler::advanceBy(double seconds) { return runUntil(manualClock().now() + seconds); }

double TaskScheduler::nextDueTime() const {
  if (readyCount_ > 0) return now();
  return timers_.empty() ? neverDue : timers_.top()->dueTime_;
}

}  // namespace Keel
