// EvpnVlanFloodSetSm: a flood-set destination is configured exactly when its via has
// hardware information, carries the tunnel's current hardware tunnel ID, and is replaced
// (removed, then inserted) whenever anything it carries changes.
#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <vector>

#include "FennEvpn/FennEvpnVlanFloodSetSm.h"
#include "FloodSet/FloodSetTestUtil.h"
#include "Support/TestSeed.h"
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
HwTunnelId const id5(Fenn::hwTunnelIdTypeDefault, 5);

Dest mpls(TunnelId tunnel, uint32_t label) { return Dest::mpls(tunnel, MplsLabel(label)); }
MplsFloodSetVia via(TunnelId tunnel, uint32_t label, uint16_t vlan = 0) {
  return MplsFloodSetVia(tunnel, MplsLabel(label), VlanIdOrNone(vlan));
}
MacVlanPair pair(uint16_t vlan, EthAddr mac = bcast) { return MacVlanPair(mac, VlanId(vlan)); }
// The configuration of `tunnel` with label 100 whose FEC answered (hwId, Ethernet<port>).
MplsDestConfig config(TunnelId tunnel, uint64_t hwId, uint32_t port, HwTunnelId hwTunnelId = HwTunnelId()) {
  return MplsDestConfig(tunnel, MplsLabel(100), hwTunnelId, hwId, IntfId::ethernet(port));
}

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
using ConfigChanges = std::vector<std::pair<bool, MplsDestConfig>>;

class FloodSetSmTest : public ::testing::Test {
 protected:
  void SetUp() override {
    sm = Fenn::evpnVlanFloodSetSmFactory(in, tableReader, hwInfo, hwConfig, hwStatus);
    sm->initializedIs(true);
  }

