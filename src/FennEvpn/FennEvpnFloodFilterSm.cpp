#include "FennEvpn/FennEvpnFloodFilterSm.h"

#include <utility>

#include "FennEvpn/FennEvpnIntfVlanIndex.h"
#include "FennEvpn/FennEvpnPortExpansion.h"
#include "FennEvpn/FennEvpnPortExplain.h"
#include "Qor/Assert.h"
#include "Qor/Trace.h"

QOR_TRACE_SOURCE("/src/FennEvpn/FennEvpnFloodFilterSm")

namespace Fenn {

namespace {
constexpr char reactorTrace[] = "FennEvpnFloodFilterSm::QorEvpnVlanFloodStatus::";
}  // namespace

class FennEvpnFloodFilterSm::QorEvpnLagMemberInfo
    : public Qor::ReactorOf<EvpnLagMemberInfo, FennEvpnFloodFilterSm> {
 public:
  using ReactorOf::ReactorOf;
  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id == EvpnLagMemberInfo::lagToPortAttr) sm()->handleLagPort(Qor::keyAs<Ostra::IntfId>(key));
  }
};

class FennEvpnFloodFilterSm::QorEvpnStatus : public Qor::ReactorOf<Evpn::EvpnStatus, FennEvpnFloodFilterSm> {
 public:
  using ReactorOf::ReactorOf;
  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id != Evpn::EvpnStatus::evpnVlanFloodStatusAttr) return;
    Bridging::VlanId const vlan = Qor::keyAs<Bridging::VlanId>(key);
    if (notifier()->evpnVlanFloodStatusHas(vlan)) {
      sm()->evpnVlanFloodStatusIs(vlan);
    } else {
      sm()->evpnVlanFloodStatusDel(vlan);
    }
  }
};

class FennEvpnFloodFilterSm::QorEvpnVlanFloodStatus
    : public Qor::ReactorOf<Evpn::EvpnVlanFloodStatus, FennEvpnFloodFilterSm> {
 public:
  using ReactorOf::ReactorOf;
  void onCreate() override { sm()->handleEvpnVlanFloodStatus(notifier()->vlanId()); }
  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id == Evpn::EvpnVlanFloodStatus::floodFilterAttr) handleFloodFilter(Qor::keyAs<Ostra::IntfId>(key));
  }

 private:
  void handleFloodFilter(Ostra::IntfId const& intf) {
    QTRACE(8, reactorTrace, "handleFloodFilter", " vlanId ", notifier()->vlanId(), " intfId ", intf);
    if (sm()->initialized()) sm()->processIntfVlan(intf, notifier()->vlanId());
  }
};

// One (interface, VLAN) filter as the port expansion programs it.
struct FennEvpnFloodFilterSm::FilterTarget {
  static constexpr auto& traceClass = FennEvpnFloodFilterSm::traceClass;
  static constexpr char function[] = "programFloodFilter";

  void programPort(Ostra::IntfId const& phy) { sm.programFloodFilterHelper(intf, phy, vlan); }
  void unprogramAll() { sm.unprogramFloodFilter(intf, vlan); }
  void resetUnprogrammed() {
    IntfVlanKey const key(intf, vlan);
    sm.unprogrammedFilterDel(key);
    if (IntfVlanStatus* status = sm.programmedStatus(key)) status->unprogrammedDelAll();
  }
  template <class F>
  void forEachProgrammedPort(F f) const {
    if (IntfVlanStatus const* status = sm.programmedStatus(IntfVlanKey(intf, vlan))) {
      for (auto const& phy : status->programmed()) f(phy);
    }
  }
  bool forceReprogram(Ostra::IntfId const&) const { return false; }
  void unprogramPort(Ostra::IntfId const& phy, bool, bool) {
    QTRACE(5, FennEvpnFloodFilterSm::traceClass, function, " staleMember ", " phyIntfId ", phy, " logIntfId ",
           intf, " vlanId ", vlan);
    sm.unprogramFloodFilterHelper(intf, phy, vlan);
  }

  FennEvpnFloodFilterSm& sm;
  Ostra::IntfId const intf;
  Bridging::VlanId const vlan;
};

