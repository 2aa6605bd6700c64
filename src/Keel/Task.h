// A named unit of deferred work that a state machine owns: the machine asks for a run with
// scheduleTask() and the scheduler calls the handler later, on the same event-loop thread,
// ahead of lower-priority work. A long run counts its work with taskWorkCountInc() and,
// once taskShouldYield() says so, stores where it stopped, reschedules itself and returns,
// so that no single run holds the loop for long.
//
// The handler is a callable rather than a virtual run(): the owning machine passes
// [this] { doReviewXxx(); } and needs no task subclass per review it runs.
//
// Scheduling a scheduled task changes nothing (it runs once). A task may schedule itself
// again from its own run. Destroying a scheduled task unschedules it; a task must not be
// destroyed from inside its own run.
#pragma once

#include <cstdint>
#include <functional>

#include "Qor/Ptr.h"
#include "Qor/String.h"

namespace Keel {

class TaskScheduler;

// Higher runs first.
using Priority = uint8_t;
inline constexpr Priority priorityNormal = 128;

class Task : public Qor::PtrInterface {
 public:
  using Handler = std::function<void()>;

  Task(Qor::Ptr<TaskScheduler> scheduler, Priority priority, Qor::String name, Handler handler);
  Task(Task const&) = delete;
  Task& operator=(Task const&) = delete;
  ~Task() override;

  // Runs the task at the scheduler's next opportunity.
  void scheduleTask();
  void unscheduleTask();
  bool taskScheduled() const noexcept { return state_ != State::idle; }

  // True once the work counted in the current run reaches the scheduler's work quota.
  bool taskShouldYield() const;
  void taskWorkCountInc(uint64_t n = 1) noexcept { workCount_ += n; }

  Priority taskPriority() const noexcept { return priority_; }
  Qor::String const& taskName() const noexcept { return name_; }
  Qor::Ptr<TaskScheduler> const& taskScheduler() const noexcept { return scheduler_; }

 protected:
  bool taskDelayed() const noexcept { return state_ == State::delayed; }

 private:
  friend class TaskScheduler;
  enum class State : uint8_t { idle, ready, delayed };

  Qor::Ptr<TaskScheduler> scheduler_;
  Handler handler_;
  Qor::String name_;
  // Links in the scheduler's ready list of this priority, valid while ready.
  Task* prev_ = nullptr;
  Task* next_ = nullptr;
  uint64_t workCount_ = 0;
  Priority priority_;
  State state_ = State::idle;
};

}  // namespace Keel
