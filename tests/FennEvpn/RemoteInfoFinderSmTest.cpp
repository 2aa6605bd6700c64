// EvpnRemoteInfoFinderSm: per-tunnel reference counts of the flood sets' MPLS destinations.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <tuple>
#include <vector>

#include "FennEvpn/FennEvpn.h"
#include "FennEvpn/FennEvpnRemoteInfoFinderSm.h"
#include "Support/TestSeed.h"

namespace {

using Bridging::VlanId;
using L2Rib::Dest;
using Ostra::EthAddr;
using Ostra::MplsLabel;
using Tunnel::TunnelTable::TunnelId;

TunnelId const tunnelA(Tunnel::tunnelTypeLdp, 1);
TunnelId const tunnelB(Tunnel::tunnelTypeEvpnVlan, 2);
EthAddr const bcast = EthAddr::broadcast();
EthAddr const unknownUc(0x0000000000001ULL);

Dest mplsDest(TunnelId tunnel, uint32_t label = 100) { return Dest::mpls(tunnel, MplsLabel(label)); }

class RemoteInfoFinderSmTest : public ::testing::Test {
 protected:
  void startSm() { sm = Fenn::evpnRemoteInfoFinderSmFactory(input, remoteInfo); }

  L2Rib::FloodSet* floodSet(uint16_t vlan, EthAddr mac) {
    return input->vlanFloodSetIs(VlanId(vlan))->floodSetIs(mac);
  }
  void add(uint16_t vlan, EthAddr mac, Dest const& dest) { floodSet(vlan, mac)->destSetIs(dest); }
  void remove(uint16_t vlan, EthAddr mac, Dest const& dest) { floodSet(vlan, mac)->destSetDel(dest); }
  bool present(TunnelId tunnel) const { return remoteInfo->remoteTunnelIdHas(tunnel); }
  uint32_t count(TunnelId tunnel) const { return remoteInfo->remoteTunnelId(tunnel); }