FennEvpnFloodFilterSm::FennEvpnFloodFilterSm(Qor::Ptr<FennHelper::EvpnFloodingSmHelper> helper,
                                             Qor::Ptr<Keel::TaskScheduler> scheduler,
                                             Qor::Ptr<EvpnLagMemberInfo const> evpnLagMemberInfo,
                                             Qor::Ptr<Evpn::EvpnStatus const> evpnStatus)
    : helper_(std::move(helper)),
      scheduler_(std::move(scheduler)),
      evpnLagMemberInfo_(std::move(evpnLagMemberInfo)),
      evpnStatus_(std::move(evpnStatus)) {
  if (evpnLagMemberInfo_)
    qorEvpnLagMemberInfo_ = Qor::newReactor<QorEvpnLagMemberInfo>(evpnLagMemberInfo_.get(), this);
  if (evpnStatus_) qorEvpnStatus_ = Qor::newReactor<QorEvpnStatus>(evpnStatus_.get(), this);
}

FennEvpnFloodFilterSm::~FennEvpnFloodFilterSm() {
  evpnVlanFloodStatus_.delAll();
  qorEvpnStatus_.reset();
  qorEvpnLagMemberInfo_.reset();
  review_.reset();
  if (!initialized()) return;
  for (auto const& [key, status] : programmedStatus()) {
    for (auto const& phy : status->programmed()) helper_->deleteNonDfPort(key.intfId(), phy, key.vlanId());
  }
}

void FennEvpnFloodFilterSm::handleInitialized() {
  QTRACE(8, traceClass, "handleInitialized");
  QOR_ASSERT_TEXT(evpnLagMemberInfo(), "evpnLagMemberInfo()");
  QOR_ASSERT_TEXT(evpnStatus(), "evpnStatus()");
  QOR_ASSERT_TEXT(scheduler(), "scheduler()");
  QOR_ASSERT_TEXT(floodingHelper(), "floodingHelper()");
  review_ = std::make_unique<Review>(*this, qorTraceHandle_, unprogrammedFilter(), scheduler_,
                                     Keel::priorityNormal);
  for (auto const& vlan : evpnStatus_->evpnVlanFloodStatus().keys()) handleEvpnVlanFloodStatus(vlan);
}

void FennEvpnFloodFilterSm::evpnVlanFloodStatusIs(Bridging::VlanId vlan) {
  QTRACE(8, traceClass, "evpnVlanFloodStatusIs", " vlanId ", vlan);
  evpnVlanFloodStatus_.add(vlan, evpnStatus_->evpnVlanFloodStatus(vlan), this);
}

void FennEvpnFloodFilterSm::evpnVlanFloodStatusDel(Bridging::VlanId vlan) {
  QTRACE(8, traceClass, "evpnVlanFloodStatusDel", " vlanId ", vlan);
  evpnVlanFloodStatus_.del(vlan);
  handleEvpnVlanFloodStatus(vlan);
}

// The VLAN's flood status appeared or went: every interface it filters, and every one
// filtered so far, is decided again.
void FennEvpnFloodFilterSm::handleEvpnVlanFloodStatus(Bridging::VlanId vlan) {
  Evpn::EvpnVlanFloodStatus const* floodStatus = evpnStatus_->evpnVlanFloodStatus(vlan);
  QTRACE(8, reactorTrace, "handleEvpnVlanFloodStatus", " vlanId ", vlan, " add ", floodStatus != nullptr);
  if (!initialized()) return;
  if (floodStatus) {
    for (auto const& intf : floodStatus->floodFilter().keys()) processIntfVlan(intf, vlan);
  }
  if (VlanIntfSet const* intfs = vlanIntfSet(vlan)) {
    for (auto const& intf : intfs->intfId().keys()) processIntfVlan(intf, vlan);
  }
}

void FennEvpnFloodFilterSm::handleLagPort(Ostra::IntfId const& intf) {
  QTRACE(8, traceClass, "handleLagPort", " intfId ", intf);
  if (!initialized()) return;
  if (IntfVlanSet const* vlans = intfVlanSet(intf)) {
    for (auto const& vlan : vlans->vlanId().keys()) processIntfVlan(intf, vlan);
  }
}

