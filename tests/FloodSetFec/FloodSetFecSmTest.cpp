// EvpnFloodSetFecSm on its own: the test writes its inputs (MPLS flood sets, hardware
// status, FEC responses) directly and reads the FEC requests and HwInfoMapping it writes.
#include <gtest/gtest.h>

#include "FennEvpn/FennEvpnFloodSetFecSm.h"
#include "Keel/ManualClock.h"
#include "Keel/TaskScheduler.h"

namespace {

using Fenn::MplsFloodSetVia;
using Fenn::TunnelId;
using Vasp::Fib::FecId;

TunnelId ldpTunnel(uint64_t index) { return TunnelId(Tunnel::tunnelTypeLdp, index); }
TunnelId vlanTunnel(uint64_t index) { return TunnelId(Tunnel::tunnelTypeEvpnVlan, index); }
L2Rib::Dest mplsDest(TunnelId tunnel, uint32_t label) {
  return L2Rib::Dest::mpls(tunnel, Ostra::MplsLabel(label));
}

Ostra::EthAddr const bcast = Ostra::EthAddr::broadcast();
Ostra::EthAddr const unknownUnicast(0x010000000001);

class FloodSetFecTest : public ::testing::Test {
 protected:
  FloodSetFecTest() {
    sm = Fenn::evpnFloodSetFecSmFactory(floodSets,
                                        Fenn::tunnelIdToHwTunnelIdMappingReaderFactory("fecTestHwTid"),
                                        hwStatus, request, responseReader, hwInfo, wheel);
  }
  ~FloodSetFecTest() override { sm = nullptr; }

