#include "FennEvpn/FennEvpnFloodingEsiSm.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "FennEvpn/FennEvpnPortExpansion.h"
#include "FennEvpn/FennEvpnPortExplain.h"
#include "FennEvpn/FennEvpnUnusableInput.h"
#include "Qor/Assert.h"
#include "Qor/Trace.h"

QOR_TRACE_SOURCE("/src/FennEvpn/FennEvpnFloodingEsiSm")

namespace Fenn {

namespace {

// The tunnel behind a remote TEP's interface. One that names no tunnel is reported when it
// arrives (EvpnFloodingEsiSm::reportUnusableTep) and passed over by every walk.
std::optional<TunnelId> tunnelOfTep(Ostra::IntfId const& tepIntfId) {
  return usableValue([&] { return srTeOrDynamicTunnelIntfIdToTunnelId(tepIntfId); });
}

// The VLANs of a segment that carry ESI data: those configured on it and those it has a
// designated forwarder for. One rule for the whole-segment walk and for single changes, so
// that the result does not depend on which came first.
bool segmentFloodsVlan(Evpn::EthernetSegmentStatus const& es, Bridging::VlanId vlanId) {
  return es.configuredVlanHas(vlanId) || es.designatedForwarderTepHas(vlanId);
}

}  // namespace

class EvpnFloodingEsiSm::QorEvpnStatus : public Qor::ReactorOf<Evpn::EvpnStatus, EvpnFloodingEsiSm> {
 public:
  using ReactorOf::ReactorOf;
  void onAttribute(Qor::AttributeId id, void const* key) override {
    switch (id) {
      case Evpn::EvpnStatus::ethernetSegmentStatusAttr: {
        auto const& intfId = Qor::keyAs<Ostra::IntfId>(key);
        notifier()->ethernetSegmentStatusHas(intfId) ? sm()->segmentStatusIs(intfId)
                                                     : sm()->segmentStatusDel(intfId);
        break;
      }
      case Evpn::EvpnStatus::localEsiLabelAttr:
        sm()->handleLocalEsiLabel(Qor::keyAs<Ostra::IntfId>(key));
        break;
    }
  }
};

class EvpnFloodingEsiSm::QorSegmentStatus
    : public Qor::ReactorOf<Evpn::EthernetSegmentStatus, EvpnFloodingEsiSm> {
 public:
  using ReactorOf::ReactorOf;
  void onCreate() override { sm()->handleSegmentStatus(intfId()); }
  void onAttribute(Qor::AttributeId id, void const* key) override {
    switch (id) {
      case Evpn::EthernetSegmentStatus::designatedForwarderTepAttr:
        handleDFTep(Qor::keyAs<Bridging::VlanId>(key));
        break;
      case Evpn::EthernetSegmentStatus::configuredVlanAttr:
        handleConfiguredVlan(Qor::keyAs<Bridging::VlanId>(key));
        break;
      case Evpn::EthernetSegmentStatus::remoteEsiLabelAttr:
        handleLabel(Qor::keyAs<Ostra::IntfId>(key));
        break;
      case Evpn::EthernetSegmentStatus::sharedEsiLabelAttr:
        handleSharedEsiLabel();
        break;
    }
  }

 private:
  void handleDFTep(Bridging::VlanId vlanId) {
    QTRACE(8, "EvpnFloodingEsiSm::QorSegmentStatus::", "handleDFTep", " vlanId ", vlanId, " intfId ",
           intfId());
    sm()->handleSegmentVlan(intfId(), vlanId);
  }
  void handleConfiguredVlan(Bridging::VlanId vlanId) {
    QTRACE(8, "EvpnFloodingEsiSm::QorSegmentStatus::", "handleConfiguredVlan", " vlanId ", vlanId, " intfId ",
           intfId());
    sm()->handleSegmentVlan(intfId(), vlanId);
  }
  void handleLabel(Ostra::IntfId const& tepIntfId) {
    QTRACE(8, "EvpnFloodingEsiSm::QorSegmentStatus::", "handleLabel", " intfId ", intfId(), " tep ",
           tepIntfId, " tunnelId ", tunnelOfTep(tepIntfId).value_or(TunnelId()));
    if (sm()->initialized() && notifier()->remoteEsiLabelHas(tepIntfId))
      sm()->reportUnusableTep(intfId(), tepIntfId, "handleLabel");
    sm()->handleSegmentVlans(intfId());
  }
  void handleSharedEsiLabel() {
    Evpn::SharedEsiLabel const& shared = notifier()->sharedEsiLabel();
    QTRACE(8, "EvpnFloodingEsiSm::QorSegmentStatus::", "handleSharedEsiLabel", " intfId ", intfId(),
           " valid ", shared.valid(), " label ", shared.label());
    sm()->handleSegmentVlans(intfId());
  }
  Ostra::IntfId intfId() const { return notifier()->intfId(); }
};

class EvpnFloodingEsiSm::QorTunnelIdHwTunnelId : public TunnelIdToHwTunnelIdReactor<EvpnFloodingEsiSm> {
 public:
  using TunnelIdToHwTunnelIdReactor::TunnelIdToHwTunnelIdReactor;
  void tunnelIdToHwTunnelIdNotify(TunnelId const& tunnelId) override {
    sm()->handleTunnelIdMapping(tunnelId);
  }
};

class EvpnFloodingEsiSm::QorEvpnLagMemberInfo : public Qor::ReactorOf<EvpnLagMemberInfo, EvpnFloodingEsiSm> {
 public:
  using ReactorOf::ReactorOf;
  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id == EvpnLagMemberInfo::lagToPortAttr) sm()->handleLagPort(Qor::keyAs<Ostra::IntfId>(key));
  }
};

