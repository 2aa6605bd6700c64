// EvpnVlanFloodSetSm: a flood-set destination is configured exactly when its via has
// hardware information, carries the tunnel's current hardware tunnel ID, and is replaced
// (removed, then inserted) whenever anything it carries changes.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "FennEvpn/FennEvpnVlanFloodSetSm.h"
#include "FloodSet/FloodSetTestUtil.h"
#include "sim/FloodSetProgrammer.h"

namespace {

using namespace FloodSetTest;
using Bridging::VlanIdOrNone;
using Fenn::HwTunnelId;
using Fenn::MplsDestConfig;
using Fenn::MplsDestHwInfo;
using Fenn::MplsFloodSetVia;
using L2Rib::Dest;
using Ostra::IntfId;
using Ostra::MplsLabel;
using Tunnel::TunnelTable::TunnelId;

TunnelId const t1(Tunnel::tunnelTypeEvpnMpls, 1);
TunnelId const t2(Tunnel::tunnelTypeEvpnMpls, 2);
TunnelId const t14(Tunnel::tunnelTypeEvpnVlan, 3);  // carries a VLAN: one via per VLAN

Dest mpls(TunnelId tunnel, uint32_t label) { return Dest::mpls(tunnel, MplsLabel(label)); }
MplsFloodSetVia via(TunnelId tunnel, uint32_t label, uint16_t vlan = 0) {
  return MplsFloodSetVia(tunnel, MplsLabel(label), VlanIdOrNone(vlan));
}
MacVlanPair pair(uint16_t vlan, EthAddr mac = bcast) { return MacVlanPair(mac, VlanId(vlan)); }

// Records every change of one flood set's configuration, in order: (present after, config).
class ConfigLog : public Qor::Reactor {
 public:
  explicit ConfigLog(Fenn::VlanFloodSetConfig const* config) : Reactor(config, nullptr), config_(config) {}
  void onCreate() override {}
  void onAttribute(Qor::AttributeId, void const* key) override {
    auto const& c = Qor::keyAs<MplsDestConfig>(key);
    log.emplace_back(config_->mplsDestConfigHas(c), c);
  }
  std::vector<std::pair<bool, MplsDestConfig>> log;

 private:
  Fenn::VlanFloodSetConfig const* config_;
};

class FloodSetSmTest : public ::testing::Test {
 protected:
  void SetUp() override { start(); }

  void start() {
    sm = Fenn::evpnVlanFloodSetSmFactory(in, tableReader, hwInfo, hwConfig, hwStatus);
    sm->initializedIs(true);
  }

  std::unique_ptr<ConfigLog> logOf(MacVlanPair const& p) {
    return Qor::newReactor<ConfigLog>(hwConfig->config(p));
  }
  std::set<MplsDestConfig> configOf(MacVlanPair const& p) const {
    auto const v = view(*hwConfig);
    auto it = v.find(p);
    return it == v.end() ? std::set<MplsDestConfig>{} : it->second;
  }

