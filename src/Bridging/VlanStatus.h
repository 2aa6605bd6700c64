// The operational state of one VLAN: the interfaces that are in it now.
#pragma once

#include <string_view>

#include "Bridging/VlanId.h"
#include "Bridging/VlanPortStatus.h"
#include "Ostra/IntfId.h"
#include "Qor/Attribute.h"

namespace Bridging {

class VlanStatus : public Qor::Entity {
 public:
  explicit VlanStatus(VlanId vlanId) : vlanId_(vlanId) {}
  std::string_view fwkType() const override { return "Bridging::VlanStatus"; }

  VlanId vlanId() const noexcept { return vlanId_; }

 private:
  VlanId const vlanId_;

 public:
  QOR_MAP(vlanPortStatus, Ostra::IntfId, VlanPortStatus)
};

}  // namespace Bridging
