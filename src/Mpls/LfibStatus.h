// The platform's MPLS label forwarding table as the library reads it: routes keyed by their
// top label, each naming a via set; via sets, each selecting one via by its key; and the
// table of Ethernet-segment filter vias. Written by the platform; state machines hold it as
// Qor::Ptr<LfibStatus const>. The tables change independently: a route may name a via set
// that is not there (yet), and a via may change in place under an unchanged via set.
#pragma once

#include <string_view>

#include "Mpls/LfibEvpnEthernetSegmentFilterVia.h"
#include "Mpls/LfibRoute.h"
#include "Mpls/LfibViaKey.h"
#include "Mpls/LfibViaSet.h"
#include "Mpls/LfibViaSetKey.h"
#include "Mpls/RouteKey.h"
#include "Qor/Attribute.h"

namespace Mpls {

class LfibStatus : public Qor::Entity {
 public:
  std::string_view fwkType() const override { return "Mpls::LfibStatus"; }

  QOR_MAP(route, RouteKey, LfibRoute)
  QOR_MAP(viaSet, LfibViaSetKey, LfibViaSet)
  // Vias of type lfibViaTypeEvpnEthernetSegmentFilter, by their key.
  QOR_MAP(evpnEthernetSegmentFilterVia, LfibViaKey, LfibEvpnEthernetSegmentFilterVia)
};

Qor::Ptr<LfibStatus> lfibStatusFactory();

}  // namespace Mpls
