// EvpnFloodSetFecSm on its own: the test writes its inputs (MPLS flood sets, hardware
// status, FEC responses) directly and reads the FEC requests and HwInfoMapping it writes.
#include <gtest/gtest.h>

#include "FennEvpn/FennEvpnFloodSetFecSm.h"
#include "Keel/ManualClock.h"
#include "Keel/TaskScheduler.h"

namespace {

using Bridging::VlanId;
using Fenn::MplsFloodSetVia;
using Fenn::TunnelId;
using Vasp::Fib::FecId;

TunnelId ldpTunnel(uint64_t index) { return TunnelId(Tunnel::tunnelTypeLdp, index); }
MplsFloodSetVia via(TunnelId tunnel) { return MplsFloodSetVia(tunnel, Ostra::MplsLabel(100)); }

Ostra::EthAddr const bcast = Ostra::EthAddr::broadcast();
Ostra::EthAddr const unknownUnicast(0x010000000001);
Bridging::MacVlanPair const pair10(bcast, VlanId(10));

class FloodSetFecTest : public ::testing::Test {
 protected:
  FloodSetFecTest() {
    sm = Fenn::evpnFloodSetFecSmFactory(floodSets,
                                        Fenn::tunnelIdToHwTunnelIdMappingReaderFactory("fecTestHwTid"),
                                        hwStatus, request, responseReader, hwInfo, wheel);
    sm->initializedIs(true);
  }
  ~FloodSetFecTest() override { sm = nullptr; }

  // Destinations of `tunnel` with label 100.
  void add(uint16_t vlan, TunnelId tunnel, Ostra::EthAddr mac = bcast) {
    floodSets->vlanFloodSetIs(VlanId(vlan))
        ->floodSetIs(mac)
        ->destSetIs(L2Rib::Dest::mpls(tunnel, Ostra::MplsLabel(100)));
  }
  void del(uint16_t vlan, TunnelId tunnel, Ostra::EthAddr mac = bcast) {
    floodSets->vlanFloodSet(VlanId(vlan))
        ->floodSet(mac)
        ->destSetDel(L2Rib::Dest::mpls(tunnel, Ostra::MplsLabel(100)));
  }
  FecId fecIdOf(TunnelId tunnel) const { return sm->mplsFloodSetViaCache(via(tunnel)); }
  void answer(FecId fecId, uint64_t hwFecId) {
    response->rowIs(Fenn::FecToHwFecId(fecId, hwFecId, Ostra::IntfId("Ethernet7")));
  }
  // A configuration of `tunnel` that the hardware may report on.
  Fenn::MplsDestConfig config(TunnelId tunnel, uint32_t hwTunnelId = 1) const {
    return Fenn::MplsDestConfig(tunnel, Ostra::MplsLabel(100),
                                Fenn::HwTunnelId(Fenn::hwTunnelIdTypeDefault, hwTunnelId), 0x1000,
                                Ostra::IntfId("Ethernet7"));
  }

