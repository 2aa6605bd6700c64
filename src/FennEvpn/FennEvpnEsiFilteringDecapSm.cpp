#include "FennEvpn/FennEvpnEsiFilteringDecapSm.h"

#include <utility>

#include "Qor/Assert.h"
#include "Qor/Trace.h"

QOR_TRACE_SOURCE("/src/FennEvpn/FennEvpnEsiFilteringDecapSm")

namespace Fenn {

namespace {

// Review tasks rank with ordinary work: a review only retries, nothing waits on it.
constexpr Keel::Priority reviewPriority = Keel::priorityNormal;

uint32_t codeOf(Mpls::LfibHwProgrammingReturnCode rc) { return static_cast<uint32_t>(rc); }

UnprogrammedReviewTexts const reviewTexts{
    "schedule immediate unprogrammed review", "unprogrammed review already scheduled",
    "next unprogrammed review at ", "no unprogrammed routes, nothing to review", "reviewUnprogrammed()"};

}  // namespace

class EsiFilteringDecapSm::QorLfibTrackingStatus
    : public Qor::ReactorOf<Mpls::LfibTrackingStatus, EsiFilteringDecapSm> {
 public:
  using ReactorOf::ReactorOf;
  void onAttribute(Qor::AttributeId id, void const* key) override {
    // Only arrivals matter: removals are this machine's own.
    if (id == Mpls::LfibTrackingStatus::routeKeyBacklogAttr &&
        notifier()->routeKeyBacklogHas(Qor::keyAs<Mpls::RouteKey>(key))) {
      sm()->handleRouteKeyBacklog();
    }
  }
};

EsiFilteringDecapSm::EsiFilteringDecapSm(
    Qor::Ptr<FennHelper::EsiFilteringDecapHelper> esiFilteringDecapHelper,
    Qor::Ptr<Mpls::LfibStatus const> lfibStatus, Qor::Ptr<Keel::TaskScheduler> scheduler,
    Qor::Ptr<Mpls::LfibTrackingStatus> lfibTrackingStatus, Qor::Ptr<Mpls::LfibHwStatus> lfibHwStatus)
    : esiFilteringDecapHelper_(std::move(esiFilteringDecapHelper)),
      lfibStatus_(std::move(lfibStatus)),
      scheduler_(std::move(scheduler)),
      lfibTrackingStatus_(std::move(lfibTrackingStatus)),
      lfibHwStatus_(std::move(lfibHwStatus)) {
  // An input the platform did not hand in is reported by handleInitialized.
  if (lfibTrackingStatus_)
    qorLfibTrackingStatus_ = Qor::newReactor<QorLfibTrackingStatus>(lfibTrackingStatus_.get(), this);
}

EsiFilteringDecapSm::~EsiFilteringDecapSm() {
  qorLfibTrackingStatus_.reset();
  reviewRouteKeyBacklog_ = nullptr;
  review_.reset();
  if (!initialized()) return;
  for (auto const& routeKey : routeEsiFilterVia().keys()) {
    esiFilteringDecapHelper_->deleteEsiPortMap(routeKey.topLabel(), routeEsiFilterVia(routeKey).intfId());
  }
  lfibHwStatus_->unprogrammedRouteDelAll();
}

void EsiFilteringDecapSm::handleInitialized() {
  QTRACE(8, "EsiFilteringDecapSm::", "handleInitialized");
  QOR_ASSERT_TEXT(esiFilteringDecapHelper_, "esiFilteringDecapHelper()");
  QOR_ASSERT_TEXT(lfibStatus_, "lfibStatus()");
  QOR_ASSERT_TEXT(scheduler_, "scheduler()");
  QOR_ASSERT_TEXT(lfibTrackingStatus_, "lfibTrackingStatus()");
  QOR_ASSERT_TEXT(lfibHwStatus_, "lfibHwStatus()");
  reviewRouteKeyBacklog_ = Qor::Ptr<Keel::Task>(new Keel::Task(
      scheduler_, reviewPriority, "reviewRouteKeyBacklog", [this] { doReviewRouteKeyBacklog(); }));
  // Every review pass ends by asking for the next one, as the backlog drain does, so the
  // trace shows the pass that left nothing listed.
  review_ = std::make_unique<Review>(*this, qorTraceHandle_, lfibHwStatus_->unprogrammedRoute(), scheduler_,
                                     reviewPriority, Review::defaultTaskName, reviewTexts,
                                     UnprogrammedReviewPassEnd::always);
  // Listings of a previous run describe maps that are no longer ours; the first pass lists
  // again what still fails.
  lfibHwStatus_->unprogrammedRouteDelAll();
  // Routes that were in the LFIB before this machine started were never put in the backlog
  // for it: the first pass looks at all of them.
  for (auto const& [routeKey, route] : lfibStatus_->route()) lfibTrackingStatus_->routeKeyBacklogIs(routeKey);
  handleRouteKeyBacklog();
}

void EsiFilteringDecapSm::processRouteKey(Mpls::RouteKey const& routeKey) {
  QTRACE(8, "EsiFilteringDecapSm::", "processRouteKey", " route ", routeKey);
  if (!lfibStatus_->routeHas(routeKey)) {
    QTRACE(5, "EsiFilteringDecapSm::", "processRouteKey", " route ", routeKey, " ", "route was deleted");
    deleteEsiFilterVia(routeKey);
    return;
  }
  Mpls::LfibViaSetKey const viaSetKey = lfibStatus_->route(routeKey).viaSetKey();
  if (!lfibStatus_->viaSetHas(viaSetKey)) {
    QTRACE(5, "EsiFilteringDecapSm::", "processRouteKey", " route ", routeKey, " ", "viaset was deleted");
    deleteEsiFilterVia(routeKey);
    return;
  }
  Mpls::LfibViaKey const viaKey = lfibStatus_->viaSet(viaSetKey).viaKey();
  QOR_ASSERT_TEXT(!!viaKey, "!!viaKey");
  Mpls::LfibEvpnEthernetSegmentFilterVia via;
  if (viaKey.viaType() != Mpls::lfibViaTypeEvpnEthernetSegmentFilter) {
    QTRACE(5, "EsiFilteringDecapSm::", "processRouteKey", " route ", routeKey, " ", "Skipping viaType ",
           viaKey.viaType());
  } else {
    via = lfibStatus_->evpnEthernetSegmentFilterVia(viaKey);
  }
  // A route that filters no more, or through another interface, first loses what it has.
  if (routeEsiFilterViaHas(routeKey)) {
    if (routeEsiFilterVia(routeKey) == via) {
      QTRACE(8, "EsiFilteringDecapSm::", "processRouteKey", " route ", routeKey, " already programmed");
      return;
    }
    deleteEsiFilterVia(routeKey);
  } else if (via.empty()) {
    deleteRouteFromUnprogrammed(routeKey);
  }
  if (!via.empty()) createEsiFilterVia(routeKey, via);
}

void EsiFilteringDecapSm::createEsiFilterVia(Mpls::RouteKey const& routeKey,
                                             Mpls::LfibEvpnEthernetSegmentFilterVia const& via) {
  QTRACE(8, "EsiFilteringDecapSm::", "createEsiFilterVia", " route ", routeKey, " via ", via);
  QOR_ASSERT_TEXT(!routeEsiFilterViaHas(routeKey), "!routeEsiFilterViaHas( routeKey )");
  Ostra::IntfId const intfId = via.intfId();
  if (intfRouteHas(intfId) && intfRoute(intfId) != routeKey) {
    QTRACE(5, "EsiFilteringDecapSm::", "createEsiFilterVia", " route ", routeKey, " intf ", intfId,
           " already associated with route ", intfRoute(intfId).topLabel());
    addRouteToUnprogrammed(routeKey, Mpls::lfibHwConflict);
    return;
  }
  Mpls::LfibHwProgrammingReturnCode const rc =
      esiFilteringDecapHelper_->createEsiPortMap(routeKey.topLabel(), intfId);
  ++counters_.helperCalls;
  QTRACE(5, "EsiFilteringDecapSm::", "createEsiFilterVia", " route ", routeKey, " intf ", intfId,
         " rc: ", codeOf(rc));
  switch (codeOf(rc)) {
    case Mpls::lfibHwProgrammed:
      routeEsiFilterViaIs(routeKey, via);
      intfRouteIs(intfId, routeKey);
      deleteRouteFromUnprogrammed(routeKey);
      break;
    case Mpls::lfibHwConflict:
      QOR_ASSERT_TEXT(false, "Unexpected rc. Conflict detection logic is already done in Fenn");
      break;
    case Mpls::lfibHwResourceFull:
    case Mpls::lfibHwTemporaryFailure:
      counters_.failureIs(scheduler_->now());
      QTRACE(5, "EsiFilteringDecapSm::", "createEsiFilterVia", " route ", routeKey, " rc: ", codeOf(rc),
             ", adding via to unprogrammed");
      addRouteToUnprogrammed(routeKey, rc);
      break;
    default:
      break;
  }
}

void EsiFilteringDecapSm::deleteEsiFilterVia(Mpls::RouteKey const& routeKey) {
  QTRACE(8, "EsiFilteringDecapSm::", "deleteEsiFilterVia", " route ", routeKey);
  if (routeEsiFilterViaHas(routeKey)) {
    Ostra::IntfId const intfId = routeEsiFilterVia(routeKey).intfId();
    Mpls::LfibHwProgrammingReturnCode const rc =
        esiFilteringDecapHelper_->deleteEsiPortMap(routeKey.topLabel(), intfId);
    ++counters_.helperCalls;
    QTRACE(5, "EsiFilteringDecapSm::", "deleteEsiFilterVia", " route ", routeKey, " intf ", intfId,
           " rc: ", codeOf(rc));
    routeEsiFilterViaDel(routeKey);
    intfRouteDel(intfId);
  }
  // A route that never got its map may still be listed, and must not stay listed once gone.
  deleteRouteFromUnprogrammed(routeKey);
}

void EsiFilteringDecapSm::addRouteToUnprogrammed(Mpls::RouteKey const& routeKey,
                                                 Mpls::LfibHwProgrammingReturnCode rc) {
  QTRACE(5, "EsiFilteringDecapSm::", "addRouteToUnprogrammed", " route ", routeKey, " reason ", codeOf(rc));
  lfibHwStatus_->unprogrammedRouteIs(Mpls::RouteInfo(routeKey, rc));
  maybeScheduleUnprogrammedReview();
}

void EsiFilteringDecapSm::deleteRouteFromUnprogrammed(Mpls::RouteKey const& routeKey) {
  QTRACE(8, "EsiFilteringDecapSm::", "deleteRouteFromUnprogrammed", " route ", routeKey);
  if (lfibHwStatus_->unprogrammedRoute().empty()) {
    QTRACE(8, "EsiFilteringDecapSm::", "deleteRouteFromUnprogrammed", " ",
           "No unprogrammed routes, nothing to delete");
    return;
  }
  lfibHwStatus_->unprogrammedRouteDel(routeKey);
}

void EsiFilteringDecapSm::maybeScheduleUnprogrammedReview() {
  QOR_ASSERT_TEXT(initialized(), "initialized()");
  review_->maybeSchedule(false);
}

void EsiFilteringDecapSm::handleRouteKeyBacklog() {
  QTRACE(8, "EsiFilteringDecapSm::", "handleRouteKeyBacklog");
  if (!initialized()) return;
  reviewRouteKeyBacklog_->scheduleTask();
}

void EsiFilteringDecapSm::processRouteKeyBacklog(Mpls::RouteKey const& routeKey) {
  QTRACE(8, "EsiFilteringDecapSm::", "processRouteKeyBacklog", " route ", routeKey);
  processRouteKey(routeKey);
  QOR_ASSERT_TEXT(lfibTrackingStatus_->routeKeyBacklogHas(routeKey), "backlogIter.isMemberOf( routeKey )");
  lfibTrackingStatus_->routeKeyBacklogDel(routeKey);
}

void EsiFilteringDecapSm::doReviewRouteKeyBacklog() {
  QTRACE(8, "EsiFilteringDecapSm::", "doReviewRouteKeyBacklog");
  Keel::Task* task = reviewRouteKeyBacklog_.get();
  if (backlogNext_ == backlogPass_.size()) {
    backlogPass_ = lfibTrackingStatus_->routeKeyBacklog().keys();
    backlogNext_ = 0;
  }
  while (backlogNext_ < backlogPass_.size()) {
    Mpls::RouteKey const routeKey = backlogPass_[backlogNext_++];
    if (!lfibTrackingStatus_->routeKeyBacklogHas(routeKey)) continue;  // withdrawn by the platform
    processRouteKeyBacklog(routeKey);
    task->taskWorkCountInc(1);
    if (backlogNext_ < backlogPass_.size() && task->taskShouldYield()) {
      QTRACE(5, "EsiFilteringDecapSm::", "doReviewRouteKeyBacklog", " yield, keys left in pass ",
             backlogPass_.size() - backlogNext_);
      task->scheduleTask();
      return;
    }
  }
  maybeScheduleUnprogrammedReview();
}

Qor::Ptr<EsiFilteringDecapSm> esiFilteringDecapSmFactory(
    Qor::Ptr<FennHelper::EsiFilteringDecapHelper> esiFilteringDecapHelper,
    Qor::Ptr<Mpls::LfibStatus const> lfibStatus, Qor::Ptr<Keel::TaskScheduler> scheduler,
    Qor::Ptr<Mpls::LfibTrackingStatus> lfibTrackingStatus, Qor::Ptr<Mpls::LfibHwStatus> lfibHwStatus) {
  return Qor::Ptr<EsiFilteringDecapSm>(
      new EsiFilteringDecapSm(std::move(esiFilteringDecapHelper), std::move(lfibStatus), std::move(scheduler),
                              std::move(lfibTrackingStatus), std::move(lfibHwStatus)));
}

// ---- Operator answers ----

void EsiFilteringDecapSm::explainRoute(Mpls::RouteKey const& routeKey, Explanation& answer) const {
  constexpr char machine[] = "EsiFilteringDecapSm";
  if (!answer.initializedStep(machine, initialized())) return;
  if (!lfibStatus_->routeHas(routeKey)) {
    answer.stepIs(machine, "LFIB route", "none", ExplainStatus::missingInput);
    return;
  }
  Mpls::LfibViaSetKey const viaSetKey = lfibStatus_->route(routeKey).viaSetKey();
  if (!lfibStatus_->viaSetHas(viaSetKey)) {
    answer.stepIs(machine, "LFIB route", "its via set is missing", ExplainStatus::missingInput);
    return;
  }
  answer.stepIs(machine, "LFIB route", "present");
  Mpls::LfibViaKey const viaKey = lfibStatus_->viaSet(viaSetKey).viaKey();
  if (viaKey.viaType() != Mpls::lfibViaTypeEvpnEthernetSegmentFilter ||
      lfibStatus_->evpnEthernetSegmentFilterVia(viaKey).empty()) {
    answer.stepIs(machine, "ESI filter via",
                  "none: the route's via is " + Qor::valueToStrep(viaKey.viaType()),
                  ExplainStatus::missingInput);
    return;
  }
  Ostra::IntfId const intf = lfibStatus_->evpnEthernetSegmentFilterVia(viaKey).intfId();
  answer.stepIs(machine, "ESI filter via", "towards " + intf.name());
  if (lfibTrackingStatus_->routeKeyBacklogHas(routeKey)) {
    answer.stepIs(machine, "route-key backlog", "queued: the backlog drain has not reached it yet",
                  ExplainStatus::waitingForHardware);
    return;
  }
  if (Mpls::LfibEvpnEthernetSegmentFilterVia const* programmedVia = routeEsiFilterVia().find(routeKey)) {
    answer.stepIs(machine, "in hardware",
                  "ESI port map of label " + Qor::valueToStrep(routeKey.topLabel()) + " on " +
                      programmedVia->intfId().name());
    return;
  }
  if (!lfibHwStatus_->unprogrammedRouteHas(routeKey)) {
    answer.stepIs(machine, "in hardware", "not programmed yet", ExplainStatus::waitingForHardware);
    return;
  }
  uint32_t const code = codeOf(lfibHwStatus_->unprogrammedRoute(routeKey).returnCode());
  Qor::String why = "code " + std::to_string(code);
  if (code == Mpls::lfibHwConflict) {
    Mpls::RouteKey const* owner = intfRoute().find(intf);
    why += ", conflict: the port map of " + intf.name() + " belongs to the route of label " +
           (owner ? Qor::valueToStrep(owner->topLabel()) : Qor::String("(none)"));
  } else {
    why += code == Mpls::lfibHwResourceFull ? ", resource full" : ", temporary failure";
  }
  answer.stepIs(machine, "in hardware",
                "listed as unprogrammed (" + why + "); " + retryText(counters_, reviewUnprogrammed()),
                ExplainStatus::failed);
}

SmSummary EsiFilteringDecapSm::summary() const {
  SmSummary s("EsiFilteringDecapSm", counters_, unusableInputCount());
  uint64_t const listed = lfibHwStatus_ ? lfibHwStatus_->unprogrammedRoute().size() : 0;
  s.entriesIs(routeEsiFilterVia().size() + listed, routeEsiFilterVia().size());
  s.counters.retries = review_ ? review_->reviewedCount() : 0;
  return s;
}
}  // namespace Fenn
