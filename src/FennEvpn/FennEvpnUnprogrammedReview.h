// The retry of entries whose hardware programming failed, shared by the state machines
// that program through a helper. The machine keeps its own collection of unprogrammed keys
// and its own notion of what reviewing one key means; this class owns the review task and
// decides when it runs and how far each run goes:
//
// - maybeSchedule(false), after a failure: a review after the machine's
//   defaultUnprogrammedRetryInterval, unless one is already scheduled, so a burst of
//   failures costs one retry;
// - maybeSchedule(true), after a deletion that may have freed hardware resources: a review
//   at the scheduler's next opportunity, starting a new pass over every key;
// - a run walks a snapshot of the keys taken when its pass began, skipping keys that left
//   the collection since, and calls owner.reviewUnprogrammedKey(key) for each, counting one
//   unit of work per key. When the task should yield and keys remain, it reschedules itself
//   after the retry interval and the next run resumes where this one stopped. A pass that
//   ends with keys still unprogrammed asks for another review after the interval, so no
//   key is left waiting without one; with UnprogrammedReviewPassEnd::always, every pass
//   ends by asking, and an empty collection traces that there is nothing to review.
//
// Trace lines go to the owner's trace source under its class prefix, with the function
// names "maybeScheduleUnprogrammedReview" and "doReviewUnprogrammed".
//
// The owner provides: `static constexpr char traceClass[]` ("EvpnFloodingEsiSm::"),
// `initialized()`, `defaultUnprogrammedRetryInterval()` and
// `reviewUnprogrammedKey(Key const&)` (which may be private if the owner befriends this
// class). Keys is any collection with keys(), has(key) and empty() (Qor::Set, Qor::ValueMap).
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "Keel/TaskScheduler.h"
#include "Keel/TimerTask.h"
#include "Qor/Assert.h"
#include "Qor/Trace.h"

namespace Fenn {

// The review's trace texts; the access-side flooding machines use these defaults.
struct UnprogrammedReviewTexts {
  char const* scheduleImmediate = "schedule immediate unprogrammed review";
  char const* alreadyScheduled = "already scheduled";
  char const* nextReviewAt = "next unprogrammed review at ";
  char const* nothingToReview = "nothing unprogrammed, no review";
  // What a run asserts about its own task.
  char const* taskAssertion = "task";
};

// What the end of a pass asks for.
enum class UnprogrammedReviewPassEnd {
  // Another review while keys are left: the access-side flooding machines.
  whileKeysLeft,
  // Always through maybeSchedule(false), so the trace shows every pass ending, including
  // the one that left nothing to review.
  always,
};

template <class Owner, class Keys>
class UnprogrammedReview {
 public:
  using Key = typename decltype(std::declval<Keys const&>().keys())::value_type;
  static constexpr char const* defaultTaskName = "reviewUnprogrammed";

  UnprogrammedReview(Owner& owner, Qor::TraceHandle& trace, Keys const& keys,
                     Qor::Ptr<Keel::TaskScheduler> scheduler, Keel::Priority priority,
                     Qor::String name = defaultTaskName, UnprogrammedReviewTexts texts = {},
                     UnprogrammedReviewPassEnd passEnd = UnprogrammedReviewPassEnd::whileKeysLeft)
      : owner_(owner),
        trace_(trace),
        keys_(keys),
        texts_(texts),
        passEnd_(passEnd),
        task_(new Keel::TimerTask(std::move(scheduler), priority, std::move(name), [this] { run(); })) {}
  UnprogrammedReview(UnprogrammedReview const&) = delete;
  UnprogrammedReview& operator=(UnprogrammedReview const&) = delete;

  Keel::TimerTask* task() const noexcept { return task_.get(); }
  // Keys reviewed so far: the retries, for the owner's summary.
  uint64_t reviewedCount() const noexcept { return reviewed_; }

  void maybeSchedule(bool immediate) {
    QTRACE_ON(trace_, 8, Owner::traceClass, "maybeScheduleUnprogrammedReview", " immediate ", immediate);
    QOR_ASSERT_TEXT(owner_.initialized(), "initialized()");
    if (keys_.empty()) {
      QTRACE_ON(trace_, 5, Owner::traceClass, "maybeScheduleUnprogrammedReview", " ", texts_.nothingToReview);
      return;
    }
    if (immediate) {
      restartPass_ = true;
      task_->scheduleTask();
      QTRACE_ON(trace_, 5, Owner::traceClass, "maybeScheduleUnprogrammedReview", " ",
                texts_.scheduleImmediate);
    } else if (task_->taskScheduled()) {
      QTRACE_ON(trace_, 5, Owner::traceClass, "maybeScheduleUnprogrammedReview", " ",
                texts_.alreadyScheduled);
    } else {
      task_->scheduleTaskDelay(owner_.defaultUnprogrammedRetryInterval());
      QTRACE_ON(trace_, 5, Owner::traceClass, "maybeScheduleUnprogrammedReview", " ", texts_.nextReviewAt,
                task_->dueTime());
    }
  }

 private:
  void run() {
    QTRACE_ON(trace_, 8, Owner::traceClass, "doReviewUnprogrammed", " keys ", keys_.size());
    QOR_ASSERT_TEXT(owner_.initialized(), "initialized()");
    Keel::TimerTask* task = task_.get();
    QOR_ASSERT_TEXT(task, texts_.taskAssertion);
    if (restartPass_ || next_ >= pass_.size()) {
      pass_ = keys_.keys();
      next_ = 0;
      restartPass_ = false;
    }
    while (next_ < pass_.size()) {
      Key const key = pass_[next_++];
      if (!keys_.has(key)) continue;  // programmed or dropped since the pass began
      owner_.reviewUnprogrammedKey(key);
      ++reviewed_;
      task->taskWorkCountInc(1);
      // An immediate review asked for meanwhile is already scheduled, and starts over.
      if (restartPass_) return;
      if (next_ < pass_.size() && task->taskShouldYield()) {
        task->scheduleTaskDelay(owner_.defaultUnprogrammedRetryInterval());
        QTRACE_ON(trace_, 5, Owner::traceClass, "doReviewUnprogrammed", " yield, keys left in pass ",
                  pass_.size() - next_);
        return;
      }
    }
    pass_.clear();
    next_ = 0;
    if (passEnd_ == UnprogrammedReviewPassEnd::always || !keys_.empty()) maybeSchedule(false);
  }

  Owner& owner_;
  Qor::TraceHandle& trace_;
  Keys const& keys_;
  UnprogrammedReviewTexts const texts_;
  UnprogrammedReviewPassEnd const passEnd_;
  Qor::Ptr<Keel::TimerTask> task_;
  std::vector<Key> pass_;
  size_t next_ = 0;
  bool restartPass_ = false;
  uint64_t reviewed_ = 0;
};

}  // namespace Fenn
