// FennMacAddrFecRequestSm on its own, for what the randomized test cannot see: the exact
// FECs, which requests a change rewrites and in which order, responses, the backlog, the
// toggle and the fatal assertions.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <fstream>

#include "HostFec/HostFecHarness.h"
#include "Qor/Toggle.h"

namespace HostFecTest {
namespace {

using Ostra::MplsLabelAndAction;

// Every write to the request table, in order: (FEC ID, whether the row is there after).
class RequestLog : public Qor::Reactor {
 public:
  explicit RequestLog(Fenn::FecIdToHwFecIdRequest const* table) : Reactor(table, nullptr), table_(table) {}
  void onCreate() override {}
  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id != Fenn::FecIdToHwFecIdRequest::rowAttr) return;
    FecId const fecId = Qor::keyAs<FecId>(key);
    writes.emplace_back(fecId, table_->rowHas(fecId));
  }
  std::vector<std::pair<FecId, bool>> writes;

 private:
  Fenn::FecIdToHwFecIdRequest const* table_;
};

class HostFecSmTest : public ::testing::Test, public Harness {
 protected:
  HostFecSmTest() : Harness("hostFecSmTest") {}
  RequestLog log{request.get()};
};

// Chain building.

TEST_F(HostFecSmTest, LabelOverDestinationGetsOneFecThatPushesTheLabelOverTheTunnel) {
  hostOverLabel();
  host(2, L(1));
  ASSERT_EQ(request->rowCount(), 1u);
  EXPECT_EQ(log.writes.size(), 1u) << "the second host is a count, not a rewrite";
  Vasp::Fib::Fec const fec = fecOf(L(1));
  EXPECT_EQ(fec.fecId().value(), 0x0700000000000000u);
  ASSERT_EQ(fec.viaCount(), 1u);
  Vasp::Fib::Via const& via = fec.vias()[0];
  EXPECT_EQ(via.intfId(), tunnel(11).intfId());
  EXPECT_FALSE(via.fecId().valid());
  EXPECT_EQ(via.labelAndAction(), MplsLabelAndAction(Ostra::MplsLabel(1000), Ostra::mplsActionPush));
  EXPECT_EQ(via.mplsLabel(), Ostra::MplsLabel(1000));
  EXPECT_EQ(sm->isFirstLevelNextHop(L(1)), 2u);
  // A label whose destination is unknown has nothing to program yet.
  label(2, 2000, D(2));
  host(3, L(2));
  EXPECT_FALSE(sm->fecRequestCacheHas(L(2)));
  dest(2, 12);
  EXPECT_EQ(fecOf(L(2)).vias()[0].intfId(), tunnel(12).intfId());
}

TEST_F(HostFecSmTest, LoadBalanceGetsOneViaPerKnownDestinationInEcmpOrder) {
  build(2);
  dest(1, 11);
  dest(3, 13);
  lb(1, {D(3), D(2), D(1)});
  host(1, B(1));
  Vasp::Fib::Fec const fec = fecOf(B(1));
  ASSERT_EQ(fec.viaCount(), 2u);
  EXPECT_EQ(fec.vias()[0].intfId(), tunnel(13).intfId());
  EXPECT_EQ(fec.vias()[1].intfId(), tunnel(11).intfId());
  EXPECT_EQ(fec.vias()[0].labelAndAction(), MplsLabelAndAction());
  EXPECT_EQ(fec.vias()[0].mplsLabel(), Ostra::MplsLabel::none());
}

