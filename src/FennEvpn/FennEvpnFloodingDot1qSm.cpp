#include "FennEvpn/FennEvpnFloodingDot1qSm.h"

#include <utility>

#include "FennEvpn/FennEvpnIntfVlanIndex.h"
#include "FennEvpn/FennEvpnPortExpansion.h"
#include "FennEvpn/FennEvpnPortExplain.h"
#include "FennEvpn/FennEvpnReportText.h"
#include "FennEvpn/FennEvpnUnusableInput.h"
#include "Qor/Assert.h"
#include "Qor/Trace.h"

QOR_TRACE_SOURCE("/src/FennEvpn/FennEvpnFloodingDot1qSm")

namespace Fenn {

namespace {
constexpr char vlanStatusTrace[] = "EvpnFloodingDot1qSm::QorVlanStatus::";

// The key under which a VLAN whose own creation failed waits for the review.
IntfVlanKey vlanLevelKey(Bridging::VlanId vlan) { return IntfVlanKey(Ostra::IntfId(), vlan); }
}  // namespace

class EvpnFloodingDot1qSm::QorEvpnLagMemberInfo
    : public Qor::ReactorOf<EvpnLagMemberInfo, EvpnFloodingDot1qSm> {
 public:
  using ReactorOf::ReactorOf;
  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id == EvpnLagMemberInfo::lagToPortAttr) sm()->handleLagPort(Qor::keyAs<Ostra::IntfId>(key));
  }
};

class EvpnFloodingDot1qSm::QorEvpnVlanStatus : public Qor::ReactorOf<EvpnVlanStatus, EvpnFloodingDot1qSm> {
 public:
  using ReactorOf::ReactorOf;
  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id != EvpnVlanStatus::vlanStatusAttr) return;
    Bridging::VlanId const vlan = Qor::keyAs<Bridging::VlanId>(key);
    if (notifier()->vlanStatusHas(vlan)) {
      sm()->vlanStatusIs(vlan);
    } else {
      sm()->vlanStatusDel(vlan);
    }
  }
};

class EvpnFloodingDot1qSm::QorVlanStatus : public Qor::ReactorOf<EvpnVlanMemberInfo, EvpnFloodingDot1qSm> {
 public:
  using ReactorOf::ReactorOf;
  void onCreate() override { sm()->handleVlanStatus(notifier()->vlanId()); }
  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id == EvpnVlanMemberInfo::memberAttr)
      sm()->handleMember(notifier()->vlanId(), Qor::keyAs<Ostra::IntfId>(key));
  }
};

class EvpnFloodingDot1qSm::QorEvpnStatus : public Qor::ReactorOf<Evpn::EvpnStatus, EvpnFloodingDot1qSm> {
 public:
  using ReactorOf::ReactorOf;
  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id == Evpn::EvpnStatus::vlanToDot1qAttr) sm()->handleVlanDot1q(Qor::keyAs<Bridging::VlanId>(key));
  }
};

class EvpnFloodingDot1qSm::QorEvpnMplsConfig : public Qor::ReactorOf<Evpn::MplsConfig, EvpnFloodingDot1qSm> {
 public:
  using ReactorOf::ReactorOf;
  void onCreate() override {}  // the flag as it stands is read by handleInitialized
  void onAttribute(Qor::AttributeId id, void const*) override {
    if (id == Evpn::MplsConfig::vlanServiceDot1qEnabledAttr) sm()->handleVlanServiceDot1qEnabled();
  }
};

// One (interface, VLAN) mapping as the port expansion programs it.
struct EvpnFloodingDot1qSm::Dot1qTarget {
  static constexpr auto& traceClass = EvpnFloodingDot1qSm::traceClass;
  static constexpr char function[] = "programDot1q";

