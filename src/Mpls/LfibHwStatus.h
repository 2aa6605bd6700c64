// What the hardware side reports about the LFIB: the routes that could not be programmed,
// each with the return code that kept it out. Written by the state machine that programs
// the routes; read by the platform and by operators.
#pragma once

#include <string_view>

#include "Mpls/RouteInfo.h"
#include "Mpls/RouteKey.h"
#include "Qor/Attribute.h"

namespace Mpls {

class LfibHwStatus : public Qor::Entity {
 public:
  std::string_view fwkType() const override { return "Mpls::LfibHwStatus"; }

  // Keyed by the route key the RouteInfo carries.
  QOR_ATTRIBUTE_ID(unprogrammedRoute);
  RouteInfo const& unprogrammedRoute(RouteKey const& key) const { return unprogrammedRoute_.get(key); }
  bool unprogrammedRouteHas(RouteKey const& key) const { return unprogrammedRoute_.has(key); }
  auto const& unprogrammedRoute() const noexcept { return unprogrammedRoute_; }
  void unprogrammedRouteIs(RouteInfo const& info) { unprogrammedRoute_.set(info.routeKey(), info); }
  bool unprogrammedRouteDel(RouteKey const& key) { return unprogrammedRoute_.del(key); }
  void unprogrammedRouteDelAll() { unprogrammedRoute_.delAll(); }

 private:
  Qor::ValueMap<RouteKey, RouteInfo> unprogrammedRoute_{this, unprogrammedRouteAttr};
};

Qor::Ptr<LfibHwStatus> lfibHwStatusFactory();

}  // namespace Mpls
