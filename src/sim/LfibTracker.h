// The platform's side of the LFIB, as the simulated switch plays it: it writes routes, via
// sets and Ethernet-segment filter vias into Mpls::LfibStatus and, like the platform's LFIB
// tracking, puts into the route-key backlog of Mpls::LfibTrackingStatus every route whose
// forwarding a change touches: the route itself, the routes of a via set, the routes of
// every via set that selects a via.
#pragma once

#include <map>
#include <set>

#include "Mpls/LfibStatus.h"
#include "Mpls/LfibTrackingStatus.h"

namespace Sim {

class LfibTracker {
 public:
  LfibTracker(Qor::Ptr<Mpls::LfibStatus> lfibStatus, Qor::Ptr<Mpls::LfibTrackingStatus> tracking);

  void routeIs(Mpls::RouteKey const& routeKey, Mpls::LfibViaSetKey const& viaSetKey);
  void routeDel(Mpls::RouteKey const& routeKey);
  void viaSetIs(Mpls::LfibViaSetKey const& viaSetKey, Mpls::LfibViaKey const& viaKey);
  void viaSetDel(Mpls::LfibViaSetKey const& viaSetKey);
  void filterViaIs(Mpls::LfibViaKey const& viaKey, Ostra::IntfId intfId);
  void filterViaDel(Mpls::LfibViaKey const& viaKey);
  // Asks for the route to be looked at again, as the platform does after a resync.
  void backlogIs(Mpls::RouteKey const& routeKey) { tracking_->routeKeyBacklogIs(routeKey); }

  Mpls::LfibStatus const* lfibStatus() const noexcept { return lfibStatus_.get(); }

 private:
  void touchViaSet(Mpls::LfibViaSetKey const& viaSetKey);

  Qor::Ptr<Mpls::LfibStatus> lfibStatus_;
  Qor::Ptr<Mpls::LfibTrackingStatus> tracking_;
  std::map<Mpls::LfibViaSetKey, std::set<Mpls::RouteKey>> viaSetRoutes_;
  std::map<Mpls::LfibViaKey, std::set<Mpls::LfibViaSetKey>> viaViaSets_;
};

}  // namespace Sim
