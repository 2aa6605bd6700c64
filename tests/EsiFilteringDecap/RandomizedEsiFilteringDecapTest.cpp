// Random churn of routes, via sets, filter vias and their interfaces on the simulated
// switch, with the decapsulation hardware answering 2 or 3 to a random share of creates.
// Once the churn and the faults stop and the reviews have run: the hardware holds exactly
// one port map per interface that a live filter route claims, owned by one of those
// routes; every other live filter route is listed with code 1; nothing else is listed or
// mapped. The hardware model answers a conflicting map with 1, which the state machine
// treats as fatal, so a run also shows that no conflicting map ever reached it. The seed is
// printed; FENN_TEST_SEED replays one.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <random>
#include <set>

#include "Qor/Strep.h"
#include "Support/TestSeed.h"
#include "sim/Switch.h"

namespace EsiFilteringDecapTest {
namespace {

constexpr uint32_t kRoutes = 12;
constexpr uint32_t kViaSets = 6;
constexpr uint32_t kVias = 6;
constexpr uint32_t kIntfs = 4;

Mpls::RouteKey routeOf(uint32_t n) { return Mpls::RouteKey(Ostra::MplsLabel(900 + n)); }
Mpls::LfibViaKey filterViaOf(uint32_t n) {
  return Mpls::LfibViaKey(Mpls::lfibViaTypeEvpnEthernetSegmentFilter, n);
}

class RandomizedEsiFilteringDecapTest : public ::testing::TestWithParam<int> {
 protected:
  void churn(std::mt19937& rng) {
    auto pick = [&](uint32_t n) { return std::uniform_int_distribution<uint32_t>(1, n)(rng); };
    Sim::LfibTracker& lfib = sw.lfib();
    std::function<void()> const changes[] = {
        [&] { lfib.routeIs(routeOf(pick(kRoutes)), Mpls::LfibViaSetKey(pick(kViaSets))); },
        [&] { lfib.routeDel(routeOf(pick(kRoutes))); },
        [&] { lfib.viaSetIs(Mpls::LfibViaSetKey(pick(kViaSets)), filterViaOf(pick(kVias))); },
        [&] {
          lfib.viaSetIs(Mpls::LfibViaSetKey(pick(kViaSets)),
                        Mpls::LfibViaKey(Mpls::lfibViaTypeMpls, pick(3)));
        },
        [&] { lfib.viaSetDel(Mpls::LfibViaSetKey(pick(kViaSets))); },
        [&] { lfib.filterViaIs(filterViaOf(pick(kVias)), Ostra::IntfId::portChannel(pick(kIntfs))); },
        [&] { lfib.filterViaIs(filterViaOf(pick(kVias)), Ostra::IntfId::portChannel(pick(kIntfs))); },
        [&] { lfib.filterViaDel(filterViaOf(pick(kVias))); },
        [&] { sw.settle(); },
        [&] { sw.advance(std::uniform_real_distribution<double>(0, 6)(rng)); },
    };
    changes[pick(std::size(changes)) - 1]();
  }

  // The interface a route filters now, or the empty interface.
  Ostra::IntfId claimed(Mpls::RouteKey const& routeKey) const {
    Mpls::LfibStatus const* lfib = sw.esiFilteringDecapSm()->lfibStatus();
    if (!lfib->routeHas(routeKey)) return {};
    auto const viaSetKey = lfib->route(routeKey).viaSetKey();
    if (!lfib->viaSetHas(viaSetKey)) return {};
    auto const viaKey = lfib->viaSet(viaSetKey).viaKey();
    if (viaKey.viaType() != Mpls::lfibViaTypeEvpnEthernetSegmentFilter) return {};
    return lfib->evpnEthernetSegmentFilterVia(viaKey).intfId();
  }

  Sim::Switch sw{Sim::HardwareConfig{}, "randomDecap."};
};

TEST_P(RandomizedEsiFilteringDecapTest, SettlesToOneMapPerClaimedInterface) {
  uint64_t const seed = TestSupport::testSeed();
  SCOPED_TRACE("FENN_TEST_SEED=" + std::to_string(seed));
  std::mt19937 rng(seed);
  sw.faults(Sim::FaultTarget::esiPortMapResourceFull).failFractionIs(0.2, seed);
  sw.faults(Sim::FaultTarget::esiPortMapTemporaryFailure).failFractionIs(0.2, seed + 1);
  for (int i = 0; i < 1000; ++i) churn(rng);
  sw.faults(Sim::FaultTarget::esiPortMapResourceFull).clear();
  sw.faults(Sim::FaultTarget::esiPortMapTemporaryFailure).clear();
  for (int i = 0; i < 3; ++i) sw.advance(5.0);

  std::map<Ostra::IntfId, std::set<Mpls::RouteKey>> claims;
  for (uint32_t n = 1; n <= kRoutes; ++n) {
    if (Ostra::IntfId const intf = claimed(routeOf(n)); !intf.empty()) claims[intf].insert(routeOf(n));
  }
  auto const& maps = sw.esiPortMaps().maps();
  Mpls::LfibHwStatus const* hwStatus = sw.lfibHwStatus();
  EXPECT_EQ(maps.size(), claims.size());
  size_t conflicts = 0;
  for (auto const& [intf, routes] : claims) {
    auto it = maps.find(intf);
    ASSERT_NE(it, maps.end()) << "no map on " << Qor::valueToStrep(intf);
    Mpls::RouteKey const owner(it->second);
    EXPECT_TRUE(routes.count(owner)) << Qor::valueToStrep(intf) << " mapped for a route that left it";
    EXPECT_FALSE(hwStatus->unprogrammedRouteHas(owner));
    for (auto const& routeKey : routes) {
      if (routeKey == owner) continue;
      ++conflicts;
      ASSERT_TRUE(hwStatus->unprogrammedRouteHas(routeKey)) << Qor::valueToStrep(routeKey);
      EXPECT_EQ(hwStatus->unprogrammedRoute(routeKey).returnCode(), Mpls::lfibHwConflict);
    }
  }
  EXPECT_EQ(hwStatus->unprogrammedRoute().size(), conflicts) << "a gone route is listed";
}

// Twenty runs, each on a seed of its own.
INSTANTIATE_TEST_SUITE_P(Seeds, RandomizedEsiFilteringDecapTest, ::testing::Range(0, 20));

}  // namespace
}  // namespace EsiFilteringDecapTest
