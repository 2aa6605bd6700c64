#include "FennEvpn/FennEvpnSegmentSm.h"

#include <optional>
#include <utility>

#include "Qor/Trace.h"

QOR_TRACE_SOURCE("/src/FennEvpn/FennEvpnSegmentSm")

namespace Fenn {

class FennEvpnSegmentSm::QorSegmentStatus
    : public Qor::ReactorOf<Evpn::EthernetSegmentStatus, FennEvpnSegmentSm> {
 public:
  using ReactorOf::ReactorOf;
  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id == Evpn::EthernetSegmentStatus::remoteTepAttr) handleRemoteTep(Qor::keyAs<Ostra::IntfId>(key));
  }

  void handleRemoteTep(Ostra::IntfId const& tepIntfId) {
    QTRACE(8, "FennEvpnSegmentSm::QorSegmentStatus::", "handleRemoteTep", " intfId ", sm()->intfId(), " tep ",
           tepIntfId);
    if (!sm()->initialized()) return;
    sm()->processTep(tepIntfId);
  }
};

FennEvpnSegmentSm::FennEvpnSegmentSm(
    Qor::Ptr<Evpn::EthernetSegmentStatus const> segmentStatus,
    Qor::Ptr<Tunnel::TunnelTable::TunnelEndpointStatus const> tunnelEndpointStatus,
    Qor::Ptr<EvpnTepSegmentDir> evpnTepSegmentDir)
    : segmentStatus_(std::move(segmentStatus)),
      tunnelEndpointStatus_(std::move(tunnelEndpointStatus)),
      evpnTepSegmentDir_(std::move(evpnTepSegmentDir)) {
  qorSegmentStatus_ = Qor::newReactor<QorSegmentStatus>(segmentStatus_.get(), this);
}

FennEvpnSegmentSm::~FennEvpnSegmentSm() {
  qorSegmentStatus_.reset();
  for (auto const& tepIntfId : tepAddr().keys()) {
    Ostra::IpGenAddr const addr = tepAddr(tepIntfId);
    tepAddrDel(tepIntfId);
    unpublish(addr);
  }
}

void FennEvpnSegmentSm::handleInitialized() {
  QTRACE(8, "FennEvpnSegmentSm::", "handleInitialized", " intfId ", intfId());
  for (auto const& tepIntfId : segmentStatus_->remoteTep().keys()) processTep(tepIntfId);
}

void FennEvpnSegmentSm::handleTunnelEndpoint(Tunnel::TunnelTable::TunnelId const& tunnelId) {
  QTRACE(8, "FennEvpnSegmentSm::", "handleTunnelEndpoint", " intfId ", intfId(), " tunnelId ", tunnelId);
  if (!initialized()) return;
  // Either kind of tunnel interface may name the tunnel.
  for (auto const& tepIntfId :
       {Ostra::IntfId::dynamicTunnel(tunnelId), Ostra::IntfId::srTePolicy(tunnelId)}) {
    if (segmentStatus_->remoteTepHas(tepIntfId)) processTep(tepIntfId);
  }
}

void FennEvpnSegmentSm::processTep(Ostra::IntfId const& tepIntfId) {
  QTRACE(8, "FennEvpnSegmentSm::", "processTep", " intfId ", intfId(), " tep ", tepIntfId);
  bool wanted = false;
  Ostra::IpGenAddr addr;
  if (segmentStatus_->remoteTepHas(tepIntfId)) {
    std::optional<Tunnel::TunnelTable::TunnelId> tunnelId;
    if (auto const error = skipUnusableInput([&] { tunnelId = tepIntfId.tunnelId(); })) {
      QTRACE(1, "FennEvpnSegmentSm::", "processTep", " intfId ", intfId(), " skipped tep ", tepIntfId,
             " (not a tunnel interface) ", *error);
    } else if (tunnelEndpointStatus_->tunnelEndpointHas(*tunnelId)) {
      wanted = true;
      addr = tunnelEndpointStatus_->tunnelEndpoint(*tunnelId);
    } else {
      QTRACE(5, "FennEvpnSegmentSm::", "processTep", " intfId ", intfId(), " tep ", tepIntfId,
             " no tunnel endpoint yet");
    }
  }
  if (tepAddrHas(tepIntfId)) {
    Ostra::IpGenAddr const old = tepAddr(tepIntfId);
    if (wanted && old == addr) return;
    tepAddrDel(tepIntfId);
    unpublish(old);
  }
  if (!wanted) return;
  QTRACE(5, "FennEvpnSegmentSm::", "processTep", " intfId ", intfId(), " tep ", tepIntfId, " tepAddr ", addr);
  tepAddrIs(tepIntfId, addr);
  evpnTepSegmentDir_->evpnTepSegmentIs(addr)->segmentSetIs(intfId());
}

void FennEvpnSegmentSm::unpublish(Ostra::IpGenAddr const& addr) {
  for (auto const& [tep, other] : tepAddr()) {
    if (other == addr) return;  // another TEP interface of this segment still leads there
  }
  QTRACE(5, "FennEvpnSegmentSm::", "unpublish", " intfId ", intfId(), " tepAddr ", addr);
  EvpnTepSegment* entry = evpnTepSegmentDir_->evpnTepSegment(addr);
  if (!entry) return;
  entry->segmentSetDel(intfId());
  if (entry->segmentSet().empty()) evpnTepSegmentDir_->evpnTepSegmentDel(addr);
}

Qor::Ptr<FennEvpnSegmentSm> fennEvpnSegmentSmFactory(
    Qor::Ptr<Evpn::EthernetSegmentStatus const> segmentStatus,
    Qor::Ptr<Tunnel::TunnelTable::TunnelEndpointStatus const> tunnelEndpointStatus,
    Qor::Ptr<EvpnTepSegmentDir> evpnTepSegmentDir) {
  return Qor::Ptr<FennEvpnSegmentSm>(new FennEvpnSegmentSm(
      std::move(segmentStatus), std::move(tunnelEndpointStatus), std::move(evpnTepSegmentDir)));
}

}  // namespace Fenn
