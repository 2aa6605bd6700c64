// The operational VLAN state: one VlanStatus per VLAN that is up. Written by the
// platform's bridging agent; state machines hold it as Qor::Ptr<VlanStatusDir const>.
#pragma once

#include <string_view>

#include "Bridging/VlanId.h"
#include "Bridging/VlanStatus.h"
#include "Qor/Attribute.h"

namespace Bridging {

class VlanStatusDir : public Qor::Entity {
 public:
  std::string_view fwkType() const override { return "Bridging::VlanStatusDir"; }

  QOR_CHILDREN(vlanStatus, VlanId, VlanStatus)
};

Qor::Ptr<VlanStatusDir> vlanStatusDirFactory();

}  // namespace Bridging
