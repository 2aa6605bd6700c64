// The writer's control of one shared collection. Setting it on the writer's handle
// (`xxxControlIs`) gives the collection a way to tell its readers that a burst of changes
// has ended: the first change of a burst tells every handle's readers notifyQuiesced(false)
// and schedules the end-of-burst task; when that task runs, at the lowest priority, once
// the change that started the burst and everything it set off has been handled, they hear
// notifyQuiesced(true). A handle without a control sends neither. The mount state is
// reported by each handle itself (mountState(), notifyMountStatus()).
#pragma once

#include "Keel/Task.h"
#include "Keel/TaskScheduler.h"
#include "Qor/Ptr.h"

namespace QorVasp {

class CollectionControl {
 public:
  CollectionControl() = default;  // no control
  explicit CollectionControl(Qor::Ptr<Keel::TaskScheduler> scheduler, Keel::Priority endOfBurstPriority = 0)
      : scheduler_(std::move(scheduler)), endOfBurstPriority_(endOfBurstPriority) {}

  Qor::Ptr<Keel::TaskScheduler> const& scheduler() const noexcept { return scheduler_; }
  Keel::Priority endOfBurstPriority() const noexcept { return endOfBurstPriority_; }
  bool valid() const noexcept { return scheduler_ != nullptr; }

  bool operator==(CollectionControl const&) const = default;

 private:
  Qor::Ptr<Keel::TaskScheduler> scheduler_;
  Keel::Priority endOfBurstPriority_ = 0;
};

}  // namespace QorVasp
