#include "FennEvpn/FennEvpnTepSegmentSm.h"

#include <utility>

#include "Qor/Trace.h"

QOR_TRACE_SOURCE("/src/FennEvpn/FennEvpnTepSegmentSm")

namespace Fenn {

class FennEvpnTepSegmentSm::QorEvpnStatus : public Qor::ReactorOf<Evpn::EvpnStatus, FennEvpnTepSegmentSm> {
 public:
  using ReactorOf::ReactorOf;
  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id == Evpn::EvpnStatus::ethernetSegmentStatusAttr) {
      sm()->handleEthernetSegmentStatus(Qor::keyAs<Ostra::IntfId>(key));
    }
  }
};

class FennEvpnTepSegmentSm::QorTunnelEndpointStatus
    : public Qor::ReactorOf<Tunnel::TunnelTable::TunnelEndpointStatus, FennEvpnTepSegmentSm> {
 public:
  using ReactorOf::ReactorOf;
  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id == Tunnel::TunnelTable::TunnelEndpointStatus::tunnelEndpointAttr) {
      sm()->handleTunnelEndpoint(Qor::keyAs<Tunnel::TunnelTable::TunnelId>(key));
    }
  }
};

FennEvpnTepSegmentSm::FennEvpnTepSegmentSm(
    Qor::Ptr<Evpn::EvpnStatus const> evpnStatus,
    Qor::Ptr<Tunnel::TunnelTable::TunnelEndpointStatus const> tunnelEndpointStatus,
    Qor::Ptr<EvpnTepSegmentDir> evpnTepSegmentDir)
    : evpnStatus_(std::move(evpnStatus)),
      tunnelEndpointStatus_(std::move(tunnelEndpointStatus)),
      evpnTepSegmentDir_(std::move(evpnTepSegmentDir)) {
  qorEvpnStatus_ = Qor::newReactor<QorEvpnStatus>(evpnStatus_.get(), this);
  qorTunnelEndpointStatus_ = Qor::newReactor<QorTunnelEndpointStatus>(tunnelEndpointStatus_.get(), this);
}

FennEvpnTepSegmentSm::~FennEvpnTepSegmentSm() {
  qorTunnelEndpointStatus_.reset();
  qorEvpnStatus_.reset();
  segmentSm_.clear();
}

FennEvpnSegmentSm const* FennEvpnTepSegmentSm::segmentSm(Ostra::IntfId const& intfId) const {
  auto it = segmentSm_.find(intfId);
  return it == segmentSm_.end() ? nullptr : it->second.get();
}

void FennEvpnTepSegmentSm::handleInitialized() {
  QTRACE(8, "FennEvpnTepSegmentSm::", "handleInitialized");
  for (auto const& intfId : evpnStatus_->ethernetSegmentStatus().keys()) handleEthernetSegmentStatus(intfId);
}

void FennEvpnTepSegmentSm::handleEthernetSegmentStatus(Ostra::IntfId const& intfId) {
  QTRACE(8, "FennEvpnTepSegmentSm::", "handleEthernetSegmentStatus", " intfId ", intfId);
  if (!initialized()) return;
  Evpn::EthernetSegmentStatus const* status = evpnStatus_->ethernetSegmentStatus(intfId);
  if (!status) {
    if (auto const it = segmentSm_.find(intfId); it != segmentSm_.end()) {
      segmentSm_.erase(it);
      QTRACE(5, "FennEvpnTepSegmentSm::", "handleEthernetSegmentStatus", " intfId ", intfId, " segment gone");
    }
    return;
  }
  if (segmentSm_.find(intfId) != segmentSm_.end()) return;
  QTRACE(5, "FennEvpnTepSegmentSm::", "handleEthernetSegmentStatus", " intfId ", intfId, " new segment");
  Qor::Ptr<FennEvpnSegmentSm> segment = fennEvpnSegmentSmFactory(
      Qor::Ptr<Evpn::EthernetSegmentStatus const>(status), tunnelEndpointStatus_, evpnTepSegmentDir_);
  // Its skips are counted, and their log limited, here: the inputs the segments skip, those
  // of segments gone included, are this machine's.
  segment->unusableInputOwnerIs(this);
  segment->initializedIs(true);
  segmentSm_.try_emplace(intfId, std::move(segment));
}

void FennEvpnTepSegmentSm::handleTunnelEndpoint(Tunnel::TunnelTable::TunnelId const& tunnelId) {
  QTRACE(8, "FennEvpnTepSegmentSm::", "handleTunnelEndpoint", " tunnelId ", tunnelId);
  if (!initialized()) return;
  for (auto const& [intfId, segment] : segmentSm_) segment->handleTunnelEndpoint(tunnelId);
}

SmSummary FennEvpnTepSegmentSm::summary() const {
  SmSummary s("FennEvpnTepSegmentSm", SmCounters(), unusableInputCount());
  uint64_t wanted = 0;
  uint64_t published = 0;
  for (auto const& [intfId, sm] : segmentSm_) {
    wanted += sm->segmentStatus()->remoteTep().size();
    published += sm->tepAddr().size();
  }
  s.entriesIs(wanted, published);
  return s;
}

Qor::Ptr<FennEvpnTepSegmentSm> fennEvpnTepSegmentSmFactory(
    Qor::Ptr<Evpn::EvpnStatus const> evpnStatus,
    Qor::Ptr<Tunnel::TunnelTable::TunnelEndpointStatus const> tunnelEndpointStatus,
    Qor::Ptr<EvpnTepSegmentDir> evpnTepSegmentDir) {
  return Qor::Ptr<FennEvpnTepSegmentSm>(new FennEvpnTepSegmentSm(
      std::move(evpnStatus), std::move(tunnelEndpointStatus), std::move(evpnTepSegmentDir)));
}

}  // namespace Fenn
