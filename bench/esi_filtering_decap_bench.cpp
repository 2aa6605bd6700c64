// EsiFilteringDecapSm at scale, on the recording stub helper so the figures are the
// library's own.
//
// BM_FilterRoutesThroughBacklog: 100,000 filter routes (each with its own via set, filter
// via and interface) arrive as the platform delivers them: a route write and its key in the
// backlog each, then the backlog task drains them in slices of the scheduler's work quota.
// Items are routes, from the write to the programmed port map.
//
// BM_ReviewUnprogrammed: 10,000 filter routes listed with code 2 and the hardware still
// answering 2; one item is one listed route retried by the review (lookups, the helper call
// and the unchanged listing), over a whole pass run in slices of the default work quota.
#include <benchmark/benchmark.h>

#include "FennEvpn/FennEvpnEsiFilteringDecapHelperStub.h"
#include "FennEvpn/FennEvpnEsiFilteringDecapSm.h"
#include "Keel/ManualClock.h"
#include "Keel/TaskScheduler.h"

namespace {

struct World {
  Qor::Ptr<FennHelper::EsiFilteringDecapHelperStub> helper =
      FennHelper::esiFilteringDecapHelperStubFactory("benchEsiFilteringDecapHelper");
  Qor::Ptr<Keel::ManualClock> clock{new Keel::ManualClock};
  Qor::Ptr<Keel::TaskScheduler> scheduler{new Keel::TaskScheduler(clock)};
  Qor::Ptr<Mpls::LfibStatus> lfib = Mpls::lfibStatusFactory();
  Qor::Ptr<Mpls::LfibTrackingStatus> tracking = Mpls::lfibTrackingStatusFactory();
  Qor::Ptr<Mpls::LfibHwStatus> hwStatus = Mpls::lfibHwStatusFactory();
  Qor::Ptr<Fenn::EsiFilteringDecapSm> sm;

  // Vias and via sets for `routes` filter routes, and a started machine.
  explicit World(uint32_t routes) {
    for (uint32_t n = 1; n <= routes; ++n) {
      Mpls::LfibViaKey const via(Mpls::lfibViaTypeEvpnEthernetSegmentFilter, n);
      lfib->evpnEthernetSegmentFilterViaIs(
          via, Mpls::LfibEvpnEthernetSegmentFilterVia(Ostra::IntfId::portChannel(n)));
      lfib->viaSetIs(Mpls::LfibViaSetKey(n), Mpls::LfibViaSet(via));
    }
    sm = Fenn::esiFilteringDecapSmFactory(helper, lfib, scheduler, tracking, hwStatus);
    sm->initializedIs(true);
    scheduler->runReady();
  }
  static Mpls::RouteKey route(uint32_t n) { return Mpls::RouteKey(Ostra::MplsLabel(1000 + n)); }
  void addRoutes(uint32_t routes) {
    for (uint32_t n = 1; n <= routes; ++n) {
      lfib->routeIs(route(n), Mpls::LfibRoute(Mpls::LfibViaSetKey(n)));
      tracking->routeKeyBacklogIs(route(n));
    }
    scheduler->runReady();
  }
  void delRoutes(uint32_t routes) {
    for (uint32_t n = 1; n <= routes; ++n) {
      lfib->routeDel(route(n));
      tracking->routeKeyBacklogIs(route(n));
    }
    scheduler->runReady();
  }
};

void BM_FilterRoutesThroughBacklog(benchmark::State& state) {
  uint32_t const routes = uint32_t(state.range(0));
  World w(routes);
  for (auto _ : state) {
    w.addRoutes(routes);
    state.PauseTiming();
    if (w.sm->routeEsiFilterVia().size() != routes) state.SkipWithError("routes not programmed");
    w.delRoutes(routes);
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * routes);
}
BENCHMARK(BM_FilterRoutesThroughBacklog)->Arg(100000)->Unit(benchmark::kMillisecond);

void BM_ReviewUnprogrammed(benchmark::State& state) {
  uint32_t const routes = uint32_t(state.range(0));
  World w(routes);
  w.helper->createEsiPortMapRcIs(Mpls::lfibHwResourceFull);
  w.addRoutes(routes);
  if (w.hwStatus->unprogrammedRoute().size() != routes) state.SkipWithError("routes not listed");
  // One pass is routes / quota slices, one retry interval apart.
  double const pass =
      w.sm->defaultUnprogrammedRetryInterval() *
      double((routes + Keel::TaskScheduler::defaultWorkQuota - 1) / Keel::TaskScheduler::defaultWorkQuota);
  uint64_t const calls = w.helper->createEsiPortMapCount();
  for (auto _ : state) w.scheduler->advanceBy(pass);
  if (w.helper->createEsiPortMapCount() - calls != uint64_t(state.iterations()) * routes) {
    state.SkipWithError("a pass did not retry every route once");
  }
  state.SetItemsProcessed(state.iterations() * routes);
}
BENCHMARK(BM_ReviewUnprogrammed)->Arg(10000)->Unit(benchmark::kMillisecond);

}  // namespace
