// EvpnVlanStatus: per VLAN, the access interfaces that count as its members for EVPN
// (FennEvpnVlanMembershipSm decides which). A VLAN has an entry only while it has a member.
#pragma once

#include <string_view>

#include "Bridging/VlanId.h"
#include "FennEvpn/FennEvpnExport.h"
#include "Ostra/IntfId.h"
#include "Qor/Attribute.h"

namespace Fenn {

class FENN_EVPN_EXPORT EvpnVlanMemberInfo : public Qor::Entity {
 public:
  explicit EvpnVlanMemberInfo(Bridging::VlanId vlanId) : vlanId_(vlanId) {}
  std::string_view fwkType() const override { return "Fenn::EvpnVlanMemberInfo"; }

  Bridging::VlanId vlanId() const noexcept { return vlanId_; }

 private:
  Bridging::VlanId const vlanId_;

 public:
  QOR_SET(member, Ostra::IntfId)
};

class FENN_EVPN_EXPORT EvpnVlanStatus : public Qor::Entity {
 public:
  std::string_view fwkType() const override { return "Fenn::EvpnVlanStatus"; }

  // `vlanStatusIs(vlan)` returns the VLAN's entry, creating an empty one if needed.
  QOR_CHILDREN(vlanStatus, Bridging::VlanId, EvpnVlanMemberInfo)
};

FENN_EVPN_EXPORT Qor::Ptr<EvpnVlanStatus> evpnVlanStatusFactory();
FENN_EVPN_EXPORT Qor::Ptr<EvpnVlanMemberInfo> evpnVlanMemberInfoFactory(Bridging::VlanId vlanId);

}  // namespace Fenn
