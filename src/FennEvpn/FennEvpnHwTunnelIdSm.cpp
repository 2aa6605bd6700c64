#include "FennEvpn/FennEvpnHwTunnelIdSm.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <utility>
#include <vector>

#include "FennEvpn/FennEvpnUnusableInput.h"
#include "Qor/Assert.h"
#include "Qor/SysLog.h"
#include "Qor/Trace.h"

QOR_TRACE_SOURCE("/src/FennEvpn/FennEvpnHwTunnelIdSm")

namespace Fenn {

namespace {

Qor::LogMessage const EVPN_MPLS_SHARED_ESI_HW_RESOURCE_FULL(
    "EVPN_MPLS_SHARED_ESI_HW_RESOURCE_FULL", Qor::LogSeverity::warning,
    "Hardware resources are insufficient to allocate the shared ESI label for all the peers of some ethernet "
    "segments.",
    "The switch may send the ESI label only to the designated forwarder of some ethernet segments.",
    "Reconfigure the network to reduce the number of peers for ethernet segments with shared ESI label "
    "configured.");

Qor::LogMessage const EVPN_MPLS_SHARED_ESI_HW_RESOURCE_NORMAL(
    "EVPN_MPLS_SHARED_ESI_HW_RESOURCE_NORMAL", Qor::LogSeverity::notice,
    "Hardware resources are available to send shared ESI label to all the peers of all ethernet segments.",
    "The switch will send the shared ESI label to all the peers of all the ethernet segments.", "");

constexpr char const* reviewUnprogrammedTaskName = "reviewUnprogrammed";

size_t poolIndex(HwTunnelIdType type) { return type == hwTunnelIdTypeSharedEs ? 1 : 0; }
Qor::String poolName(HwTunnelIdType type) { return type == hwTunnelIdTypeSharedEs ? "shared-ES" : "default"; }

// Read at every check, so that a harness may set it at any time.
bool simulation() { return std::getenv("SIMULATION_VMID") != nullptr; }
// An agent without hardware: every allocation fails by design, so pools are never
// reported exhausted.
bool noopAgent() { return std::getenv("FENN_NOOP_AGENT") != nullptr; }

// The tunnel behind a peer's TEP interface, for walks that meet a peer already reported
// when it arrived (EvpnHwTunnelIdSm::tunnelOfTep).
std::optional<TunnelId> usableTunnelOfTep(Ostra::IntfId const& tepIntfId) {
  return usableValue([&] { return srTeOrDynamicTunnelIntfIdToTunnelId(tepIntfId); });
}

}  // namespace

class EvpnHwTunnelIdSm::QorEvpnStatus : public Qor::ReactorOf<Evpn::EvpnStatus, EvpnHwTunnelIdSm> {
 public:
  using ReactorOf::ReactorOf;
  void onAttribute(Qor::AttributeId id, void const* key) override {
    switch (id) {
      case Evpn::EvpnStatus::ethernetSegmentStatusAttr:
        sm()->handleEthernetSegmentStatus(Qor::keyAs<Ostra::IntfId>(key));
        break;
    }
  }
};

class EvpnHwTunnelIdSm::QorSegmentStatus
    : public Qor::ReactorOf<Evpn::EthernetSegmentStatus, EvpnHwTunnelIdSm> {
 public:
  using ReactorOf::ReactorOf;

  void onCreate() override { handleSegmentStatus(); }

  void onAttribute(Qor::AttributeId id, void const* key) override {
    switch (id) {
      case Evpn::EthernetSegmentStatus::remoteEsiLabelAttr:
        handleRemoteEsiLabel(Qor::keyAs<Ostra::IntfId>(key));
        break;
      case Evpn::EthernetSegmentStatus::sharedEsiLabelAttr:
        handleSharedEsiLabel();
        break;
    }
  }

  void handleSegmentStatus() {
    QTRACE(8, "EvpnHwTunnelIdSm::QorSegmentStatus::", "handleSegmentStatus", " intfId ", esIntfId());
    if (!sm()->initialized()) return;
    sm()->processSegmentStatus(esIntfId());
  }

  void handleRemoteEsiLabel(Ostra::IntfId const& tepIntfId) {
    QTRACE(8, "EvpnHwTunnelIdSm::QorSegmentStatus::", "handleRemoteEsiLabel", " intfId ", esIntfId(), " tep ",
           tepIntfId);
    if (!sm()->initialized()) return;
    // A peer is reported when it arrives; its removal passes quietly.
    std::optional<TunnelId> const converted = notifier()->remoteEsiLabelHas(tepIntfId)
                                                  ? sm()->tunnelOfTep(tepIntfId, "handleRemoteEsiLabel")
                                                  : usableTunnelOfTep(tepIntfId);
    if (!converted) return;
    TunnelId const tunnelId = *converted;
    // Another TEP interface of the segment may lead to the same tunnel.
    bool used = false;
    for (auto const& [tep, label] : notifier()->remoteEsiLabel()) {
      if (usableTunnelOfTep(tep) == tunnelId) {
        used = true;
        break;
      }
    }
    if (used) {
      sm()->programHwTunnelId(esIntfId(), tunnelId);
    } else if (auto const* set = sm()->intfTunnelSet(esIntfId()); set && set->tunnelIdHas(tunnelId)) {
      sm()->unProgramHwTunnelId(esIntfId(), tunnelId);
    }
  }

  void handleSharedEsiLabel() {
    bool const valid = notifier()->sharedEsiLabel().valid();
    QTRACE(8, "EvpnHwTunnelIdSm::QorSegmentStatus::", "handleSharedEsiLabel", " intfId ", esIntfId(),
           " sharedEsiLabelValid ", valid);
    if (!sm()->initialized()) return;
    auto const* set = sm()->intfTunnelSet(esIntfId());
    if (!set) return;
    for (auto const& tunnelId : set->tunnelId().keys()) {
      sm()->tunnelInfo(tunnelId)->sharedEsiLabelConfiguredIntfIs(esIntfId(), valid);
      sm()->maybeReprogramHwTunnelId(tunnelId);
    }
  }

 private:
  Ostra::IntfId esIntfId() const { return notifier()->intfId(); }
};

class EvpnHwTunnelIdSm::QorRemoteInfo : public Qor::ReactorOf<EvpnRemoteInfo, EvpnHwTunnelIdSm> {
 public:
  using ReactorOf::ReactorOf;
  void onAttribute(Qor::AttributeId id, void const* key) override {
    switch (id) {
      case EvpnRemoteInfo::remoteTunnelIdAttr:
        sm()->handleRemoteTunnelId(Qor::keyAs<TunnelId>(key));
        break;
    }
  }
};

EvpnHwTunnelIdSm::EvpnHwTunnelIdSm(Qor::Ptr<FennHelper::EvpnHwTunnelIdSmHelper> hwTunnelIdHelper,
                                   Qor::Ptr<Keel::TaskScheduler> scheduler,
                                   Qor::Ptr<FennCommonSmData const> acsd,
                                   Qor::Ptr<Evpn::EvpnStatus const> evpnStatus,
                                   Qor::Ptr<EvpnRemoteInfo const> remoteInfo,
                                   Qor::Ptr<TunnelIdToHwTunnelIdMapping> tunnelIdHwTunnelId)
    : hwTunnelIdHelper_(std::move(hwTunnelIdHelper)),
      scheduler_(std::move(scheduler)),
      acsd_(std::move(acsd)),
      evpnStatus_(std::move(evpnStatus)),
      remoteInfo_(std::move(remoteInfo)),
      tunnelIdHwTunnelId_(std::move(tunnelIdHwTunnelId)) {
  qorEvpnStatus_ = Qor::newReactor<QorEvpnStatus>(evpnStatus_.get(), this);
  qorRemoteInfo_ = Qor::newReactor<QorRemoteInfo>(remoteInfo_.get(), this);
}

EvpnHwTunnelIdSm::~EvpnHwTunnelIdSm() {
  segmentStatus_.delAll();
  qorRemoteInfo_.reset();
  qorEvpnStatus_.reset();
  reviewUnprogrammed_ = nullptr;
  // Before initialization the table may still hold a previous run's rows, which are not ours.
  if (!initialized()) return;
  for (auto const& tunnelId : tunnelIdHwTunnelId_->tunnelIdToHwTunnelIdKeys()) {
    releaseHwTunnelId(tunnelIdHwTunnelId_->tunnelIdToHwTunnelIdDel(tunnelId).hwTunnelId());
  }
}

void EvpnHwTunnelIdSm::handleInitialized() {
  QTRACE(8, "EvpnHwTunnelIdSm::", "handleInitialized");
  // Rows of a previous run name IDs of a helper that no longer holds them.
  tunnelIdHwTunnelId_->tunnelIdToHwTunnelIdDelAll();
  tunnelIdHwTunnelId_->tunnelIdToHwTunnelIdControlIs(QorVasp::CollectionControl(scheduler_));
  reviewUnprogrammedIs(scheduler_, acsd_->reviewTaskPriority(), reviewUnprogrammedTaskName);
  for (auto const& esIntfId : evpnStatus_->ethernetSegmentStatus().keys()) processSegmentStatus(esIntfId);
  for (auto const& tunnelId : remoteInfo_->remoteTunnelId().keys()) publishHwTunnelId(tunnelId);
  for (auto const type : {hwTunnelIdTypeDefault, hwTunnelIdTypeSharedEs}) {
    hwTunnelIdOverflowIs(type, hwTunnelIdOverflow(type));
  }
}

void EvpnHwTunnelIdSm::handleEthernetSegmentStatus(Ostra::IntfId const& esIntfId) {
  QTRACE(8, "EvpnHwTunnelIdSm::", "handleEthernetSegmentStatus", " intfId ", esIntfId);
  if (auto const* status = evpnStatus_->ethernetSegmentStatus(esIntfId)) {
    segmentStatus_.add(esIntfId, status, this);
    return;
  }
  segmentStatus_.del(esIntfId);
  if (initialized()) processSegmentStatus(esIntfId);
}

void EvpnHwTunnelIdSm::handleRemoteTunnelId(TunnelId const& tunnelId) {
  QTRACE(8, "EvpnHwTunnelIdSm::", "handleRemoteTunnelId", " tunnelId ", tunnelId);
  if (!initialized()) return;
  // The count is read where its presence is: one lookup.
  if (uint32_t const* count = remoteInfo_->remoteTunnelId().find(tunnelId)) {
    if (*count == 1) publishHwTunnelId(tunnelId);
    return;
  }
  // No longer a flooding destination: the ID is free for reclaim unless a segment uses it.
  if (!tunnelInfoHas(tunnelId)) retireTunnel(tunnelId);
}

void EvpnHwTunnelIdSm::processSegmentStatus(Ostra::IntfId const& esIntfId) {
  QTRACE(8, "EvpnHwTunnelIdSm::", "processSegmentStatus", " intfId ", esIntfId);
  std::vector<TunnelId> peers;
  if (auto const* status = evpnStatus_->ethernetSegmentStatus(esIntfId)) {
    for (auto const& [tep, label] : status->remoteEsiLabel()) {
      if (auto const tunnelId = tunnelOfTep(tep, "processSegmentStatus")) peers.push_back(*tunnelId);
    }
  }
  std::sort(peers.begin(), peers.end());
  peers.erase(std::unique(peers.begin(), peers.end()), peers.end());
  if (auto const* set = intfTunnelSet(esIntfId)) {
    for (auto const& tunnelId : set->tunnelId().keys()) {
      if (!std::binary_search(peers.begin(), peers.end(), tunnelId)) unProgramHwTunnelId(esIntfId, tunnelId);
    }
  }
  for (auto const& tunnelId : peers) programHwTunnelId(esIntfId, tunnelId);
}

std::optional<TunnelId> EvpnHwTunnelIdSm::tunnelOfTep(Ostra::IntfId const& tepIntfId, char const* function) {
  TunnelId tunnelId;
  if (auto const error =
          skipUnusableInput([&] { tunnelId = srTeOrDynamicTunnelIntfIdToTunnelId(tepIntfId); })) {
    QTRACE(1, "EvpnHwTunnelIdSm::", function, " skipped tep ", tepIntfId, " ", *error);
    return std::nullopt;
  }
  return tunnelId;
}

void EvpnHwTunnelIdSm::programHwTunnelId(Ostra::IntfId const& esIntfId, TunnelId const& tunnelId) {
  QTRACE(8, "EvpnHwTunnelIdSm::", "programHwTunnelId", " esIntfId ", esIntfId, " tunnelId ", tunnelId);
  TunnelInfo* info = tunnelInfoIs(tunnelId);
  info->intfIdIs(esIntfId);
  info->sharedEsiLabelConfiguredIntfIs(esIntfId, sharedEsiLabelValid(esIntfId));
  intfTunnelSetIs(esIntfId)->tunnelIdIs(tunnelId);
  publishHwTunnelId(tunnelId);
}

void EvpnHwTunnelIdSm::unProgramHwTunnelId(Ostra::IntfId const& esIntfId, TunnelId const& tunnelId) {
  QTRACE(8, "EvpnHwTunnelIdSm::", "unProgramHwTunnelId", " esIntfId ", esIntfId, " tunnelId ", tunnelId);
  TunnelInfo* info = tunnelInfo(tunnelId);
  QOR_ASSERT_TEXT(info && info->intfIdHas(esIntfId), "tunnelInfo( tunnelId )->intfIdHas( esIntfId )");
  info->intfIdDel(esIntfId);
  info->sharedEsiLabelConfiguredIntfDel(esIntfId);
  if (IntfTunnelSet* set = intfTunnelSet(esIntfId)) {
    set->tunnelIdDel(tunnelId);
    if (set->tunnelId().empty()) intfTunnelSetDel(esIntfId);
  }
  if (!info->intfId().empty()) {
    QTRACE(5, "EvpnHwTunnelIdSm::", "unProgramHwTunnelId", " ethernet segments still using tunnelId ",
           tunnelId);
    maybeReprogramHwTunnelId(tunnelId);
    return;
  }
  tunnelInfoDel(tunnelId);
  if (remoteInfo_->remoteTunnelIdHas(tunnelId)) {
    // Still flooded to: it keeps its ID, in the pool it needs without the segments.
    QTRACE(5, "EvpnHwTunnelIdSm::", "unProgramHwTunnelId", " flooding destination still using tunnelId ",
           tunnelId);
    maybeReprogramHwTunnelId(tunnelId);
    return;
  }
  retireTunnel(tunnelId);
}

void EvpnHwTunnelIdSm::retireTunnel(TunnelId const& tunnelId) {
  QTRACE(8, "EvpnHwTunnelIdSm::", "retireTunnel", " tunnelId ", tunnelId);
  if (!tunnelIdHwTunnelId_->tunnelIdToHwTunnelIdHas(tunnelId)) {
    QTRACE(5, "EvpnHwTunnelIdSm::", "retireTunnel", " tunnel not programmed ", tunnelId);
    unprogrammedTunnelDel(tunnelId);
    return;
  }
  HwTunnelIdType const hwTunnelIdType =
      tunnelIdHwTunnelId_->tunnelIdToHwTunnelId(tunnelId).hwTunnelId().type();
  TunnelIdSet* zombies = zombieTunnelIdIs(hwTunnelIdType);
  QOR_ASSERT_TEXT(!zombies->tunnelIdHas(tunnelId),
                  "!zombieTunnelIdIs( hwTunnelIdType )->tunnelIdHas( tunnelId )");
  QTRACE(5, "EvpnHwTunnelIdSm::", "retireTunnel", " zombie tunnelId ", tunnelId, " hwTunnelIdType ",
         hwTunnelIdType);
  zombies->tunnelIdIs(tunnelId);
  unprogrammedTunnelDel(tunnelId);  // a zombie no longer waits for a move
  maybeScheduleUnprogrammedReview(true);
}

void EvpnHwTunnelIdSm::publishHwTunnelId(TunnelId const& tunnelId) {
  QTRACE(8, "EvpnHwTunnelIdSm::", "publishHwTunnelId", " TunnelId ", tunnelId);
  if (!tunnelInfoHas(tunnelId)) {
    QOR_ASSERT_TEXT(remoteInfo_->remoteTunnelIdHas(tunnelId), "remoteInfo()->remoteTunnelIdHas( tunnelId )");
  }
  HwTunnelIdType const hwTunnelIdType = hwTunnelIdTypeOf(tunnelId);
  QTRACE(8, "EvpnHwTunnelIdSm::", "publishHwTunnelId", " hwTunnelIdType ", hwTunnelIdType);
  if (tunnelIdHwTunnelId_->tunnelIdToHwTunnelIdHas(tunnelId)) {
    // In use again: it keeps its ID. A zombie is filed under its ID's pool, which differs
    // from the needed pool when a shared-ES tunnel holds a fallback default ID.
    HwTunnelIdType const publishedType =
        tunnelIdHwTunnelId_->tunnelIdToHwTunnelId(tunnelId).hwTunnelId().type();
    if (TunnelIdSet* zombies = zombieTunnelId(publishedType)) zombies->tunnelIdDel(tunnelId);
    maybeReprogramHwTunnelId(tunnelId);
    return;
  }
  HwTunnelId hwTunnelId = getHwTunnelId(hwTunnelIdType, true);
  if (!hwTunnelId.valid() && hwTunnelIdType == hwTunnelIdTypeSharedEs) {
    QTRACE(5, "EvpnHwTunnelIdSm::", "publishHwTunnelId",
           " try allocating for hwTunnelIdTypeDefault for sharedEs");
    hwTunnelId = getHwTunnelId(hwTunnelIdTypeDefault, true);
    if (hwTunnelId.valid()) {
      QTRACE(5, "EvpnHwTunnelIdSm::", "publishHwTunnelId", " allocated HwTunnelId ", hwTunnelId,
             " with hwTunnelIdType=hwTunnelIdTypeDefault");
    }
  }
  if (!hwTunnelId.valid()) {
    QTRACE(5, "EvpnHwTunnelIdSm::", "publishHwTunnelId", " ", "failed to program tunnel", " TunnelId ",
           tunnelId);
    unprogrammedTunnelIs(tunnelId);
    return;
  }
  QTRACE(5, "EvpnHwTunnelIdSm::", "publishHwTunnelId", " ", "tunnel programmed with hw tunnel id ",
         hwTunnelId);
  tunnelIdHwTunnelId_->tunnelIdToHwTunnelIdIs(TunnelIdToHwTunnelId(tunnelId, hwTunnelId));
  if (hwTunnelId.type() == hwTunnelIdType) {
    unprogrammedTunnelDel(tunnelId);
    return;
  }
  // A fallback default ID forwards, but the tunnel belongs in the shared-ES pool: it waits
  // like a move that could not get its new ID, so that the review moves it once a shared
  // ID frees up, and the pool it ends in does not depend on the order of events.
  QTRACE(5, "EvpnHwTunnelIdSm::", "publishHwTunnelId", " fallback waits for the review, tunnelId ", tunnelId);
  if (unprogrammedTunnelHas(tunnelId)) {
    handleUnprogrammedTunnel(tunnelId);  // it has an ID now, which may end the overflow
  } else {
    unprogrammedTunnelIs(tunnelId);
  }
}

void EvpnHwTunnelIdSm::maybeReprogramHwTunnelId(TunnelId const& tunnelId) {
  QTRACE(8, "EvpnHwTunnelIdSm::", " maybeReprogramHwTunnelId ", " tunnelId ", tunnelId);
  if (!tunnelIdHwTunnelId_->tunnelIdToHwTunnelIdHas(tunnelId)) {
    // Still waiting for an ID: its pool has changed, so ask that pool now.
    publishHwTunnelId(tunnelId);
    return;
  }
  HwTunnelId const oldHwTunnelId = tunnelIdHwTunnelId_->tunnelIdToHwTunnelId(tunnelId).hwTunnelId();
  HwTunnelIdType const hwTunnelIdType = hwTunnelIdTypeOf(tunnelId);
  if (oldHwTunnelId.type() == hwTunnelIdType) {
    QTRACE(8, "EvpnHwTunnelIdSm::", " maybeReprogramHwTunnelId ", " already has HwTunnelId allocated",
           " with type ", hwTunnelIdType);
    unprogrammedTunnelDel(tunnelId);  // a move that waited is no longer needed
    return;
  }
  HwTunnelId const newHwTunnelId = getHwTunnelId(hwTunnelIdType, true);
  QTRACE(5, "EvpnHwTunnelIdSm::", " maybeReprogramHwTunnelId ", " oldHwTunnelId ", oldHwTunnelId,
         " oldHwTunnelIdType ", oldHwTunnelId.type(), " newHwTunnelId ", newHwTunnelId, " newHwTunnelIdType ",
         hwTunnelIdType, " hwTunnelIdValid ", newHwTunnelId.valid());
  // Without a new ID the tunnel keeps the old one, which still forwards, and waits with the
  // unprogrammed tunnels, so that the review retries the move.
  if (!newHwTunnelId.valid()) {
    QTRACE(5, "EvpnHwTunnelIdSm::", " maybeReprogramHwTunnelId ", " move waits for the review, tunnelId ",
           tunnelId);
    unprogrammedTunnelIs(tunnelId);
    return;
  }
  releaseHwTunnelId(oldHwTunnelId);
  maybeScheduleUnprogrammedReview(true);
  tunnelIdHwTunnelId_->tunnelIdToHwTunnelIdIs(TunnelIdToHwTunnelId(tunnelId, newHwTunnelId));
  unprogrammedTunnelDel(tunnelId);
}

HwTunnelId EvpnHwTunnelIdSm::getHwTunnelId(HwTunnelIdType type, bool attemptZombieRelease) {
  QTRACE(8, "EvpnHwTunnelIdSm::", "getHwTunnelId", " hwTunnelIdType ", type, " attemptZombieRelease ",
         attemptZombieRelease);
  HwTunnelId const hwTunnelId = allocateHwTunnelId(type);
  if (hwTunnelId.valid() || !attemptZombieRelease) return hwTunnelId;
  if (!releaseOneZombieTunnelId(type)) return HwTunnelId();
  return allocateHwTunnelId(type);
}

HwTunnelId EvpnHwTunnelIdSm::allocateHwTunnelId(HwTunnelIdType type) {
  HwTunnelId const hwTunnelId = hwTunnelIdHelper_->getHwTunnelId(type);
  ++counters_.helperCalls;
  if (!hwTunnelId.valid()) {
    counters_.failureIs(scheduler_->now());
    return hwTunnelId;
  }
  uint64_t& held = held_[poolIndex(hwTunnelId.type())];
  if (++held > highWater_[poolIndex(hwTunnelId.type())]) highWater_[poolIndex(hwTunnelId.type())] = held;
  return hwTunnelId;
}

void EvpnHwTunnelIdSm::releaseHwTunnelId(HwTunnelId const& hwTunnelId) {
  hwTunnelIdHelper_->releaseHwTunnelId(hwTunnelId);
  ++counters_.helperCalls;
  uint64_t& held = held_[poolIndex(hwTunnelId.type())];
  if (held) --held;
}

bool EvpnHwTunnelIdSm::releaseOneZombieTunnelId(HwTunnelIdType type) {
  QTRACE(8, "EvpnHwTunnelIdSm::", "releaseOneZombieTunnelId", " hwTunnelIdType ", type);
  TunnelIdSet* zombies = zombieTunnelId(type);
  if (!zombies) {
    QTRACE(8, "EvpnHwTunnelIdSm::", "releaseOneZombieTunnelId", " hwTunnelIdType ", type,
           " not in zombieTunnelId collection ");
    return false;
  }
  if (zombies->tunnelId().empty()) {
    QTRACE(8, "EvpnHwTunnelIdSm::", "releaseOneZombieTunnelId", " hwTunnelIdType ", type,
           " collection empty ");
    return false;
  }
  TunnelId const tunnelId = *zombies->tunnelId().begin();
  TunnelIdToHwTunnelId const tidHwTid = tunnelIdHwTunnelId_->tunnelIdToHwTunnelIdDel(tunnelId);
  QOR_ASSERT_TEXT(tidHwTid != TunnelIdToHwTunnelId(), "!!tidHwTid");
  QTRACE(5, "EvpnHwTunnelIdSm::", "releaseOneZombieTunnelId", " tunnelId ", tunnelId, " hwTunnelId ",
         tidHwTid.hwTunnelId());
  releaseHwTunnelId(tidHwTid.hwTunnelId());
  zombies->tunnelIdDel(tunnelId);
  return true;
}

void EvpnHwTunnelIdSm::hwTunnelIdOverflowIs(HwTunnelIdType type, bool overflow) {
  // A pool never recorded counts as not exhausted: recording it as such is no change.
  bool const changed = hwTunnelIdOverflow(type) != overflow;
  hwTunnelIdOverflow_.set(type, overflow);
  if (changed) handleHwTunnelIdOverflow(type);
}

void EvpnHwTunnelIdSm::handleHwTunnelIdOverflow(HwTunnelIdType hwTunnelIdType) {
  bool const overflow = hwTunnelIdOverflow(hwTunnelIdType);
  QTRACE(8, "EvpnHwTunnelIdSm::", "handleHwTunnelIdOverflow", " hwTunnelIdType ", hwTunnelIdType,
         " overflow ", overflow);
  if (!initialized()) return;
  if (noopAgent()) {
    QTRACE(1, "EvpnHwTunnelIdSm::", "handleHwTunnelIdOverflow",
           " no hardware (FENN_NOOP_AGENT), not reported");
    return;
  }
  if (hwTunnelIdType == hwTunnelIdTypeDefault) {
    if (overflow) QTRACE(1, "EvpnHwTunnelIdSm::", "handleHwTunnelIdOverflow", " default pool exhausted");
    if (!simulation()) QOR_ASSERT_TEXT(!overflow, "!hwTunnelIdOverflow( hwTunnelIdType )");
    return;
  }
  Qor::log(overflow ? EVPN_MPLS_SHARED_ESI_HW_RESOURCE_FULL : EVPN_MPLS_SHARED_ESI_HW_RESOURCE_NORMAL);
}

void EvpnHwTunnelIdSm::unprogrammedTunnelIs(TunnelId const& tunnelId) {
  if (unprogrammedTunnel_.has(tunnelId)) return;
  unprogrammedTunnel_.set(tunnelId);
  handleUnprogrammedTunnel(tunnelId);
}

void EvpnHwTunnelIdSm::unprogrammedTunnelDel(TunnelId const& tunnelId) {
  if (unprogrammedTunnel_.del(tunnelId)) handleUnprogrammedTunnel(tunnelId);
}

void EvpnHwTunnelIdSm::handleUnprogrammedTunnel(TunnelId const& tunnelId) {
  QTRACE(8, "EvpnHwTunnelIdSm::", "handleUnprogrammedTunnel", " tunnelId ", tunnelId, " unprogrammed ",
         unprogrammedTunnelHas(tunnelId));
  // Only a tunnel without an ID is unprogrammed for the report: one that waits holding an
  // ID of the other pool (a fallback, a move) still forwards, raises no flag, and does not
  // hold back the recovery.
  bool const withoutId = !tunnelIdHwTunnelId_->tunnelIdToHwTunnelIdHas(tunnelId);
  if (unprogrammedTunnelHas(tunnelId) && withoutId && tunnelInfoHas(tunnelId)) {
    hwTunnelIdOverflowIs(hwTunnelIdTypeOf(tunnelId), true);
  } else if (hwTunnelIdOverflow(hwTunnelIdTypeSharedEs) && !unprogrammedTunnelWithoutId()) {
    hwTunnelIdOverflowIs(hwTunnelIdTypeSharedEs, false);
  }
}

// Walked only while the shared-ES pool is reported exhausted; stops at the first tunnel
// found without an ID.
bool EvpnHwTunnelIdSm::unprogrammedTunnelWithoutId() const {
  for (auto const& tunnelId : unprogrammedTunnel_) {
    if (!tunnelIdHwTunnelId_->tunnelIdToHwTunnelIdHas(tunnelId)) return true;
  }
  return false;
}

void EvpnHwTunnelIdSm::maybeScheduleUnprogrammedReview(bool immediate) {
  QTRACE(8, "EvpnHwTunnelIdSm::", "maybeScheduleUnprogrammedReview", " immediate ", immediate);
  if (unprogrammedTunnel_.empty()) return;
  QOR_ASSERT_TEXT(initialized(), "initialized()");
  bookmarkIs(TunnelId());
  reviewAsked_ = true;
  if (immediate) {
    reviewUnprogrammed_->scheduleTask();
    QTRACE(5, "EvpnHwTunnelIdSm::", "maybeScheduleUnprogrammedReview", " ",
           "schedule immediate unprogrammed review");
  } else if (!reviewUnprogrammed_->taskScheduled()) {
    reviewUnprogrammed_->scheduleTaskDelay(defaultUnprogrammedRetryInterval());
    QTRACE(5, "EvpnHwTunnelIdSm::", "maybeScheduleUnprogrammedReview", " ", "next unprogrammed review at ",
           reviewUnprogrammed_->dueTime());
  } else {
    QTRACE(5, "EvpnHwTunnelIdSm::", "maybeScheduleUnprogrammedReview", " ", "already scheduled");
  }
}

void EvpnHwTunnelIdSm::reviewUnprogrammedIs(Qor::Ptr<Keel::TaskScheduler> const& scheduler,
                                            Keel::Priority priority, Qor::String const& taskName) {
  reviewUnprogrammed_ = Qor::Ptr<Keel::TimerTask>(
      new Keel::TimerTask(scheduler, priority, taskName, [this] { doReviewUnprogrammed(); }));
}

void EvpnHwTunnelIdSm::doReviewUnprogrammed() {
  QTRACE(8, "EvpnHwTunnelIdSm::", "doReviewUnprogrammed", " bookmark ", bookmark());
  QOR_ASSERT_TEXT(initialized(), "initialized()");
  Keel::TimerTask* task = reviewUnprogrammed_.get();
  QOR_ASSERT_TEXT(task, "task");
  // Walked in tunnel ID order, so that a bookmark whose tunnel has left the set still marks
  // where the previous slice stopped.
  std::vector<TunnelId> tunnels = unprogrammedTunnel_.keys();
  std::sort(tunnels.begin(), tunnels.end());
  reviewAsked_ = false;
  for (auto it = std::lower_bound(tunnels.begin(), tunnels.end(), bookmark()); it != tunnels.end(); ++it) {
    publishHwTunnelId(*it);
    ++counters_.retries;
    task->taskWorkCountInc(1);
    if (std::next(it) != tunnels.end() && task->taskShouldYield()) {
      // A review asked for during this slice (a move freed an ID) starts over: tunnels
      // already passed may now get what they wait for.
      bookmarkIs(reviewAsked_ ? TunnelId() : *std::next(it));
      task->scheduleTaskDelay(defaultUnprogrammedRetryInterval());
      QTRACE(5, "EvpnHwTunnelIdSm::", "doReviewUnprogrammed", " yield, resume at ", bookmark());
      return;
    }
  }
}

HwTunnelIdType EvpnHwTunnelIdSm::hwTunnelIdTypeOf(TunnelId const& tunnelId) const {
  TunnelInfo const* info = tunnelInfo(tunnelId);
  return info ? info->hwTunnelIdType() : hwTunnelIdTypeDefault;
}

bool EvpnHwTunnelIdSm::sharedEsiLabelValid(Ostra::IntfId const& esIntfId) const {
  auto const* status = evpnStatus_->ethernetSegmentStatus(esIntfId);
  return status && status->sharedEsiLabel().valid();
}

// ---- Operator answers ----

uint64_t EvpnHwTunnelIdSm::publishedCount(HwTunnelIdType type) const {
  uint64_t count = 0;
  for (auto const& [tunnelId, row] : tunnelIdHwTunnelId_->rows()) count += row.hwTunnelId().type() == type;
  return count;
}

Qor::String EvpnHwTunnelIdSm::poolText(HwTunnelIdType type) const {
  uint64_t const size = hwTunnelIdHelper_->hwTunnelIdPoolSize(type);
  uint64_t const used = publishedCount(type);
  TunnelIdSet const* zombies = zombieTunnelId(type);
  Qor::String const counts = std::to_string(used) + (size ? " of " + std::to_string(size) : Qor::String()) +
                             ", " + std::to_string(zombies ? zombies->tunnelId().size() : 0) +
                             " zombies waiting for reclaim";
  bool const full = size ? used >= size : hwTunnelIdOverflow(type);
  return "the " + poolName(type) + " pool " + (full ? "is full" : "failed to allocate") + " (" + counts + ")";
}

void EvpnHwTunnelIdSm::explainHwTunnelId(TunnelId const& tunnelId, Explanation& answer) const {
  constexpr char machine[] = "EvpnHwTunnelIdSm";
  uint32_t const flooded =
      remoteInfo_->remoteTunnelIdHas(tunnelId) ? remoteInfo_->remoteTunnelId(tunnelId) : 0;
  TunnelInfo const* info = tunnelInfo(tunnelId);
  Qor::String users;
  if (flooded) users = std::to_string(flooded) + " flood-set destination(s)";
  if (info) {
    users += users.empty() ? "segments" : ", segments";
    for (auto const& intf : info->intfId().keys()) {
      users += ' ';
      users += intf.name();
    }
  }
  Qor::String const name = "tunnel " + answer.tunnelName(tunnelId);
  if (users.empty()) {
    answer.stepIs(machine, name + " needed by", "nothing: no flood-set destination or segment uses it",
                  ExplainStatus::missingInput);
  } else {
    answer.stepIs(machine, name + " needed by", users);
  }
  if (!answer.initializedStep(machine, initialized())) return;
  HwTunnelIdType const type = hwTunnelIdTypeOf(tunnelId);
  answer.stepIs(machine, "pool",
                poolName(type) +
                    (type == hwTunnelIdTypeSharedEs ? " (a segment it serves has a shared ESI label)" : ""));
  // A full pool is reviewed when an ID is freed, or when the platform says it grew.
  Qor::String const retry =
      retryText(counters_, reviewUnprogrammed_.get(), "next review when an ID is freed or the pool grows");
  if (tunnelIdHwTunnelId_->tunnelIdToHwTunnelIdHas(tunnelId)) {
    HwTunnelId const id = tunnelIdHwTunnelId_->tunnelIdToHwTunnelId(tunnelId).hwTunnelId();
    Qor::String value = std::to_string(id.id()) + " of the " + poolName(id.type()) + " pool";
    if (TunnelIdSet const* zombies = zombieTunnelId(id.type()); zombies && zombies->tunnelIdHas(tunnelId))
      value += ", a zombie: no longer needed, reclaimed when its pool runs dry";
    if (unprogrammedTunnelHas(tunnelId))
      value += "; the move to the " + poolName(type) + " pool waits: " + poolText(type) + "; " + retry;
    answer.stepIs(machine, "hardware tunnel ID", value);
    return;
  }
  if (unprogrammedTunnelHas(tunnelId)) {
    Qor::String value = "none: " + poolText(type);
    if (type == hwTunnelIdTypeSharedEs) value += ", and " + poolText(hwTunnelIdTypeDefault);
    answer.stepIs(machine, "hardware tunnel ID", value + "; " + retry, ExplainStatus::failed);
    return;
  }
  answer.stepIs(machine, "hardware tunnel ID", "none",
                users.empty() ? ExplainStatus::missingInput : ExplainStatus::waitingForHardware);
}

SmSummary EvpnHwTunnelIdSm::summary() const {
  SmSummary s("EvpnHwTunnelIdSm", counters_, unusableInputCount());
  // Every tunnel that needs an ID: the flooding destinations and the segments' peers.
  s.intended = remoteInfo_->remoteTunnelId().size();
  for (auto const& [tunnelId, info] : tunnelInfo()) s.intended += !remoteInfo_->remoteTunnelIdHas(tunnelId);
  s.unprogrammed = unprogrammedTunnel_.size();
  for (auto const& [tunnelId, row] : tunnelIdHwTunnelId_->rows()) {
    bool const needed = remoteInfo_->remoteTunnelIdHas(tunnelId) || tunnelInfoHas(tunnelId);
    s.programmed += needed && !unprogrammedTunnelHas(tunnelId);
  }
  for (auto const type : {hwTunnelIdTypeDefault, hwTunnelIdTypeSharedEs}) {
    s.pools.push_back(PoolUse{poolName(type), publishedCount(type),
                              hwTunnelIdHelper_->hwTunnelIdPoolSize(type), highWater_[poolIndex(type)]});
  }
  return s;
}

Qor::Ptr<EvpnHwTunnelIdSm> evpnHwTunnelIdSmFactory(
    Qor::Ptr<FennHelper::EvpnHwTunnelIdSmHelper> hwTunnelIdHelper,
    Qor::Ptr<Keel::TaskScheduler> taskScheduler, Qor::Ptr<FennCommonSmData const> acsd,
    Qor::Ptr<Evpn::EvpnStatus const> evpnStatus, Qor::Ptr<EvpnRemoteInfo const> remoteInfo,
    Qor::Ptr<TunnelIdToHwTunnelIdMapping> tunnelIdHwTunnelId) {
  return Qor::Ptr<EvpnHwTunnelIdSm>(
      new EvpnHwTunnelIdSm(std::move(hwTunnelIdHelper), std::move(taskScheduler), std::move(acsd),
                           std::move(evpnStatus), std::move(remoteInfo), std::move(tunnelIdHwTunnelId)));
}

}  // namespace Fenn