  Qor::Ptr<Keel::ManualClock> clock{new Keel::ManualClock};
  Qor::Ptr<Keel::TaskScheduler> scheduler{new Keel::TaskScheduler(clock)};
  Qor::Ptr<Keel::TimerWheel> wheel{new Keel::TimerWheel(scheduler)};
  Qor::Ptr<L2Rib::FloodSetOutput> floodSets = L2Rib::floodSetOutputFactory();
  Qor::Ptr<Fenn::TunnelIdToHwTunnelIdMapping> hwTid =
      Fenn::tunnelIdToHwTunnelIdMappingFactory("fecTestHwTid");
  Qor::Ptr<Fenn::EvpnVlanFloodSetHwStatus> hwStatus = Fenn::evpnVlanFloodSetHwStatusFactory();
  Qor::Ptr<Fenn::FecIdToHwFecIdRequest> request =
      Fenn::fecIdToHwFecIdRequestFactory("fecTestRequest", Vasp::Mode::writer);
  Qor::Ptr<Fenn::FecIdToHwFecIdResponse> response =
      Fenn::fecIdToHwFecIdResponseFactory("fecTestResponse", Vasp::Mode::writer);
  Qor::Ptr<Fenn::FecIdToHwFecIdResponse> responseReader =
      Fenn::fecIdToHwFecIdResponseFactory("fecTestResponse", Vasp::Mode::reader);
  Qor::Ptr<Fenn::HwInfoMapping> hwInfo = Fenn::hwInfoMappingFactory();
  Qor::Ptr<Fenn::EvpnFloodSetFecSm> sm;
};

// Requests and their FEC IDs.

TEST_F(FloodSetFecTest, FirstFecCarriesAdjacencyType11AndOneViaOverTheTunnelInterface) {
  add(10, ldpTunnel(1));
  FecId const fecId = fecIdOf(ldpTunnel(1));
  EXPECT_EQ(fecId.value(), 0x0B00000000000000u);
  Vasp::Fib::Fec const fec = request->row(fecId);
  ASSERT_EQ(fec.viaCount(), 1u);
  Vasp::Fib::Via const& via = fec.vias()[0];
  EXPECT_EQ(via.intfId(), ldpTunnel(1).intfId());
  EXPECT_EQ(via.labelAndAction(),
            Ostra::MplsLabelAndAction(Ostra::MplsLabel(0x100000), Ostra::mplsActionNone));
  EXPECT_EQ(via.mplsLabel(), Ostra::MplsLabel(100));
  EXPECT_EQ(via.weight(), 1u);
  EXPECT_FALSE(via.backup());
}

// Which vias are requested as destinations come and go is also the path's randomized test;
// here, a VLAN flood set that leaves with destinations still inside, and the caches.
TEST_F(FloodSetFecTest, ViaStaysRequestedWhileAnyDestinationUsesIt) {
  add(10, ldpTunnel(1));
  add(10, ldpTunnel(2), unknownUnicast);
  add(20, ldpTunnel(2));
  EXPECT_EQ(request->rowCount(), 2u);
  floodSets->vlanFloodSetDel(VlanId(10));
  EXPECT_EQ(request->rowCount(), 1u);
  EXPECT_TRUE(request->rowHas(fecIdOf(ldpTunnel(2))));
  del(20, ldpTunnel(2));
  EXPECT_EQ(request->rowCount(), 0u);
  EXPECT_TRUE(sm->floodSetEntryCache().empty());
  EXPECT_TRUE(sm->tunnelInfoCache().empty());
  EXPECT_TRUE(sm->fecIdCache().empty());
}

// A restarted machine keeps away from what its predecessor left in the tables: a request
// left behind is withdrawn, and an ID whose response the hardware has not dropped yet is
// not handed out until it goes.
TEST_F(FloodSetFecTest, RestartSkipsIdsThePreviousInstanceLeftUntilTheirRowsGo) {
  add(10, ldpTunnel(1));
  FecId const answered = fecIdOf(ldpTunnel(1));
  answer(answered, 0x2000);
  sm = nullptr;  // withdraws its request; the hardware has not dropped the response yet
  FecId const leftRequest(Fenn::floodSetFecAdjType, 5);
  request->rowIs(Vasp::Fib::Fec(leftRequest));  // as an instance that stopped without cleaning up

  sm = Fenn::evpnFloodSetFecSmFactory(floodSets,
                                      Fenn::tunnelIdToHwTunnelIdMappingReaderFactory("fecTestHwTid"),
                                      hwStatus, request, responseReader, hwInfo, wheel);
  sm->initializedIs(true);
  EXPECT_FALSE(request->rowHas(leftRequest));
  // Requested afresh, without index 0, which is still answered for the previous run.
  EXPECT_EQ(fecIdOf(ldpTunnel(1)).index(), 1u);
  EXPECT_FALSE(hwInfo->mappingHas(via(ldpTunnel(1)))) << "published with the old FEC's answer";

  add(10, ldpTunnel(2));
  EXPECT_EQ(fecIdOf(ldpTunnel(2)).index(), 2u);
  response->rowDel(answered);
  EXPECT_TRUE(sm->previousRunFecId().empty());
  EXPECT_FALSE(sm->numAllocator()->numberInUse(0));
}

TEST_F(FloodSetFecTest, DestroyingTheStateMachineWithdrawsWhatItPublished) {
  add(10, ldpTunnel(1));
  answer(FecId(11, 0), 0x2000);
  ASSERT_EQ(hwInfo->mapping().size(), 1u);
  sm = nullptr;
  EXPECT_EQ(request->rowCount(), 0u);
  EXPECT_TRUE(hwInfo->mapping().empty());
}

// Responses.

TEST_F(FloodSetFecTest, ResponsePublishesHardwareInfoAndItsRemovalWithdrawsIt) {
  add(10, ldpTunnel(1));
  FecId const fecId = fecIdOf(ldpTunnel(1));
  answer(fecId, 0x2000);
  EXPECT_EQ(hwInfo->mapping(via(ldpTunnel(1))), Fenn::MplsDestHwInfo(0x2000, Ostra::IntfId("Ethernet7")));
  // An answer without an interface is no answer.
  response->rowIs(Fenn::FecToHwFecId(fecId, 0x2000, Ostra::IntfId()));
  EXPECT_FALSE(hwInfo->mappingHas(via(ldpTunnel(1))));
  answer(fecId, 0x2001);
  response->rowDel(fecId);
  EXPECT_FALSE(hwInfo->mappingHas(via(ldpTunnel(1))));
  // The request still stands, so its ID stays with the via.
  EXPECT_TRUE(request->rowHas(fecId));
  EXPECT_EQ(sm->numAllocatorStatus().inUseCount(), 1u);
}

// Draining: the hardware still uses a via that the flood sets have left.

TEST_F(FloodSetFecTest, ViaLeavingWhileProgrammedKeepsItsRequestUntilTheStatusDropsIt) {
  add(10, ldpTunnel(1));
  FecId const fecId = fecIdOf(ldpTunnel(1));
  hwStatus->statusIs(pair10)->mplsDestStatusIs(config(ldpTunnel(1)), Fenn::programmed);
  del(10, ldpTunnel(1));
  EXPECT_TRUE(request->rowHas(fecId));
  EXPECT_TRUE(sm->floodSetStatusCacheHas(via(ldpTunnel(1))));
  // Not yet programmed is as good as gone.
  hwStatus->status(pair10)->mplsDestStatusIs(config(ldpTunnel(1)), Fenn::notProgrammed);
  EXPECT_FALSE(request->rowHas(fecId));
  EXPECT_FALSE(sm->floodSetStatusCacheHas(via(ldpTunnel(1))));
}

TEST_F(FloodSetFecTest, ViaStaysDrainingWhileAnotherConfigurationOfTheFloodSetUsesIt) {
  add(10, ldpTunnel(1));
  FecId const fecId = fecIdOf(ldpTunnel(1));
  Fenn::VlanFloodSetStatus* status = hwStatus->statusIs(pair10);
  status->mplsDestStatusIs(config(ldpTunnel(1)), Fenn::programmed);
  status->mplsDestStatusIs(config(ldpTunnel(1), 2), Fenn::programmed);  // replaced in place
  del(10, ldpTunnel(1));
  status->mplsDestStatusDel(config(ldpTunnel(1)));
  EXPECT_TRUE(request->rowHas(fecId));
  hwStatus->statusDel(pair10);
  EXPECT_FALSE(request->rowHas(fecId));
}

// Rewrites every entry reported programmed while the status notifies of it, so that the
// state machine hears the report again (reading the entry's latest state), twice more.
class RepeatProgrammedReports : public Qor::Reactor {
 public:
  explicit RepeatProgrammedReports(Fenn::VlanFloodSetStatus* status)
      : Reactor(status, nullptr), status_(status) {}
  void onAttribute(Qor::AttributeId, void const* key) override {
    Fenn::MplsDestConfig const config = Qor::keyAs<Fenn::MplsDestConfig>(key);
    Fenn::HwProgrammingStatus const* programming = status_->mplsDestStatus().find(config);
    if (repeating_ || !programming || *programming != Fenn::programmed) return;
    repeating_ = true;
    status_->mplsDestStatusDel(config);
    status_->mplsDestStatusIs(config, Fenn::programmed);
  }
  void onCreate() override {}
  void done() { repeating_ = false; }