  Qor::Ptr<L2Rib::FloodSetOutput> in = L2Rib::floodSetOutputFactory();
  Qor::Ptr<Fenn::TunnelIdToHwTunnelIdMapping> table =
      Fenn::tunnelIdToHwTunnelIdMappingFactory("floodSetSmTest");
  Qor::Ptr<Fenn::TunnelIdToHwTunnelIdMapping> tableReader =
      Fenn::tunnelIdToHwTunnelIdMappingReaderFactory("floodSetSmTest");
  Qor::Ptr<Fenn::HwInfoMapping> hwInfo = Fenn::hwInfoMappingFactory();
  Qor::Ptr<Fenn::EvpnVlanFloodSetHwConfig> hwConfig = Fenn::evpnVlanFloodSetHwConfigFactory();
  Qor::Ptr<Fenn::EvpnVlanFloodSetHwStatus> hwStatus = Fenn::evpnVlanFloodSetHwStatusFactory();
  Qor::Ptr<Sim::FloodSetProgrammer> programmer = Sim::floodSetProgrammerFactory(hwConfig, hwStatus);
  Qor::Ptr<Fenn::EvpnVlanFloodSetSm> sm;
};

TEST_F(FloodSetSmTest, DestinationWaitsForItsHardwareInformation) {
  TraceCapture capture("FennEvpnVlanFloodSetSm/1");
  addDest(*in, VlanId(10), bcast, mpls(t1, 100));
  EXPECT_TRUE(hwConfig->config().empty());
  std::string const text = capture.take();
  EXPECT_NE(text.find("   hwId not ready for dest, tunnelId: " + Qor::valueToStrep(t1) + " label: 100"),
            std::string::npos)
      << text;

  // No hardware tunnel ID yet: the configuration carries the default one.
  hwInfo->mappingIs(via(t1, 100), MplsDestHwInfo(77, IntfId::ethernet(1)));
  EXPECT_EQ(configOf(pair(10)),
            (std::set{MplsDestConfig(t1, MplsLabel(100), HwTunnelId(), 77, IntfId::ethernet(1))}));
  EXPECT_EQ(programmer->programmedCount(), 1u);

  table->tunnelIdToHwTunnelIdIs(Fenn::TunnelIdToHwTunnelId(t1, HwTunnelId(Fenn::hwTunnelIdTypeDefault, 5)));
  EXPECT_EQ(configOf(pair(10)),
            (std::set{MplsDestConfig(t1, MplsLabel(100), HwTunnelId(Fenn::hwTunnelIdTypeDefault, 5), 77,
                                     IntfId::ethernet(1))}));
}

TEST_F(FloodSetSmTest, ChangedConfigurationIsRemovedThenInserted) {
  HwTunnelId const id5(Fenn::hwTunnelIdTypeDefault, 5);
  HwTunnelId const id9(Fenn::hwTunnelIdTypeSharedEs, 9);
  table->tunnelIdToHwTunnelIdIs(Fenn::TunnelIdToHwTunnelId(t1, id5));
  hwInfo->mappingIs(via(t1, 100), MplsDestHwInfo(77, IntfId::ethernet(1)));
  addDest(*in, VlanId(10), bcast, mpls(t1, 100));
  addDest(*in, VlanId(10), bcast, mpls(t2, 200));  // not ready: unaffected by what follows
  MplsDestConfig const first(t1, MplsLabel(100), id5, 77, IntfId::ethernet(1));
  ASSERT_EQ(configOf(pair(10)), std::set{first});
  auto log = logOf(pair(10));

  // The tunnel moves to another pool in place.
  table->tunnelIdToHwTunnelIdIs(Fenn::TunnelIdToHwTunnelId(t1, id9));
  MplsDestConfig const second(t1, MplsLabel(100), id9, 77, IntfId::ethernet(1));
  EXPECT_EQ(log->log, (std::vector<std::pair<bool, MplsDestConfig>>{{false, first}, {true, second}}));

  // The FEC is answered again with another hardware ID and interface.
  log->log.clear();
  hwInfo->mappingIs(via(t1, 100), MplsDestHwInfo(78, IntfId::ethernet(2)));
  MplsDestConfig const third(t1, MplsLabel(100), id9, 78, IntfId::ethernet(2));
  EXPECT_EQ(log->log, (std::vector<std::pair<bool, MplsDestConfig>>{{false, second}, {true, third}}));
  EXPECT_EQ(sm->mplsDestHwConfig(Fenn::VlanMacDest(VlanId(10), bcast, mpls(t1, 100))), third);

  // The tunnel loses its ID: back to the default ID, the destination stays configured.
  table->tunnelIdToHwTunnelIdDel(t1);
  EXPECT_EQ(configOf(pair(10)),
            (std::set{MplsDestConfig(t1, MplsLabel(100), HwTunnelId(), 78, IntfId::ethernet(2))}));
  EXPECT_EQ(view(*hwStatus), (HwStatusView{{pair(10), {{*configOf(pair(10)).begin(), Fenn::programmed}}}}));
}

TEST_F(FloodSetSmTest, IdenticalRepublishChangesNothing) {
  hwInfo->mappingIs(via(t1, 100), MplsDestHwInfo(77, IntfId::ethernet(1)));
  addDest(*in, VlanId(10), bcast, mpls(t1, 100));
  auto log = logOf(pair(10));
  TraceCapture capture("FennEvpnVlanFloodSetSm/1");
  hwInfo->mappingIs(via(t1, 100), MplsDestHwInfo(77, IntfId::ethernet(1)));
  // A row that carries no usable ID leaves the configuration as it is.
  table->tunnelIdToHwTunnelIdIs(Fenn::TunnelIdToHwTunnelId(t1, HwTunnelId()));
  std::string const text = capture.take();
  EXPECT_TRUE(log->log.empty());
  EXPECT_NE(
      text.find("   no change in hardware config, skip " +
                Qor::valueToStrep(MplsDestConfig(t1, MplsLabel(100), HwTunnelId(), 77, IntfId::ethernet(1)))),
      std::string::npos)
      << text;
}

TEST_F(FloodSetSmTest, RemovingAViaRemovesEveryDestinationUsingIt) {
  hwInfo->mappingIs(via(t1, 100), MplsDestHwInfo(77, IntfId::ethernet(1)));
  hwInfo->mappingIs(via(t2, 100), MplsDestHwInfo(88, IntfId::ethernet(2)));
  addDest(*in, VlanId(10), bcast, mpls(t1, 100));
  addDest(*in, VlanId(20), unknownUcast, mpls(t1, 100));
  addDest(*in, VlanId(10), bcast, mpls(t2, 100));
  ASSERT_EQ(view(*hwConfig).size(), 2u);
  ASSERT_EQ(sm->hwInfoMapKeyToFloodSetEntry(via(t1, 100))->vlanMacDestSet().size(), 2u);

  hwInfo->mappingDel(via(t1, 100));
  EXPECT_EQ(view(*hwConfig),
            (HwConfigView{
                {pair(10), {MplsDestConfig(t2, MplsLabel(100), HwTunnelId(), 88, IntfId::ethernet(2))}}}));
  // The destinations stay known and come back with the via.
  hwInfo->mappingIs(via(t1, 100), MplsDestHwInfo(79, IntfId::ethernet(1)));
  EXPECT_EQ(configOf(pair(20, unknownUcast)),
            (std::set{MplsDestConfig(t1, MplsLabel(100), HwTunnelId(), 79, IntfId::ethernet(1))}));
}

TEST_F(FloodSetSmTest, VlanCarryingTunnelsHaveOneViaPerVlan) {
  addDest(*in, VlanId(10), bcast, mpls(t14, 100));
  addDest(*in, VlanId(20), bcast, mpls(t14, 100));
  addDest(*in, VlanId(10), bcast, mpls(t1, 100));
  addDest(*in, VlanId(20), bcast, mpls(t1, 100));
  EXPECT_TRUE(sm->hwInfoMapKeyToFloodSetEntryHas(via(t14, 100, 10)));
  EXPECT_TRUE(sm->hwInfoMapKeyToFloodSetEntryHas(via(t14, 100, 20)));
  EXPECT_FALSE(sm->hwInfoMapKeyToFloodSetEntryHas(via(t14, 100)));
  EXPECT_EQ(sm->hwInfoMapKeyToFloodSetEntry(via(t1, 100))->vlanMacDestSet().size(), 2u);
  EXPECT_EQ(sm->tunnelToFloodSetEntry(t14)->vlanMacDestSet().size(), 2u);

  hwInfo->mappingIs(via(t14, 100, 10), MplsDestHwInfo(1, IntfId::ethernet(1)));
  hwInfo->mappingIs(via(t1, 100), MplsDestHwInfo(2, IntfId::ethernet(2)));
  EXPECT_EQ(configOf(pair(10)),
            (std::set{MplsDestConfig(t14, MplsLabel(100), HwTunnelId(), 1, IntfId::ethernet(1)),
                      MplsDestConfig(t1, MplsLabel(100), HwTunnelId(), 2, IntfId::ethernet(2))}));
  EXPECT_EQ(configOf(pair(20)),
            (std::set{MplsDestConfig(t1, MplsLabel(100), HwTunnelId(), 2, IntfId::ethernet(2))}));
}

TEST_F(FloodSetSmTest, RemovedDestinationsTakeTheirConfigurationAndIndexesAlong) {
  hwInfo->mappingIs(via(t1, 100), MplsDestHwInfo(1, IntfId::ethernet(1)));
  hwInfo->mappingIs(via(t2, 200), MplsDestHwInfo(2, IntfId::ethernet(2)));
  addDest(*in, VlanId(10), bcast, mpls(t1, 100));
  addDest(*in, VlanId(10), bcast, mpls(t2, 200));
  addDest(*in, VlanId(10), unknownUcast, mpls(t1, 100));
  addDest(*in, VlanId(11), bcast, mpls(t2, 200));

  delDest(*in, VlanId(10), bcast, mpls(t1, 100));
  EXPECT_EQ(configOf(pair(10)).size(), 1u);
  delDest(*in, VlanId(10), bcast, mpls(t2, 200));
  EXPECT_FALSE(hwConfig->configHas(pair(10)));

  // A flood set and a whole VLAN that leave, destinations still inside.
  in->vlanFloodSet(VlanId(10))->floodSetDel(unknownUcast);
  EXPECT_FALSE(hwConfig->configHas(pair(10, unknownUcast)));
  in->vlanFloodSetDel(VlanId(11));
  EXPECT_TRUE(hwConfig->config().empty());
  EXPECT_TRUE(sm->tunnelToFloodSetEntry().empty());
  EXPECT_TRUE(sm->hwInfoMapKeyToFloodSetEntry().empty());
  EXPECT_TRUE(sm->mplsDestHwConfig().empty());
  EXPECT_TRUE(hwStatus->status().empty());
}

TEST_F(FloodSetSmTest, TunnelNotificationForAnUnusedTunnelOnlyTraces) {
  hwInfo->mappingIs(via(t1, 100), MplsDestHwInfo(1, IntfId::ethernet(1)));
  addDest(*in, VlanId(10), bcast, mpls(t1, 100));
  auto log = logOf(pair(10));
  TraceCapture capture("FennEvpnVlanFloodSetSm/1");
  table->tunnelIdToHwTunnelIdIs(Fenn::TunnelIdToHwTunnelId(t2, HwTunnelId(Fenn::hwTunnelIdTypeDefault, 4)));
  hwInfo->mappingIs(via(t2, 7), MplsDestHwInfo(1, IntfId::ethernet(1)));
  std::string const text = capture.take();
  EXPECT_NE(text.find(" no dests associated with this tunnel "), std::string::npos) << text;
  EXPECT_NE(text.find(" hwId is not ready "), std::string::npos) << text;
  EXPECT_TRUE(log->log.empty());
  EXPECT_EQ(view(*hwConfig).size(), 1u);
}

TEST_F(FloodSetSmTest, HardwareStatusIsTraced) {
  programmer->capacityIs(1);
  hwInfo->mappingIs(via(t1, 100), MplsDestHwInfo(1, IntfId::ethernet(1)));
  hwInfo->mappingIs(via(t2, 100), MplsDestHwInfo(2, IntfId::ethernet(2)));
  TraceCapture capture("FennEvpnVlanFloodSetSm/1");
  addDest(*in, VlanId(10), bcast, mpls(t1, 100));
  addDest(*in, VlanId(10), bcast, mpls(t2, 100));
  std::string const text = capture.take();
  auto const programmedAt = text.find("  config is programmed in hardware");
  auto const notProgrammedAt = text.find("  config is not programmed in hardware");
  ASSERT_NE(programmedAt, std::string::npos) << text;
  ASSERT_NE(notProgrammedAt, std::string::npos) << text;
  EXPECT_LT(programmedAt, notProgrammedAt);
  // The status changes nothing in the configuration.
  EXPECT_EQ(configOf(pair(10)).size(), 2u);
}

TEST_F(FloodSetSmTest, InitializationRebuildsTheOutputFromScratch) {
  sm = nullptr;
  MplsDestConfig const stale(t2, MplsLabel(9), HwTunnelId(), 0, IntfId());
  hwConfig->configIs(pair(30))->mplsDestConfigIs(stale);
  hwInfo->mappingIs(via(t1, 100), MplsDestHwInfo(1, IntfId::ethernet(1)));
  addDest(*in, VlanId(10), bcast, mpls(t1, 100));

  sm = Fenn::evpnVlanFloodSetSmFactory(in, tableReader, hwInfo, hwConfig, hwStatus);
  addDest(*in, VlanId(11), bcast, mpls(t1, 100));
  table->tunnelIdToHwTunnelIdIs(Fenn::TunnelIdToHwTunnelId(t1, HwTunnelId(Fenn::hwTunnelIdTypeDefault, 3)));
  EXPECT_EQ(view(*hwConfig), (HwConfigView{{pair(30), {stale}}}));

  sm->initializedIs(true);
  MplsDestConfig const config(t1, MplsLabel(100), HwTunnelId(Fenn::hwTunnelIdTypeDefault, 3), 1,
                              IntfId::ethernet(1));
  EXPECT_EQ(view(*hwConfig), (HwConfigView{{pair(10), {config}}, {pair(11), {config}}}));
}

TEST_F(FloodSetSmTest, ReleasingTheStateMachineWithdrawsItsConfiguration) {
  hwInfo->mappingIs(via(t1, 100), MplsDestHwInfo(1, IntfId::ethernet(1)));
  addDest(*in, VlanId(10), bcast, mpls(t1, 100));
  ASSERT_FALSE(hwConfig->config().empty());
  sm = nullptr;
  EXPECT_TRUE(hwConfig->config().empty());
  EXPECT_TRUE(hwStatus->status().empty());
}

using FloodSetSmDeathTest = FloodSetSmTest;

TEST_F(FloodSetSmDeathTest, NonMplsDestination) {
  EXPECT_DEATH(addDest(*in, VlanId(10), bcast, Dest::intf(IntfId::ethernet(1))),
               "assertion failed: dest.destType\\(\\) == L2Rib::destTypeMpls_");
}

TEST_F(FloodSetSmDeathTest, InvalidTunnelWithHardwareInformation) {
  hwInfo->mappingIs(via(TunnelId::invalid(), 100), MplsDestHwInfo(1, IntfId::ethernet(1)));
  EXPECT_DEATH(addDest(*in, VlanId(10), bcast, mpls(TunnelId::invalid(), 100)),
               "assertion failed: tunnelId != Tunnel::TunnelTable::TunnelId::invalid\\(\\)");
}

// A long random sequence of changes to every input leaves the same configuration (and
// hardware status) as a state machine started on the final inputs.
TEST_F(FloodSetSmTest, RandomChangesEndWhereAFreshStartDoes) {
  uint32_t const seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 rng(seed);
  auto pick = [&](uint32_t n) { return std::uniform_int_distribution<uint32_t>(0, n - 1)(rng); };
  TunnelId const tunnels[] = {t1, t2, t14};
  EthAddr const macs[] = {bcast, unknownUcast};
  auto randomVia = [&] { return via(tunnels[pick(3)], 100 + pick(2), pick(3) == 0 ? 0 : 10 + pick(3)); };

  for (int step = 0; step < 4000; ++step) {
    VlanId const vlan(10 + pick(3));
    EthAddr const mac = macs[pick(2)];
    Dest const dest = mpls(tunnels[pick(3)], 100 + pick(2));
    switch (pick(12)) {
      case 0:
        in->vlanFloodSetDel(vlan);
        break;
      case 1:
        if (auto* vfs = in->vlanFloodSet(vlan)) vfs->floodSetDel(mac);
        break;
      case 2:
      case 3:
        delDest(*in, vlan, mac, dest);
        break;
      case 4:
      case 5:
      case 6:
        addDest(*in, vlan, mac, dest);
        break;
      case 7:
        table->tunnelIdToHwTunnelIdIs(Fenn::TunnelIdToHwTunnelId(
            tunnels[pick(3)], HwTunnelId(static_cast<Fenn::HwTunnelIdType>(pick(2)), pick(3))));
        break;
      case 8:
        table->tunnelIdToHwTunnelIdDel(tunnels[pick(3)]);
        break;
      case 9:
      case 10:
        hwInfo->mappingIs(randomVia(), MplsDestHwInfo(pick(3), IntfId::ethernet(1 + pick(2))));
        break;
      default:
        hwInfo->mappingDel(randomVia());
        break;
    }
  }

  auto freshConfig = Fenn::evpnVlanFloodSetHwConfigFactory();
  auto freshSm = Fenn::evpnVlanFloodSetSmFactory(in, tableReader, hwInfo, freshConfig,
                                                 Fenn::evpnVlanFloodSetHwStatusFactory());
  freshSm->initializedIs(true);
  EXPECT_EQ(view(*hwConfig), view(*freshConfig));
  HwStatusView expectedStatus;
  for (auto const& [p, configs] : view(*hwConfig)) {
    EXPECT_FALSE(configs.empty());
    for (auto const& c : configs) expectedStatus[p][c] = Fenn::programmed;
  }
  EXPECT_EQ(view(*hwStatus), expectedStatus);
  for (auto const& [tunnel, entry] : sm->tunnelToFloodSetEntry())
    EXPECT_FALSE(entry->vlanMacDestSet().empty());
  for (auto const& [v, entry] : sm->hwInfoMapKeyToFloodSetEntry())
    EXPECT_FALSE(entry->vlanMacDestSet().empty());
  for (auto const& [d, config] : sm->mplsDestHwConfig()) {
    EXPECT_TRUE(hwConfig->config(MacVlanPair(d.macAddr(), d.vlanId()))->mplsDestConfigHas(config));
  }
}

}  // namespace
