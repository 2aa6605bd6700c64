// Per VLAN, the access interfaces whose flooding the EVPN control plane wants filtered
// (they are not the designated forwarder for the VLAN). Written by the platform.
#pragma once

#include <string_view>

#include "Bridging/VlanId.h"
#include "Ostra/IntfId.h"
#include "Qor/Attribute.h"

namespace Evpn {

class EvpnVlanFloodStatus : public Qor::Entity {
 public:
  explicit EvpnVlanFloodStatus(Bridging::VlanId vlanId) : vlanId_(vlanId) {}
  std::string_view fwkType() const override { return "Evpn::EvpnVlanFloodStatus"; }

  Bridging::VlanId vlanId() const noexcept { return vlanId_; }

 private:
  Bridging::VlanId const vlanId_;

 public:
  QOR_SET(floodFilter, Ostra::IntfId)
};

}  // namespace Evpn
