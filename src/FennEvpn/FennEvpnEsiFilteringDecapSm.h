// EsiFilteringDecapSm programs split horizon at MPLS decapsulation: for every LFIB route
// whose via is an Ethernet-segment filter via, it asks the hardware, through
// EsiFilteringDecapHelper, for an ESI port map (the route's top label, the via's
// interface), so that a packet arriving with a local segment's ESI label is not flooded
// back out of that segment.
//
// Routes reach it through the route-key backlog of Mpls::LfibTrackingStatus, which the
// platform fills whenever a route, its via set or its via changes; a backlog task drains it
// in slices. At most one route owns an interface's port map: a second route claiming the
// same interface is a conflict, kept out of the hardware and listed in Mpls::LfibHwStatus
// with code 1, as is a route the hardware could not program for now (codes 2 and 3). A
// timer task reviews the listed routes every defaultUnprogrammedRetryInterval seconds, in
// slices, until each is programmed or gone.
//
// A route's port map follows its via: when the via changes in place (another interface
// under the same via key, or another via set), processRouteKey removes the map it
// programmed before it programs the new one, so createEsiFilterVia only ever sees routes
// with nothing programmed.
#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "FennEvpn/FennEvpnEsiFilteringDecapHelper.h"
#include "FennEvpn/FennEvpnExplanation.h"
#include "FennEvpn/FennEvpnExport.h"
#include "FennEvpn/FennEvpnSmSummary.h"
#include "FennEvpn/FennEvpnUnprogrammedReview.h"
#include "FennEvpn/FennEvpnUnusableInput.h"
#include "Keel/Task.h"
#include "Keel/TaskScheduler.h"
#include "Keel/TimerTask.h"
#include "Mpls/LfibHwStatus.h"
#include "Mpls/LfibStatus.h"
#include "Mpls/LfibTrackingStatus.h"
#include "Qor/StateMachine.h"

namespace Fenn {

class EsiFilteringDecapSm : public Qor::StateMachine, public UnusableInputCounter {
 public:
  static constexpr char traceClass[] = "EsiFilteringDecapSm::";

  EsiFilteringDecapSm(Qor::Ptr<FennHelper::EsiFilteringDecapHelper> esiFilteringDecapHelper,
                      Qor::Ptr<Mpls::LfibStatus const> lfibStatus, Qor::Ptr<Keel::TaskScheduler> scheduler,
                      Qor::Ptr<Mpls::LfibTrackingStatus> lfibTrackingStatus,
                      Qor::Ptr<Mpls::LfibHwStatus> lfibHwStatus);
  // Once initialized, removes the port maps it programmed and the routes it listed.
  ~EsiFilteringDecapSm() override;
  std::string_view fwkType() const override { return "Fenn::EsiFilteringDecapSm"; }

  FennHelper::EsiFilteringDecapHelper* esiFilteringDecapHelper() const noexcept {
    return esiFilteringDecapHelper_.get();
  }
  Mpls::LfibStatus const* lfibStatus() const noexcept { return lfibStatus_.get(); }
  Keel::TaskScheduler* scheduler() const noexcept { return scheduler_.get(); }
  Mpls::LfibTrackingStatus* lfibTrackingStatus() const noexcept { return lfibTrackingStatus_.get(); }
  Mpls::LfibHwStatus* lfibHwStatus() const noexcept { return lfibHwStatus_.get(); }

  // What is programmed for each route.
  QOR_MAP(routeEsiFilterVia, Mpls::RouteKey, Mpls::LfibEvpnEthernetSegmentFilterVia)
  // The route that owns each interface's port map.
  QOR_MAP(intfRoute, Ostra::IntfId, Mpls::RouteKey)
  QOR_SCALAR(defaultUnprogrammedRetryInterval, double, 5.0)

  // Created by handleInitialized.
  Keel::Task* reviewRouteKeyBacklog() const noexcept { return reviewRouteKeyBacklog_.get(); }
  Keel::TimerTask* reviewUnprogrammed() const noexcept { return review_ ? review_->task() : nullptr; }

  // Brings the hardware in line with the route as the LFIB has it now.
  void processRouteKey(Mpls::RouteKey const& routeKey);
  // Programs a route that has nothing programmed, unless another route owns the interface.
  void createEsiFilterVia(Mpls::RouteKey const& routeKey, Mpls::LfibEvpnEthernetSegmentFilterVia const& via);
  // Removes what is programmed for the route, and its listing as unprogrammed.
  void deleteEsiFilterVia(Mpls::RouteKey const& routeKey);
  void addRouteToUnprogrammed(Mpls::RouteKey const& routeKey, Mpls::LfibHwProgrammingReturnCode rc);
  void deleteRouteFromUnprogrammed(Mpls::RouteKey const& routeKey);
  // Schedules the review after defaultUnprogrammedRetryInterval unless one is pending or no
  // route is listed.
  void maybeScheduleUnprogrammedReview();
  void handleRouteKeyBacklog();
  void processRouteKeyBacklog(Mpls::RouteKey const& routeKey);
  void doReviewRouteKeyBacklog();

  // Operator answers: why an MPLS route's ESI port map is (not) in hardware, and the
  // summary (an entry is a route with a filter via).
  FENN_EVPN_EXPORT void explainRoute(Mpls::RouteKey const& routeKey, Explanation& answer) const;
  FENN_EVPN_EXPORT SmSummary summary() const;

 protected:
  void handleInitialized() override;

 private:
  class QorLfibTrackingStatus;
  using Review = UnprogrammedReview<EsiFilteringDecapSm, Qor::ValueMap<Mpls::RouteKey, Mpls::RouteInfo>>;
  friend Review;

  void reviewUnprogrammedKey(Mpls::RouteKey const& routeKey) { processRouteKey(routeKey); }

  Qor::Ptr<FennHelper::EsiFilteringDecapHelper> esiFilteringDecapHelper_;
  Qor::Ptr<Mpls::LfibStatus const> lfibStatus_;
  Qor::Ptr<Keel::TaskScheduler> scheduler_;
  Qor::Ptr<Mpls::LfibTrackingStatus> lfibTrackingStatus_;
  Qor::Ptr<Mpls::LfibHwStatus> lfibHwStatus_;
  Qor::Ptr<Keel::Task> reviewRouteKeyBacklog_;
  std::unique_ptr<Review> review_;
  // Port map creates and deletes, the creates refused for now, and when.
  SmCounters counters_;
  // The backlog drain walks the keys present when its pass began, a slice per run; keys
  // that arrive meanwhile wait for the next pass.
  std::vector<Mpls::RouteKey> backlogPass_;
  size_t backlogNext_ = 0;
  std::unique_ptr<QorLfibTrackingStatus> qorLfibTrackingStatus_;
};

FENN_EVPN_EXPORT Qor::Ptr<EsiFilteringDecapSm> esiFilteringDecapSmFactory(
    Qor::Ptr<FennHelper::EsiFilteringDecapHelper> esiFilteringDecapHelper,
    Qor::Ptr<Mpls::LfibStatus const> lfibStatus, Qor::Ptr<Keel::TaskScheduler> scheduler,
    Qor::Ptr<Mpls::LfibTrackingStatus> lfibTrackingStatus, Qor::Ptr<Mpls::LfibHwStatus> lfibHwStatus);

}  // namespace Fenn
