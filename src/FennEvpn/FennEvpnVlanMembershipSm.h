// FennEvpnVlanMembershipSm decides which access interfaces are EVPN members of each VLAN
// and publishes them in EvpnVlanStatus. An interface that filters encapsulated BUM traffic
// (in the EVPN status's encapBumFilter) is a member of the VLANs it is configured in; any
// other interface is a member of the VLANs it is operationally in, whatever the
// configuration says. Every decision re-reads all three inputs for its (interface, VLAN),
// so the result does not depend on the order in which the inputs notify.
//
// Like EvpnLagSm, the machine leaves its output behind when destroyed.
#pragma once

#include <memory>
#include <string_view>

#include "Bridging/Config.h"
#include "Bridging/VlanStatusDir.h"
#include "Evpn/EvpnStatus.h"
#include "FennEvpn/FennEvpnExport.h"
#include "FennEvpn/FennEvpnFloodingRecords.h"
#include "FennEvpn/FennEvpnSmSummary.h"
#include "FennEvpn/FennEvpnUnusableInput.h"
#include "FennEvpn/FennEvpnVlanStatus.h"
#include "Qor/Collection.h"
#include "Qor/StateMachine.h"

namespace Fenn {

class FennEvpnVlanMembershipSm : public Qor::StateMachine, public UnusableInputCounter {
 public:
  FennEvpnVlanMembershipSm(Qor::Ptr<Bridging::Config const> bridgingConfig,
                           Qor::Ptr<Bridging::VlanStatusDir const> vlanStatusDir,
                           Qor::Ptr<Evpn::EvpnStatus const> evpnStatus,
                           Qor::Ptr<EvpnVlanStatus> evpnVlanStatus);
  ~FennEvpnVlanMembershipSm() override;
  std::string_view fwkType() const override { return "Fenn::FennEvpnVlanMembershipSm"; }

  Bridging::Config const* bridgingConfig() const noexcept { return bridgingConfig_.get(); }
  Bridging::VlanStatusDir const* vlanStatusDir() const noexcept { return vlanStatusDir_.get(); }
  Evpn::EvpnStatus const* evpnStatus() const noexcept { return evpnStatus_.get(); }
  EvpnVlanStatus* evpnVlanStatus() const noexcept { return evpnVlanStatus_.get(); }

  // Per interface, the VLANs it is configured in, and the VLANs it is operationally in:
  // the VLANs whose decision a change of the interface's BUM filter can change.
  QOR_CHILDREN(intfVlanConfigSet, Ostra::IntfId, IntfVlanSet)
  QOR_CHILDREN(intfVlanStatusSet, Ostra::IntfId, IntfVlanSet)

  void processIntfVlan(Ostra::IntfId const& intfId, Bridging::VlanId vlanId);
  void addIntfToEvpnVlanStatus(Ostra::IntfId const& intfId, Bridging::VlanId vlanId);
  void removeIntfVlanFromEvpnVlanStatus(Ostra::IntfId const& intfId, Bridging::VlanId vlanId);

  // Operator summary: one entry per (interface, VLAN) the inputs make an EVPN member,
  // published when EvpnVlanStatus lists it (nothing to program: no helper, no pool).
  FENN_EVPN_EXPORT SmSummary summary() const;

 private:
  class QorBridgingConfig;
  class QorVlanStatusDir;
  class QorEvpnStatus;
  class QorVlanConfig;
  class QorVlanStatus;

  void handleVlanConfig(Bridging::VlanId vlanId);
  void handleVlanStatus(Bridging::VlanId vlanId);
  void handleEncapBumFilter(Ostra::IntfId const& intfId);

  Qor::Ptr<Bridging::Config const> bridgingConfig_;
  Qor::Ptr<Bridging::VlanStatusDir const> vlanStatusDir_;
  Qor::Ptr<Evpn::EvpnStatus const> evpnStatus_;
  Qor::Ptr<EvpnVlanStatus> evpnVlanStatus_;
  Qor::ReactorMap<Bridging::VlanId, QorVlanConfig> vlanConfig_;
  Qor::ReactorMap<Bridging::VlanId, QorVlanStatus> vlanStatus_;
  std::unique_ptr<QorBridgingConfig> qorBridgingConfig_;
  std::unique_ptr<QorVlanStatusDir> qorVlanStatusDir_;
  std::unique_ptr<QorEvpnStatus> qorEvpnStatus_;
};

FENN_EVPN_EXPORT Qor::Ptr<FennEvpnVlanMembershipSm> fennEvpnVlanMembershipSmFactory(
    Qor::Ptr<Bridging::Config const> const& bridgingConfig,
    Qor::Ptr<Bridging::VlanStatusDir const> const& vlanStatusDir,
    Qor::Ptr<Evpn::EvpnStatus const> const& evpnStatus, Qor::Ptr<EvpnVlanStatus> const& evpnVlanStatus);

}  // namespace Fenn
