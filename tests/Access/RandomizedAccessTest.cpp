// The five access-side machines on the simulated switch, driven by long random sequences
// of LAG, VLAN, BUM-filter, segment, local-label, flooding, pool, dot1q-tag, dot1q-flag and
// flood-filter changes, with every create operation of the flooding hardware failing at
// random. Once the inputs stop and the reviews have run:
// - the ESI data, VLAN, VLAN-to-dot1q mapping and non-DF port tables are exactly what fresh
//   machines on the final inputs program;
// - every entry sits on a current port of its interface (a LAG's current member), with the
//   current hardware tunnel ID and labels, for an interface still in its VLAN (a mapping) or
//   still filtered (a non-DF port), and every mapping carries its VLAN's tag;
// - the hardware was never asked to delete what it did not hold (or to create over what it
//   held without update support).
// Run with both values of updateSupportedOnCreateEsiData, on 30 seeds from the printed one;
// a failure names its seed, and FENN_TEST_SEED set to it replays from there.
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <vector>

#include "Access/AccessDriver.h"
#include "FennEvpn/FennEvpnFloodFilterSm.h"
#include "FennEvpn/FennEvpnFloodingDot1qSm.h"
#include "FennEvpn/FennEvpnFloodingEsiSm.h"
#include "FennEvpn/FennEvpnLagSm.h"
#include "FennEvpn/FennEvpnVlanMembershipSm.h"
#include "Keel/ManualClock.h"
#include "Qor/SysLog.h"
#include "Support/TestSeed.h"
#include "sim/Switch.h"

namespace Sim {
// Mapping tables compare as wholes; a difference shows the rows.
void PrintTo(VlanFloodingTables::Dot1qMapping const& m, std::ostream* os) {
  *os << m.parent << " dot1q " << m.dot1q;
}
}  // namespace Sim

