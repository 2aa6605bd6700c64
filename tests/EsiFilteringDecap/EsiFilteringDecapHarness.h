// The world of one EsiFilteringDecapSm under test: the recording stub helper, a scheduler
// on a manual clock, and the LFIB written through the simulated platform's tracker (which
// fills the route-key backlog as the platform does); with short verbs for routes, via sets
// and filter vias.
#pragma once

#include <gtest/gtest.h>

#include "FennEvpn/FennEvpnEsiFilteringDecapHelperStub.h"
#include "FennEvpn/FennEvpnEsiFilteringDecapSm.h"
#include "Keel/ManualClock.h"
#include "Keel/TaskScheduler.h"
#include "sim/LfibTracker.h"

namespace EsiFilteringDecapTest {

inline Mpls::RouteKey route(uint32_t label) { return Mpls::RouteKey(Ostra::MplsLabel(label)); }
inline Ostra::IntfId intf(uint32_t n) { return Ostra::IntfId::portChannel(n); }
inline Mpls::LfibViaKey filterVia(uint32_t n) {
  return Mpls::LfibViaKey(Mpls::lfibViaTypeEvpnEthernetSegmentFilter, n);
}

class Harness : public ::testing::Test {
 protected:
  void TearDown() override { sm = nullptr; }

  void start() {
    sm = Fenn::esiFilteringDecapSmFactory(helper, lfibStatus, scheduler, tracking, hwStatus);
    sm->initializedIs(true);
    scheduler->runReady();
  }

  // Route `label` through its own via set `label`, selecting filter via `via` on `intfN`;
  // then lets the backlog drain.
  void filterRoute(uint32_t label, uint32_t intfN, uint32_t via = 0) {
    uint32_t const v = via ? via : label;
    lfib.filterViaIs(filterVia(v), intf(intfN));
    lfib.viaSetIs(Mpls::LfibViaSetKey(label), filterVia(v));
    lfib.routeIs(route(label), Mpls::LfibViaSetKey(label));
    scheduler->runReady();
  }

  bool programmed(uint32_t label) const { return sm->routeEsiFilterViaHas(route(label)); }
  // The listed code, or -1 when the route is not listed.
  int listed(uint32_t label) const {
    return hwStatus->unprogrammedRouteHas(route(label))
               ? int(hwStatus->unprogrammedRoute(route(label)).returnCode())
               : -1;
  }

  Qor::Ptr<FennHelper::EsiFilteringDecapHelperStub> helper =
      FennHelper::esiFilteringDecapHelperStubFactory("testEsiFilteringDecapHelper");
  Qor::Ptr<Keel::ManualClock> clock{new Keel::ManualClock};
  Qor::Ptr<Keel::TaskScheduler> scheduler{new Keel::TaskScheduler(clock)};
  Qor::Ptr<Mpls::LfibStatus> lfibStatus = Mpls::lfibStatusFactory();
  Qor::Ptr<Mpls::LfibTrackingStatus> tracking = Mpls::lfibTrackingStatusFactory();
  Qor::Ptr<Mpls::LfibHwStatus> hwStatus = Mpls::lfibHwStatusFactory();
  Sim::LfibTracker lfib{lfibStatus, tracking};
  Qor::Ptr<Fenn::EsiFilteringDecapSm> sm;
};

}  // namespace EsiFilteringDecapTest