  void programPort(Ostra::IntfId const& phy) { sm.programDot1qHelper(intf, phy, vlan, dot1q); }
  void unprogramAll() { sm.unprogramDot1q(intf, vlan, dot1q); }
  void resetUnprogrammed() {
    IntfVlanKey const key(intf, vlan);
    sm.unprogrammedDot1qDel(key);
    if (IntfVlanStatus* status = sm.dot1qStatus(key)) status->unprogrammedDelAll();
  }
  template <class F>
  void forEachProgrammedPort(F f) const {
    if (IntfVlanStatus const* status = sm.dot1qStatus(IntfVlanKey(intf, vlan))) {
      for (auto const& phy : status->programmed()) f(phy);
    }
  }
  bool forceReprogram(Ostra::IntfId const& phy) const {
    IntfVlanStatus const* status = sm.dot1qStatus(IntfVlanKey(intf, vlan));
    return status && status->forceReprogramHas(phy);
  }
  void unprogramPort(Ostra::IntfId const& phy, bool stale, bool force) {
    QTRACE(5, EvpnFloodingDot1qSm::traceClass, function, " staleMember ", stale, " forceReprogram ", force,
           " phy intf ", phy, " log intf ", intf, " vlan ", vlan);
    sm.unprogramDot1qHelper(intf, phy, vlan, dot1q);
  }

  EvpnFloodingDot1qSm& sm;
  Ostra::IntfId const intf;
  Bridging::VlanId const vlan;
  Bridging::VlanIdOrNone const dot1q;
};

EvpnFloodingDot1qSm::EvpnFloodingDot1qSm(Qor::Ptr<FennHelper::EvpnFloodingSmHelper> helper,
                                         Qor::Ptr<Keel::TaskScheduler> scheduler,
                                         Qor::Ptr<EvpnLagMemberInfo const> evpnLagMemberInfo,
                                         Qor::Ptr<EvpnVlanStatus const> evpnVlanStatus,
                                         Qor::Ptr<Evpn::EvpnStatus const> evpnStatus,
                                         Qor::Ptr<Evpn::MplsConfig const> mplsConfig)
    : helper_(std::move(helper)),
      scheduler_(std::move(scheduler)),
      evpnLagMemberInfo_(std::move(evpnLagMemberInfo)),
      evpnVlanStatus_(std::move(evpnVlanStatus)),
      evpnStatus_(std::move(evpnStatus)),
      mplsConfig_(std::move(mplsConfig)) {
  if (evpnLagMemberInfo_)
    qorEvpnLagMemberInfo_ = Qor::newReactor<QorEvpnLagMemberInfo>(evpnLagMemberInfo_.get(), this);
  if (evpnVlanStatus_) qorEvpnVlanStatus_ = Qor::newReactor<QorEvpnVlanStatus>(evpnVlanStatus_.get(), this);
  if (evpnStatus_) qorEvpnStatus_ = Qor::newReactor<QorEvpnStatus>(evpnStatus_.get(), this);
  if (mplsConfig_) qorEvpnMplsConfig_ = Qor::newReactor<QorEvpnMplsConfig>(mplsConfig_.get(), this);
}

EvpnFloodingDot1qSm::~EvpnFloodingDot1qSm() {
  qorEvpnMplsConfig_.reset();
  qorEvpnStatus_.reset();
  vlanStatus_.delAll();
  qorEvpnVlanStatus_.reset();
  qorEvpnLagMemberInfo_.reset();
  reviewIntfVlan_ = nullptr;
  review_.reset();
  if (!initialized()) return;
  for (auto const& [key, status] : dot1qStatus()) {
    for (auto const& phy : status->programmed()) {
      helper_->deleteVlanToDot1qMapping(key.intfId(), phy, key.vlanId(), intfVlanDot1q(key));
    }
  }
  for (auto const& [vlan, dot1q] : programmedDot1q()) helper_->deleteVlan(vlan, dot1q);
}

void EvpnFloodingDot1qSm::handleInitialized() {
  QTRACE(8, traceClass, "handleInitialized");
  QOR_ASSERT_TEXT(evpnStatus(), "evpnStatus()");
  QOR_ASSERT_TEXT(evpnVlanStatus(), "evpnVlanStatus()");
  QOR_ASSERT_TEXT(evpnLagMemberInfo(), "evpnLagMemberInfo()");
  QOR_ASSERT_TEXT(floodingHelper(), "floodingHelper()");
  QOR_ASSERT_TEXT(scheduler(), "scheduler()");
  // Both reviews retry or finish work that input changes already asked for; neither is
  // more urgent than reacting to the next change.
  review_ =
      std::make_unique<Review>(*this, qorTraceHandle_, unprogrammedDot1q(), scheduler_, Keel::priorityNormal);
  reviewIntfVlan_ = Qor::Ptr<Keel::TimerTask>(new Keel::TimerTask(
      scheduler_, Keel::priorityNormal, "reviewIntfVlan", [this] { doReviewIntfVlan(); }));
  for (auto const& [vlan, members] : evpnVlanStatus_->vlanStatus()) {
    for (auto const& intf : members->member()) maybeScheduleIntfVlanReview(intf, vlan);
  }
  handleEveryVlanDot1q();
}