  void add(uint16_t vlan, TunnelId tunnel, uint32_t label = 100, EthAddr mac = bcast) {
    addDest(*in, VlanId(vlan), mac, mpls(tunnel, label));
  }
  void answer(MplsFloodSetVia const& v, uint64_t hwId, uint32_t port) {
    hwInfo->mappingIs(v, MplsDestHwInfo(hwId, IntfId::ethernet(port)));
  }
  void hwTunnelIdIs(TunnelId tunnel, HwTunnelId id) {
    table->tunnelIdToHwTunnelIdIs(Fenn::TunnelIdToHwTunnelId(tunnel, id));
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
  add(10, t1);
  EXPECT_TRUE(hwConfig->config().empty());
  std::string const text = capture.take();
  EXPECT_NE(text.find("   hwId not ready for dest, tunnelId: " + Qor::valueToStrep(t1) + " label: 100"),
            std::string::npos)
      << text;

  // No hardware tunnel ID yet: the configuration carries the default one, which the
  // hardware cannot forward into.
  answer(via(t1, 100), 77, 1);
  EXPECT_EQ(configOf(pair(10)), std::set{config(t1, 77, 1)});
  EXPECT_EQ(programmer->programmedCount(), 0u);
  hwTunnelIdIs(t1, id5);
  EXPECT_EQ(configOf(pair(10)), std::set{config(t1, 77, 1, id5)});
  EXPECT_EQ(programmer->programmedCount(), 1u);
}

TEST_F(FloodSetSmTest, ChangedConfigurationIsRemovedThenInserted) {
  HwTunnelId const id9(Fenn::hwTunnelIdTypeSharedEs, 9);
  hwTunnelIdIs(t1, id5);
  answer(via(t1, 100), 77, 1);
  add(10, t1);
  add(10, t2, 200);  // not ready: unaffected by what follows
  ASSERT_EQ(configOf(pair(10)), std::set{config(t1, 77, 1, id5)});
  auto log = logOf(pair(10));

  // The tunnel moves to another pool in place.
  hwTunnelIdIs(t1, id9);
  EXPECT_EQ(log->log, (ConfigChanges{{false, config(t1, 77, 1, id5)}, {true, config(t1, 77, 1, id9)}}));
  // The FEC is answered again with another hardware ID and interface.
  log->log.clear();
  answer(via(t1, 100), 78, 2);
  EXPECT_EQ(log->log, (ConfigChanges{{false, config(t1, 77, 1, id9)}, {true, config(t1, 78, 2, id9)}}));
  EXPECT_EQ(sm->mplsDestHwConfig(Fenn::VlanMacDest(VlanId(10), bcast, mpls(t1, 100))),
            config(t1, 78, 2, id9));

  // The tunnel loses its ID: back to the default ID, the destination stays configured and
  // the hardware reports that it cannot forward it.
  table->tunnelIdToHwTunnelIdDel(t1);
  EXPECT_EQ(view(*hwStatus), (HwStatusView{{pair(10), {{config(t1, 78, 2), Fenn::invalidHwId}}}}));
}

// A destination steered into an SR-TE policy and a plain one over the policy's tunnel,
// with one label, yield one configuration: it stays until the last of them goes, also when
// one of them changes it.
TEST_F(FloodSetSmTest, ConfigurationOfTwoDestinationsStaysUntilTheLastGoes) {
  TunnelId const policy(Tunnel::tunnelTypeSrTePolicy, 1);
  L2Rib::Dest const steered = L2Rib::Dest::mpls(policy, MplsLabel(100), IntfId::srTePolicy(policy));
  hwTunnelIdIs(policy, id5);
  answer(via(policy, 100), 77, 1);
  addDest(*in, VlanId(10), bcast, steered);
  add(10, policy);
  delDest(*in, VlanId(10), bcast, steered);
  EXPECT_EQ(configOf(pair(10)), std::set{config(policy, 77, 1, id5)});
  addDest(*in, VlanId(10), bcast, steered);
  answer(via(policy, 100), 78, 1);  // both are rewritten
  EXPECT_EQ(configOf(pair(10)), std::set{config(policy, 78, 1, id5)});
  delDest(*in, VlanId(10), bcast, mpls(policy, 100));
  EXPECT_EQ(configOf(pair(10)), std::set{config(policy, 78, 1, id5)});
  delDest(*in, VlanId(10), bcast, steered);
  EXPECT_TRUE(hwConfig->config().empty());
}

TEST_F(FloodSetSmTest, UnchangedOrUnusedInputsOnlyTrace) {
  answer(via(t1, 100), 77, 1);
  add(10, t1);
  auto log = logOf(pair(10));
  TraceCapture capture("FennEvpnVlanFloodSetSm/1");
  answer(via(t1, 100), 77, 1);
  // A row that carries no usable ID leaves the configuration as it is.
  hwTunnelIdIs(t1, HwTunnelId());
  // Inputs for a tunnel and a via that no destination uses.
  hwTunnelIdIs(t2, HwTunnelId(Fenn::hwTunnelIdTypeDefault, 4));
  answer(via(t2, 7), 1, 1);
  std::string const text = capture.take();
  EXPECT_TRUE(log->log.empty());
  EXPECT_EQ(view(*hwConfig).size(), 1u);
  EXPECT_NE(text.find("   no change in hardware config, skip " + Qor::valueToStrep(config(t1, 77, 1))),
            std::string::npos)
      << text;
  EXPECT_NE(text.find(" no dests associated with this tunnel "), std::string::npos) << text;
  EXPECT_NE(text.find(" hwId is not ready "), std::string::npos) << text;
}

TEST_F(FloodSetSmTest, HardwareStatusIsTracedAndChangesNothing) {
  programmer->capacityIs(1);
  hwTunnelIdIs(t1, id5);
  hwTunnelIdIs(t2, HwTunnelId(Fenn::hwTunnelIdTypeDefault, 6));
  answer(via(t1, 100), 1, 1);
  answer(via(t2, 100), 2, 2);
  TraceCapture capture("FennEvpnVlanFloodSetSm/1");
  add(10, t1);
  add(10, t2);
  std::string const text = capture.take();
  auto const programmedAt = text.find("  config is programmed in hardware");
  auto const notProgrammedAt = text.find("  config is not programmed in hardware");
  ASSERT_NE(programmedAt, std::string::npos) << text;
  ASSERT_NE(notProgrammedAt, std::string::npos) << text;
  EXPECT_LT(programmedAt, notProgrammedAt);
  EXPECT_EQ(configOf(pair(10)).size(), 2u);
}

TEST_F(FloodSetSmTest, InitializationRebuildsTheOutputAndReleaseWithdrawsIt) {
  sm = nullptr;
  MplsDestConfig const stale(t2, MplsLabel(9), HwTunnelId(), 0, IntfId());
  hwConfig->configIs(pair(30))->mplsDestConfigIs(stale);
  answer(via(t1, 100), 1, 1);
  add(10, t1);

  sm = Fenn::evpnVlanFloodSetSmFactory(in, tableReader, hwInfo, hwConfig, hwStatus);
  add(11, t1);
  hwTunnelIdIs(t1, id5);
  EXPECT_EQ(view(*hwConfig), (HwConfigView{{pair(30), {stale}}}));

  sm->initializedIs(true);
  EXPECT_EQ(view(*hwConfig),
            (HwConfigView{{pair(10), {config(t1, 1, 1, id5)}}, {pair(11), {config(t1, 1, 1, id5)}}}));
  sm = nullptr;
  EXPECT_TRUE(hwConfig->config().empty());
  EXPECT_TRUE(hwStatus->status().empty());
}

using FloodSetSmDeathTest = FloodSetSmTest;

TEST_F(FloodSetSmDeathTest, InvalidTunnelWithHardwareInformation) {
  answer(via(TunnelId::invalid(), 100), 1, 1);
  EXPECT_DEATH(add(10, TunnelId::invalid()),
               "assertion failed: tunnelId != Tunnel::TunnelTable::TunnelId::invalid\\(\\)");
}

// A long random sequence of changes to every input leaves the same configuration, hardware
// status and indexes as a state machine started on the inputs as they are.
TEST_F(FloodSetSmTest, RandomChangesEndWhereAFreshStartDoes) {
  uint64_t const seed = TestSupport::testSeed();
  SCOPED_TRACE("FENN_TEST_SEED=" + std::to_string(seed));
  std::mt19937 rng(seed);
  auto pick = [&](uint32_t n) { return std::uniform_int_distribution<uint32_t>(0, n - 1)(rng); };
  TunnelId const tunnels[] = {t1, t2, t14};
  EthAddr const macs[] = {bcast, unknownUcast};
  auto randomVia = [&] { return via(tunnels[pick(3)], 100 + pick(2), pick(3) == 0 ? 0 : 10 + pick(3)); };

  auto const vlan = [&] { return VlanId(10 + pick(3)); };
  auto const mac = [&] { return macs[pick(2)]; };
  auto const dest = [&] { return mpls(tunnels[pick(3)], 100 + pick(2)); };
  std::function<void()> const changes[] = {
      [&] { addDest(*in, vlan(), mac(), dest()); },
      [&] { delDest(*in, vlan(), mac(), dest()); },
      [&] { answer(randomVia(), pick(3), 1 + pick(2)); },
      [&] { hwInfo->mappingDel(randomVia()); },
      [&] { in->vlanFloodSetDel(vlan()); },
      [&] { in->vlanFloodSetIs(vlan())->floodSetDel(mac()); },
      [&] { table->tunnelIdToHwTunnelIdDel(tunnels[pick(3)]); },
      [&] {
        hwTunnelIdIs(tunnels[pick(3)], HwTunnelId(static_cast<Fenn::HwTunnelIdType>(pick(2)), pick(3)));
      }};
  std::discrete_distribution<size_t> which({3, 2, 2, 1, 1, 1, 1, 1});
  // The destinations each index holds, per tunnel and per via.
  auto const indexes = [](Fenn::EvpnVlanFloodSetSm const& m) {
    std::map<TunnelId, size_t> perTunnel;
    std::map<MplsFloodSetVia, size_t> perVia;
    for (auto const& [tunnel, entry] : m.tunnelToFloodSetEntry())
      perTunnel[tunnel] = entry->vlanMacDestSet().size();
    for (auto const& [v, entry] : m.hwInfoMapKeyToFloodSetEntry()) perVia[v] = entry->vlanMacDestSet().size();
    return std::pair(perTunnel, perVia);
  };
  auto const expectAsAFreshStart = [&] {
    auto freshConfig = Fenn::evpnVlanFloodSetHwConfigFactory();
    auto freshSm = Fenn::evpnVlanFloodSetSmFactory(in, tableReader, hwInfo, freshConfig,
                                                   Fenn::evpnVlanFloodSetHwStatusFactory());
    freshSm->initializedIs(true);
    EXPECT_EQ(view(*hwConfig), view(*freshConfig));
    EXPECT_EQ(indexes(*sm), indexes(*freshSm));
    HwStatusView expectedStatus;
    for (auto const& [p, configs] : view(*hwConfig)) {
      EXPECT_FALSE(configs.empty());
      for (auto const& c : configs)
        expectedStatus[p][c] = c.hwTunnelId().valid() ? Fenn::programmed : Fenn::invalidHwId;
    }
    EXPECT_EQ(view(*hwStatus), expectedStatus);
    for (auto const& [d, config] : sm->mplsDestHwConfig()) {
      EXPECT_TRUE(hwConfig->config(MacVlanPair(d.macAddr(), d.vlanId()))->mplsDestConfigHas(config));
    }
  };
  // Checked along the way too: a stale entry that later changes happen to clean up shows.
  for (int step = 1; step <= 4000; ++step) {
    changes[which(rng)]();
    if (step % 200 != 0) continue;
    SCOPED_TRACE("step " + std::to_string(step));
    expectAsAFreshStart();
    if (HasFailure()) return;
  }
}

}  // namespace
