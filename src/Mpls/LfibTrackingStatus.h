// The platform's record of LFIB routes whose forwarding changed: the platform adds a
// route's key to the backlog whenever the route, its via set or its via changes, and the
// consumer removes the key once it has processed the route. A key stands for "look at this
// route again", not for any particular change, so adding a key already present is no news.
#pragma once

#include <string_view>

#include "Mpls/RouteKey.h"
#include "Qor/Attribute.h"

namespace Mpls {

class LfibTrackingStatus : public Qor::Entity {
 public:
  std::string_view fwkType() const override { return "Mpls::LfibTrackingStatus"; }

  QOR_SET(routeKeyBacklog, RouteKey)
};

Qor::Ptr<LfibTrackingStatus> lfibTrackingStatusFactory();

}  // namespace Mpls
