// ESI filtering at decapsulation: conflicts, retries on the manual clock, a resync that
// changes nothing, the backlog draining in slices, start and teardown, and the fatal paths.
// What must hold after any churn (deletions at every level of the LFIB, vias changing in
// place or to another type) is the randomized test's; these cases pin what it cannot see
// (calls, timing, codes).
#include <cstdlib>
#include <string>

#include "EsiFilteringDecapHarness.h"
#include "FloodSet/FloodSetTestUtil.h"
#include "Qor/Strep.h"

namespace EsiFilteringDecapTest {
namespace {

using ConflictTest = Harness;

TEST_F(ConflictTest, SecondRouteOnAnInterfaceIsListedWithoutAHelperCall) {
  start();
  filterRoute(900, 10);
  EXPECT_EQ(helper->createEsiPortMapCount(), 1u);
  filterRoute(901, 10);
  EXPECT_EQ(helper->createEsiPortMapCount(), 1u) << "a conflicting map never reaches the hardware";
  EXPECT_FALSE(programmed(901));
  EXPECT_EQ(listed(901), Mpls::lfibHwConflict);
  EXPECT_EQ(sm->intfRoute(intf(10)), route(900));

  // Retried while the owner stays: still a conflict, and no call.
  scheduler->advanceBy(5.0);
  EXPECT_EQ(listed(901), Mpls::lfibHwConflict);
  EXPECT_EQ(helper->createEsiPortMapCount(), 1u);

  // The owner goes: the next review programs the waiting route.
  lfib.routeDel(route(900));
  scheduler->runReady();
  EXPECT_EQ(helper->deleteEsiPortMapLabel(), Ostra::MplsLabel(900));
  EXPECT_EQ(listed(901), Mpls::lfibHwConflict) << "the conflict clears at the next review, not at once";
  scheduler->advanceBy(5.0);
  EXPECT_TRUE(programmed(901));
  EXPECT_EQ(listed(901), -1);
  EXPECT_EQ(helper->createEsiPortMapLabel(), Ostra::MplsLabel(901));
  EXPECT_EQ(sm->intfRoute(intf(10)), route(901));
}

using RetryTest = Harness;

TEST_F(RetryTest, TransientFailureIsRetriedAfterTheIntervalUntilItSucceeds) {
  start();
  helper->createEsiPortMapRcIs(Mpls::lfibHwResourceFull);
  filterRoute(900, 10);
  EXPECT_EQ(listed(900), Mpls::lfibHwResourceFull);
  EXPECT_EQ(sm->reviewUnprogrammed()->dueTime(), 5.0);

  helper->createEsiPortMapRcIs(Mpls::lfibHwTemporaryFailure);
  filterRoute(901, 11);  // a second failure inside the interval does not move the review
  EXPECT_EQ(sm->reviewUnprogrammed()->dueTime(), 5.0);

  scheduler->advanceBy(4.9);
  EXPECT_EQ(helper->createEsiPortMapCount(), 2u);
  scheduler->advanceBy(0.1);
  EXPECT_EQ(helper->createEsiPortMapCount(), 4u);
  EXPECT_EQ(listed(900), Mpls::lfibHwTemporaryFailure) << "the latest code is listed";
  EXPECT_EQ(sm->reviewUnprogrammed()->dueTime(), 10.0);

  helper->createEsiPortMapRcIs(Mpls::lfibHwProgrammed);
  FloodSetTest::TraceCapture capture("FennEvpnEsiFilteringDecapSm/5");
  scheduler->advanceBy(5.0);
  std::string const trace = capture.take();
  EXPECT_TRUE(programmed(900));
  EXPECT_TRUE(programmed(901));
  EXPECT_TRUE(hwStatus->unprogrammedRoute().empty());
  EXPECT_FALSE(sm->reviewUnprogrammed()->taskScheduled()) << "nothing left to review";
  EXPECT_NE(trace.find("EsiFilteringDecapSm::maybeScheduleUnprogrammedReview no unprogrammed routes, "
                       "nothing to review"),
            std::string::npos)
      << "the pass that emptied the list says so\n"
      << trace;
}

TEST_F(RetryTest, CodesAboveThreeAreNeitherRecordedNorRetried) {
  start();
  sm->defaultUnprogrammedRetryIntervalIs(1.0);
  helper->createEsiPortMapRcIs(Mpls::LfibHwProgrammingReturnCode(4));
  filterRoute(900, 10);
  helper->createEsiPortMapRcIs(Mpls::LfibHwProgrammingReturnCode(77));
  filterRoute(901, 11);
  EXPECT_FALSE(programmed(900));
  EXPECT_FALSE(programmed(901));
  EXPECT_TRUE(hwStatus->unprogrammedRoute().empty());
  EXPECT_EQ(scheduler->pendingTaskCount(), 0u);
  EXPECT_EQ(helper->createEsiPortMapCount(), 2u);
}

using ViaChangeTest = Harness;

TEST_F(ViaChangeTest, ViaChangingInPlaceMovesTheMap) {
  start();
  filterRoute(900, 10);
  lfib.filterViaIs(filterVia(900), intf(20));
  scheduler->runReady();
  EXPECT_EQ(helper->deleteEsiPortMapCount(), 1u);
  EXPECT_EQ(helper->deleteEsiPortMapIntfId(), intf(10));
  EXPECT_EQ(helper->createEsiPortMapCount(), 2u);
  EXPECT_EQ(helper->createEsiPortMapIntfId(), intf(20));
  EXPECT_EQ(sm->routeEsiFilterVia(route(900)).intfId(), intf(20));

  // The route moved to another via set with the same via, and a resync: nothing to do.
  lfib.viaSetIs(Mpls::LfibViaSetKey(77), filterVia(900));
  lfib.routeIs(route(900), Mpls::LfibViaSetKey(77));
  lfib.backlogIs(route(900));
  scheduler->runReady();
  EXPECT_EQ(helper->createEsiPortMapCount(), 2u);
  EXPECT_EQ(helper->deleteEsiPortMapCount(), 1u);
}

using BacklogTest = Harness;

TEST_F(BacklogTest, DrainsInSlicesOfTheWorkQuota) {
  scheduler->workQuotaIs(10);
  start();
  for (uint32_t n = 1; n <= 25; ++n) {
    lfib.filterViaIs(filterVia(n), intf(n));
    lfib.viaSetIs(Mpls::LfibViaSetKey(n), filterVia(n));
    lfib.routeIs(route(1000 + n), Mpls::LfibViaSetKey(n));
  }
  EXPECT_EQ(tracking->routeKeyBacklog().size(), 25u);
  EXPECT_EQ(scheduler->runReady(), 3u) << "10 + 10 + 5";
  EXPECT_TRUE(tracking->routeKeyBacklog().empty());
  EXPECT_EQ(sm->routeEsiFilterVia().size(), 25u);
}

// A recording of the LFIB holds its changes only: a write that changes nothing queues no
// route, or the recorded switch would look at routes again that its replay does not.
TEST_F(BacklogTest, AWriteThatChangesNothingQueuesNoRoute) {
  lfib.filterViaIs(filterVia(1), intf(1));
  lfib.viaSetIs(Mpls::LfibViaSetKey(1), filterVia(1));
  lfib.routeIs(route(900), Mpls::LfibViaSetKey(1));
  tracking->routeKeyBacklogDelAll();
  lfib.filterViaIs(filterVia(1), intf(1));
  lfib.viaSetIs(Mpls::LfibViaSetKey(1), filterVia(1));
  lfib.routeIs(route(900), Mpls::LfibViaSetKey(1));
  EXPECT_TRUE(tracking->routeKeyBacklog().empty());
  lfib.filterViaIs(filterVia(1), intf(2));
  EXPECT_TRUE(tracking->routeKeyBacklogHas(route(900)));
}

TEST_F(BacklogTest, UnprogrammedReviewYieldsToo) {
  scheduler->workQuotaIs(10);
  start();
  helper->createEsiPortMapRcIs(Mpls::lfibHwResourceFull);
  for (uint32_t n = 1; n <= 25; ++n) filterRoute(1000 + n, n);
  helper->createEsiPortMapRcIs(Mpls::lfibHwProgrammed);
  EXPECT_EQ(scheduler->advanceBy(5.0), 1u);
  EXPECT_EQ(hwStatus->unprogrammedRoute().size(), 15u);
  EXPECT_EQ(scheduler->advanceBy(10.0), 2u) << "a slice every retry interval";
  EXPECT_TRUE(hwStatus->unprogrammedRoute().empty());
  EXPECT_EQ(sm->routeEsiFilterVia().size(), 25u);
}

TEST_F(BacklogTest, RoutesPresentBeforeStartAreProgrammedAndTeardownRemovesThem) {
  lfib.filterViaIs(filterVia(1), intf(1));
  lfib.viaSetIs(Mpls::LfibViaSetKey(1), filterVia(1));
  lfib.routeIs(route(900), Mpls::LfibViaSetKey(1));
  tracking->routeKeyBacklogDelAll();  // consumed by someone before this machine
  hwStatus->unprogrammedRouteIs(Mpls::RouteInfo(route(5), Mpls::lfibHwResourceFull));  // a previous run's
  start();
  EXPECT_TRUE(programmed(900));
  EXPECT_EQ(listed(5), -1);

  helper->createEsiPortMapRcIs(Mpls::lfibHwResourceFull);
  filterRoute(901, 2);
  sm = nullptr;
  EXPECT_EQ(helper->deleteEsiPortMapCount(), 1u);
  EXPECT_EQ(helper->deleteEsiPortMapLabel(), Ostra::MplsLabel(900));
  EXPECT_TRUE(hwStatus->unprogrammedRoute().empty());
  EXPECT_EQ(scheduler->pendingTaskCount(), 0u);
}

using EsiFilteringDecapDeathTest = Harness;

TEST_F(EsiFilteringDecapDeathTest, FatalPaths) {
  start();
  filterRoute(900, 10);
  EXPECT_DEATH(sm->createEsiFilterVia(route(900), Mpls::LfibEvpnEthernetSegmentFilterVia(intf(11))),
               "!routeEsiFilterViaHas\\( routeKey \\)");
  EXPECT_DEATH(sm->processRouteKeyBacklog(route(900)), "backlogIter.isMemberOf\\( routeKey \\)");
  helper->createEsiPortMapRcIs(Mpls::lfibHwConflict);
  EXPECT_DEATH(filterRoute(901, 11), "Unexpected rc. Conflict detection logic is already done in Fenn");
  lfibStatus->viaSetIs(Mpls::LfibViaSetKey(902), Mpls::LfibViaSet());
  lfibStatus->routeIs(route(902), Mpls::LfibRoute(Mpls::LfibViaSetKey(902)));
  EXPECT_DEATH(sm->processRouteKey(route(902)), "!!viaKey");
}

TEST_F(EsiFilteringDecapDeathTest, UninitializedAndUnimplemented) {
  sm = Fenn::esiFilteringDecapSmFactory(helper, lfibStatus, scheduler, tracking, hwStatus);
  EXPECT_DEATH(sm->maybeScheduleUnprogrammedReview(), "initialized\\(\\)");

  FennHelper::EsiFilteringDecapHelper base("base");
  unsetenv("FENN_NOOP_AGENT");
  EXPECT_DEATH(base.createEsiPortMap(Ostra::MplsLabel(1), intf(1)), "Unimplemented createEsiPortMap");
  EXPECT_DEATH(base.deleteEsiPortMap(Ostra::MplsLabel(1), intf(1)), "Unimplemented deleteEsiPortMap");
  setenv("FENN_NOOP_AGENT", "1", 1);
  EXPECT_EQ(base.createEsiPortMap(Ostra::MplsLabel(1), intf(1)), Mpls::lfibHwTemporaryFailure);
  EXPECT_EQ(base.deleteEsiPortMap(Ostra::MplsLabel(1), intf(1)), Mpls::lfibHwNotApplicable);
  unsetenv("FENN_NOOP_AGENT");
}

TEST(LfibTextForms, PrintAndParse) {
  Mpls::RouteInfo const info(route(900), Mpls::lfibHwResourceFull);
  EXPECT_EQ(Qor::valueToStrep(info),
            "Value('Mpls::RouteInfo', ** {'routeKey': Value('Mpls::RouteKey', ** {'topLabel': 900}), "
            "'returnCode': lfibHwResourceFull})");
  EXPECT_EQ(Qor::strepToValue<Mpls::RouteInfo>(Qor::valueToStrep(info)), info);
  Mpls::LfibViaSet const viaSet(filterVia(3));
  EXPECT_EQ(Qor::valueToStrep(viaSet),
            "Value('Mpls::LfibViaSet', ** {'viaKey': Value('Mpls::LfibViaKey', ** {'viaType': "
            "lfibViaTypeEvpnEthernetSegmentFilter, 'index': 3})})");
  EXPECT_EQ(Qor::strepToValue<Mpls::LfibViaSet>(Qor::valueToStrep(viaSet)), viaSet);
  Mpls::LfibEvpnEthernetSegmentFilterVia const via(intf(10));
  EXPECT_EQ(Qor::valueToStrep(via),
            "Value('Mpls::LfibEvpnEthernetSegmentFilterVia', ** {'intfId': 'Port-Channel10'})");
  EXPECT_EQ(Qor::strepToValue<Mpls::LfibEvpnEthernetSegmentFilterVia>(Qor::valueToStrep(via)), via);
  EXPECT_EQ(Qor::strepToValue<Mpls::LfibRoute>(Qor::valueToStrep(Mpls::LfibRoute(Mpls::LfibViaSetKey(4)))),
            Mpls::LfibRoute(Mpls::LfibViaSetKey(4)));
  EXPECT_THROW(Qor::strepToValue<Mpls::RouteKey>("Value('Mpls::RouteKey', ** {'topLabel': 1048577})"),
               Qor::ParseError);
}

}  // namespace
}  // namespace EsiFilteringDecapTest
