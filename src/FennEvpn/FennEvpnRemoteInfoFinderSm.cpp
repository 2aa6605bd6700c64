#include "FennEvpn/FennEvpnRemoteInfoFinderSm.h"

#include "Qor/Assert.h"
#include "Qor/Trace.h"

QOR_TRACE_SOURCE("/src/FennEvpn/FennEvpnRemoteInfoFinderSm")

namespace Fenn {

using Tunnel::TunnelTable::TunnelId;

// Watches one MAC flood set's destinations.
class EvpnRemoteInfoFinderSm::QorFloodSet : public Qor::ReactorOf<L2Rib::FloodSet, EvpnRemoteInfoFinderSm> {
 public:
  QorFloodSet(L2Rib::FloodSet const* floodSet, EvpnRemoteInfoFinderSm* sm, Bridging::VlanId vlanId)
      : ReactorOf(floodSet, sm), vlanId_(vlanId) {}

  void onCreate() override { handleFloodSet(); }

  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id == L2Rib::FloodSet::destSetAttr) handleDestSet(Qor::keyAs<L2Rib::Dest>(key));
  }

 private:
  // Counting only touches EvpnRemoteInfo, so walking destSet directly is safe.
  void handleFloodSet() {
    QTRACE(8, "EvpnRemoteInfoFinderSm::QorFloodSet::", "handleFloodSet", " vlan: ", vlanId_,
           " mac: ", notifier()->macAddr());
    for (auto const& dest : notifier()->destSet())
      sm()->processMplsDest(vlanId_, notifier()->macAddr(), dest);
  }

  void handleDestSet(L2Rib::Dest const& dest) {
    QTRACE(8, "EvpnRemoteInfoFinderSm::QorFloodSet::", "handleDestSet", " vlan: ", vlanId_,
           " mac: ", notifier()->macAddr(), " dest: ", dest);
    sm()->processMplsDest(vlanId_, notifier()->macAddr(), dest);
  }

  Bridging::VlanId vlanId_;
};

// Keeps one QorFloodSet per MAC flood set of one VLAN.
class EvpnRemoteInfoFinderSm::QorVlanFloodSet
    : public Qor::ReactorOf<L2Rib::VlanFloodSet, EvpnRemoteInfoFinderSm> {
 public:
  using ReactorOf::ReactorOf;

  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id == L2Rib::VlanFloodSet::floodSetAttr) handleFloodSet(Qor::keyAs<Ostra::EthAddr>(key));
  }

 private:
  // A flood set that leaves takes its reactor with it without touching the counts: only a
  // destination's removal from a watched flood set counts down.
  void handleFloodSet(Ostra::EthAddr macAddr) {
    QTRACE(8, "EvpnRemoteInfoFinderSm::QorVlanFloodSet::", "handleFloodSet", " vlan: ", notifier()->vlanId(),
           " mac: ", macAddr);
    if (L2Rib::FloodSet const* floodSet = notifier()->floodSet(macAddr)) {
      floodSet_.add(macAddr, floodSet, sm(), notifier()->vlanId());
    } else {
      floodSet_.del(macAddr);
    }
  }

  Qor::ReactorMap<Ostra::EthAddr, QorFloodSet> floodSet_;
};

// Keeps one QorVlanFloodSet per VLAN flood set of the input.
class EvpnRemoteInfoFinderSm::QorFloodSetOutput
    : public Qor::ReactorOf<L2Rib::FloodSetOutput, EvpnRemoteInfoFinderSm> {
 public:
  using ReactorOf::ReactorOf;

  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id == L2Rib::FloodSetOutput::vlanFloodSetAttr) handleVlanFloodSet(Qor::keyAs<Bridging::VlanId>(key));
  }

 private:
  void handleVlanFloodSet(Bridging::VlanId vlanId) {
    QTRACE(8, "EvpnRemoteInfoFinderSm::QorFloodSetOutput::", "handleVlanFloodSet", " vlan: ", vlanId);
    if (L2Rib::VlanFloodSet const* vlanFloodSet = notifier()->vlanFloodSet(vlanId)) {
      sm()->vlanFloodSet_.add(vlanId, vlanFloodSet, sm());
    } else {
      sm()->vlanFloodSet_.del(vlanId);
    }
  }
};

EvpnRemoteInfoFinderSm::EvpnRemoteInfoFinderSm(Qor::Ptr<L2Rib::FloodSetOutput const> floodSetOutput,
                                               Qor::Ptr<EvpnRemoteInfo> remoteInfo)
    : floodSetOutput_(std::move(floodSetOutput)), remoteInfo_(std::move(remoteInfo)) {
  qorFloodSetOutput_ = Qor::newReactor<QorFloodSetOutput>(floodSetOutput_.get(), this);
}

EvpnRemoteInfoFinderSm::~EvpnRemoteInfoFinderSm() = default;

bool EvpnRemoteInfoFinderSm::isDestPresent(Bridging::VlanId vlanId, Ostra::EthAddr macAddr,
                                           L2Rib::Dest const& dest) const {
  L2Rib::VlanFloodSet const* vlanFloodSet = floodSetOutput_->vlanFloodSet(vlanId);
  if (!vlanFloodSet) return false;
  L2Rib::FloodSet const* floodSet = vlanFloodSet->floodSet(macAddr);
  return floodSet && floodSet->destSetHas(dest);
}

void EvpnRemoteInfoFinderSm::processMplsDest(Bridging::VlanId vlanId, Ostra::EthAddr macAddr,
                                             L2Rib::Dest const& dest) {
  QTRACE(8, "EvpnRemoteInfoFinderSm::", "processMplsDest", " vlan: ", vlanId, " mac: ", macAddr,
         " dest: ", dest);
  if (dest.destType() != L2Rib::destTypeMpls_) return;
  TunnelId const tunnelId = dest.mpls().tunnelId();
  if (tunnelId == TunnelId::invalid()) {
    QTRACE(1, "  Invalid tunnelId not supported ");
    return;
  }
  uint32_t count;
  if (isDestPresent(vlanId, macAddr, dest)) {
    count = remoteInfo()->remoteTunnelIdInc(tunnelId, 1);
    QTRACE(5, " Incrementing remoteTunnelId reference to ", count);
  } else {
    QOR_ASSERT_TEXT(remoteInfo()->remoteTunnelId(tunnelId) > 0,
                    "remoteInfo()->remoteTunnelId( tunnelId ) > 0");
    count = remoteInfo()->remoteTunnelIdDec(tunnelId, 1);
    QTRACE(5, " Decrementing remoteTunnelId reference to ", count);
    if (count == 0) remoteInfo()->remoteTunnelIdDel(tunnelId);
  }
  QTRACE(8, "New refcount of tunnel ", tunnelId, " is ", count);
}

Qor::Ptr<EvpnRemoteInfoFinderSm> evpnRemoteInfoFinderSmFactory(
    Qor::Ptr<L2Rib::FloodSetOutput const> floodSetOutput, Qor::Ptr<EvpnRemoteInfo> remoteInfo) {
  return Qor::Ptr<EvpnRemoteInfoFinderSm>(
      new EvpnRemoteInfoFinderSm(std::move(floodSetOutput), std::move(remoteInfo)));
}

}  // namespace Fenn