TEST_F(HostFecSmTest, LabelOverLoadBalanceChainsToTheLoadBalanceFec) {
  build(3);
  dest(1, 11);
  dest(2, 12);
  lb(1, {D(1), D(2)});
  label(1, 1000, B(1));
  host(1, L(1));
  ASSERT_EQ(request->rowCount(), 2u);
  EXPECT_EQ(sm->isFirstLevelNextHop(B(1)), 0u);
  EXPECT_TRUE(sm->objTupleCacheHas(B(1)));
  EXPECT_EQ(fecOf(B(1)).viaCount(), 2u);
  Vasp::Fib::Via const via = fecOf(L(1)).vias()[0];
  EXPECT_EQ(via.fecId(), fecIdOf(B(1)));
  EXPECT_TRUE(via.intfId().empty());
  EXPECT_EQ(via.labelAndAction(), MplsLabelAndAction(Ostra::MplsLabel(1000), Ostra::mplsActionPush));
  // The lower FEC is requested before the one that chains to it.
  ASSERT_EQ(log.writes.size(), 2u);
  EXPECT_EQ(log.writes[0].first, fecIdOf(B(1)));

  answer(fecIdOf(B(1)), 0x2000);
  answer(fecIdOf(L(1)), 0x2001);
  EXPECT_EQ(hwIds->hwId(B(1)), 0x2000u);
  EXPECT_EQ(hwIds->hwId(L(1)), 0x2001u);

  // The host moves to a label straight over a destination: the label's FEC is withdrawn
  // before the FEC it chained to.
  label(2, 2000, D(1));
  FecId const label1 = fecIdOf(L(1));
  FecId const lb1 = fecIdOf(B(1));
  log.writes.clear();
  host(1, L(2));
  std::vector<std::pair<FecId, bool>> const expected{{fecIdOf(L(2)), true}, {label1, false}, {lb1, false}};
  EXPECT_EQ(log.writes, expected);
  EXPECT_FALSE(hwIds->hwIdHas(L(1)));
  EXPECT_FALSE(hwIds->hwIdHas(B(1)));
  EXPECT_FALSE(sm->objTupleCacheHas(B(1)));
  EXPECT_FALSE(sm->nextHopReverseMapHas(B(1)));
}

// Dependants.

TEST_F(HostFecSmTest, DestinationChangeRewritesExactlyTheFecsBuiltOnIt) {
  build(3);
  for (uint32_t d = 1; d <= 3; ++d) dest(d, 10 + d);
  label(1, 1000, D(1));
  lb(1, {D(1), D(2)});
  label(2, 2000, B(1));
  label(3, 3000, D(3));
  host(1, L(1));
  host(2, B(1));
  host(3, L(2));
  host(4, L(3));
  FecId const label1 = fecIdOf(L(1));
  FecId const lb1 = fecIdOf(B(1));

  // The label over the load balance keeps chaining to the same FEC ID: it is not rewritten.
  log.writes.clear();
  dest(1, 21);
  std::vector<std::pair<FecId, bool>> written{{label1, true}, {lb1, true}};
  std::sort(log.writes.begin(), log.writes.end());
  EXPECT_EQ(log.writes, written);
  EXPECT_EQ(fecOf(B(1)).vias()[0].intfId(), tunnel(21).intfId());

  log.writes.clear();
  dests->destDel(L2Rib::DestId(2));
  written = {{lb1, true}};
  EXPECT_EQ(log.writes, written);

  // Losing its last destination, the load balance loses its FEC, and so does the label over it.
  log.writes.clear();
  dests->destDel(L2Rib::DestId(1));
  EXPECT_EQ(log.writes.size(), 3u);
  EXPECT_FALSE(sm->fecRequestCacheHas(L(1)));
  EXPECT_FALSE(sm->fecRequestCacheHas(B(1)));
  EXPECT_FALSE(sm->fecRequestCacheHas(L(2)));
  EXPECT_TRUE(sm->fecRequestCacheHas(L(3)));
  dest(1, 11);
  EXPECT_EQ(fecOf(L(2)).vias()[0].fecId(), fecIdOf(B(1)));
  EXPECT_EQ(request->rowCount(), 4u);
}

// Responses.

TEST_F(HostFecSmTest, StaleResponsesAndAnswersWithoutInterfaceChangeNothing) {
  hostOverLabel();
  FecId const fecId = fecIdOf(L(1));
  answer(Fenn::idToFecId(5, Fenn::macAddrFecAdjType), 0x2000);
  answer(FecId(11, 0), 0x2001);
  response->rowDel(FecId(11, 0));
  EXPECT_TRUE(hwIds->hwId().empty());
  response->rowIs(Fenn::FecToHwFecId(fecId, 0x2002, Ostra::IntfId()));
  EXPECT_FALSE(hwIds->hwIdHas(L(1)));
  answer(fecId, 0x2003);
  EXPECT_EQ(hwIds->hwId(L(1)), 0x2003u);
  response->rowDel(fecId);
  EXPECT_FALSE(hwIds->hwIdHas(L(1)));
  EXPECT_TRUE(request->rowHas(fecId)) << "a withdrawn answer is no reason to withdraw the request";
}

