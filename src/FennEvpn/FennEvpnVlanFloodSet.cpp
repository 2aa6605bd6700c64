#include "FennEvpn/FennEvpnVlanFloodSet.h"

#include "FennEvpn/FennEvpnVlanFloodSetHw.h"
#include "FennEvpn/FennEvpnVlanFloodSetIndex.h"
#include "L2Rib/FloodSetOutput.h"

namespace Fenn {

MplsFloodSetVia floodSetVia(TunnelId tunnelId, Ostra::MplsLabel label, Bridging::VlanId vlanId) {
  Bridging::VlanIdOrNone const viaVlan = tunnelId.tunnelType() == Tunnel::tunnelTypeEvpnVlan
                                             ? Bridging::VlanIdOrNone(vlanId)
                                             : Bridging::VlanIdOrNone::none();
  return MplsFloodSetVia(tunnelId, label, viaVlan);
}

MplsFloodSetVia floodSetVia(VlanMacDest const& d) {
  return floodSetVia(destMplsTunnelId(d.dest()), d.dest().mpls().label(), d.vlanId());
}

size_t floodSetDestinationCount(L2Rib::FloodSetOutput const& output) {
  size_t destinations = 0;
  for (auto const& [vlanId, vlanFloodSet] : output.vlanFloodSet()) {
    for (auto const& [macAddr, floodSet] : vlanFloodSet->floodSet())
      destinations += floodSet->destSet().size();
  }
  return destinations;
}

Qor::Ptr<HwInfoMapping> hwInfoMappingFactory() { return Qor::Ptr<HwInfoMapping>(new HwInfoMapping); }

Qor::Ptr<VlanFloodSetConfig> vlanFloodSetConfigFactory(Bridging::MacVlanPair macVlanPair) {
  return Qor::Ptr<VlanFloodSetConfig>(new VlanFloodSetConfig(macVlanPair));
}

Qor::Ptr<VlanFloodSetStatus> vlanFloodSetStatusFactory(Bridging::MacVlanPair macVlanPair) {
  return Qor::Ptr<VlanFloodSetStatus>(new VlanFloodSetStatus(macVlanPair));
}

Qor::Ptr<EvpnVlanFloodSetHwConfig> evpnVlanFloodSetHwConfigFactory() {
  return Qor::Ptr<EvpnVlanFloodSetHwConfig>(new EvpnVlanFloodSetHwConfig);
}

Qor::Ptr<EvpnVlanFloodSetHwStatus> evpnVlanFloodSetHwStatusFactory() {
  return Qor::Ptr<EvpnVlanFloodSetHwStatus>(new EvpnVlanFloodSetHwStatus);
}

Qor::Ptr<TunnelIdToMplsFloodSetVia> tunnelIdToMplsFloodSetViaFactory(TunnelId tunnelId) {
  return Qor::Ptr<TunnelIdToMplsFloodSetVia>(new TunnelIdToMplsFloodSetVia(tunnelId));
}

Qor::Ptr<MplsFloodSetViaToFloodSetStatus> mplsFloodSetViaToFloodSetStatusFactory(MplsFloodSetVia via) {
  return Qor::Ptr<MplsFloodSetViaToFloodSetStatus>(new MplsFloodSetViaToFloodSetStatus(via));
}

}  // namespace Fenn