Bridging::VlanIdOrNone EvpnFloodingDot1qSm::dot1qTagForVlan(Bridging::VlanId vlan) const {
  if (Bridging::VlanIdOrNone const* dot1q = evpnStatus_->vlanToDot1q().find(vlan);
      dot1q && !dot1q->isNone()) {
    return *dot1q;
  }
  if (mplsConfig_ && mplsConfig_->vlanServiceDot1qEnabled()) return Bridging::VlanIdOrNone(vlan);
  return Bridging::VlanIdOrNone::none();
}

void EvpnFloodingDot1qSm::vlanStatusIs(Bridging::VlanId vlan) {
  QTRACE(8, traceClass, "vlanStatusIs", " vlan ", vlan);
  vlanStatus_.add(vlan, evpnVlanStatus_->vlanStatus(vlan), this);
}

void EvpnFloodingDot1qSm::vlanStatusDel(Bridging::VlanId vlan) {
  QTRACE(8, traceClass, "vlanStatusDel", " vlan ", vlan);
  vlanStatus_.del(vlan);
  handleVlanStatus(vlan);
}

void EvpnFloodingDot1qSm::handleVlanStatus(Bridging::VlanId vlan) {
  EvpnVlanMemberInfo const* members = evpnVlanStatus_->vlanStatus(vlan);
  QTRACE(8, vlanStatusTrace, "handleVlanStatus", " vlan ", vlan, " add ", members != nullptr);
  if (!initialized()) return;
  if (members) {
    for (auto const& intf : members->member()) maybeScheduleIntfVlanReview(intf, vlan);
  }
  queueVlanIntfs(vlan);
}

void EvpnFloodingDot1qSm::handleMember(Bridging::VlanId vlan, Ostra::IntfId const& intf) {
  QTRACE(8, vlanStatusTrace, "handleMember", " vlan ", vlan, " intf ", intf);
  if (initialized()) maybeScheduleIntfVlanReview(intf, vlan);
}

void EvpnFloodingDot1qSm::handleVlanServiceDot1qEnabled() {
  QTRACE(5, traceClass, "handleVlanServiceDot1qEnabled", " enabled ", mplsConfig_->vlanServiceDot1qEnabled());
  if (initialized()) handleEveryVlanDot1q();
}

void EvpnFloodingDot1qSm::handleEveryVlanDot1q() {
  for (auto const& vlan : evpnStatus_->vlanToDot1q().keys()) handleVlanDot1q(vlan);
}

void EvpnFloodingDot1qSm::handleVlanDot1q(Bridging::VlanId vlan) {
  if (!initialized()) return;
  Bridging::VlanIdOrNone const* programmed = programmedDot1q().find(vlan);
  Bridging::VlanIdOrNone const* published = evpnStatus_->vlanToDot1q().find(vlan);
  QTRACE(5, traceClass, "handleVlanDot1q", " vlanId ", vlan, " programmedDot1qExists ", programmed != nullptr,
         " programmedDot1q ", programmed ? *programmed : Bridging::VlanIdOrNone(), " publishedDot1qExists ",
         published != nullptr, " publishedDot1q ", published ? *published : Bridging::VlanIdOrNone());
  // Re-creating a VLAN with the tag it has would only interrupt its traffic (a flag change
  // reaches every VLAN, including those with a tag of their own).
  // (VLAN 4095 goes on to be skipped, after its old tag is deleted.)
  if (programmed && published && vlan.value() <= Bridging::VlanIdOrNone::maxValue &&
      *programmed == dot1qTagForVlan(vlan)) {
    return;
  }
  unprogrammedDot1qDel(vlanLevelKey(vlan));
  if (programmed) {
    helper_->deleteVlan(vlan, *programmed);
    ++counters_.helperCalls;
    programmedDot1qDel(vlan);
  }
  if (!evpnStatus_->vlanToDot1qHas(vlan)) {
    // The VLAN left the mapping: its interfaces' mappings go too.
    queueVlanIntfs(vlan);
    return;
  }
  Bridging::VlanIdOrNone dot1q;
  if (auto const error = skipUnusableInput([&] { dot1q = dot1qTagForVlan(vlan); })) {
    QTRACE(1, traceClass, "handleVlanDot1q", " skipped vlan ", vlan, " ", *error);
    return;
  }
  ++counters_.helperCalls;
  if (helper_->createVlan(vlan, dot1q) == notProgrammed) {
    counters_.failureIs(scheduler_->now());
    QTRACE(5, traceClass, "handleVlanDot1q", " failed to program vlan ", vlan, " with dot1q ", dot1q);
    unprogrammedDot1qIs(vlanLevelKey(vlan));
    maybeScheduleUnprogrammedReview(false);
    return;
  }
  QTRACE(5, traceClass, "handleVlanDot1q", " programmed vlan ", vlan, " with dot1q ", dot1q);
  programmedDot1qIs(vlan, dot1q);
  // The mappings follow the VLAN's new tag.
  queueVlanIntfs(vlan);
}

