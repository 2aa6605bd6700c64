// A task that can also be run after a delay: the review tasks that retry unprogrammed
// entries are timer tasks. A delayed run is moved, not added, by scheduling again: the
// latest scheduleTaskDelay()/scheduleTaskAt() sets the due time, earlier or later. An
// immediate request (scheduleTask()) is always the earliest, so it wins: it replaces a
// pending delayed run, and a delay asked for while an immediate run is pending is ignored.
#pragma once

#include <cstddef>

#include "Keel/Task.h"

namespace Keel {

class TimerTask : public Task {
 public:
  TimerTask(Qor::Ptr<TaskScheduler> scheduler, Priority priority, Qor::String name, Handler handler);
  ~TimerTask() override;

  void scheduleTaskDelay(double seconds);
  void scheduleTaskAt(double time);
  // When the pending run falls due: its due time if delayed, the current time if it is
  // waiting to run at once, neverDue if nothing is pending.
  double dueTime() const;

 private:
  friend class TaskScheduler;
  double dueTime_ = 0.0;
  // Orders runs due at the same time by when they were asked for.
  uint64_t sequence_ = 0;
  size_t heapPosition_ = 0;
};

}  // namespace Keel
