#include "sim/LfibTracker.h"

#include <utility>

namespace Sim {

namespace {
template <class Index, class K, class V>
void unindex(Index& index, K const& key, V const& value) {
  auto it = index.find(key);
  if (it == index.end()) return;
  it->second.erase(value);
  if (it->second.empty()) index.erase(it);
}
}  // namespace

LfibTracker::LfibTracker(Qor::Ptr<Mpls::LfibStatus> lfibStatus, Qor::Ptr<Mpls::LfibTrackingStatus> tracking)
    : lfibStatus_(std::move(lfibStatus)), tracking_(std::move(tracking)) {}

// Writing what an entry already holds changes nothing, so it touches no route: the backlog
// follows the LFIB's changes alone, which is all a recording of the LFIB carries.
void LfibTracker::routeIs(Mpls::RouteKey const& routeKey, Mpls::LfibViaSetKey const& viaSetKey) {
  if (lfibStatus_->routeHas(routeKey)) {
    if (lfibStatus_->route(routeKey).viaSetKey() == viaSetKey) return;
    unindex(viaSetRoutes_, lfibStatus_->route(routeKey).viaSetKey(), routeKey);
  }
  viaSetRoutes_[viaSetKey].insert(routeKey);
  lfibStatus_->routeIs(routeKey, Mpls::LfibRoute(viaSetKey));
  tracking_->routeKeyBacklogIs(routeKey);
}

void LfibTracker::routeDel(Mpls::RouteKey const& routeKey) {
  if (!lfibStatus_->routeHas(routeKey)) return;
  unindex(viaSetRoutes_, lfibStatus_->route(routeKey).viaSetKey(), routeKey);
  lfibStatus_->routeDel(routeKey);
  tracking_->routeKeyBacklogIs(routeKey);
}

void LfibTracker::viaSetIs(Mpls::LfibViaSetKey const& viaSetKey, Mpls::LfibViaKey const& viaKey) {
  if (lfibStatus_->viaSetHas(viaSetKey)) {
    if (lfibStatus_->viaSet(viaSetKey).viaKey() == viaKey) return;
    unindex(viaViaSets_, lfibStatus_->viaSet(viaSetKey).viaKey(), viaSetKey);
  }
  viaViaSets_[viaKey].insert(viaSetKey);
  lfibStatus_->viaSetIs(viaSetKey, Mpls::LfibViaSet(viaKey));
  touchViaSet(viaSetKey);
}

void LfibTracker::viaSetDel(Mpls::LfibViaSetKey const& viaSetKey) {
  if (!lfibStatus_->viaSetHas(viaSetKey)) return;
  unindex(viaViaSets_, lfibStatus_->viaSet(viaSetKey).viaKey(), viaSetKey);
  lfibStatus_->viaSetDel(viaSetKey);
  touchViaSet(viaSetKey);
}

void LfibTracker::filterViaIs(Mpls::LfibViaKey const& viaKey, Ostra::IntfId intfId) {
  if (lfibStatus_->evpnEthernetSegmentFilterViaHas(viaKey) &&
      lfibStatus_->evpnEthernetSegmentFilterVia(viaKey).intfId() == intfId) {
    return;
  }
  lfibStatus_->evpnEthernetSegmentFilterViaIs(viaKey, Mpls::LfibEvpnEthernetSegmentFilterVia(intfId));
  if (auto it = viaViaSets_.find(viaKey); it != viaViaSets_.end()) {
    for (auto const& viaSetKey : it->second) touchViaSet(viaSetKey);
  }
}

void LfibTracker::filterViaDel(Mpls::LfibViaKey const& viaKey) {
  if (!lfibStatus_->evpnEthernetSegmentFilterViaDel(viaKey)) return;
  if (auto it = viaViaSets_.find(viaKey); it != viaViaSets_.end()) {
    for (auto const& viaSetKey : it->second) touchViaSet(viaSetKey);
  }
}

void LfibTracker::touchViaSet(Mpls::LfibViaSetKey const& viaSetKey) {
  if (auto it = viaSetRoutes_.find(viaSetKey); it != viaSetRoutes_.end()) {
    for (auto const& routeKey : it->second) tracking_->routeKeyBacklogIs(routeKey);
  }
}

}  // namespace Sim