// One ESI entry, as the port expansion programs it.
struct EvpnFloodingEsiSm::EsiTarget {
  static constexpr auto& traceClass = EvpnFloodingEsiSm::traceClass;
  static constexpr char function[] = "programEsi";

  void programPort(Ostra::IntfId const& phy) { sm.programEsiHelper(key, phy, esiInfo); }
  void unprogramAll() { sm.unprogramEsi(key); }
  void resetUnprogrammed() {
    sm.unprogrammedEsiDel(key);
    if (IntfVlanTunnelEsiStatus* es = sm.esiStatus(key)) es->unprogrammedDelAll();
  }
  template <class F>
  void forEachProgrammedPort(F&& f) const {
    if (IntfVlanTunnelEsiStatus const* es = sm.esiStatus(key)) {
      for (auto const& [phy, hwTunnelId] : es->programmed()) f(phy);
    }
  }
  bool forceReprogram(Ostra::IntfId const&) const { return false; }
  void unprogramPort(Ostra::IntfId const& phy, bool, bool) {
    QTRACE(5, "EvpnFloodingEsiSm::", "programEsi", " ", "stale lag member, delete", " logical intf ",
           key.intfId(), " phy intf ", phy);
    sm.unprogramEsiHelper(key, phy);
  }

  EvpnFloodingEsiSm& sm;
  IntfVlanTunnelKey const& key;
  EsiInfo const& esiInfo;
};

EvpnFloodingEsiSm::EvpnFloodingEsiSm(Qor::Ptr<FennHelper::EvpnFloodingSmHelper> helper,
                                     Qor::Ptr<Keel::TaskScheduler> scheduler,
                                     Qor::Ptr<EvpnLagMemberInfo const> evpnLagMemberInfo,
                                     Qor::Ptr<Evpn::EvpnStatus const> evpnStatus,
                                     Qor::Ptr<TunnelIdToHwTunnelIdMapping const> tunnelIdHwTunnelId)
    : helper_(std::move(helper)),
      scheduler_(std::move(scheduler)),
      evpnLagMemberInfo_(std::move(evpnLagMemberInfo)),
      evpnStatus_(std::move(evpnStatus)),
      tunnelIdHwTunnelId_(std::move(tunnelIdHwTunnelId)) {
  // An input the platform did not hand in is reported by handleInitialized.
  if (evpnStatus_) qorEvpnStatus_ = Qor::newReactor<QorEvpnStatus>(evpnStatus_.get(), this);
  if (tunnelIdHwTunnelId_)
    qorTunnelIdHwTunnelId_ = Qor::newReactor<QorTunnelIdHwTunnelId>(tunnelIdHwTunnelId_.get(), this);
  if (evpnLagMemberInfo_)
    qorEvpnLagMemberInfo_ = Qor::newReactor<QorEvpnLagMemberInfo>(evpnLagMemberInfo_.get(), this);
}

EvpnFloodingEsiSm::~EvpnFloodingEsiSm() {
  qorEvpnLagMemberInfo_.reset();
  qorTunnelIdHwTunnelId_.reset();
  qorEvpnStatus_.reset();
  segmentStatus_.delAll();
  if (!initialized()) return;
  for (auto const& key : esiStatus().keys()) {
    IntfVlanTunnelEsiStatus const* es = esiStatus(key);
    for (auto const& [phy, hwTunnelId] : es->programmed()) {
      helper_->deleteEsiData(key.intfId(), phy, key.vlanId(), key.tunnelId(), hwTunnelId);
    }
  }
  review_.reset();
}

void EvpnFloodingEsiSm::handleInitialized() {
  QTRACE(8, "EvpnFloodingEsiSm::", "handleInitialized");
  QOR_ASSERT_TEXT(evpnStatus(), "evpnStatus()");
  QOR_ASSERT_TEXT(tunnelIdHwTunnelId(), "tunnelIdHwTunnelId()");
  QOR_ASSERT_TEXT(evpnLagMemberInfo(), "evpnLagMemberInfo()");
  QOR_ASSERT_TEXT(floodingHelper(), "floodingHelper()");
  QOR_ASSERT_TEXT(scheduler(), "scheduler()");
  review_ =
      std::make_unique<Review>(*this, qorTraceHandle_, unprogrammedEsi(), scheduler_, Keel::priorityNormal);
  for (auto const& intfId : evpnStatus_->ethernetSegmentStatus().keys()) handleSegmentStatus(intfId);
}

void EvpnFloodingEsiSm::maybeScheduleUnprogrammedReview(bool immediate) { review_->maybeSchedule(immediate); }

