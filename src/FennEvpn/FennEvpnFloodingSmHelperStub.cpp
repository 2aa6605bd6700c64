#include "FennEvpn/FennEvpnFloodingSmHelperStub.h"

namespace FennHelper {

Fenn::HwProgrammingStatus EvpnFloodingSmHelperStub::createVlan(Bridging::VlanId vlanId,
                                                               Bridging::VlanIdOrNone dot1q) {
  createVlanVlanIdIs(vlanId);
  createVlanDot1qIs(dot1q);
  createVlanCountInc();
  return createVlanRc();
}

void EvpnFloodingSmHelperStub::deleteVlan(Bridging::VlanId vlanId, Bridging::VlanIdOrNone dot1q) {
  deleteVlanVlanIdIs(vlanId);
  deleteVlanDot1qIs(dot1q);
  deleteVlanCountInc();
}

Fenn::HwProgrammingStatus EvpnFloodingSmHelperStub::createNonDfPort(Ostra::IntfId, Ostra::IntfId memberIntfId,
                                                                    Bridging::VlanId vlanId) {
  createNonDfPortIntfIdIs(memberIntfId);
  createNonDfPortVlanIdIs(vlanId);
  createNonDfPortCountInc();
  return createNonDfPortRc();
}

void EvpnFloodingSmHelperStub::deleteNonDfPort(Ostra::IntfId, Ostra::IntfId memberIntfId,
                                               Bridging::VlanId vlanId) {
  deleteNonDfPortIntfIdIs(memberIntfId);
  deleteNonDfPortVlanIdIs(vlanId);
  deleteNonDfPortCountInc();
}

Fenn::HwProgrammingStatus EvpnFloodingSmHelperStub::createVlanToDot1qMapping(Ostra::IntfId parentIntfId,
                                                                             Ostra::IntfId memberIntfId,
                                                                             Bridging::VlanId vlanId,
                                                                             Bridging::VlanIdOrNone dot1q) {
  createVlanToDot1qParentIntfIdIs(parentIntfId);
  createVlanToDot1qMemberIntfIdIs(memberIntfId);
  createVlanToDot1qVlanIdIs(vlanId);
  createVlanToDot1qDot1qIs(dot1q);
  createVlanToDot1qCountInc();
  return createVlanToDot1qRc();
}

void EvpnFloodingSmHelperStub::deleteVlanToDot1qMapping(Ostra::IntfId parentIntfId,
                                                        Ostra::IntfId memberIntfId, Bridging::VlanId vlanId,
                                                        Bridging::VlanIdOrNone dot1q) {
  deleteVlanToDot1qParentIntfIdIs(parentIntfId);
  deleteVlanToDot1qMemberIntfIdIs(memberIntfId);
  deleteVlanToDot1qVlanIdIs(vlanId);
  deleteVlanToDot1qDot1qIs(dot1q);
  deleteVlanToDot1qCountInc();
}

Fenn::HwProgrammingStatus EvpnFloodingSmHelperStub::createEsiData(
    Ostra::IntfId parentIntfId, Ostra::IntfId memberIntfId, Bridging::VlanId vlanId,
    Fenn::TunnelId const& tunnelId, Fenn::HwTunnelId const& hwTunnelId, Ostra::MplsLabel remoteEsiLabel,
    Ostra::MplsLabel) {
  createEsiDataParentIntfIdIs(parentIntfId);
  createEsiDataMemberIntfIdIs(memberIntfId);
  createEsiDataVlanIdIs(vlanId);
  createEsiDataTidIs(tunnelId);
  createEsiDataHwTidIs(hwTunnelId);
  createEsiDataLabelIs(remoteEsiLabel);
  createEsiDataCountInc();
  return createEsiDataRc();
}

void EvpnFloodingSmHelperStub::deleteEsiData(Ostra::IntfId parentIntfId, Ostra::IntfId memberIntfId,
                                             Bridging::VlanId vlanId, Fenn::TunnelId const& tunnelId,
                                             Fenn::HwTunnelId const& hwTunnelId) {
  deleteEsiDataParentIntfIdIs(parentIntfId);
  deleteEsiDataMemberIntfIdIs(memberIntfId);
  deleteEsiDataVlanIdIs(vlanId);
  deleteEsiDataTidIs(tunnelId);
  deleteEsiDataHwTidIs(hwTunnelId);
  deleteEsiDataCountInc();
}

Qor::Ptr<EvpnFloodingSmHelperStub> evpnFloodingSmHelperStubFactory(Qor::String name) {
  return Qor::Ptr<EvpnFloodingSmHelperStub>(new EvpnFloodingSmHelperStub(std::move(name)));
}

}  // namespace FennHelper