void EvpnFloodingDot1qSm::queueVlanIntfs(Bridging::VlanId vlan) {
  if (VlanIntfSet const* intfs = vlanIntfSet(vlan)) {
    for (auto const& intf : intfs->intfId()) maybeScheduleIntfVlanReview(intf, vlan);
  }
}

// A member that left the LAG is marked, so that the pair's next processing deletes its
// mapping; every pair of the LAG is queued, so a member that joined is programmed.
void EvpnFloodingDot1qSm::handleLagPort(Ostra::IntfId const& lagIntf) {
  QTRACE(8, traceClass, "handleLagPort", " intf ", lagIntf);
  if (!initialized()) return;
  IntfVlanSet const* vlans = intfVlanSet(lagIntf);
  if (!vlans) return;
  static FennPortList const noPorts;
  FennPortList const* ports = evpnLagMemberInfo_->lagToPort().find(lagIntf);
  if (!ports) ports = &noPorts;
  for (auto const& vlan : vlans->vlanId()) {
    if (IntfVlanStatus* status = dot1qStatus(IntfVlanKey(lagIntf, vlan))) {
      for (auto const& phy : status->programmed()) {
        if (ports->portHas(phy)) continue;
        QTRACE(5, traceClass, "handleLagPort", " marking ", phy, " for force reprogram ", " vlan ", vlan);
        status->forceReprogramIs(phy);
      }
    }
    maybeScheduleIntfVlanReview(lagIntf, vlan);
  }
}

void EvpnFloodingDot1qSm::maybeScheduleIntfVlanReview(Ostra::IntfId const& intf, Bridging::VlanId vlan) {
  QTRACE(8, traceClass, "maybeScheduleIntfVlanReview", " intf ", intf, " vlan ", vlan);
  QOR_ASSERT_TEXT(initialized(), "initialized()");
  intfVlanQueueIs(IntfVlanKey(intf, vlan));
  if (reviewIntfVlan_->taskScheduled()) {
    QTRACE(5, traceClass, "maybeScheduleIntfVlanReview", "  already scheduled");
    return;
  }
  reviewIntfVlan_->scheduleTaskDelay(defaultIntfVlanDelay());
  QTRACE(5, traceClass, "maybeScheduleIntfVlanReview", "  next intf vlan review at ",
         reviewIntfVlan_->dueTime());
}

// Walks the queue a pass at a time, a pass being the queue as it stood when the pass
// began: processing a pair never queues another, a pair queued again meanwhile is simply
// processed once, and a run that yields leaves the rest of its pass to the next run (taking
// the whole queue again at every run would make a long review quadratic).
void EvpnFloodingDot1qSm::doReviewIntfVlan() {
  QTRACE(8, traceClass, "doReviewIntfVlan", " queued ", intfVlanQueue().size());
  QOR_ASSERT_TEXT(initialized(), "initialized()");
  Keel::TimerTask* task = reviewIntfVlan_.get();
  QOR_ASSERT_TEXT(task, "task");
  ++intfVlanReviewCount_;
  for (;;) {
    if (intfVlanNext_ == intfVlanBatch_.size()) {
      intfVlanBatch_.clear();
      intfVlanNext_ = 0;
      if (intfVlanQueue().empty()) return;
      intfVlanBatch_.assign(intfVlanQueue().begin(), intfVlanQueue().end());
    }
    IntfVlanKey const key = intfVlanBatch_[intfVlanNext_++];
    if (!intfVlanQueueHas(key)) continue;
    processIntfVlan(key.intfId(), key.vlanId());
    task->taskWorkCountInc(1);
    if (!intfVlanQueue().empty() && task->taskShouldYield()) {
      // The rest is wanted now: run again as soon as the work waiting behind this ran.
      task->scheduleTask();
      QTRACE(5, traceClass, "doReviewIntfVlan", " yield, pairs left ", intfVlanQueue().size());
      return;
    }
  }
}

