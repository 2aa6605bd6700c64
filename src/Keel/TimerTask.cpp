#include "Keel/TimerTask.h"

#include <utility>

#include "Keel/TaskScheduler.h"

namespace Keel {

TimerTask::TimerTask(Qor::Ptr<TaskScheduler> scheduler, Priority priority, Qor::String name, Handler handler)
    : Task(std::move(scheduler), priority, std::move(name), std::move(handler)) {
  taskScheduler()->timerTaskAdded();
}

// Leaves the timer heap here, while this is still a TimerTask; ~Task would be too late.
TimerTask::~TimerTask() {
  unscheduleTask();
  taskScheduler()->timerTaskRemoved();
}

void TimerTask::scheduleTaskDelay(double seconds) { scheduleTaskAt(taskScheduler()->now() + seconds); }

void TimerTask::scheduleTaskAt(double time) { taskScheduler()->scheduleAt(this, time); }

double TimerTask::dueTime() const {
  if (taskDelayed()) return dueTime_;
  return taskScheduled() ? taskScheduler()->now() : neverDue;
}

}  // namespace Keel