void FennEvpnFloodFilterSm::processIntfVlan(Ostra::IntfId const& intf, Bridging::VlanId vlan) {
  QTRACE(8, traceClass, "processIntfVlan", " intfId ", intf, " vlanId ", vlan);
  QOR_ASSERT_TEXT(initialized(), "initialized()");
  Evpn::EvpnVlanFloodStatus const* floodStatus = evpnStatus_->evpnVlanFloodStatus(vlan);
  bool const floodFilterApplied = floodStatus && floodStatus->floodFilterHas(intf);
  QTRACE(5, traceClass, "processIntfVlan", " intfId ", intf, " vlanId ", vlan, " vlanFloodStatus exists ",
         floodStatus != nullptr, " floodFilterApplied ", floodFilterApplied);
  if (floodFilterApplied) {
    addIntfVlanMapping(intf, vlan);
    programFloodFilter(intf, vlan);
  } else {
    deleteIntfVlanMapping(intf, vlan);
    unprogramFloodFilter(intf, vlan);
  }
}

void FennEvpnFloodFilterSm::addIntfVlanMapping(Ostra::IntfId const& intf, Bridging::VlanId vlan) {
  intfVlanIndexIs(*this, intf, vlan);
}

void FennEvpnFloodFilterSm::deleteIntfVlanMapping(Ostra::IntfId const& intf, Bridging::VlanId vlan) {
  intfVlanIndexDel(*this, intf, vlan);
}

void FennEvpnFloodFilterSm::programFloodFilter(Ostra::IntfId const& intf, Bridging::VlanId vlan) {
  QTRACE(8, traceClass, "programFloodFilter", " intfId ", intf, " vlanId ", vlan);
  FilterTarget target{*this, intf, vlan};
  programOnPorts(qorTraceHandle_, intf, *evpnLagMemberInfo_, target);
}

void FennEvpnFloodFilterSm::programFloodFilterHelper(Ostra::IntfId const& logIntf,
                                                     Ostra::IntfId const& phyIntf, Bridging::VlanId vlan) {
  QTRACE(8, traceClass, "programFloodFilterHelper", " logIntfId ", logIntf, " phyIntfId ", phyIntf,
         " vlanId ", vlan);
  QOR_ASSERT_TEXT(initialized(), "initialized()");
  IntfVlanKey const key(logIntf, vlan);
  IntfVlanStatus* status = programmedStatusIs(key);
  if (status->programmedHas(phyIntf)) {
    QTRACE(5, traceClass, "programFloodFilterHelper", " already programmed", " logIntfId ", logIntf,
           " phyIntfId ", phyIntf, " vlanId ", vlan);
    status->unprogrammedDel(phyIntf);
    if (status->unprogrammed().empty()) unprogrammedFilterDel(key);
    return;
  }
  HwProgrammingStatus const result = helper_->createNonDfPort(logIntf, phyIntf, vlan);
  ++counters_.helperCalls;
  QTRACE(5, traceClass, "programFloodFilterHelper", " logIntfId ", logIntf, " phyIntfId ", phyIntf,
         " vlanId ", vlan, " status ", result);
  switch (result) {
    case notProgrammed:
      counters_.failureIs(scheduler_->now());
      unprogrammedFilterIs(key);
      status->unprogrammedIs(phyIntf);
      maybeScheduleUnprogrammedReview(false);
      break;
    case invalidHwId:
      QTRACE(1, traceClass, "programFloodFilterHelper", " invalid hwId, failed to program", " logIntfId ",
             logIntf, " phyIntfId ", phyIntf, " vlanId ", vlan);
      Qor::assertFailed("invalid hwId, failed to program", __FILE__, __LINE__, __func__);
    case programmed:
      status->programmedIs(phyIntf);
      status->unprogrammedDel(phyIntf);
      if (status->unprogrammed().empty()) unprogrammedFilterDel(key);
      break;
  }
}