void EvpnFloodingEsiSm::evpnLagMemberInfoDel() {
  QTRACE(8, "EvpnFloodingEsiSm::", "evpnLagMemberInfoDel");
  qorEvpnLagMemberInfo_.reset();
  evpnLagMemberInfo_ = nullptr;
  if (!initialized()) return;
  // Every LAG is now without configuration; plain ports do not depend on the member lists.
  for (auto const& intfId : intfVlanSet().keys()) {
    if (isLag(intfId)) handleSegmentVlans(intfId);
  }
}

void EvpnFloodingEsiSm::evpnStatusDel() {
  QTRACE(8, "EvpnFloodingEsiSm::", "evpnStatusDel");
  qorEvpnStatus_.reset();
  evpnStatus_ = nullptr;
  segmentStatusDelAll();
}

void EvpnFloodingEsiSm::tunnelIdHwTunnelIdDel() {
  QTRACE(8, "EvpnFloodingEsiSm::", "tunnelIdHwTunnelIdDel");
  qorTunnelIdHwTunnelId_.reset();
  tunnelIdHwTunnelId_ = nullptr;
  if (!initialized()) return;
  // No tunnel has a hardware ID any more, which also decides who gets the label.
  for (auto const& intfId : intfVlanSet().keys()) handleSegmentVlans(intfId);
}

void EvpnFloodingEsiSm::segmentStatusIs(Ostra::IntfId const& intfId) {
  QTRACE(8, "EvpnFloodingEsiSm::", "segmentStatusIs", " intfId ", intfId);
  segmentStatus_.add(intfId, evpnStatus_->ethernetSegmentStatus(intfId), this);
}

void EvpnFloodingEsiSm::segmentStatusDel(Ostra::IntfId const& intfId) {
  QTRACE(8, "EvpnFloodingEsiSm::", "segmentStatusDel", " intfId ", intfId);
  segmentStatus_.del(intfId);
  handleSegmentStatus(intfId);
}

void EvpnFloodingEsiSm::segmentStatusDelAll() {
  QTRACE(8, "EvpnFloodingEsiSm::", "segmentStatusDelAll");
  segmentStatus_.delAll();
  for (auto const& intfId : intfVlanSet().keys()) handleSegmentStatus(intfId);
}

void EvpnFloodingEsiSm::handleSegmentStatus(Ostra::IntfId const& intfId) {
  QTRACE(8, "EvpnFloodingEsiSm::", "handleSegmentStatus", " intfId ", intfId);
  if (!initialized()) return;
  if (Evpn::EthernetSegmentStatus const* es = segmentOf(intfId)) {
    for (auto const& [tep, label] : es->remoteEsiLabel())
      reportUnusableTep(intfId, tep, "handleSegmentStatus");
    for (auto const& vlanId : es->configuredVlan().keys()) addIntfVlanMapping(intfId, vlanId);
    for (auto const& vlanId : es->designatedForwarderTep().keys()) {
      if (!es->configuredVlanHas(vlanId)) addIntfVlanMapping(intfId, vlanId);
    }
    return;
  }
  if (IntfVlanSet const* set = intfVlanSet(intfId)) {
    for (auto const& vlanId : set->vlanId().keys()) deleteIntfVlanMapping(intfId, vlanId);
  }
}

void EvpnFloodingEsiSm::reportUnusableTep(Ostra::IntfId const& intfId, Ostra::IntfId const& tepIntfId,
                                          char const* function) {
  if (auto const error = skipUnusableInput([&] { srTeOrDynamicTunnelIntfIdToTunnelId(tepIntfId); })) {
    QTRACE(1, "EvpnFloodingEsiSm::", function, " skipped tep ", tepIntfId, " intfId ", intfId, " ", *error);
  }
}

void EvpnFloodingEsiSm::handleSegmentVlan(Ostra::IntfId const& intfId, Bridging::VlanId vlanId) {
  if (!initialized()) return;
  Evpn::EthernetSegmentStatus const* es = segmentOf(intfId);
  if (es && segmentFloodsVlan(*es, vlanId)) {
    addIntfVlanMapping(intfId, vlanId);
  } else {
    deleteIntfVlanMapping(intfId, vlanId);
  }
}

void EvpnFloodingEsiSm::handleSegmentVlans(Ostra::IntfId const& intfId) {
  if (!initialized()) return;
  if (IntfVlanSet const* set = intfVlanSet(intfId)) {
    for (auto const& vlanId : set->vlanId().keys()) processIntfVlan(intfId, vlanId);
  }
}

void EvpnFloodingEsiSm::handleLocalEsiLabel(Ostra::IntfId const& intfId) {
  QTRACE(8, "EvpnFloodingEsiSm::", "handleLocalEsiLabel", " intfId ", intfId, " label ",
         evpnStatus_->localEsiLabel(intfId));
  if (!initialized()) return;
  IntfVlanSet const* set = intfVlanSet(intfId);
  if (!set) return;
  // Every entry of the interface carries the local label: a new label is a new entry, so
  // what was programmed with the old one goes first.
  bool const present = !evpnStatus_->localEsiLabel(intfId).empty();
  for (auto const& vlanId : set->vlanId().keys()) {
    deleteIntfVlanTunnelMapping(intfId, vlanId);
    if (present) addIntfVlanMapping(intfId, vlanId);
  }
}

