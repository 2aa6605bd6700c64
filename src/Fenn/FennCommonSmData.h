// What the platform hands every state machine besides its own inputs: settings common to
// all of them. Today that is the priority at which their review tasks run, so that the
// platform decides in one place how retries of unprogrammed entries rank against the rest
// of the event loop. State machines hold it read-only.
#pragma once

#include <string_view>

#include "Keel/Task.h"
#include "Qor/Attribute.h"

namespace Fenn {

class FennCommonSmData : public Qor::Entity {
 public:
  std::string_view fwkType() const override { return "Fenn::FennCommonSmData"; }

  QOR_SCALAR(reviewTaskPriority, Keel::Priority, Keel::priorityNormal)
};

Qor::Ptr<FennCommonSmData> fennCommonSmDataFactory();

}  // namespace Fenn