void EvpnFloodingDot1qSm::reviewUnprogrammedKey(IntfVlanKey const& key) {
  if (key.intfId().empty()) {
    handleVlanDot1q(key.vlanId());
    return;
  }
  IntfVlanStatus const* status = dot1qStatus(key);
  QOR_ASSERT_TEXT(status && !status->unprogrammed().empty(), "ds->unprogrammeds()");
  processIntfVlan(key.intfId(), key.vlanId());
}

void EvpnFloodingDot1qSm::processIntfVlan(Ostra::IntfId const& intf, Bridging::VlanId vlan) {
  QTRACE(8, traceClass, "processIntfVlan", " intf ", intf, " vlan ", vlan);
  intfVlanQueueDel(IntfVlanKey(intf, vlan));
  EvpnVlanMemberInfo const* members = evpnVlanStatus_->vlanStatus(vlan);
  if (!members) {
    QTRACE(5, traceClass, "processIntfVlan", " no vlan status", " intf ", intf, " vlan ", vlan);
    deleteIntfVlanMapping(intf, vlan);
    return;
  }
  if (!members->memberHas(intf)) {
    QTRACE(5, traceClass, "processIntfVlan", " intf not a part of vlan", " intf ", intf, " vlan ", vlan);
    deleteIntfVlanMapping(intf, vlan);
    return;
  }
  addIntfVlanMapping(intf, vlan);
  if (!evpnStatus_->vlanToDot1qHas(vlan)) {
    QTRACE(5, traceClass, "processIntfVlan", " not in vlan-dot1q mapping", " intf ", intf, " vlan ", vlan);
    deleteIntfVlanDot1qMapping(intf, vlan);
    return;
  }
  if (!programmedDot1qHas(vlan)) {
    // Creating the VLAN queues its pairs again.
    QTRACE(5, traceClass, "processIntfVlan", " dot1q is not programmed yet", " intf ", intf, " vlan ", vlan);
    return;
  }
  Bridging::VlanIdOrNone const dot1q = dot1qTagForVlan(vlan);
  QOR_ASSERT_TEXT(programmedDot1q(vlan) == dot1q, "programmedDot1q( vlanId ) == dot1q");
  addOrUpdateIntfVlanDot1qMapping(intf, vlan, dot1q);
}

void EvpnFloodingDot1qSm::addIntfVlanMapping(Ostra::IntfId const& intf, Bridging::VlanId vlan) {
  intfVlanIndexIs(*this, intf, vlan);
}

void EvpnFloodingDot1qSm::deleteIntfVlanMapping(Ostra::IntfId const& intf, Bridging::VlanId vlan) {
  deleteIntfVlanDot1qMapping(intf, vlan);
  intfVlanIndexDel(*this, intf, vlan);
}

void EvpnFloodingDot1qSm::addOrUpdateIntfVlanDot1qMapping(Ostra::IntfId const& intf, Bridging::VlanId vlan,
                                                          Bridging::VlanIdOrNone dot1q) {
  QTRACE(5, traceClass, "addOrUpdateIntfVlanDot1qMapping", " intf ", intf, " vlan ", vlan, " dot1q ", dot1q);
  IntfVlanKey const key(intf, vlan);
  if (Bridging::VlanIdOrNone const* old = intfVlanDot1q().find(key); old && *old != dot1q) {
    unprogramDot1q(intf, vlan, Bridging::VlanIdOrNone(*old));
  }
  intfVlanDot1qIs(key, dot1q);
  programDot1q(intf, vlan, dot1q);
}

void EvpnFloodingDot1qSm::deleteIntfVlanDot1qMapping(Ostra::IntfId const& intf, Bridging::VlanId vlan) {
  IntfVlanKey const key(intf, vlan);
  Bridging::VlanIdOrNone const* wanted = intfVlanDot1q().find(key);
  if (!wanted) return;
  Bridging::VlanIdOrNone const dot1q = *wanted;
  intfVlanDot1qDel(key);
  unprogramDot1q(intf, vlan, dot1q);
}