void EvpnFloodingEsiSm::handleTunnelIdMapping(TunnelId const& tunnelId) {
  QTRACE(8, "EvpnFloodingEsiSm::", "handleTunnelIdMapping", " tunnelId ", tunnelId, " hwTunnelId ",
         tunnelIdHwTunnelId_->tunnelIdToHwTunnelId(tunnelId).hwTunnelId());
  if (!initialized()) return;
  TunnelIntfVlanSet const* set = tunnelIntfVlanSet(tunnelId);
  if (!set) return;
  // An ID that appears, changes or goes can also change whether all of a segment's remotes
  // are in the shared-ES pool, so each pair is decided again as a whole.
  for (auto const& intfVlan : set->intfVlan().keys()) processIntfVlan(intfVlan.intfId(), intfVlan.vlanId());
}

void EvpnFloodingEsiSm::handleLagPort(Ostra::IntfId const& intfId) {
  QTRACE(8, "EvpnFloodingEsiSm::", "handleLagPort", " intfId ", intfId);
  if (!initialized()) return;
  handleSegmentVlans(intfId);
}

void EvpnFloodingEsiSm::addIntfVlanMapping(Ostra::IntfId const& intfId, Bridging::VlanId vlanId) {
  QTRACE(5, "EvpnFloodingEsiSm::", "addIntfVlanMapping", " intfId ", intfId, " vlan ", vlanId);
  intfVlanSetIs(intfId)->vlanIdIs(vlanId);
  vlanIntfSetIs(vlanId)->intfIdIs(intfId);
  processIntfVlan(intfId, vlanId);
}

void EvpnFloodingEsiSm::deleteIntfVlanMapping(Ostra::IntfId const& intfId, Bridging::VlanId vlanId) {
  QTRACE(5, "EvpnFloodingEsiSm::", "deleteIntfVlanMapping", " intfId ", intfId, " vlan ", vlanId);
  if (IntfVlanSet* set = intfVlanSet(intfId)) {
    set->vlanIdDel(vlanId);
    if (set->vlanId().empty()) intfVlanSetDel(intfId);
  }
  if (VlanIntfSet* set = vlanIntfSet(vlanId)) {
    set->intfIdDel(intfId);
    if (set->intfId().empty()) vlanIntfSetDel(vlanId);
  }
  processIntfVlan(intfId, vlanId);
}

void EvpnFloodingEsiSm::addOrUpdateIntfVlanTunnelMapping(Ostra::IntfId const& intfId, Bridging::VlanId vlanId,
                                                         TunnelId const& tunnelId) {
  IntfVlanKey const intfVlan(intfId, vlanId);
  IntfVlanTunnelSet* tunnels = intfVlanTunnelSetIs(intfVlan);
  if (tunnels->tunnelIdHas(tunnelId)) return;
  QTRACE(5, "EvpnFloodingEsiSm::", "addOrUpdateIntfVlanTunnelMapping", " intfId ", intfId, " vlan ", vlanId,
         " tunnelId ", tunnelId);
  tunnels->tunnelIdIs(tunnelId);
  tunnelIntfVlanSetIs(tunnelId)->intfVlanIs(intfVlan);
  intfTunnelVlanSetIs(IntfTunnelKey(intfId, tunnelId))->vlanIdIs(vlanId);
}

void EvpnFloodingEsiSm::deleteIntfVlanTunnel(Ostra::IntfId const& intfId, Bridging::VlanId vlanId,
                                             TunnelId const& tunnelId) {
  QTRACE(5, "EvpnFloodingEsiSm::", "deleteIntfVlanTunnel", " intfId ", intfId, " vlan ", vlanId, " tunnelId ",
         tunnelId);
  IntfVlanKey const intfVlan(intfId, vlanId);
  if (TunnelIntfVlanSet* set = tunnelIntfVlanSet(tunnelId)) {
    set->intfVlanDel(intfVlan);
    if (set->intfVlan().empty()) tunnelIntfVlanSetDel(tunnelId);
  }
  IntfTunnelKey const intfTunnel(intfId, tunnelId);
  if (IntfTunnelVlanSet* set = intfTunnelVlanSet(intfTunnel)) {
    set->vlanIdDel(vlanId);
    if (set->vlanId().empty()) intfTunnelVlanSetDel(intfTunnel);
  }
  if (IntfVlanTunnelSet* set = intfVlanTunnelSet(intfVlan)) set->tunnelIdDel(tunnelId);
  deleteIntfVlanTunnelLabelMapping(intfId, vlanId, tunnelId);
}

void EvpnFloodingEsiSm::deleteIntfVlanTunnelMapping(Ostra::IntfId const& intfId, Bridging::VlanId vlanId) {
  IntfVlanKey const intfVlan(intfId, vlanId);
  IntfVlanTunnelSet const* tunnels = intfVlanTunnelSet(intfVlan);
  if (!tunnels) return;
  QTRACE(5, "EvpnFloodingEsiSm::", "deleteIntfVlanTunnelMapping", " intfId ", intfId, " vlan ", vlanId);
  for (auto const& tunnelId : tunnels->tunnelId().keys()) deleteIntfVlanTunnel(intfId, vlanId, tunnelId);
  intfVlanTunnelSetDel(intfVlan);
}