namespace {

using namespace AccessTest;
using Bridging::VlanId;
using Ostra::IntfId;

constexpr int kSeeds = 30;
constexpr int kSteps = 600;

// What fresh machines program on the switch's final inputs (and its tunnel table).
struct Fresh {
  explicit Fresh(Sim::Switch const& sw) : cp(sw.controlPlane()) {
    lagSm = Fenn::evpnLagSmFactory(Fenn::fennCommonSmDataFactory(), cp.lagConfigDir, lags);
    membershipSm =
        Fenn::fennEvpnVlanMembershipSmFactory(cp.bridgingConfig, cp.vlanStatusDir, cp.evpnStatus, vlanStatus);
    esiSm = Fenn::evpnFloodingEsiSmFactory(
        hw, scheduler, lags, cp.evpnStatus,
        Qor::Ptr<Fenn::TunnelIdToHwTunnelIdMapping const>(sw.tunnelIdToHwTunnelId()));
    dot1qSm = Fenn::evpnFloodingDot1qSmFactory(hw, scheduler, lags, vlanStatus, cp.evpnStatus, cp.mplsConfig);
    filterSm = Fenn::fennEvpnFloodFilterSmFactory(hw, scheduler, lags, cp.evpnStatus);
    lagSm->initializedIs(true);
    membershipSm->initializedIs(true);
    esiSm->initializedIs(true);
    dot1qSm->initializedIs(true);
    filterSm->initializedIs(true);
    scheduler->advanceBy(2);  // the interface review
  }
  Sim::ControlPlane cp;
  Qor::Ptr<Keel::ManualClock> clock{new Keel::ManualClock};
  Qor::Ptr<Keel::TaskScheduler> scheduler{new Keel::TaskScheduler(clock)};
  Qor::Ptr<Fenn::EvpnLagMemberInfo> lags = Fenn::evpnLagMemberInfoFactory();
  Qor::Ptr<Fenn::EvpnVlanStatus> vlanStatus = Fenn::evpnVlanStatusFactory();
  Qor::Ptr<Sim::FloodingHardware> hw{new Sim::FloodingHardware("freshFloodingHardware")};
  Qor::Ptr<Fenn::EvpnLagSm> lagSm;
  Qor::Ptr<Fenn::FennEvpnVlanMembershipSm> membershipSm;
  Qor::Ptr<Fenn::EvpnFloodingEsiSm> esiSm;
  Qor::Ptr<Fenn::EvpnFloodingDot1qSm> dot1qSm;
  Qor::Ptr<Fenn::FennEvpnFloodFilterSm> filterSm;
};

constexpr Sim::FaultTarget kCreateTargets[] = {Sim::FaultTarget::createEsiData, Sim::FaultTarget::createVlan,
                                               Sim::FaultTarget::createVlanToDot1qMapping,
                                               Sim::FaultTarget::createNonDfPort};

// A (port, VLAN) entry programmed for `parent` may only sit on the parent itself or on a
// current member of the parent LAG.
void expectCurrentPort(Sim::Switch const& sw, Ostra::IntfId const& port, Ostra::IntfId const& parent) {
  if (!parent.isLag()) {
    EXPECT_EQ(port, parent);
    return;
  }
  ASSERT_TRUE(sw.lagMemberInfo()->lagToPortHas(parent)) << "an entry for a LAG that is gone";
  EXPECT_TRUE(sw.lagMemberInfo()->lagToPort(parent).portHas(port)) << "a port that left its LAG";
}

// The VLAN, mapping and non-DF port tables against the inputs they were programmed for.
void expectVlanFloodingFollowsInputs(Sim::Switch const& sw) {
  auto const& tables = sw.vlanFloodingTables();
  auto const& evpn = *sw.controlPlane().evpnStatus;
  for (auto const& [vlan, dot1q] : tables.vlans()) {
    EXPECT_TRUE(evpn.vlanToDot1qHas(vlan)) << "VLAN " << vlan.value() << " left the mapping";
    EXPECT_EQ(dot1q, sw.floodingDot1qSm()->dot1qTagForVlan(vlan)) << "VLAN " << vlan.value();
  }
  for (auto const& [portVlan, m] : tables.dot1qMappings()) {
    auto const& [port, vlan] = portVlan;
    SCOPED_TRACE("mapping " + port.name() + " VLAN " + std::to_string(vlan.value()) + " for " +
                 m.parent.name());
    expectCurrentPort(sw, port, m.parent);
    auto const* members = sw.evpnVlanStatus()->vlanStatus(vlan);
    EXPECT_TRUE(members && members->memberHas(m.parent)) << "an interface that left its VLAN";
    auto const vlanEntry = tables.vlans().find(vlan);
    ASSERT_NE(vlanEntry, tables.vlans().end()) << "a mapping without its VLAN";
    EXPECT_EQ(m.dot1q, vlanEntry->second) << "a mapping with another tag than its VLAN's";
  }
  for (auto const& [portVlan, parent] : tables.nonDfPorts()) {
    auto const& [port, vlan] = portVlan;
    SCOPED_TRACE("non-DF " + port.name() + " VLAN " + std::to_string(vlan.value()) + " for " + parent.name());
    expectCurrentPort(sw, port, parent);
    auto const* flood = evpn.evpnVlanFloodStatus(vlan);
    EXPECT_TRUE(flood && flood->floodFilterHas(parent)) << "a filter that was lifted";
  }
  EXPECT_EQ(tables.badOperationCount(), 0u) << "deleted what was not there, or created it twice";
}

std::map<IntfId, std::vector<IntfId>> lagTable(Fenn::EvpnLagMemberInfo const& info) {
  std::map<IntfId, std::vector<IntfId>> out;
  for (auto const& [lag, ports] : info.lagToPort()) out[lag] = {ports.begin(), ports.end()};
  return out;
}

std::map<VlanId, std::set<IntfId>> vlanTable(Fenn::EvpnVlanStatus const& status) {
  std::map<VlanId, std::set<IntfId>> out;
  for (auto const& [vlan, info] : status.vlanStatus()) {
    auto const members = info->member().keys();
    out[vlan] = {members.begin(), members.end()};
  }
  return out;
}

class RandomizedAccessTest : public ::testing::TestWithParam<bool> {
 protected:
  void SetUp() override {
    setenv("SIMULATION_VMID", "1", 1);
    Qor::logSinkIs([](Qor::LogMessage const&) {});
  }
  void TearDown() override { Qor::logSinkIs({}); }
};

TEST_P(RandomizedAccessTest, SettlesToWhatFreshMachinesProgram) {
  uint64_t const first = TestSupport::testSeed();
  for (uint64_t seed = first; seed < first + kSeeds; ++seed) {
    SCOPED_TRACE("FENN_TEST_SEED=" + std::to_string(seed) + " updateSupportedOnCreateEsiData " +
                 std::to_string(GetParam()));
    Sim::HardwareConfig config;
    config.defaultHwTunnelIds = 3;
    config.sharedEsHwTunnelIds = 2;
    config.updateSupportedOnCreateEsiData = GetParam();
    Sim::Switch sw(config, "randomAccess");
    Driver driver(sw, seed);
    std::mt19937_64 mix{seed};
    for (int i = 0; i < kSteps; ++i) mix() % 3 ? driver.step() : driver.floodingStep();
    uint64_t failures = 0;
    for (auto target : kCreateTargets) {
      failures += sw.faults(target).failures();
      sw.faults(target).clear();
    }
    EXPECT_GT(failures, 0u);
    sw.advance(30);
    ASSERT_TRUE(sw.floodingEsiSm()->unprogrammedEsi().empty());
    ASSERT_TRUE(sw.floodingDot1qSm()->unprogrammedDot1q().empty());
    ASSERT_TRUE(sw.floodFilterSm()->unprogrammedFilter().empty());

    Fresh fresh(sw);
    EXPECT_EQ(lagTable(*sw.lagMemberInfo()), lagTable(*fresh.lags));
    EXPECT_EQ(vlanTable(*sw.evpnVlanStatus()), vlanTable(*fresh.vlanStatus));
    auto const& esiData = sw.floodingHardware().esiData();
    EXPECT_EQ(esiData, fresh.hw->esiData());
    auto const& tables = sw.vlanFloodingTables();
    EXPECT_EQ(tables.vlans(), fresh.hw->vlanTables().vlans());
    EXPECT_EQ(tables.dot1qMappings(), fresh.hw->vlanTables().dot1qMappings());
    EXPECT_EQ(tables.nonDfPorts(), fresh.hw->vlanTables().nonDfPorts());
    expectVlanFloodingFollowsInputs(sw);

    auto const* table = sw.tunnelIdToHwTunnelId();
    auto const& evpn = *sw.controlPlane().evpnStatus;
    for (auto const& [key, e] : esiData) {
      auto const& [port, vlan, tunnelId] = key;
      SCOPED_TRACE(port.name() + " " + std::to_string(vlan.value()) + " " + e.parentIntfId.name());
      if (e.parentIntfId.isLag()) {
        ASSERT_TRUE(sw.lagMemberInfo()->lagToPortHas(e.parentIntfId));
        EXPECT_TRUE(sw.lagMemberInfo()->lagToPort(e.parentIntfId).portHas(port))
            << "a port that left its LAG";
      } else {
        EXPECT_EQ(port, e.parentIntfId);
      }
      ASSERT_TRUE(table->tunnelIdToHwTunnelIdHas(tunnelId)) << "a tunnel without a hardware ID";
      EXPECT_EQ(e.hwTunnelId, table->tunnelIdToHwTunnelId(tunnelId).hwTunnelId());
      auto const* es = evpn.ethernetSegmentStatus(e.parentIntfId);
      ASSERT_TRUE(es);
      EXPECT_EQ(Evpn::EncapTypeLabel::mpls(e.remoteEsiLabel),
                es->remoteEsiLabel(IntfId::dynamicTunnel(tunnelId)));
      EXPECT_EQ(Evpn::EncapTypeLabel::mpls(e.localEsiLabel), evpn.localEsiLabel(e.parentIntfId));
    }
    EXPECT_EQ(sw.floodingHardware().badEsiDeleteCount(), 0u);
    EXPECT_EQ(sw.floodingHardware().badEsiCreateCount(), 0u);
    if (HasFailure()) return;
  }
}

INSTANTIATE_TEST_SUITE_P(UpdateSupport, RandomizedAccessTest, ::testing::Bool());

}  // namespace