void EvpnFloodingDot1qSm::programDot1q(Ostra::IntfId const& intf, Bridging::VlanId vlan,
                                       Bridging::VlanIdOrNone dot1q) {
  QTRACE(8, traceClass, "programDot1q", " intf ", intf, " vlan ", vlan, " dot1q ", dot1q);
  Dot1qTarget target{*this, intf, vlan, dot1q};
  programOnPorts(qorTraceHandle_, intf, *evpnLagMemberInfo_, target);
}

void EvpnFloodingDot1qSm::programDot1qHelper(Ostra::IntfId const& logicalIntf, Ostra::IntfId const& phyIntf,
                                             Bridging::VlanId vlan, Bridging::VlanIdOrNone dot1q) {
  QOR_ASSERT_TEXT(initialized(), "initialized()");
  QTRACE(8, traceClass, "programDot1qHelper", " logical intf ", logicalIntf, " phy intf ", phyIntf, " vlan ",
         vlan, " dot1q ", dot1q);
  IntfVlanKey const key(logicalIntf, vlan);
  IntfVlanStatus* status = dot1qStatusIs(key);
  if (status->programmedHas(phyIntf)) {
    QTRACE(5, traceClass, "programDot1qHelper", " already programmed", " phy intf ", phyIntf, " vlan ", vlan);
    status->unprogrammedDel(phyIntf);
    if (status->unprogrammed().empty()) unprogrammedDot1qDel(key);
    return;
  }
  ++counters_.helperCalls;
  switch (helper_->createVlanToDot1qMapping(logicalIntf, phyIntf, vlan, dot1q)) {
    case notProgrammed:
      counters_.failureIs(scheduler_->now());
      QTRACE(5, traceClass, "programDot1qHelper", " failed to program dot1q mapping", " log intf ",
             logicalIntf, " phy intf ", phyIntf, " vlan ", vlan, " dot1q ", dot1q);
      unprogrammedDot1qIs(key);
      status->unprogrammedIs(phyIntf);
      maybeScheduleUnprogrammedReview(false);
      break;
    case invalidHwId:
      QTRACE(1, traceClass, "programDot1qHelper", " invalid hwId, failed to program dot1q mapping",
             " log intf ", logicalIntf, " phy intf ", phyIntf, " vlan ", vlan, " dot1q ", dot1q);
      Qor::assertFailed("invalid hwId, failed to program dot1q mapping", __FILE__, __LINE__, __func__);
    case programmed:
      QTRACE(5, traceClass, "programDot1qHelper", " programmed dot1q mapping", " log intf ", logicalIntf,
             " phy intf ", phyIntf, " vlan ", vlan, " dot1q ", dot1q);
      status->programmedIs(phyIntf);
      status->unprogrammedDel(phyIntf);
      if (status->unprogrammed().empty()) unprogrammedDot1qDel(key);
      break;
  }
}

void EvpnFloodingDot1qSm::unprogramDot1q(Ostra::IntfId const& intf, Bridging::VlanId vlan,
                                         Bridging::VlanIdOrNone dot1q) {
  QTRACE(8, traceClass, "unprogramDot1q", " intf ", intf, " vlan ", vlan, " dot1q ", dot1q);
  IntfVlanKey const key(intf, vlan);
  unprogrammedDot1qDel(key);
  IntfVlanStatus const* status = dot1qStatus(key);
  if (!status || status->programmed().empty()) {
    QTRACE(5, traceClass, "unprogramDot1q", " not programmed", " intf ", intf, " vlan ", vlan);
  } else {
    for (auto const& phy : status->programmed().keys()) unprogramDot1qHelper(intf, phy, vlan, dot1q);
  }
  dot1qStatusDel(key);
}