void EvpnFloodingEsiSm::addOrUpdateIntfVlanTunnelLabelMapping(Ostra::IntfId const& intfId,
                                                              Bridging::VlanId vlanId,
                                                              TunnelId const& tunnelId,
                                                              HwTunnelId const& hwTunnelId,
                                                              Ostra::MplsLabel label) {
  QTRACE(5, "EvpnFloodingEsiSm::", "addOrUpdateIntfVlanTunnelLabelMapping", " intfId ", intfId, " vlan ",
         vlanId, " tunnelId ", tunnelId, " hwTunnelId ", hwTunnelId, " label ", label);
  IntfVlanTunnelKey const key(intfId, vlanId, tunnelId);
  EsiInfo const esiInfo(hwTunnelId, label);
  if (intfVlanTunnelEsiInfoHas(key)) {
    EsiInfo const old = intfVlanTunnelEsiInfo(key);
    // An entry whose only change is its hardware tunnel ID is overwritten in place where
    // the platform allows it: the status record keeps the old ID of each port, so the
    // next create overwrites it, and a port that leaves meanwhile is still deleted. A
    // changed label cannot be told from an entry already right by the record (it keeps
    // IDs, not labels), so that entry is always deleted and created again.
    if (old != esiInfo && (old.label() != label || !helper_->updateSupportedOnCreateEsiData())) {
      deleteIntfVlanTunnelLabelMapping(intfId, vlanId, tunnelId);
    }
  }
  intfVlanTunnelEsiInfoIs(key, esiInfo);
  programEsi(key, esiInfo);
}

void EvpnFloodingEsiSm::deleteIntfVlanTunnelLabelMapping(Ostra::IntfId const& intfId, Bridging::VlanId vlanId,
                                                         TunnelId const& tunnelId) {
  IntfVlanTunnelKey const key(intfId, vlanId, tunnelId);
  if (!intfVlanTunnelEsiInfoDel(key) && !esiStatusHas(key)) return;
  QTRACE(5, "EvpnFloodingEsiSm::", "deleteIntfVlanTunnelLabelMapping", " intfId ", intfId, " vlan ", vlanId,
         " tunnelId ", tunnelId);
  unprogramEsi(key);
}

void EvpnFloodingEsiSm::processIntfVlan(Ostra::IntfId const& intfId, Bridging::VlanId vlanId) {
  QTRACE(8, "EvpnFloodingEsiSm::", "processIntfVlan", " intfId ", intfId, " vlan ", vlanId);
  Evpn::EthernetSegmentStatus const* es = segmentOf(intfId);
  if (!es) {
    QTRACE(5, "EvpnFloodingEsiSm::", "processIntfVlan", " ", "no segment status", " intfId ", intfId);
    deleteIntfVlanTunnelMapping(intfId, vlanId);
    return;
  }
  IntfVlanSet const* vlans = intfVlanSet(intfId);
  if (!vlans || !vlans->vlanIdHas(vlanId)) {
    QTRACE(5, "EvpnFloodingEsiSm::", "processIntfVlan", " ", "vlan not flooded", " intfId ", intfId, " vlan ",
           vlanId);
    deleteIntfVlanTunnelMapping(intfId, vlanId);
    return;
  }
  if (localEsiLabelOf(intfId).empty()) {
    QTRACE(5, "EvpnFloodingEsiSm::", "processIntfVlan", " ", "local label not published", " intfId ", intfId);
    deleteIntfVlanTunnelMapping(intfId, vlanId);
    return;
  }

  // The pair's tunnels are exactly its remotes' tunnels, whichever of them get the label,
  // so that a change of any remote's hardware tunnel ID reaches the pair.
  IntfVlanKey const intfVlan(intfId, vlanId);
  for (auto const& [tep, label] : es->remoteEsiLabel()) {
    if (auto const tunnelId = tunnelOfTep(tep)) addOrUpdateIntfVlanTunnelMapping(intfId, vlanId, *tunnelId);
  }
  auto isRemote = [es](TunnelId const& tunnelId) {
    for (auto const& [tep, label] : es->remoteEsiLabel()) {
      if (tunnelOfTep(tep) == tunnelId) return true;
    }
    return false;
  };
  if (IntfVlanTunnelSet const* tunnels = intfVlanTunnelSet(intfVlan);
      tunnels && !std::all_of(tunnels->tunnelId().begin(), tunnels->tunnelId().end(), isRemote)) {
    for (auto const& tunnelId : tunnels->tunnelId().keys()) {
      if (!isRemote(tunnelId)) deleteIntfVlanTunnel(intfId, vlanId, tunnelId);
    }
  }

  // Who gets the label: every remote when all are in the shared-ES pool, else the DF.
  bool const allShared = allRemotesHaveSharedEsHwTunnelId(intfId);
  QTRACE(5, "EvpnFloodingEsiSm::", "processIntfVlan", " allRemotesHaveSharedEsHwTunnelId ", allShared);
  Ostra::IntfId dfTep;
  if (!allShared) {
    if (!es->designatedForwarderTepHas(vlanId)) {
      QTRACE(5, "EvpnFloodingEsiSm::", "processIntfVlan", " ", "no designated forwarder tep", " vlan ",
             vlanId);
    } else {
      dfTep = es->designatedForwarderTep(vlanId);
      // A DF whose interface names no tunnel has no usable label either.
      TunnelId const dfTunnelId = tunnelOfTep(dfTep).value_or(TunnelId());
      bool const hasLabel = es->remoteEsiLabelHas(dfTep) && dfTunnelId != TunnelId();
      bool const hasHwTunnelId = publishedHwTunnelId(dfTunnelId).has_value();
      QTRACE(5, "EvpnFloodingEsiSm::", "processIntfVlan", " dfTepIntfId ", dfTep, ", dfTepTunnelId ",
             dfTunnelId, " hasRemoteEsiLabel ", hasLabel, " hasHwTunnelId ", hasHwTunnelId);
      if (!hasLabel) {
        QTRACE(8, "EvpnFloodingEsiSm::", "processIntfVlan", " ",
               "Not programming DF since it is not in remoteEsiLabel collection");
        dfTep = Ostra::IntfId();
      } else if (!hasHwTunnelId) {
        dfTep = Ostra::IntfId();
      }
    }
  }
  for (auto const& [tep, encapTypeLabel] : es->remoteEsiLabel()) {
    std::optional<TunnelId> const tunnelId = tunnelOfTep(tep);
    if (!tunnelId) continue;
    bool const wanted = allShared || tep == dfTep;
    if (wanted && !encapTypeLabel.isMpls()) {
      QTRACE(5, "EvpnFloodingEsiSm::", "processIntfVlan", " ", "incorrect encap type ",
             encapTypeLabel.encapType(), " tep ", tep);
    }
    if (wanted && encapTypeLabel.isMpls()) {
      processIntfVlanTep(intfId, vlanId, *tunnelId, encapTypeLabel);
    } else {
      deleteIntfVlanTunnelLabelMapping(intfId, vlanId, *tunnelId);
    }
  }
}