TEST_F(HostFecSmTest, WithdrawnFecIdWaitsForItsAnswerToGoThenForTheHoldBack) {
  build(2);
  dest(1, 11);
  label(1, 1000, D(1));
  label(2, 2000, D(1));
  host(1, L(1));
  FecId const first = fecIdOf(L(1));
  answer(first, 0x2000);
  hosts->hostDel(macVlan(1));
  EXPECT_FALSE(request->rowHas(first));
  EXPECT_TRUE(sm->fecCacheHas(first)) << "the hardware still answers for it";
  answer(first, 0x2001);  // late, for a FEC no longer requested
  EXPECT_FALSE(hwIds->hwIdHas(L(1)));
  host(2, L(2));
  EXPECT_NE(fecIdOf(L(2)), first);
  response->rowDel(first);
  EXPECT_FALSE(sm->fecCacheHas(first));
  hosts->hostDel(macVlan(2));
  clock->advance(Fenn::FennMacAddrFecRequestSm::fecIdHoldBack - 1.0);
  host(3, L(1));
  EXPECT_NE(fecIdOf(L(1)), first);
  clock->advance(1.0);
  host(4, L(2));
  EXPECT_EQ(fecIdOf(L(2)), first);
}

// A restarted machine keeps away from what its predecessor left in the tables: a request
// left behind is withdrawn, and an ID whose answer the hardware has not dropped yet is not
// handed out until it goes, so no object is published with the old FEC's hardware ID.
TEST_F(HostFecSmTest, RestartSkipsIdsThePreviousInstanceLeftUntilTheirAnswersGo) {
  hostOverLabel();
  FecId const answered = fecIdOf(L(1));
  answer(answered, 0x2000);
  sm = nullptr;  // withdraws its request; the hardware has not dropped the answer yet
  EXPECT_FALSE(hwIds->hwIdHas(L(1)));
  FecId const leftRequest = Fenn::idToFecId(5, Fenn::macAddrFecAdjType);
  request->rowIs(Vasp::Fib::Fec(leftRequest));  // as an instance that stopped without cleaning up

  build(2);
  EXPECT_FALSE(request->rowHas(leftRequest));
  // Requested afresh, without number 0, which is still answered for the previous run.
  EXPECT_EQ(fecIdOf(L(1)).index(), 1u);
  EXPECT_FALSE(hwIds->hwIdHas(L(1))) << "published with the old FEC's answer";
  label(2, 2000, D(1));
  host(2, L(2));
  EXPECT_EQ(fecIdOf(L(2)).index(), 2u);
  response->rowDel(answered);
  EXPECT_TRUE(sm->previousRunFecId().empty());
  EXPECT_FALSE(sm->numAllocator()->numberInUse(0)) << "given back once its answer went";
  // An answer that goes before its number was ever offered frees nothing.
  answer(Fenn::idToFecId(7, Fenn::macAddrFecAdjType), 0x2001);
  sm = nullptr;
  build(2);
  EXPECT_EQ(sm->previousRunFecId().size(), 1u);
  response->rowDel(Fenn::idToFecId(7, Fenn::macAddrFecAdjType));
  EXPECT_TRUE(sm->previousRunFecId().empty());
  EXPECT_EQ(sm->numAllocatorStatus().inUseCount(), 2u);
}

// Start-up and the backlog.

TEST_F(HostFecSmTest, EverythingBeforeInitializationWaitsInTheBacklogAndIsWorkedOffInSlices) {
  for (uint32_t d = 1; d <= 5; ++d) {
    dest(d, 10 + d);
    label(d, 1000 + d, D(d));
    host(d, L(d));
  }
  build(2, false);
  dest(6, 16);
  label(6, 1006, D(6));
  host(6, L(6));
  EXPECT_EQ(request->rowCount(), 0u);
  EXPECT_EQ(sm->hostBackLogQ().size(), 6u);
  EXPECT_EQ(sm->objTupleBackLogQ().size(), 12u);
  EXPECT_FALSE(sm->backLogQsDrained());

  scheduler->workQuotaIs(4);
  sm->reviewIntervalIs(0.5);
  sm->initializedIs(true);
  EXPECT_EQ(request->rowCount(), 0u) << "the review runs from the scheduler";
  scheduler->runReady();
  EXPECT_EQ(sm->objTupleBackLogQ().size(), 8u);
  EXPECT_EQ(sm->hostBackLogQ().size(), 6u);
  // A host that changes meanwhile is handled at once, and leaves the backlog.
  host(6, L(1));
  EXPECT_EQ(sm->hostBackLogQ().size(), 5u);
  EXPECT_EQ(request->rowCount(), 1u);
  scheduler->advanceBy(0.5);
  EXPECT_EQ(sm->objTupleBackLogQ().size(), 4u);
  EXPECT_FALSE(sm->backLogQsDrained());
  scheduler->advanceBy(10.0);
  EXPECT_TRUE(sm->backLogQsDrained());
  EXPECT_FALSE(sm->reviewBacklog()->taskScheduled());
  EXPECT_EQ(request->rowCount(), 5u);
  EXPECT_EQ(sm->isFirstLevelNextHop(L(1)), 2u);
}

