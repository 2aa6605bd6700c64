// The three access-side machines on the simulated switch, driven by long random sequences
// of LAG, VLAN, BUM-filter, segment, local-label, flooding and pool changes, with
// createEsiData failing at random. Once the inputs stop and the reviews have run, the ESI
// data table must be exactly what fresh machines on the final inputs program, every entry
// must sit on a current port with the current hardware tunnel ID and labels, and the
// hardware must never have been asked to delete what it did not hold (or to create over
// what it held without update support). Run with both values of
// updateSupportedOnCreateEsiData. A failure names its seed.
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <vector>

#include "Access/AccessDriver.h"
#include "FennEvpn/FennEvpnFloodingEsiSm.h"
#include "FennEvpn/FennEvpnLagSm.h"
#include "FennEvpn/FennEvpnVlanMembershipSm.h"
#include "Keel/ManualClock.h"
#include "Qor/SysLog.h"
#include "sim/Switch.h"

namespace {

using namespace AccessTest;
using Bridging::VlanId;
using Ostra::IntfId;

constexpr int kSeeds = 30;
constexpr int kSteps = 500;

// What fresh machines program on the switch's final inputs (and its tunnel table).
struct Fresh {
  explicit Fresh(Sim::Switch const& sw) : cp(sw.controlPlane()) {
    lagSm = Fenn::evpnLagSmFactory(Fenn::fennCommonSmDataFactory(), cp.lagConfigDir, lags);
    membershipSm =
        Fenn::fennEvpnVlanMembershipSmFactory(cp.bridgingConfig, cp.vlanStatusDir, cp.evpnStatus, vlanStatus);
    esiSm = Fenn::evpnFloodingEsiSmFactory(
        hw, scheduler, lags, cp.evpnStatus,
        Qor::Ptr<Fenn::TunnelIdToHwTunnelIdMapping const>(sw.tunnelIdToHwTunnelId()));
    lagSm->initializedIs(true);
    membershipSm->initializedIs(true);
    esiSm->initializedIs(true);
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
};

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
  for (int seed = 1; seed <= kSeeds; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed) + " updateSupportedOnCreateEsiData " +
                 std::to_string(GetParam()));
    Sim::HardwareConfig config;
    config.defaultHwTunnelIds = 3;
    config.sharedEsHwTunnelIds = 2;
    config.updateSupportedOnCreateEsiData = GetParam();
    Sim::Switch sw(config, "randomAccess");
    Driver driver(sw, uint64_t(seed));
    for (int i = 0; i < kSteps; ++i) driver.step();
    sw.faults(Sim::FaultTarget::createEsiData).clear();
    sw.advance(30);
    ASSERT_TRUE(sw.floodingEsiSm()->unprogrammedEsi().empty());

    Fresh fresh(sw);
    EXPECT_EQ(lagTable(*sw.lagMemberInfo()), lagTable(*fresh.lags));
    EXPECT_EQ(vlanTable(*sw.evpnVlanStatus()), vlanTable(*fresh.vlanStatus));
    auto const& esiData = sw.floodingHardware().esiData();
    EXPECT_EQ(esiData, fresh.hw->esiData());

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