  void add(Bridging::VlanId vlan, Ostra::EthAddr mac, L2Rib::Dest const& dest) {
    floodSets->vlanFloodSetIs(vlan)->floodSetIs(mac)->destSetIs(dest);
  }
  void del(Bridging::VlanId vlan, Ostra::EthAddr mac, L2Rib::Dest const& dest) {
    floodSets->vlanFloodSet(vlan)->floodSet(mac)->destSetDel(dest);
  }
  FecId fecIdOf(MplsFloodSetVia const& via) const { return sm->mplsFloodSetViaCache(via); }
  void answer(FecId fecId, uint64_t hwFecId) {
    response->rowIs(Fenn::FecToHwFecId(fecId, hwFecId, Ostra::IntfId("Ethernet7")));
  }
  Fenn::MplsDestConfig config(TunnelId tunnel, uint32_t label) const {
    return Fenn::MplsDestConfig(tunnel, Ostra::MplsLabel(label),
                                Fenn::HwTunnelId(Fenn::hwTunnelIdTypeDefault, 1), 0x1000,
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
  sm->initializedIs(true);
  add(Bridging::VlanId(10), bcast, mplsDest(ldpTunnel(1), 100));
  FecId const fecId = fecIdOf(MplsFloodSetVia(ldpTunnel(1), Ostra::MplsLabel(100)));
  EXPECT_EQ(fecId.value(), 0x0B00000000000000u);
  Vasp::Fib::Fec const fec = request->row(fecId);
  ASSERT_EQ(fec.viaCount(), 1u);
  Vasp::Fib::Via const& via = fec.vias()[0];
  EXPECT_EQ(via.intfId(), ldpTunnel(1).intfId());
  EXPECT_EQ(via.labelAndAction(),
            Vasp::Fib::LabelAndAction(Ostra::MplsLabel(0x100000), Vasp::Fib::mplsActionNone));
  EXPECT_EQ(via.mplsLabel(), Ostra::MplsLabel(100));
  EXPECT_EQ(via.weight(), 1u);
  EXPECT_FALSE(via.backup());
}

TEST_F(FloodSetFecTest, ViaSharedByTwoDestinationsKeepsOneFecUntilBothLeave) {
  sm->initializedIs(true);
  L2Rib::Dest const dest = mplsDest(ldpTunnel(1), 100);
  add(Bridging::VlanId(10), bcast, dest);
  add(Bridging::VlanId(20), unknownUnicast, dest);
  EXPECT_EQ(request->rowCount(), 1u);
  del(Bridging::VlanId(10), bcast, dest);
  EXPECT_EQ(request->rowCount(), 1u);
  del(Bridging::VlanId(20), unknownUnicast, dest);
  EXPECT_EQ(request->rowCount(), 0u);
  EXPECT_TRUE(sm->floodSetEntryCache().empty());
  EXPECT_TRUE(sm->tunnelInfoCache().empty());
  EXPECT_TRUE(sm->fecIdCache().empty());
}

TEST_F(FloodSetFecTest, VlanCarryingTunnelGetsOneFecPerVlan) {
  sm->initializedIs(true);
  add(Bridging::VlanId(10), bcast, mplsDest(vlanTunnel(1), 100));
  add(Bridging::VlanId(20), bcast, mplsDest(vlanTunnel(1), 100));
  add(Bridging::VlanId(20), unknownUnicast, mplsDest(ldpTunnel(2), 100));
  add(Bridging::VlanId(30), unknownUnicast, mplsDest(ldpTunnel(2), 100));
  FecId const vlan10 =
      fecIdOf(MplsFloodSetVia(vlanTunnel(1), Ostra::MplsLabel(100), Bridging::VlanIdOrNone(10)));
  FecId const vlan20 =
      fecIdOf(MplsFloodSetVia(vlanTunnel(1), Ostra::MplsLabel(100), Bridging::VlanIdOrNone(20)));
  EXPECT_TRUE(vlan10.valid());
  EXPECT_TRUE(vlan20.valid());
  EXPECT_NE(vlan10, vlan20);
  EXPECT_EQ(request->rowCount(), 3u);
}

TEST_F(FloodSetFecTest, RemovingAWholeVlanFloodSetWithdrawsItsVias) {
  sm->initializedIs(true);
  add(Bridging::VlanId(10), bcast, mplsDest(ldpTunnel(1), 100));
  add(Bridging::VlanId(10), unknownUnicast, mplsDest(ldpTunnel(2), 100));
  add(Bridging::VlanId(20), bcast, mplsDest(ldpTunnel(2), 100));
  floodSets->vlanFloodSetDel(Bridging::VlanId(10));
  EXPECT_EQ(request->rowCount(), 1u);
  EXPECT_TRUE(request->rowHas(fecIdOf(MplsFloodSetVia(ldpTunnel(2), Ostra::MplsLabel(100)))));
  EXPECT_EQ(sm->floodSetEntryCache().size(), 1u);
}

TEST_F(FloodSetFecTest, DestroyingTheStateMachineWithdrawsWhatItPublished) {
  sm->initializedIs(true);
  add(Bridging::VlanId(10), bcast, mplsDest(ldpTunnel(1), 100));
  answer(FecId(11, 0), 0x2000);
  ASSERT_EQ(hwInfo->mapping().size(), 1u);
  sm = nullptr;
  EXPECT_EQ(request->rowCount(), 0u);
  EXPECT_TRUE(hwInfo->mapping().empty());
}

// Responses.

TEST_F(FloodSetFecTest, ResponsePublishesHardwareInfoAndItsRemovalWithdrawsIt) {
  sm->initializedIs(true);
  add(Bridging::VlanId(10), bcast, mplsDest(ldpTunnel(1), 100));
  MplsFloodSetVia const via(ldpTunnel(1), Ostra::MplsLabel(100));
  answer(fecIdOf(via), 0x2000);
  EXPECT_EQ(hwInfo->mapping(via), Fenn::MplsDestHwInfo(0x2000, Ostra::IntfId("Ethernet7")));
  // An answer without an interface is no answer.
  response->rowIs(Fenn::FecToHwFecId(fecIdOf(via), 0x2000, Ostra::IntfId()));
  EXPECT_FALSE(hwInfo->mappingHas(via));
  EXPECT_TRUE(request->rowHas(fecIdOf(via)));
  answer(fecIdOf(via), 0x2001);
  response->rowDel(fecIdOf(via));
  EXPECT_FALSE(hwInfo->mappingHas(via));
  // The request still stands, so its ID stays with the via.
  EXPECT_TRUE(request->rowHas(fecIdOf(via)));
  EXPECT_EQ(sm->numAllocatorStatus().inUseCount(), 1u);
}

TEST_F(FloodSetFecTest, StaleResponseChangesNothing) {
  sm->initializedIs(true);
  add(Bridging::VlanId(10), bcast, mplsDest(ldpTunnel(1), 100));
  answer(FecId(11, 77), 0x2000);
  answer(FecId(7, 0), 0x2001);
  EXPECT_TRUE(hwInfo->mapping().empty());
  EXPECT_EQ(sm->fecIdCache().size(), 1u);
  response->rowDel(FecId(11, 77));
  EXPECT_EQ(sm->numAllocatorStatus().inUseCount(), 1u);
}

// Draining: the hardware still uses a via that the flood sets have left.

TEST_F(FloodSetFecTest, ViaLeavingWhileProgrammedKeepsItsRequestUntilTheStatusDropsIt) {
  sm->initializedIs(true);
  L2Rib::Dest const dest = mplsDest(ldpTunnel(1), 100);
  MplsFloodSetVia const via(ldpTunnel(1), Ostra::MplsLabel(100));
  Bridging::MacVlanPair const pair(bcast, Bridging::VlanId(10));
  add(Bridging::VlanId(10), bcast, dest);
  FecId const fecId = fecIdOf(via);
  hwStatus->statusIs(pair)->mplsDestStatusIs(config(ldpTunnel(1), 100), Fenn::programmed);
  del(Bridging::VlanId(10), bcast, dest);
  EXPECT_TRUE(request->rowHas(fecId));
  EXPECT_TRUE(sm->floodSetStatusCacheHas(via));
  // Not yet programmed is as good as gone.
  hwStatus->status(pair)->mplsDestStatusIs(config(ldpTunnel(1), 100), Fenn::notProgrammed);
  EXPECT_FALSE(request->rowHas(fecId));
  EXPECT_FALSE(sm->floodSetStatusCacheHas(via));
}

TEST_F(FloodSetFecTest, ViaStaysDrainingWhileAnotherConfigurationOfTheFloodSetUsesIt) {
  sm->initializedIs(true);
  L2Rib::Dest const dest = mplsDest(ldpTunnel(1), 100);
  Bridging::MacVlanPair const pair(bcast, Bridging::VlanId(10));
  add(Bridging::VlanId(10), bcast, dest);
  FecId const fecId = fecIdOf(MplsFloodSetVia(ldpTunnel(1), Ostra::MplsLabel(100)));
  Fenn::VlanFloodSetStatus* status = hwStatus->statusIs(pair);
  Fenn::MplsDestConfig const updated(ldpTunnel(1), Ostra::MplsLabel(100),
                                     Fenn::HwTunnelId(Fenn::hwTunnelIdTypeDefault, 2), 0x1000,
                                     Ostra::IntfId("Ethernet7"));
  status->mplsDestStatusIs(config(ldpTunnel(1), 100), Fenn::programmed);
  status->mplsDestStatusIs(updated, Fenn::programmed);
  del(Bridging::VlanId(10), bcast, dest);
  status->mplsDestStatusDel(config(ldpTunnel(1), 100));
  EXPECT_TRUE(request->rowHas(fecId));
  hwStatus->statusDel(pair);
  EXPECT_FALSE(request->rowHas(fecId));
}

// FEC ID reuse.

TEST_F(FloodSetFecTest, FecIdIsNotReusedWhileItsResponseExistsNorWithinTheHoldBack) {
  sm->initializedIs(true);
  L2Rib::Dest const first = mplsDest(ldpTunnel(1), 100);
  add(Bridging::VlanId(10), bcast, first);
  FecId const firstId = fecIdOf(MplsFloodSetVia(ldpTunnel(1), Ostra::MplsLabel(100)));
  answer(firstId, 0x2000);
  del(Bridging::VlanId(10), bcast, first);
  EXPECT_FALSE(request->rowHas(firstId));
  EXPECT_TRUE(sm->fecIdCacheHas(firstId));

  add(Bridging::VlanId(10), bcast, mplsDest(ldpTunnel(2), 100));
  FecId const secondId = fecIdOf(MplsFloodSetVia(ldpTunnel(2), Ostra::MplsLabel(100)));
  EXPECT_NE(secondId, firstId);

  response->rowDel(firstId);
  EXPECT_FALSE(sm->fecIdCacheHas(firstId));
  clock->advance(Fenn::EvpnFloodSetFecSm::fecIndexHoldBack - 1.0);
  add(Bridging::VlanId(10), bcast, mplsDest(ldpTunnel(3), 100));
  EXPECT_NE(fecIdOf(MplsFloodSetVia(ldpTunnel(3), Ostra::MplsLabel(100))), firstId);
  clock->advance(1.0);
  add(Bridging::VlanId(10), bcast, mplsDest(ldpTunnel(4), 100));
  EXPECT_EQ(fecIdOf(MplsFloodSetVia(ldpTunnel(4), Ostra::MplsLabel(100))), firstId);
}

using FloodSetFecDeathTest = FloodSetFecTest;

TEST_F(FloodSetFecDeathTest, BrokenInvariantsAbortWithTheirText) {
  EXPECT_DEATH(Fenn::indexToFecId(-1), "assertion failed: index >= 0");
  sm->initializedIs(true);
  EXPECT_DEATH(add(Bridging::VlanId(10), bcast, L2Rib::Dest::intf(Ostra::IntfId("Ethernet1"))),
               "assertion failed: dest.destType\\(\\) == L2Rib::destTypeMpls_");
}

}  // namespace