void EvpnFloodingEsiSm::processIntfVlanTep(Ostra::IntfId const& intfId, Bridging::VlanId vlanId,
                                           TunnelId const& tunnelId,
                                           Evpn::EncapTypeLabel const& encapTypeLabel) {
  addOrUpdateIntfVlanTunnelLabelMapping(intfId, vlanId, tunnelId,
                                        publishedHwTunnelId(tunnelId).value_or(HwTunnelId()),
                                        encapTypeLabel.mplsLabel());
}

bool EvpnFloodingEsiSm::allRemotesHaveSharedEsHwTunnelId(Ostra::IntfId const& intfId) const {
  Evpn::EthernetSegmentStatus const* es = segmentOf(intfId);
  if (!es) return false;
  for (auto const& [tep, label] : es->remoteEsiLabel()) {
    std::optional<TunnelId> const usable = tunnelOfTep(tep);
    if (!usable) continue;
    TunnelId const tunnelId = *usable;
    std::optional<HwTunnelId> const hwTunnelId = publishedHwTunnelId(tunnelId);
    if (!hwTunnelId) {
      QTRACE(9, "EvpnFloodingEsiSm::", "allRemotesHaveSharedEsHwTunnelId", " hwTunnelId for tunnel ",
             tunnelId, " not published yet ");
      return false;
    }
    if (hwTunnelId->type() != hwTunnelIdTypeSharedEs) {
      QTRACE(9, "EvpnFloodingEsiSm::", "allRemotesHaveSharedEsHwTunnelId", " tunnel ", tunnelId,
             " doesn't have sharedEs hwTunnelId ");
      return false;
    }
  }
  return true;
}

void EvpnFloodingEsiSm::programEsi(IntfVlanTunnelKey const& key, EsiInfo const& esiInfo) {
  QTRACE(5, "EvpnFloodingEsiSm::", "programEsi", " intfId ", key.intfId(), " vlan ", key.vlanId(),
         " tunnelId ", key.tunnelId(), " hwTunnelId ", esiInfo.hwTunnelId(), " label ", esiInfo.label());
  EsiTarget target{*this, key, esiInfo};
  programOnPorts(qorTraceHandle_, key.intfId(), lagMembers(), target);
}

