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

#include "FennEvpn/FennEvpnFloodingEsiSm.h"
#include "FennEvpn/FennEvpnLagSm.h"
#include "FennEvpn/FennEvpnVlanMembershipSm.h"
#include "Keel/ManualClock.h"
#include "Qor/SysLog.h"
#include "sim/Switch.h"

namespace {

using Bridging::VlanId;
using Ostra::IntfId;

constexpr int kSeeds = 30;
constexpr int kSteps = 500;

std::vector<IntfId> const lagPorts = {IntfId::ethernet(1), IntfId::ethernet(2), IntfId::ethernet(3),
                                      IntfId::ethernet(4), IntfId::ethernet(5)};
std::vector<IntfId> const accessIntfs = {IntfId::portChannel(1), IntfId::portChannel(2),
                                         IntfId::portChannel(3), IntfId::ethernet(6), IntfId::ethernet(7)};
std::vector<VlanId> const vlans = {VlanId(10), VlanId(11), VlanId(12)};
constexpr uint64_t kPes = 4;

Fenn::TunnelId tunnel(uint64_t pe) { return Fenn::TunnelId(Tunnel::tunnelTypeLdp, pe); }
IntfId tep(uint64_t pe) { return IntfId::dynamicTunnel(tunnel(pe)); }

class Driver {
 public:
  Driver(Sim::Switch& sw, uint64_t seed) : sw_(sw), rng_(seed) {}

  void step() {
    switch (pick(12)) {
      case 0: {
        // A port belongs to one LAG at most: a LAG takes ports no other LAG holds.
        IntfId const lag = any(accessIntfs.begin(), accessIntfs.begin() + 3);
        std::vector<IntfId> members;
        if (pick(5) == 0) {
          sw_.lagDel(lag);
        } else {
          for (auto const& port : subset(lagPorts)) {
            if (!lagOf_.count(port) || lagOf_[port] == lag) members.push_back(port);
          }
          sw_.lagIs(lag, members);
        }
        std::erase_if(lagOf_, [&](auto const& e) { return e.second == lag; });
        for (auto const& port : members) lagOf_[port] = lag;
        break;
      }
      case 1:
        pick(4) == 0 ? sw_.vlanConfigDel(anyVlan()) : sw_.vlanConfigIs(anyVlan(), subset(accessIntfs));
        break;
      case 2:
        pick(4) == 0 ? sw_.vlanStatusDel(anyVlan()) : sw_.vlanStatusIs(anyVlan(), subset(accessIntfs));
        break;
      case 3:
        sw_.encapBumFilterIs(subset(accessIntfs));
        break;
      case 4:
      case 5: {
        IntfId const intf = any(accessIntfs.begin(), accessIntfs.end());
        if (pick(6) == 0) {
          sw_.segmentDel(intf);
          break;
        }
        std::map<IntfId, Ostra::MplsLabel> peers;
        for (uint64_t pe = 1; pe <= kPes; ++pe) {
          if (pick(2)) peers[tep(pe)] = Ostra::MplsLabel(600 + pick(3));
        }
        std::optional<Ostra::MplsLabel> shared;
        if (pick(2)) shared = Ostra::MplsLabel(700);
        sw_.segmentIs(intf, peers, shared);
        break;
      }
      case 6: {
        std::vector<VlanId> configured;
        std::map<VlanId, IntfId> df;
        for (auto v : vlans) {
          if (pick(2)) configured.push_back(v);
          if (pick(3)) df[v] = tep(1 + pick(kPes));
        }
        sw_.segmentVlansIs(any(accessIntfs.begin(), accessIntfs.end()), configured, df);
        break;
      }
      case 7: {
        std::optional<Ostra::MplsLabel> label;
        if (pick(4)) label = Ostra::MplsLabel(900 + pick(2));
        sw_.localEsiLabelIs(any(accessIntfs.begin(), accessIntfs.end()), label);
        break;
      }
      case 8: {
        // Flooding to a PE gives its tunnel a default-pool ID whatever the segments want.
        L2Rib::Dest const dest = L2Rib::Dest::mpls(tunnel(1 + pick(kPes)), Ostra::MplsLabel(1000));
        pick(2) ? sw_.destIs(VlanId(10), Ostra::EthAddr::broadcast(), dest)
                : sw_.destDel(VlanId(10), Ostra::EthAddr::broadcast(), dest);
        break;
      }
      case 9:
        sw_.hwTunnelIdPoolSizeIs(pick(2) ? Fenn::hwTunnelIdTypeDefault : Fenn::hwTunnelIdTypeSharedEs,
                                 1 + pick(5));
        break;
      case 10: {
        Sim::FaultInjector& f = sw_.faults(Sim::FaultTarget::createEsiData);
        pick(3) ? f.failFractionIs(0.3, rng_()) : f.clear();
        break;
      }
      case 11:
        sw_.advance(double(pick(7)));
        break;
    }
  }

 private:
  uint64_t pick(uint64_t n) { return std::uniform_int_distribution<uint64_t>(0, n - 1)(rng_); }
  template <class It>
  typename std::iterator_traits<It>::value_type any(It begin, It end) {
    return *(begin + pick(uint64_t(end - begin)));
  }
  VlanId anyVlan() { return any(vlans.begin(), vlans.end()); }
  std::vector<IntfId> subset(std::vector<IntfId> const& from) {
    std::vector<IntfId> out;
    for (auto const& i : from) {
      if (pick(2)) out.push_back(i);
    }
    return out;
  }

  Sim::Switch& sw_;
  std::mt19937_64 rng_;
  std::map<IntfId, IntfId> lagOf_;
};

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