void FennEvpnFloodFilterSm::unprogramFloodFilter(Ostra::IntfId const& intf, Bridging::VlanId vlan) {
  QTRACE(8, traceClass, "unprogramFloodFilter", " intfId ", intf, " vlanId ", vlan);
  IntfVlanKey const key(intf, vlan);
  unprogrammedFilterDel(key);
  if (IntfVlanStatus const* status = programmedStatus(key)) {
    for (auto const& phy : status->programmed().keys()) unprogramFloodFilterHelper(intf, phy, vlan);
  }
  programmedStatusDel(key);
}

void FennEvpnFloodFilterSm::unprogramFloodFilterHelper(Ostra::IntfId const& logIntf,
                                                       Ostra::IntfId const& phyIntf, Bridging::VlanId vlan) {
  QTRACE(8, traceClass, "unprogramFloodFilterHelper", " logIntfId ", logIntf, " phyIntfId ", phyIntf,
         " vlanId ", vlan);
  IntfVlanKey const key(logIntf, vlan);
  IntfVlanStatus* status = programmedStatus(key);
  if (!status) return;
  status->unprogrammedDel(phyIntf);
  if (status->unprogrammed().empty()) unprogrammedFilterDel(key);
  if (!status->programmedHas(phyIntf)) {
    QTRACE(5, traceClass, "unprogramFloodFilterHelper", " not programmed", " logIntfId ", logIntf,
           " phyIntfId ", phyIntf, " vlanId ", vlan);
    return;
  }
  helper_->deleteNonDfPort(logIntf, phyIntf, vlan);
  ++counters_.helperCalls;
  status->programmedDel(phyIntf);
  // The deletion may have freed what the failed entries were refused for.
  if (!unprogrammedFilter().empty()) maybeScheduleUnprogrammedReview(true);
}

Qor::Ptr<FennEvpnFloodFilterSm> fennEvpnFloodFilterSmFactory(
    Qor::Ptr<FennHelper::EvpnFloodingSmHelper> helper, Qor::Ptr<Keel::TaskScheduler> taskScheduler,
    Qor::Ptr<EvpnLagMemberInfo const> evpnLagMemberInfo, Qor::Ptr<Evpn::EvpnStatus const> evpnStatus) {
  return Qor::Ptr<FennEvpnFloodFilterSm>(new FennEvpnFloodFilterSm(
      std::move(helper), std::move(taskScheduler), std::move(evpnLagMemberInfo), std::move(evpnStatus)));
}

// ---- Operator answers ----

void FennEvpnFloodFilterSm::explainFloodFilter(IntfVlanKey const& key, Explanation& answer) const {
  constexpr char machine[] = "FennEvpnFloodFilterSm";
  if (!answer.initializedStep(machine, initialized())) return;
  Evpn::EvpnVlanFloodStatus const* floodStatus = evpnStatus_->evpnVlanFloodStatus(key.vlanId());
  if (!floodStatus || !floodStatus->floodFilterHas(key.intfId())) {
    answer.stepIs(machine, "VLAN flood status filters the interface",
                  floodStatus ? "no: the interface forwards the VLAN's flooded traffic"
                              : "no: the VLAN has no flood status",
                  ExplainStatus::missingInput);
    return;
  }
  answer.stepIs(machine, "VLAN flood status filters the interface",
                "yes: it is not the designated forwarder");
  explainPorts(answer, machine, key.intfId(), *evpnLagMemberInfo_, programmedStatus(key), counters_,
               reviewUnprogrammed());
}

SmSummary FennEvpnFloodFilterSm::summary() const {
  SmSummary s("FennEvpnFloodFilterSm", counters_, unusableInputCount());
  uint64_t wanted = 0;
  uint64_t programmedCount = 0;
  for (auto const& [vlan, intfs] : vlanIntfSet()) {
    wanted += intfs->intfId().size();
    for (auto const& intf : intfs->intfId())
      programmedCount += portsProgrammed(programmedStatus(IntfVlanKey(intf, vlan)));
  }
  s.entriesIs(wanted, programmedCount);
  s.counters.retries = review_ ? review_->reviewedCount() : 0;
  return s;
}
}  // namespace Fenn
