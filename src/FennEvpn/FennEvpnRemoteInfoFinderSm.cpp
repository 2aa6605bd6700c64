#include "FennEvpn/FennEvpnRemoteInfoFinderSm.h"

#include "FennEvpn/FennEvpn.h"
#include "Qor/Assert.h"
#include "Qor/Trace.h"

QOR_TRACE_SOURCE("/src/FennEvpn/FennEvpnRemoteInfoFinderSm")

namespace Fenn {

using Tunnel::TunnelTable::TunnelId;

// The reactors count from construction on. A flood set that leaves takes its reactor with
// it without touching the counts: only a destination's removal from a watched flood set
// counts down.
struct EvpnRemoteInfoFinderSm::FloodSetHooks : FloodSetHookDefaults {
  using Sm = EvpnRemoteInfoFinderSm;
  static constexpr Qor::TraceHandle& traceHandle = qorTraceHandle_;
  static constexpr char floodSetOutputTrace[] = "EvpnRemoteInfoFinderSm::QorFloodSetOutput::";
  static constexpr char vlanFloodSetTrace[] = "EvpnRemoteInfoFinderSm::QorVlanFloodSet::";
  static constexpr char floodSetTrace[] = "EvpnRemoteInfoFinderSm::QorFloodSet::";

  static void destSetChanged(Sm& sm, Bridging::VlanId vlanId, L2Rib::FloodSet const& floodSet,
                             L2Rib::Dest const& dest, bool inFloodSet) {
    sm.processMplsDest(vlanId, floodSet.macAddr(), dest, inFloodSet);
  }
};

EvpnRemoteInfoFinderSm::EvpnRemoteInfoFinderSm(Qor::Ptr<L2Rib::FloodSetOutput const> floodSetOutput,
                                               Qor::Ptr<EvpnRemoteInfo> remoteInfo)
    : floodSetOutput_(std::move(floodSetOutput)), remoteInfo_(std::move(remoteInfo)) {
  qorFloodSetOutput_ = Qor::newReactor<QorFloodSetOutput>(floodSetOutput_.get(), this);
}

EvpnRemoteInfoFinderSm::~EvpnRemoteInfoFinderSm() = default;

void EvpnRemoteInfoFinderSm::processMplsDest(Bridging::VlanId vlanId, Ostra::EthAddr macAddr,
                                             L2Rib::Dest const& dest, bool present) {
  QTRACE(8, "EvpnRemoteInfoFinderSm::", "processMplsDest", " vlan: ", vlanId, " mac: ", macAddr,
         " dest: ", dest);
  if (dest.destType() != L2Rib::destTypeMpls_) return;
  TunnelId const tunnelId = dest.mpls().tunnelId();
  TunnelId const configuredTunnelId = destMplsTunnelId(dest);
  // A destination steered into an SR-TE policy is configured over the policy's tunnel. When
  // its own tunnel is another one, the policy's tunnel is counted as well, so that it gets
  // the hardware tunnel ID that the configuration needs.
  if (configuredTunnelId != tunnelId && configuredTunnelId != TunnelId::invalid()) {
    uint32_t const inconsistent = present ? inconsistentSrTeDestCount() + 1 : inconsistentSrTeDestCount() - 1;
    QTRACE(1, "  SR-TE destination over tunnelId ", tunnelId, " steered into policy tunnelId ",
           configuredTunnelId, ", counting both; inconsistent SR-TE destinations: ", inconsistent);
    inconsistentSrTeDestCountIs(inconsistent);
    countRemoteTunnel(configuredTunnelId, present);
  }
  if (tunnelId == TunnelId::invalid()) {
    QTRACE(1, "  Invalid tunnelId not supported ");
    return;
  }
  countRemoteTunnel(tunnelId, present);
}

void EvpnRemoteInfoFinderSm::countRemoteTunnel(TunnelId const& tunnelId, bool present) {
  uint32_t count;
  if (present) {
    count = remoteInfo()->remoteTunnelIdInc(tunnelId, 1);
    QTRACE(5, " Incrementing remoteTunnelId reference to ", count);
  } else {
    // The count checked is the one decremented: read once.
    uint32_t const before = remoteInfo()->remoteTunnelId(tunnelId);
    QOR_ASSERT_TEXT(before > 0, "remoteInfo()->remoteTunnelId( tunnelId ) > 0");
    count = before - 1;
    remoteInfo()->remoteTunnelIdIs(tunnelId, count);
    QTRACE(5, " Decrementing remoteTunnelId reference to ", count);
    if (count == 0) remoteInfo()->remoteTunnelIdDel(tunnelId);
  }
  QTRACE(8, "New refcount of tunnel ", tunnelId, " is ", count);
}

// ---- Operator answers ----

void EvpnRemoteInfoFinderSm::explainDest(Bridging::VlanId vlanId, Ostra::EthAddr macAddr,
                                         L2Rib::Dest const& dest, Explanation& answer) const {
  constexpr char machine[] = "EvpnRemoteInfoFinderSm";
  L2Rib::VlanFloodSet const* vlanFloodSet = floodSetOutput_->vlanFloodSet(vlanId);
  L2Rib::FloodSet const* floodSet = vlanFloodSet ? vlanFloodSet->floodSet(macAddr) : nullptr;
  if (!floodSet) {
    answer.stepIs(machine, "layer-2 RIB flood set", "none for this VLAN and MAC",
                  ExplainStatus::missingInput);
  } else if (!floodSet->destSetHas(dest)) {
    answer.stepIs(machine, "layer-2 RIB flood set",
                  "does not hold the destination (" + std::to_string(floodSet->destSet().size()) +
                      " other destinations)",
                  ExplainStatus::missingInput);
  } else {
    answer.stepIs(machine, "layer-2 RIB flood set", "holds the destination");
  }
  if (dest.destType() != L2Rib::destTypeMpls_) {
    answer.stepIs(machine, "MPLS destination",
                  "no: " + Qor::valueToStrep(dest.destType()) + " is not flooded over MPLS",
                  ExplainStatus::missingInput);
    return;
  }
  TunnelId const tunnelId = destMplsTunnelId(dest);
  uint32_t const count = remoteInfo_->remoteTunnelIdHas(tunnelId) ? remoteInfo_->remoteTunnelId(tunnelId) : 0;
  answer.stepIs(machine, "flood-set destinations over tunnel " + answer.tunnelName(tunnelId),
                std::to_string(count), count ? ExplainStatus::ok : ExplainStatus::missingInput);
}

SmSummary EvpnRemoteInfoFinderSm::summary() const {
  SmSummary s("EvpnRemoteInfoFinderSm", SmCounters(), unusableInputCount());
  s.entriesIs(remoteInfo_->remoteTunnelId().size(), remoteInfo_->remoteTunnelId().size());
  return s;
}

Qor::Ptr<EvpnRemoteInfoFinderSm> evpnRemoteInfoFinderSmFactory(
    Qor::Ptr<L2Rib::FloodSetOutput const> floodSetOutput, Qor::Ptr<EvpnRemoteInfo> remoteInfo) {
  return Qor::Ptr<EvpnRemoteInfoFinderSm>(
      new EvpnRemoteInfoFinderSm(std::move(floodSetOutput), std::move(remoteInfo)));
}

}  // namespace Fenn
