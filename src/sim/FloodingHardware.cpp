#include "sim/FloodingHardware.h"

namespace Sim {

Fenn::HwProgrammingStatus FloodingHardware::createEsiData(Ostra::IntfId parentIntfId,
                                                          Ostra::IntfId memberIntfId, Bridging::VlanId vlanId,
                                                          Fenn::TunnelId const& tunnelId,
                                                          Fenn::HwTunnelId const& hwTunnelId,
                                                          Ostra::MplsLabel remoteEsiLabel,
                                                          Ostra::MplsLabel localEsiLabel) {
  if (!hwTunnelId.valid()) return Fenn::invalidHwId;
  if (esiDataFaults_.shouldFail()) return Fenn::notProgrammed;
  EsiKey const key(memberIntfId, vlanId, tunnelId);
  EsiEntry const entry{parentIntfId, hwTunnelId, remoteEsiLabel, localEsiLabel};
  auto [it, inserted] = esiData_.try_emplace(key, entry);
  if (!inserted) {
    if (!updateSupportedOnCreateEsiData()) {
      ++badEsiCreates_;
      return Fenn::notProgrammed;
    }
    it->second = entry;
  }
  return Fenn::programmed;
}

void FloodingHardware::deleteEsiData(Ostra::IntfId parentIntfId, Ostra::IntfId memberIntfId,
                                     Bridging::VlanId vlanId, Fenn::TunnelId const& tunnelId,
                                     Fenn::HwTunnelId const& hwTunnelId) {
  auto it = esiData_.find(EsiKey(memberIntfId, vlanId, tunnelId));
  if (it == esiData_.end() || it->second.parentIntfId != parentIntfId ||
      it->second.hwTunnelId != hwTunnelId) {
    ++badEsiDeletes_;
    return;
  }
  esiData_.erase(it);
  ++esiDeletes_;
}

}  // namespace Sim
