#include "FennEvpn/FennEvpnFloodingSmHelper.h"

namespace FennHelper {

Fenn::HwProgrammingStatus EvpnFloodingSmHelper::createVlan(Bridging::VlanId, Bridging::VlanIdOrNone) {
  return Fenn::notProgrammed;
}

void EvpnFloodingSmHelper::deleteVlan(Bridging::VlanId, Bridging::VlanIdOrNone) {}

Fenn::HwProgrammingStatus EvpnFloodingSmHelper::createNonDfPort(Ostra::IntfId, Ostra::IntfId,
                                                                Bridging::VlanId) {
  return Fenn::notProgrammed;
}

void EvpnFloodingSmHelper::deleteNonDfPort(Ostra::IntfId, Ostra::IntfId, Bridging::VlanId) {}

Fenn::HwProgrammingStatus EvpnFloodingSmHelper::createVlanToDot1qMapping(Ostra::IntfId, Ostra::IntfId,
                                                                         Bridging::VlanId,
                                                                         Bridging::VlanIdOrNone) {
  unimplemented("createVlanToDot1qMapping");
  return Fenn::notProgrammed;
}

void EvpnFloodingSmHelper::deleteVlanToDot1qMapping(Ostra::IntfId, Ostra::IntfId, Bridging::VlanId,
                                                    Bridging::VlanIdOrNone) {
  unimplemented("deleteVlanToDot1qMapping");
}

// Reported under the operation's older name, which the platform's logs are searched by.
Fenn::HwProgrammingStatus EvpnFloodingSmHelper::createEsiData(Ostra::IntfId, Ostra::IntfId, Bridging::VlanId,
                                                              Fenn::TunnelId const&, Fenn::HwTunnelId const&,
                                                              Ostra::MplsLabel, Ostra::MplsLabel) {
  unimplemented("addEsiData");
  return Fenn::notProgrammed;
}

void EvpnFloodingSmHelper::deleteEsiData(Ostra::IntfId, Ostra::IntfId, Bridging::VlanId,
                                         Fenn::TunnelId const&, Fenn::HwTunnelId const&) {
  unimplemented("deleteEsiData");
}

}  // namespace FennHelper