// Configuration.

TEST_F(HostFecSmTest, MaxChainLengthIsStoredBeforeItIsChecked) {
  build(2, false);
  EXPECT_NO_THROW(sm->maxChainLengthIs(2));
  EXPECT_NO_THROW(sm->maxChainLengthIs(3));
  try {
    sm->maxChainLengthIs(4);
    ADD_FAILURE() << "4 was accepted";
  } catch (std::out_of_range const& e) {
    EXPECT_STREQ(e.what(), "FennMacAddrFecRequestSm::maxChainLength < 2 or > 3 not allowed");
  }
  EXPECT_EQ(sm->maxChainLength(), 4u);
  EXPECT_NO_THROW(sm->maxChainLengthIs(4)) << "the current value never throws";
  EXPECT_THROW(sm->maxChainLengthIs(1), std::out_of_range);
}

TEST_F(HostFecSmTest, HostOnADestinationIsAcceptedWithTheToggleOnAndGetsNoFec) {
  Qor::toggleCacheDelAll();
  build(2);
  EXPECT_TRUE(sm->vxlan4WayL2EcmpEnabled());
  dest(1, 11);
  host(1, D(1));
  EXPECT_EQ(sm->isFirstLevelNextHop(D(1)), 1u);
  EXPECT_EQ(request->rowCount(), 0u);
  dest(1, 12);
  hosts->hostDel(macVlan(1));
  EXPECT_TRUE(sm->isFirstLevelNextHop().empty());
}

// Fatal assertions.

using HostFecSmDeathTest = HostFecSmTest;

TEST_F(HostFecSmDeathTest, HostOnADestinationWithTheToggleOffIsFatal) {
  char dir[] = "/tmp/hostFecToggleXXXXXX";
  ASSERT_TRUE(mkdtemp(dir));
  std::ofstream(Qor::String(dir) + "/Fenn.json") << R"({"FennEvpnVxlan4WayL2Ecmp": false})";
  setenv("FENN_TOGGLE_DIR", dir, 1);
  Qor::toggleCacheDelAll();
  build(2);
  unsetenv("FENN_TOGGLE_DIR");
  Qor::toggleCacheDelAll();
  EXPECT_FALSE(sm->vxlan4WayL2EcmpEnabled());
  dest(1, 11);
  EXPECT_DEATH(host(1, D(1)), "assertion failed: vxlan4WayL2EcmpEnabled\\(\\)");
}

TEST_F(HostFecSmDeathTest, BrokenChainsAreFatal) {
  build(2);
  dest(1, 11);
  label(1, 1000, L(2));
  EXPECT_DEATH(host(1, L(1)), "assertion failed: label.next\\(\\).tableType\\(\\) != L2Rib::tableTypeLabel_");
  label(1, 1000, B(1));
  EXPECT_DEATH(host(1, L(1)), "assertion failed: label.next\\(\\).tableType\\(\\) == L2Rib::tableTypeDest_");
  lb(2, {D(1), B(3)});
  EXPECT_DEATH(host(1, B(2)), "assertion failed: iter->tableType\\(\\) != L2Rib::tableTypeLoadBalance_");
  lb(2, {D(1), L(3)});
  EXPECT_DEATH(host(1, B(2)), "assertion failed: iter->tableType\\(\\) == L2Rib::tableTypeDest_");
  EXPECT_DEATH(dests->destIs(L2Rib::DestId(5), L2Rib::Dest::intf(Ostra::IntfId("Ethernet2"))),
               "assertion failed: dest.destType\\(\\) == L2Rib::destTypeTunnel_");
  EXPECT_DEATH(Fenn::idToFecId(-2, Fenn::macAddrFecAdjType), "assertion failed: id >= 0");
}

TEST_F(HostFecSmDeathTest, RunningOutOfFecIdsIsFatal) {
  build(2, false);
  sm->fecIdRangeIs(Keel::Range(0, 0));
  sm->initializedIs(true);
  dest(1, 11);
  label(1, 1000, D(1));
  label(2, 2000, D(1));
  host(1, L(1));
  EXPECT_DEATH(host(2, L(2)), "assertion failed: FecId range exhausted, Not possible");
}

}  // namespace
}  // namespace HostFecTest
