#include "Keel/Task.h"

#include <utility>

#include "Keel/TaskScheduler.h"
#include "Qor/Assert.h"

namespace Keel {

Task::Task(Qor::Ptr<TaskScheduler> scheduler, Priority priority, Qor::String name, Handler handler)
    : scheduler_(std::move(scheduler)),
      handler_(std::move(handler)),
      name_(std::move(name)),
      priority_(priority) {
  QOR_ASSERT(scheduler_);
  QOR_ASSERT(handler_);
}

Task::~Task() { unscheduleTask(); }

void Task::scheduleTask() { scheduler_->scheduleNow(this); }

void Task::unscheduleTask() { scheduler_->unschedule(this); }

bool Task::taskShouldYield() const { return workCount_ >= scheduler_->workQuota(); }

}  // namespace Keel
