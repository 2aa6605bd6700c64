// One configured VLAN: the interfaces configured in it.
#pragma once

#include <string_view>

#include "Bridging/VlanId.h"
#include "Bridging/VlanPortConfig.h"
#include "Ostra/IntfId.h"
#include "Qor/Attribute.h"

namespace Bridging {

class VlanConfig : public Qor::Entity {
 public:
  explicit VlanConfig(VlanId vlanId) : vlanId_(vlanId) {}
  std::string_view fwkType() const override { return "Bridging::VlanConfig"; }

  VlanId vlanId() const noexcept { return vlanId_; }

 private:
  VlanId const vlanId_;

 public:
  QOR_MAP(intf, Ostra::IntfId, VlanPortConfig)
};

}  // namespace Bridging
