// Hardware tunnel ID allocation: pools, zombies, fallback, overflow reporting, reviews,
// initialization and teardown. What must hold after any sequence of changes (no ID lost or
// doubled, zombies exactly the unneeded tunnels, no wait while a pool has room) is the
// randomized test's (reclaiming a zombie, a reused zombie leaving the zombie set, a tunnel
// moving between pools as its segment's shared label comes and goes, among others); these
// cases pin the choices it cannot see.
#include <cstdlib>

#include "FennEvpn/FennEvpnHwTunnelIdSmHelper.h"
#include "HwTunnelIdHarness.h"

namespace HwTunnelIdTest {
namespace {

using AllocationTest = Harness;

TEST_F(AllocationTest, CountGoingOneTwoOneAllocatesOnce) {
  freeIds({defaultId(1), defaultId(2)});
  start();
  floodInc(10);
  floodInc(10);
  floodDec(10);
  EXPECT_EQ(helper->getHwTunnelIdCount(), 1u);
  EXPECT_EQ(hwId(10), defaultId(1));
  EXPECT_FALSE(zombie(10));
}

// A shared-ES tunnel that fell back to a default ID forwards with it and logs nothing, but
// waits for the review like a failed move: once a shared-ES ID frees up it moves there, so
// that where it ends does not depend on which tunnel asked first.
TEST_F(AllocationTest, SharedEsFallbackForwardsSilentlyAndMovesWhenASharedIdFrees) {
  freeIds({defaultId(1), defaultId(2), sharedId(1)});
  sharedLabel(1, true);
  start();
  addPeer(1, 10);
  addPeer(1, 11);  // the shared-ES pool is dry now
  EXPECT_EQ(hwId(10), sharedId(1));
  EXPECT_EQ(hwId(11), defaultId(1));
  EXPECT_TRUE(sm->unprogrammedTunnelHas(tunnel(11)));
  EXPECT_FALSE(sm->hwTunnelIdOverflow(hwTunnelIdTypeSharedEs));
  EXPECT_TRUE(logged().empty());

  delPeer(1, 10);  // tunnel 10's shared-ES ID becomes a zombie, and the review reclaims it
  scheduler->runReady();
  EXPECT_EQ(hwId(11), sharedId(1));
  EXPECT_FALSE(table->tunnelIdToHwTunnelIdHas(tunnel(10)));
  EXPECT_EQ(freeCount(hwTunnelIdTypeDefault), 2u) << "the fallback ID goes back";
  EXPECT_TRUE(sm->unprogrammedTunnel().empty());
  EXPECT_TRUE(logged().empty());
}

// Overflow is about tunnels without an ID: one that had none and gets a fallback default
// ID forwards again, so the pool is reported normal although the tunnel still waits.
TEST_F(AllocationTest, FallbackIdEndsTheOverflowWhileTheTunnelWaitsForASharedId) {
  sharedLabel(1, true);
  start();
  addPeer(1, 10);
  EXPECT_EQ(logged(), std::vector<std::string>({kFull}));
  freeIds({defaultId(1)});
  sm->maybeScheduleUnprogrammedReview(true);
  scheduler->runReady();
  EXPECT_EQ(hwId(10), defaultId(1));
  EXPECT_TRUE(sm->unprogrammedTunnelHas(tunnel(10)));
  EXPECT_EQ(logged(), std::vector<std::string>({kFull, kNormal}));
}

TEST_F(AllocationTest, BothPoolsEmptyLogFullOnceThenNormalOnce) {
  sharedLabel(1, true);
  start();
  addPeer(1, 10);
  addPeer(1, 11);
  EXPECT_TRUE(sm->unprogrammedTunnelHas(tunnel(10)));
  EXPECT_TRUE(sm->unprogrammedTunnelHas(tunnel(11)));
  EXPECT_EQ(logged(), std::vector<std::string>({kFull}));

  delPeer(1, 11);  // dropped, but tunnel 10 still waits
  EXPECT_EQ(logged(), std::vector<std::string>({kFull}));

  // IDs added behind the helper's back: the platform asks for a review.
  freeIds({sharedId(1)});
  sm->maybeScheduleUnprogrammedReview(false);
  scheduler->advanceBy(4.9);
  EXPECT_TRUE(sm->unprogrammedTunnelHas(tunnel(10))) << "the review waits the retry interval";
  scheduler->advanceBy(0.1);
  EXPECT_EQ(hwId(10), sharedId(1));
  EXPECT_EQ(logged(), std::vector<std::string>({kFull, kNormal}));
}

// A move between pools that finds the needed pool dry keeps the old ID, which still
// forwards, and waits for the review like a tunnel without an ID; holding an ID, it raises
// no overflow (the default pool's flag would stop a switch whose tunnel still works).
TEST_F(AllocationTest, MoveIntoAnEmptyPoolKeepsTheOldIdAndWaitsForTheReview) {
  freeIds({defaultId(1), sharedId(1)});
  sharedLabel(2, true);
  start();
  addPeer(2, 11);
  addPeer(1, 10);
  sharedLabel(1, true);  // shared-ES pool empty, no zombie there
  EXPECT_EQ(hwId(10), defaultId(1));
  EXPECT_TRUE(sm->unprogrammedTunnelHas(tunnel(10)));
  EXPECT_EQ(helper->releaseHwTunnelIdCount(), 0u);
  EXPECT_TRUE(logged().empty());

  delPeer(2, 11);  // tunnel 11 becomes a zombie of the shared-ES pool
  scheduler->runReady();
  EXPECT_EQ(hwId(10), sharedId(1));
  EXPECT_FALSE(table->tunnelIdToHwTunnelIdHas(tunnel(11)));
  EXPECT_EQ(freeCount(hwTunnelIdTypeDefault), 1u);
  EXPECT_TRUE(sm->unprogrammedTunnel().empty());
  EXPECT_TRUE(logged().empty());
}

TEST_F(AllocationTest, MoveOutOfTheSharedPoolWaitsWithoutRaisingDefaultOverflow) {
  unsetenv("SIMULATION_VMID");
  freeIds({defaultId(1), sharedId(1)});
  start();
  floodInc(20);
  sharedLabel(1, true);
  addPeer(1, 10);
  EXPECT_EQ(hwId(10), sharedId(1));
  sharedLabel(1, false);  // default pool empty: tunnel 20 holds its only ID
  EXPECT_EQ(hwId(10), sharedId(1));
  EXPECT_TRUE(sm->unprogrammedTunnelHas(tunnel(10)));
  EXPECT_FALSE(sm->hwTunnelIdOverflow(hwTunnelIdTypeDefault));

  floodDec(20);  // retired: its default ID becomes a zombie, and the review reclaims it
  scheduler->runReady();
  EXPECT_EQ(hwId(10), defaultId(1));
  EXPECT_EQ(freeCount(hwTunnelIdTypeSharedEs), 1u);
  EXPECT_TRUE(sm->unprogrammedTunnel().empty());
  EXPECT_TRUE(logged().empty());
}

using ReviewTest = Harness;

TEST_F(ReviewTest, ReviewDrainsUnprogrammedTunnelsInSlices) {
  scheduler->workQuotaIs(2);
  start();
  for (uint64_t t = 10; t < 15; ++t) floodInc(t);
  EXPECT_EQ(sm->unprogrammedTunnel().size(), 5u);
  EXPECT_TRUE(logged().empty()) << "flooding-only tunnels raise no overflow";

  freeIds({defaultId(1), defaultId(2), defaultId(3), defaultId(4), defaultId(5)});
  sm->maybeScheduleUnprogrammedReview(true);
  scheduler->runReady();
  EXPECT_EQ(sm->unprogrammedTunnel().size(), 3u);
  EXPECT_EQ(sm->bookmark(), tunnel(12));
  scheduler->advanceBy(4.9);
  EXPECT_EQ(sm->unprogrammedTunnel().size(), 3u);
  scheduler->advanceBy(0.1);
  EXPECT_EQ(sm->unprogrammedTunnel().size(), 1u);
  scheduler->advanceBy(5);
  EXPECT_TRUE(sm->unprogrammedTunnel().empty());
  EXPECT_EQ(scheduler->pendingTaskCount(), 0u) << "a finished walk does not reschedule";
  for (uint64_t t = 10; t < 15; ++t) EXPECT_EQ(hwId(t), defaultId(static_cast<uint32_t>(t - 9)));
}

// A move made during a slice frees an ID that a tunnel already passed may be waiting for:
// the next slice starts over from the first tunnel instead of where this one stopped.
TEST_F(ReviewTest, ReviewAskedForDuringASliceStartsOver) {
  scheduler->workQuotaIs(2);
  freeIds({defaultId(1), sharedId(1)});
  start();
  sharedLabel(2, true);
  addPeer(2, 11);         // shared-ES ID 1
  addPeer(1, 10);         // default ID 1
  sharedLabel(1, true);   // tunnel 10 waits for a shared-ES ID, holding its default one
  floodInc(12);           // waits for a default ID, without any
  sharedLabel(2, false);  // tunnel 11 waits for a default ID, holding its shared-ES one
  EXPECT_EQ(sm->unprogrammedTunnel().size(), 3u);

  freeIds({defaultId(2)});
  sm->maybeScheduleUnprogrammedReview(true);
  scheduler->runReady();  // 10 still waits; 11 moves, freeing shared-ES ID 1; yields before 12
  EXPECT_EQ(hwId(11), defaultId(2));
  EXPECT_EQ(sm->bookmark(), TunnelId()) << "starts over";
  scheduler->advanceBy(5);
  EXPECT_EQ(hwId(10), sharedId(1));
  EXPECT_EQ(hwId(12), defaultId(1));
  EXPECT_TRUE(sm->unprogrammedTunnel().empty());
}

using LifecycleTest = Harness;

TEST_F(LifecycleTest, InitializationRebuildsTheTableFromTheInputs) {
  freeIds({defaultId(1), defaultId(2), sharedId(1)});
  table->tunnelIdToHwTunnelIdIs(
      Fenn::TunnelIdToHwTunnelId(tunnel(99), defaultId(7)));  // a previous run's row
  sharedLabel(1, true);
  addPeer(1, 10);
  floodInc(20);
  sm = Fenn::evpnHwTunnelIdSmFactory(helper, scheduler, acsd, evpnStatus, remoteInfo, table);
  EXPECT_EQ(helper->getHwTunnelIdCount(), 0u) << "nothing is allocated before initialization";
  addPeer(1, 11);
  EXPECT_EQ(helper->getHwTunnelIdCount(), 0u);

  sm->initializedIs(true);
  EXPECT_FALSE(table->tunnelIdToHwTunnelIdHas(tunnel(99)));
  EXPECT_EQ(hwId(10).type(), hwTunnelIdTypeSharedEs);
  EXPECT_TRUE(hwId(11).valid());
  EXPECT_EQ(hwId(20), defaultId(2));
  EXPECT_EQ(table->tunnelIdToHwTunnelIdSize(), 3u);
  EXPECT_TRUE(sm->hwTunnelIdOverflowHas(hwTunnelIdTypeSharedEs));
  EXPECT_TRUE(logged().empty());

  auto const asked = helper->getHwTunnelIdCount();
  sm->initializedIs(false);
  sm->initializedIs(true);  // no second pass: the published IDs stay
  EXPECT_EQ(table->tunnelIdToHwTunnelIdSize(), 3u);
  EXPECT_EQ(helper->getHwTunnelIdCount(), asked);
}

// A remote ESI label keyed by an interface that names no tunnel (a platform bug, or a
// newer platform) is skipped with a trace line and a system-log message; the segment's
// other peers, and every later change, are served.
TEST_F(LifecycleTest, PeerInterfaceThatNamesNoTunnelIsSkipped) {
  freeIds({defaultId(1), defaultId(2), defaultId(3)});
  Ostra::IntfId const notATunnel = Ostra::IntfId::ethernet(5);
  es(1)->remoteEsiLabelIs(notATunnel, Evpn::EncapTypeLabel::mpls(Ostra::MplsLabel(100)));
  addPeer(1, 10);
  start();  // the full pass meets it
  EXPECT_EQ(hwId(10), defaultId(1));
  EXPECT_EQ(logged(), (std::vector<std::string>{"EVPN_MPLS_INPUT_IGNORED"}));

  es(2)->remoteEsiLabelIs(notATunnel, Evpn::EncapTypeLabel::mpls(Ostra::MplsLabel(100)));  // incrementally
  EXPECT_EQ(logged().size(), 2u);
  addPeer(2, 11);
  addPeer(1, 12);
  es(1)->remoteEsiLabelDel(notATunnel);
  delPeer(1, 10);
  EXPECT_EQ(hwId(11), defaultId(2));
  EXPECT_EQ(hwId(12), defaultId(3));
  EXPECT_TRUE(zombie(10));
  EXPECT_EQ(table->tunnelIdToHwTunnelIdSize(), 3u);
}

TEST_F(LifecycleTest, DestructionRemovesRowsAndGivesEveryIdBack) {
  freeIds({defaultId(1), defaultId(2)});
  start();
  floodInc(10);
  addPeer(1, 11);
  delPeer(1, 11);  // a zombie is still ours
  sm = nullptr;
  EXPECT_EQ(table->tunnelIdToHwTunnelIdSize(), 0u);
  EXPECT_EQ(freeCount(hwTunnelIdTypeDefault), 2u);
}

// A reader of the published table, through the table's own callback names.
class TableLog : public Fenn::TunnelIdToHwTunnelIdReactor<Qor::StateMachine> {
 public:
  using TunnelIdToHwTunnelIdReactor::TunnelIdToHwTunnelIdReactor;
  void tunnelIdToHwTunnelIdNotify(TunnelId const& tunnelId) override {
    log.push_back(Qor::valueToStrep(tunnelId));
  }
  void tunnelIdToHwTunnelIdNotifyQuiesced(bool quiesced) override {
    log.push_back(quiesced ? "quiesced" : "busy");
  }
  std::vector<std::string> log;
};

TEST_F(LifecycleTest, ReadersHearWhenEachBurstOfTableChangesEnds) {
  freeIds({defaultId(1), defaultId(2)});
  auto reader = Fenn::tunnelIdToHwTunnelIdMappingReaderFactory();
  auto heard = Qor::newReactor<TableLog>(reader.get(), nullptr);
  start();
  floodInc(10);
  floodInc(11);
  scheduler->runReady();
  floodInc(10);  // the table does not change: no burst
  scheduler->runReady();
  EXPECT_EQ(heard->log, (std::vector<std::string>{"busy", Qor::valueToStrep(tunnel(10)),
                                                  Qor::valueToStrep(tunnel(11)), "quiesced"}));
  EXPECT_TRUE(table->tunnelIdToHwTunnelIdControl().valid());
}

using OverflowDeathTest = Harness;

TEST_F(OverflowDeathTest, DefaultPoolExhaustionAbortsOutsideSimulationOnly) {
  start();
  unsetenv("SIMULATION_VMID");
  EXPECT_DEATH(addPeer(1, 10), "!hwTunnelIdOverflow\\( hwTunnelIdType \\)");
  setenv("SIMULATION_VMID", "1", 1);
  addPeer(1, 10);
  unsetenv("SIMULATION_VMID");
  EXPECT_TRUE(sm->hwTunnelIdOverflow(hwTunnelIdTypeDefault));
  EXPECT_TRUE(sm->unprogrammedTunnelHas(tunnel(10)));
  EXPECT_TRUE(logged().empty());
}

// An agent without a hardware layer runs the base helper with FENN_NOOP_AGENT: every
// allocation fails, and that is neither fatal nor reported.
TEST_F(OverflowDeathTest, NoopAgentWithTheBaseHelperRunsQuietly) {
  unsetenv("SIMULATION_VMID");
  setenv("FENN_NOOP_AGENT", "1", 1);
  sm = Fenn::evpnHwTunnelIdSmFactory(
      Qor::Ptr<FennHelper::EvpnHwTunnelIdSmHelper>(new FennHelper::EvpnHwTunnelIdSmHelper("noopHelper")),
      scheduler, acsd, evpnStatus, remoteInfo, table);
  sm->initializedIs(true);
  sharedLabel(2, true);
  addPeer(1, 10);
  addPeer(2, 11);
  floodInc(12);
  unsetenv("FENN_NOOP_AGENT");
  EXPECT_EQ(sm->unprogrammedTunnel().size(), 3u);
  EXPECT_EQ(table->tunnelIdToHwTunnelIdSize(), 0u);
  EXPECT_TRUE(logged().empty());
}

}  // namespace
}  // namespace HwTunnelIdTest
