// The recording stand-in for the flooding hardware helper, for running the access-side
// flooding state machines without hardware. For each operation it keeps the arguments of
// the latest call and a call counter, and each create returns a settable result
// (programmed unless a test sets it otherwise). A call sets the recorded arguments in
// order, then increments the counter, so a watcher that reacts to the counter finds the
// whole call recorded.
#pragma once

#include <string_view>

#include "Bridging/VlanId.h"
#include "Bridging/VlanIdOrNone.h"
#include "Fenn/HwTunnelId.h"
#include "FennEvpn/FennEvpn.h"
#include "FennEvpn/FennEvpnExport.h"
#include "FennEvpn/FennEvpnFloodingSmHelper.h"
#include "Ostra/IntfId.h"
#include "Ostra/MplsLabel.h"
#include "Qor/Attribute.h"
#include "Qor/Ptr.h"
#include "Qor/String.h"

namespace FennHelper {

class FENN_EVPN_EXPORT EvpnFloodingSmHelperStub : public EvpnFloodingSmHelper {
 public:
  explicit EvpnFloodingSmHelperStub(Qor::String name) : EvpnFloodingSmHelper(std::move(name)) {}

  std::string_view fwkType() const override { return "FennHelper::EvpnFloodingSmHelperStub"; }

  QOR_SCALAR(createVlanVlanId, Bridging::VlanId, Bridging::VlanId())
  QOR_SCALAR(createVlanDot1q, Bridging::VlanIdOrNone, Bridging::VlanIdOrNone())
  FENN_HELPER_COUNTER(createVlanCount)
  QOR_SCALAR(createVlanRc, Fenn::HwProgrammingStatus, Fenn::programmed)

  QOR_SCALAR(deleteVlanVlanId, Bridging::VlanId, Bridging::VlanId())
  QOR_SCALAR(deleteVlanDot1q, Bridging::VlanIdOrNone, Bridging::VlanIdOrNone())
  FENN_HELPER_COUNTER(deleteVlanCount)

  // The member port (the parent is not recorded).
  QOR_SCALAR(createNonDfPortIntfId, Ostra::IntfId, Ostra::IntfId())
  QOR_SCALAR(createNonDfPortVlanId, Bridging::VlanId, Bridging::VlanId())
  FENN_HELPER_COUNTER(createNonDfPortCount)
  QOR_SCALAR(createNonDfPortRc, Fenn::HwProgrammingStatus, Fenn::programmed)

  QOR_SCALAR(deleteNonDfPortIntfId, Ostra::IntfId, Ostra::IntfId())
  QOR_SCALAR(deleteNonDfPortVlanId, Bridging::VlanId, Bridging::VlanId())
  FENN_HELPER_COUNTER(deleteNonDfPortCount)

  QOR_SCALAR(createVlanToDot1qParentIntfId, Ostra::IntfId, Ostra::IntfId())
  QOR_SCALAR(createVlanToDot1qMemberIntfId, Ostra::IntfId, Ostra::IntfId())
  QOR_SCALAR(createVlanToDot1qVlanId, Bridging::VlanId, Bridging::VlanId())
  QOR_SCALAR(createVlanToDot1qDot1q, Bridging::VlanIdOrNone, Bridging::VlanIdOrNone())
  FENN_HELPER_COUNTER(createVlanToDot1qCount)
  QOR_SCALAR(createVlanToDot1qRc, Fenn::HwProgrammingStatus, Fenn::programmed)

  QOR_SCALAR(deleteVlanToDot1qParentIntfId, Ostra::IntfId, Ostra::IntfId())
  QOR_SCALAR(deleteVlanToDot1qMemberIntfId, Ostra::IntfId, Ostra::IntfId())
  QOR_SCALAR(deleteVlanToDot1qVlanId, Bridging::VlanId, Bridging::VlanId())
  QOR_SCALAR(deleteVlanToDot1qDot1q, Bridging::VlanIdOrNone, Bridging::VlanIdOrNone())
  FENN_HELPER_COUNTER(deleteVlanToDot1qCount)

  QOR_SCALAR(createEsiDataParentIntfId, Ostra::IntfId, Ostra::IntfId())
  QOR_SCALAR(createEsiDataMemberIntfId, Ostra::IntfId, Ostra::IntfId())
  QOR_SCALAR(createEsiDataVlanId, Bridging::VlanId, Bridging::VlanId())
  QOR_SCALAR(createEsiDataTid, Fenn::TunnelId, Fenn::TunnelId())
  QOR_SCALAR(createEsiDataHwTid, Fenn::HwTunnelId, Fenn::HwTunnelId())
  // The remote ESI label only.
  QOR_SCALAR(createEsiDataLabel, Ostra::MplsLabel, Ostra::MplsLabel())
  FENN_HELPER_COUNTER(createEsiDataCount)
  QOR_SCALAR(createEsiDataRc, Fenn::HwProgrammingStatus, Fenn::programmed)

  QOR_SCALAR(deleteEsiDataParentIntfId, Ostra::IntfId, Ostra::IntfId())
  QOR_SCALAR(deleteEsiDataMemberIntfId, Ostra::IntfId, Ostra::IntfId())
  QOR_SCALAR(deleteEsiDataVlanId, Bridging::VlanId, Bridging::VlanId())
  QOR_SCALAR(deleteEsiDataTid, Fenn::TunnelId, Fenn::TunnelId())
  QOR_SCALAR(deleteEsiDataHwTid, Fenn::HwTunnelId, Fenn::HwTunnelId())
  FENN_HELPER_COUNTER(deleteEsiDataCount)

  Fenn::HwProgrammingStatus createVlan(Bridging::VlanId vlanId, Bridging::VlanIdOrNone dot1q) override;
  void deleteVlan(Bridging::VlanId vlanId, Bridging::VlanIdOrNone dot1q) override;
  Fenn::HwProgrammingStatus createNonDfPort(Ostra::IntfId parentIntfId, Ostra::IntfId memberIntfId,
                                            Bridging::VlanId vlanId) override;
  void deleteNonDfPort(Ostra::IntfId parentIntfId, Ostra::IntfId memberIntfId,
                       Bridging::VlanId vlanId) override;
  Fenn::HwProgrammingStatus createVlanToDot1qMapping(Ostra::IntfId parentIntfId, Ostra::IntfId memberIntfId,
                                                     Bridging::VlanId vlanId,
                                                     Bridging::VlanIdOrNone dot1q) override;
  void deleteVlanToDot1qMapping(Ostra::IntfId parentIntfId, Ostra::IntfId memberIntfId,
                                Bridging::VlanId vlanId, Bridging::VlanIdOrNone dot1q) override;
  Fenn::HwProgrammingStatus createEsiData(Ostra::IntfId parentIntfId, Ostra::IntfId memberIntfId,
                                          Bridging::VlanId vlanId, Fenn::TunnelId const& tunnelId,
                                          Fenn::HwTunnelId const& hwTunnelId, Ostra::MplsLabel remoteEsiLabel,
                                          Ostra::MplsLabel localEsiLabel) override;
  void deleteEsiData(Ostra::IntfId parentIntfId, Ostra::IntfId memberIntfId, Bridging::VlanId vlanId,
                     Fenn::TunnelId const& tunnelId, Fenn::HwTunnelId const& hwTunnelId) override;
};

FENN_EVPN_EXPORT Qor::Ptr<EvpnFloodingSmHelperStub> evpnFloodingSmHelperStubFactory(Qor::String name);

}  // namespace FennHelper