  Qor::Ptr<L2Rib::FloodSetOutput> input = L2Rib::floodSetOutputFactory();
  Qor::Ptr<Fenn::EvpnRemoteInfo> remoteInfo = Fenn::evpnRemoteInfoFactory();
  Qor::Ptr<Fenn::EvpnRemoteInfoFinderSm> sm;
};

class Counting : public RemoteInfoFinderSmTest {
 protected:
  void SetUp() override { startSm(); }
};

TEST_F(Counting, OnlyMplsDestinationsWithAValidTunnelCount) {
  add(10, bcast, Dest::vxlan(Ostra::IpGenAddr::ipv4(0x0a000001), 10010, tunnelA));
  add(10, bcast, Dest::intf(Ostra::IntfId::ethernet(1)));
  add(10, bcast, Dest::cpu());
  add(10, bcast, mplsDest(TunnelId::invalid()));
  EXPECT_TRUE(remoteInfo->remoteTunnelId().empty());
  // Their removal is ignored just as quietly.
  remove(10, bcast, Dest::vxlan(Ostra::IpGenAddr::ipv4(0x0a000001), 10010, tunnelA));
  remove(10, bcast, mplsDest(TunnelId::invalid()));
  EXPECT_TRUE(remoteInfo->remoteTunnelId().empty());
}

TEST_F(Counting, CountsFollowNotificationsNotSetMembership) {
  add(10, bcast, mplsDest(tunnelA));
  L2Rib::FloodSet const* fs = floodSet(10, bcast);
  Dest const dest = mplsDest(tunnelA);
  fs->notify(L2Rib::FloodSet::destSetAttr, dest);  // the same add, delivered again
  EXPECT_EQ(count(tunnelA), 2u);
}

TEST_F(Counting, RemovingWholeFloodSetsLeavesCounts) {
  add(10, bcast, mplsDest(tunnelA));
  add(20, bcast, mplsDest(tunnelA));
  input->vlanFloodSet(VlanId(10))->floodSetDel(bcast);
  input->vlanFloodSetDel(VlanId(20));
  EXPECT_EQ(count(tunnelA), 2u);
  // A flood set that comes back is watched afresh: its destinations count again.
  add(10, bcast, mplsDest(tunnelA));
  EXPECT_EQ(count(tunnelA), 3u);
}

TEST_F(Counting, PausedNotificationsAreNotReplayed) {
  add(10, bcast, Dest::cpu());  // the flood set is watched before the pause
  sm->hasNotificationActiveIs(false);
  add(10, bcast, mplsDest(tunnelA));
  sm->hasNotificationActiveIs(true);
  EXPECT_FALSE(present(tunnelA));
}

class Lifecycle : public RemoteInfoFinderSmTest {};

TEST_F(Lifecycle, ConstructionOnAPopulatedInputCountsEverything) {
  add(10, bcast, mplsDest(tunnelA));
  add(10, unknownUc, mplsDest(tunnelA));
  add(30, bcast, mplsDest(tunnelB));
  add(30, bcast, Dest::cpu());
  startSm();
  EXPECT_EQ(count(tunnelA), 2u);
  EXPECT_EQ(count(tunnelB), 1u);
  EXPECT_EQ(remoteInfo->remoteTunnelId().size(), 2u);
  // ...and then follows changes.
  remove(10, bcast, mplsDest(tunnelA));
  EXPECT_EQ(count(tunnelA), 1u);
}

TEST_F(Lifecycle, DestructionLeavesTheCountsAndStopsCounting) {
  startSm();
  add(10, bcast, mplsDest(tunnelA));
  sm = nullptr;
  EXPECT_EQ(count(tunnelA), 1u);
  EXPECT_FALSE(input->hasReactors());
  add(10, unknownUc, mplsDest(tunnelA));
  EXPECT_EQ(count(tunnelA), 1u);
}

using LifecycleDeathTest = Lifecycle;

TEST_F(LifecycleDeathTest, RemovingADestinationOfAnUncountedTunnelAborts) {
  startSm();
  add(10, bcast, Dest::cpu());
  sm->hasNotificationActiveIs(false);
  add(10, bcast, mplsDest(tunnelA));
  sm->hasNotificationActiveIs(true);
  EXPECT_DEATH(remove(10, bcast, mplsDest(tunnelA)),
               "assertion failed: remoteInfo\\(\\)->remoteTunnelId\\( tunnelId \\) > 0\n"
               "  at /src/FennEvpn/FennEvpnRemoteInfoFinderSm.cpp");
}

// Long random sequences of destination adds and removes; flood sets are emptied before
// they are removed, as the layer-2 RIB does. Afterwards every tunnel's count is the number
// of (VLAN, MAC, destination) triples that reach it, and a fresh state machine built on
// the final input agrees.
class Randomized : public RemoteInfoFinderSmTest {
 protected:
  using Triple = std::tuple<uint16_t, uint64_t, Dest>;

  uint32_t below(uint32_t n) { return std::uniform_int_distribution<uint32_t>(0, n - 1)(rng); }

  Dest randomDest() {
    if (below(10) == 0) return Dest::intf(Ostra::IntfId::ethernet(1 + below(4)));
    TunnelId const own(Tunnel::TunnelType(1 + below(14)), 1 + below(3));
    if (below(5) == 0) {  // steered into an SR-TE policy, whose tunnel may or may not be its own
      TunnelId const policy(Tunnel::tunnelTypeSrTePolicy, 1 + below(3));
      return Dest::mpls(below(2) ? own : policy, MplsLabel(16 + below(3)), Ostra::IntfId::srTePolicy(policy));
    }
    return mplsDest(own, 16 + below(3));
  }
  static bool inconsistent(Dest const& dest) {
    return dest.destType() == L2Rib::destTypeMpls_ && Fenn::destMplsTunnelId(dest) != dest.mpls().tunnelId();
  }
  EthAddr randomMac() { return below(3) == 0 ? bcast : EthAddr(1 + below(3)); }