void EvpnFloodingDot1qSm::unprogramDot1qHelper(Ostra::IntfId const& logicalIntf, Ostra::IntfId const& phyIntf,
                                               Bridging::VlanId vlan, Bridging::VlanIdOrNone dot1q) {
  QTRACE(8, traceClass, "unprogramDot1qHelper", " log intf ", logicalIntf, " phy intf ", phyIntf, " vlan ",
         vlan, " dot1q ", dot1q);
  IntfVlanKey const key(logicalIntf, vlan);
  IntfVlanStatus* status = dot1qStatus(key);
  if (!status) return;
  status->unprogrammedDel(phyIntf);
  status->forceReprogramDel(phyIntf);
  if (status->unprogrammed().empty()) unprogrammedDot1qDel(key);
  if (!status->programmedHas(phyIntf)) {
    QTRACE(5, traceClass, "unprogramDot1qHelper", " not programmed", " phy intf ", phyIntf, " vlan ", vlan);
    return;
  }
  status->programmedDel(phyIntf);
  helper_->deleteVlanToDot1qMapping(logicalIntf, phyIntf, vlan, dot1q);
  ++counters_.helperCalls;
  // The deletion may have freed what the failed entries were refused for.
  if (!unprogrammedDot1q().empty()) maybeScheduleUnprogrammedReview(true);
}

Qor::Ptr<EvpnFloodingDot1qSm> evpnFloodingDot1qSmFactory(Qor::Ptr<FennHelper::EvpnFloodingSmHelper> helper,
                                                         Qor::Ptr<Keel::TaskScheduler> taskScheduler,
                                                         Qor::Ptr<EvpnLagMemberInfo const> evpnLagMemberInfo,
                                                         Qor::Ptr<EvpnVlanStatus const> evpnVlanStatus,
                                                         Qor::Ptr<Evpn::EvpnStatus const> evpnStatus,
                                                         Qor::Ptr<Evpn::MplsConfig const> mplsConfig) {
  return Qor::Ptr<EvpnFloodingDot1qSm>(
      new EvpnFloodingDot1qSm(std::move(helper), std::move(taskScheduler), std::move(evpnLagMemberInfo),
                              std::move(evpnVlanStatus), std::move(evpnStatus), std::move(mplsConfig)));
}

// ---- Operator answers ----

void EvpnFloodingDot1qSm::explainDot1q(IntfVlanKey const& key, Explanation& answer) const {
  constexpr char machine[] = "EvpnFloodingDot1qSm";
  if (!answer.initializedStep(machine, initialized())) return;
  EvpnVlanMemberInfo const* members = evpnVlanStatus_->vlanStatus(key.vlanId());
  if (!members || !members->memberHas(key.intfId())) {
    answer.stepIs(machine, "EVPN VLAN member", "no", ExplainStatus::missingInput);
  } else {
    answer.stepIs(machine, "EVPN VLAN member", "yes");
  }
  if (Bridging::VlanIdOrNone const* tag = programmedDot1q().find(key.vlanId())) {
    answer.stepIs(machine, "VLAN created", "with dot1q tag " + Qor::valueToStrep(*tag));
  } else if (unprogrammedDot1qHas(vlanLevelKey(key.vlanId()))) {
    answer.stepIs(machine, "VLAN created", "refused; " + retryText(counters_, reviewUnprogrammed()),
                  ExplainStatus::failed);
  } else {
    answer.stepIs(machine, "VLAN created", "no: the VLAN has no dot1q mapping in the EVPN status",
                  ExplainStatus::missingInput);
  }
  if (intfVlanQueueHas(key)) {
    answer.stepIs(machine, "interface review",
                  "queued, due at t=" + secondsText(reviewIntfVlan_->dueTime()) + " s",
                  ExplainStatus::waitingForHardware);
    return;
  }
  Bridging::VlanIdOrNone const* wanted = intfVlanDot1q().find(key);
  if (!wanted) {
    answer.stepIs(machine, "mapping wanted", "none", ExplainStatus::missingInput);
    return;
  }
  answer.stepIs(machine, "mapping wanted", "dot1q tag " + Qor::valueToStrep(*wanted));
  explainPorts(answer, machine, key.intfId(), *evpnLagMemberInfo_, dot1qStatus(key), counters_,
               reviewUnprogrammed());
}

SmSummary EvpnFloodingDot1qSm::summary() const {
  SmSummary s("EvpnFloodingDot1qSm", counters_, unusableInputCount());
  uint64_t programmedCount = 0;
  for (auto const& [key, tag] : intfVlanDot1q()) programmedCount += portsProgrammed(dot1qStatus(key));
  s.entriesIs(intfVlanDot1q().size(), programmedCount);
  s.counters.retries = review_ ? review_->reviewedCount() : 0;
  return s;
}
}  // namespace Fenn
