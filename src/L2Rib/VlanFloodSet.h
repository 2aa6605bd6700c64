// The flood sets of one VLAN, one per MAC address.
#pragma once

#include <string_view>

#include "Bridging/VlanId.h"
#include "L2Rib/FloodSet.h"
#include "Ostra/EthAddr.h"
#include "Qor/Attribute.h"

namespace L2Rib {

class VlanFloodSet : public Qor::Entity {
 public:
  explicit VlanFloodSet(Bridging::VlanId vlanId) : vlanId_(vlanId) {}
  std::string_view fwkType() const override { return "L2Rib::VlanFloodSet"; }
  Bridging::VlanId vlanId() const noexcept { return vlanId_; }

  QOR_CHILDREN(floodSet, Ostra::EthAddr, FloodSet)

 private:
  Bridging::VlanId vlanId_;
};

}  // namespace L2Rib