  void step() {
    uint16_t const vlan = static_cast<uint16_t>(1 + below(5));
    EthAddr const mac = randomMac();
    switch (below(10)) {
      case 0: {  // empty a MAC flood set, then remove it
        auto* vfs = input->vlanFloodSet(VlanId(vlan));
        if (!vfs || !vfs->floodSetHas(mac)) return;
        auto* fs = vfs->floodSet(mac);
        for (auto const& d : fs->destSet().keys()) {
          fs->destSetDel(d);
          live.erase({vlan, mac.value(), d});
        }
        vfs->floodSetDel(mac);
        return;
      }
      case 1: {  // empty a whole VLAN flood set, then remove it
        auto* vfs = input->vlanFloodSet(VlanId(vlan));
        if (!vfs) return;
        for (auto const& m : vfs->floodSet().keys()) {
          auto* fs = vfs->floodSet(m);
          for (auto const& d : fs->destSet().keys()) {
            fs->destSetDel(d);
            live.erase({vlan, m.value(), d});
          }
        }
        input->vlanFloodSetDel(VlanId(vlan));
        return;
      }
      case 2:
      case 3:
      case 4: {  // remove a destination that is there
        auto* vfs = input->vlanFloodSet(VlanId(vlan));
        auto* fs = vfs ? vfs->floodSet(mac) : nullptr;
        if (!fs || fs->destSet().empty()) return;
        auto const dests = fs->destSet().keys();
        Dest const d = dests[below(static_cast<uint32_t>(dests.size()))];
        remove(vlan, mac, d);
        live.erase({vlan, mac.value(), d});
        return;
      }
      default: {
        Dest const d = randomDest();
        add(vlan, mac, d);
        live.insert({vlan, mac.value(), d});
      }
    }
  }

  std::map<TunnelId, uint32_t> expectedCounts() const {
    std::map<TunnelId, uint32_t> out;
    for (auto const& [vlan, mac, dest] : live) {
      if (dest.destType() != L2Rib::destTypeMpls_) continue;
      ++out[dest.mpls().tunnelId()];
      if (inconsistent(dest)) ++out[Fenn::destMplsTunnelId(dest)];  // its policy's tunnel too
    }
    return out;
  }

  static std::map<TunnelId, uint32_t> counts(Fenn::EvpnRemoteInfo const& info) {
    std::map<TunnelId, uint32_t> out;
    for (auto const& [tunnel, n] : info.remoteTunnelId()) out[tunnel] = n;
    return out;
  }

  uint64_t const seed = TestSupport::testSeed();
  std::mt19937 rng{seed};
  std::set<Triple> live;
};

TEST_F(Randomized, CountsEqualTheTriplesReachingEachTunnel) {
  SCOPED_TRACE("FENN_TEST_SEED=" + std::to_string(seed));
  for (int round = 0; round < 50; ++round) {
    input = L2Rib::floodSetOutputFactory();
    remoteInfo = Fenn::evpnRemoteInfoFactory();
    live.clear();
    int const steps = 200 + static_cast<int>(below(400));
    int const startAt =
        static_cast<int>(below(static_cast<uint32_t>(steps)));  // also start on a populated input
    for (int i = 0; i < steps; ++i) {
      if (i == startAt) startSm();
      step();
    }
    auto const expected = expectedCounts();
    ASSERT_EQ(counts(*remoteInfo), expected) << "round " << round;
    for (auto const& [tunnel, n] : counts(*remoteInfo)) ASSERT_GT(n, 0u);
    ASSERT_EQ(sm->inconsistentSrTeDestCount(),
              static_cast<uint32_t>(std::count_if(
                  live.begin(), live.end(), [](Triple const& t) { return inconsistent(std::get<2>(t)); })));

    auto freshInfo = Fenn::evpnRemoteInfoFactory();
    auto freshSm = Fenn::evpnRemoteInfoFinderSmFactory(input, freshInfo);
    ASSERT_EQ(counts(*freshInfo), expected) << "round " << round;
  }
}

}  // namespace