void EvpnFloodingEsiSm::programEsiHelper(IntfVlanTunnelKey const& key, Ostra::IntfId const& phyIntfId,
                                         EsiInfo const& esiInfo) {
  QTRACE(5, "EvpnFloodingEsiSm::", "programEsiHelper", " logical intf ", key.intfId(), " phy intf ",
         phyIntfId, " vlan ", key.vlanId(), " tunnelId ", key.tunnelId(), " hwTunnelId ",
         esiInfo.hwTunnelId(), " label ", esiInfo.label());
  QOR_ASSERT_TEXT(initialized(), "initialized()");
  QOR_ASSERT_TEXT(intfVlanTunnelEsiInfoHas(key), "intfVlanTunnelEsiInfoHas( intfVlanTunnelKey )");
  if (!publishedHwTunnelId(key.tunnelId())) {
    QTRACE(5, "EvpnFloodingEsiSm::", "programEsiHelper", " ", "hw tunnel id not published");
    return;
  }
  Evpn::EncapTypeLabel const localLabel = localEsiLabelOf(key.intfId());
  if (localLabel.empty() || !localLabel.isMpls()) {
    QTRACE(5, "EvpnFloodingEsiSm::", "programEsiHelper", " ", "local label not published");
    return;
  }
  IntfVlanTunnelEsiStatus* es = esiStatusIs(key);
  auto settled = [&] {
    es->unprogrammedDel(phyIntfId);
    if (es->unprogrammed().empty()) unprogrammedEsiDel(key);
  };
  if (es->programmedHas(phyIntfId) && es->programmed(phyIntfId) == esiInfo.hwTunnelId()) {
    QTRACE(5, "EvpnFloodingEsiSm::", "programEsiHelper", " ", "already programmed");
    settled();
    return;
  }
  HwProgrammingStatus const rc =
      helper_->createEsiData(key.intfId(), phyIntfId, key.vlanId(), key.tunnelId(), esiInfo.hwTunnelId(),
                             esiInfo.label(), localLabel.mplsLabel());
  ++counters_.helperCalls;
  switch (rc) {
    case notProgrammed:
      counters_.failureIs(scheduler_->now());
      QTRACE(5, "EvpnFloodingEsiSm::", "programEsiHelper", " ", "failed to program esi", " phy intf ",
             phyIntfId);
      unprogrammedEsiIs(key);
      es->unprogrammedIs(phyIntfId);
      maybeScheduleUnprogrammedReview(false);
      return;
    case invalidHwId:
      QTRACE(1, "EvpnFloodingEsiSm::", "programEsiHelper", " ", "invalid hwId, failed to program",
             " hwTunnelId ", esiInfo.hwTunnelId());
      QOR_ASSERT_TEXT(false, "rc != invalidHwId");
      return;
    case programmed:
      QTRACE(5, "EvpnFloodingEsiSm::", "programEsiHelper", " ", "programmed esi", " phy intf ", phyIntfId);
      es->programmedIs(phyIntfId, esiInfo.hwTunnelId());
      settled();
      return;
  }
}

void EvpnFloodingEsiSm::unprogramEsi(IntfVlanTunnelKey const& key) {
  QTRACE(5, "EvpnFloodingEsiSm::", "unprogramEsi", " intfId ", key.intfId(), " vlan ", key.vlanId(),
         " tunnelId ", key.tunnelId());
  unprogrammedEsiDel(key);
  IntfVlanTunnelEsiStatus const* es = esiStatus(key);
  if (!es || es->programmed().empty()) {
    QTRACE(5, "EvpnFloodingEsiSm::", "unprogramEsi", " ", "not programmed");
  } else {
    for (auto const& phyIntfId : es->programmed().keys()) unprogramEsiHelper(key, phyIntfId);
    // A deletion may have freed what the failed entries were refused for.
    if (!unprogrammedEsi().empty()) maybeScheduleUnprogrammedReview(true);
  }
  esiStatusDel(key);
}

void EvpnFloodingEsiSm::unprogramEsiHelper(IntfVlanTunnelKey const& key, Ostra::IntfId const& phyIntfId) {
  IntfVlanTunnelEsiStatus* es = esiStatus(key);
  if (!es || !es->programmedHas(phyIntfId)) {
    QTRACE(5, "EvpnFloodingEsiSm::", "unprogramEsiHelper", " ", "not programmed", " phy intf ", phyIntfId);
    return;
  }
  HwTunnelId const hwTunnelId = es->programmed(phyIntfId);
  QTRACE(5, "EvpnFloodingEsiSm::", "unprogramEsiHelper", " logical intf ", key.intfId(), " phy intf ",
         phyIntfId, " vlan ", key.vlanId(), " tunnelId ", key.tunnelId(), " hwTunnelId ", hwTunnelId);
  helper_->deleteEsiData(key.intfId(), phyIntfId, key.vlanId(), key.tunnelId(), hwTunnelId);
  ++counters_.helperCalls;
  es->programmedDel(phyIntfId);
  es->unprogrammedDel(phyIntfId);
}

void EvpnFloodingEsiSm::reviewUnprogrammedKey(IntfVlanTunnelKey const& key) {
  IntfVlanTunnelEsiStatus const* es = esiStatus(key);
  QOR_ASSERT_TEXT(es, "es");
  QOR_ASSERT_TEXT(!es->unprogrammed().empty(), "es->unprogrammeds()");
  processIntfVlan(key.intfId(), key.vlanId());
}

Evpn::EthernetSegmentStatus const* EvpnFloodingEsiSm::segmentOf(Ostra::IntfId const& intfId) const {
  return evpnStatus_ ? evpnStatus_->ethernetSegmentStatus(intfId) : nullptr;
}

Evpn::EncapTypeLabel EvpnFloodingEsiSm::localEsiLabelOf(Ostra::IntfId const& intfId) const {
  return evpnStatus_ ? evpnStatus_->localEsiLabel(intfId) : Evpn::EncapTypeLabel();
}