 private:
  Fenn::VlanFloodSetStatus* status_;
  bool repeating_ = false;
};

TEST_F(FloodSetFecTest, RepeatedReportsOfAProgrammedConfigurationCountItOnce) {
  add(10, ldpTunnel(1));
  FecId const fecId = fecIdOf(ldpTunnel(1));
  Fenn::VlanFloodSetStatus* status = hwStatus->statusIs(pair10);
  RepeatProgrammedReports repeat(status);
  for (uint32_t hwTunnelId : {1, 2}) {
    status->mplsDestStatusIs(config(ldpTunnel(1), hwTunnelId), Fenn::programmed);
    repeat.done();
  }
  del(10, ldpTunnel(1));
  status->mplsDestStatusDel(config(ldpTunnel(1)));
  EXPECT_TRUE(request->rowHas(fecId));
  status->mplsDestStatusDel(config(ldpTunnel(1), 2));
  EXPECT_FALSE(request->rowHas(fecId));
  EXPECT_FALSE(sm->floodSetStatusCacheHas(via(ldpTunnel(1))));
}

// FEC ID reuse.

TEST_F(FloodSetFecTest, FecIdIsNotReusedWhileItsResponseExistsNorWithinTheHoldBack) {
  add(10, ldpTunnel(1));
  FecId const firstId = fecIdOf(ldpTunnel(1));
  answer(firstId, 0x2000);
  del(10, ldpTunnel(1));
  EXPECT_FALSE(request->rowHas(firstId));
  EXPECT_TRUE(sm->fecIdCacheHas(firstId));
  add(10, ldpTunnel(2));
  EXPECT_NE(fecIdOf(ldpTunnel(2)), firstId);

  response->rowDel(firstId);
  EXPECT_FALSE(sm->fecIdCacheHas(firstId));
  clock->advance(Fenn::EvpnFloodSetFecSm::fecIndexHoldBack - 1.0);
  add(10, ldpTunnel(3));
  EXPECT_NE(fecIdOf(ldpTunnel(3)), firstId);
  clock->advance(1.0);
  add(10, ldpTunnel(4));
  EXPECT_EQ(fecIdOf(ldpTunnel(4)), firstId);
}

TEST(FloodSetFecDeathTest, NegativeIndexIsABrokenInvariant) {
  EXPECT_DEATH(Fenn::indexToFecId(-1), "assertion failed: index >= 0");
}

}  // namespace