std::optional<HwTunnelId> EvpnFloodingEsiSm::publishedHwTunnelId(TunnelId const& tunnelId) const {
  if (!tunnelIdHwTunnelId_ || !tunnelIdHwTunnelId_->tunnelIdToHwTunnelIdHas(tunnelId)) return std::nullopt;
  return tunnelIdHwTunnelId_->tunnelIdToHwTunnelId(tunnelId).hwTunnelId();
}

EvpnLagMemberInfo const& EvpnFloodingEsiSm::lagMembers() const {
  // Never written: what every LAG reads once the member lists are detached.
  static Qor::Ptr<EvpnLagMemberInfo const> const none = evpnLagMemberInfoFactory();
  return evpnLagMemberInfo_ ? *evpnLagMemberInfo_ : *none;
}

Qor::Ptr<EvpnFloodingEsiSm> evpnFloodingEsiSmFactory(
    Qor::Ptr<FennHelper::EvpnFloodingSmHelper> const& helper,
    Qor::Ptr<Keel::TaskScheduler> const& taskScheduler,
    Qor::Ptr<EvpnLagMemberInfo const> const& evpnLagMemberInfo,
    Qor::Ptr<Evpn::EvpnStatus const> const& evpnStatus,
    Qor::Ptr<TunnelIdToHwTunnelIdMapping const> const& tunnelIdHwTunnelId) {
  return Qor::Ptr<EvpnFloodingEsiSm>(
      new EvpnFloodingEsiSm(helper, taskScheduler, evpnLagMemberInfo, evpnStatus, tunnelIdHwTunnelId));
}

// ---- Operator answers ----

void EvpnFloodingEsiSm::explainEsi(IntfVlanTunnelKey const& key, Explanation& answer) const {
  constexpr char machine[] = "EvpnFloodingEsiSm";
  if (!answer.initializedStep(machine, initialized())) return;
  Evpn::EthernetSegmentStatus const* es = segmentOf(key.intfId());
  if (!es) {
    answer.stepIs(machine, "Ethernet segment", "none on " + key.intfId().name(), ExplainStatus::missingInput);
    return;
  }
  answer.stepIs(machine, "Ethernet segment", key.intfId().name());
  IntfVlanSet const* vlans = intfVlanSet(key.intfId());
  if (!vlans || !vlans->vlanIdHas(key.vlanId())) {
    answer.stepIs(machine, "segment VLAN", "not configured on the segment", ExplainStatus::missingInput);
    return;
  }
  Evpn::EncapTypeLabel const local = localEsiLabelOf(key.intfId());
  if (local.empty() || !local.isMpls()) {
    answer.stepIs(machine, "local ESI label", "none published", ExplainStatus::missingInput);
    return;
  }
  answer.stepIs(machine, "local ESI label", Qor::valueToStrep(local.mplsLabel()));
  Ostra::IntfId peerTep;
  for (auto const& [tep, label] : es->remoteEsiLabel()) {
    if (tunnelOfTep(tep) == key.tunnelId()) peerTep = tep;
  }
  if (peerTep.empty()) {
    answer.stepIs(machine, "peer", "the tunnel is not a peer of the segment", ExplainStatus::missingInput);
    return;
  }
  EsiInfo const* info = intfVlanTunnelEsiInfo().find(key);
  if (!info) {
    // Only the VLAN's designated forwarder gets the label unless every peer has a shared-ES ID.
    Qor::String df = "none elected";
    bool dfIsPeer = false;
    if (es->designatedForwarderTepHas(key.vlanId())) {
      Ostra::IntfId const dfTep = es->designatedForwarderTep(key.vlanId());
      dfIsPeer = dfTep == peerTep;
      std::optional<TunnelId> const dfTunnel = tunnelOfTep(dfTep);
      df = dfTunnel ? answer.tunnelName(*dfTunnel) : dfTep.name();
    }
    if (dfIsPeer) {
      answer.stepIs(machine, "ESI label sent", "not yet: the designated forwarder has no hardware tunnel ID",
                    ExplainStatus::waitingForHardware);
    } else {
      answer.stepIs(
          machine, "ESI label sent",
          "no: not every peer has a shared-ES tunnel ID, so only the VLAN's designated forwarder (" + df +
              ") gets it",
          ExplainStatus::missingInput);
    }
    return;
  }
  answer.stepIs(machine, "ESI label sent",
                "remote label " + Qor::valueToStrep(info->label()) + ", hardware tunnel ID " +
                    std::to_string(info->hwTunnelId().id()));
  explainPorts(answer, machine, key.intfId(), lagMembers(), esiStatus(key), counters_, reviewUnprogrammed());
}

SmSummary EvpnFloodingEsiSm::summary() const {
  SmSummary s("EvpnFloodingEsiSm", counters_, unusableInputCount());
  uint64_t programmedCount = 0;
  for (auto const& [key, info] : intfVlanTunnelEsiInfo()) programmedCount += portsProgrammed(esiStatus(key));
  s.entriesIs(intfVlanTunnelEsiInfo().size(), programmedCount);
  s.counters.retries = review_ ? review_->reviewedCount() : 0;
  return s;
}
}  // namespace Fenn
