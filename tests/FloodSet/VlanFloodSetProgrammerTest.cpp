// Sim::FloodSetProgrammer: the simulated hardware answers each configured flood-set
// destination, within its capacity, and can be paused to hold its answers back. That status
// follows configuration through every kind of change is checked by the flood-set state
// machine's randomized test, which runs on this programmer; that what it refused (a fault,
// or no room) is retried until it gets in, by the whole-switch soak.
#include <gtest/gtest.h>

#include "FloodSet/FloodSetTestUtil.h"
#include "sim/FloodSetProgrammer.h"

namespace {

using namespace FloodSetTest;
using Fenn::HwTunnelId;
using Fenn::MplsDestConfig;
using Ostra::IntfId;
using Ostra::MplsLabel;
using Tunnel::TunnelTable::TunnelId;

MplsDestConfig config(uint32_t label, HwTunnelId hwTunnelId = HwTunnelId(Fenn::hwTunnelIdTypeDefault, 1)) {
  return MplsDestConfig(TunnelId(Tunnel::tunnelTypeEvpnMpls, 1), MplsLabel(label), hwTunnelId, label,
                        IntfId::ethernet(1));
}
MacVlanPair pair(uint16_t vlan) { return MacVlanPair(bcast, VlanId(vlan)); }

class FloodSetProgrammerTest : public ::testing::Test {
 protected:
  void configure(uint16_t vlan, uint32_t label) {
    hwConfig->configIs(pair(vlan))->mplsDestConfigIs(config(label));
  }
  void unconfigure(uint16_t vlan, uint32_t label) {
    Fenn::VlanFloodSetConfig* c = hwConfig->config(pair(vlan));
    c->mplsDestConfigDel(config(label));
    if (c->mplsDestConfig().empty()) hwConfig->configDel(pair(vlan));
  }
  Fenn::HwProgrammingStatus statusOf(uint32_t label) const {
    return hwStatus->status(pair(10))->mplsDestStatus(config(label));
  }
  HwStatusView allProgrammed() const {
    HwStatusView v;
    for (auto const& [p, configs] : view(*hwConfig)) {
      for (auto const& c : configs) v[p][c] = Fenn::programmed;
    }
    return v;
  }

  Qor::Ptr<Fenn::EvpnVlanFloodSetHwConfig> hwConfig = Fenn::evpnVlanFloodSetHwConfigFactory();
  Qor::Ptr<Fenn::EvpnVlanFloodSetHwStatus> hwStatus = Fenn::evpnVlanFloodSetHwStatusFactory();
  Qor::Ptr<Sim::FloodSetProgrammer> programmer = Sim::floodSetProgrammerFactory(hwConfig, hwStatus);
};

TEST_F(FloodSetProgrammerTest, EntriesBeyondCapacityAreNotProgrammed) {
  programmer->capacityIs(2);
  configure(10, 1);
  configure(10, 2);
  configure(10, 3);
  EXPECT_EQ(statusOf(3), Fenn::notProgrammed);
  EXPECT_EQ(programmer->programmedCount(), 2u);

  // Freed room goes to the next entry configured, not to the one already refused.
  unconfigure(10, 1);
  configure(10, 4);
  EXPECT_EQ(statusOf(3), Fenn::notProgrammed);
  EXPECT_EQ(statusOf(4), Fenn::programmed);
  // Removing a refused entry frees nothing.
  unconfigure(10, 3);
  configure(10, 5);
  EXPECT_EQ(statusOf(5), Fenn::notProgrammed);
}

// An entry whose tunnel has no hardware tunnel ID does not forward: reported as such,
// taking no room, and programmed once it is configured with an ID.
TEST_F(FloodSetProgrammerTest, EntryWithoutHardwareTunnelIdIsNotForwarding) {
  programmer->capacityIs(1);
  hwConfig->configIs(pair(10))->mplsDestConfigIs(config(1, HwTunnelId()));
  EXPECT_EQ(hwStatus->status(pair(10))->mplsDestStatus(config(1, HwTunnelId())), Fenn::invalidHwId);
  EXPECT_EQ(programmer->programmedCount(), 0u);
  hwConfig->config(pair(10))->mplsDestConfigDel(config(1, HwTunnelId()));
  hwConfig->config(pair(10))->mplsDestConfigIs(config(1));
  EXPECT_EQ(statusOf(1), Fenn::programmed);
  EXPECT_FALSE(hwStatus->status(pair(10))->mplsDestStatusHas(config(1, HwTunnelId())));
}

TEST_F(FloodSetProgrammerTest, PausedChangesAreAnsweredOnResume) {
  configure(10, 1);
  configure(20, 1);
  programmer->pausedIs(true);
  configure(10, 2);
  unconfigure(10, 1);
  hwConfig->configDel(pair(20));
  configure(30, 1);
  EXPECT_EQ(view(*hwStatus), (HwStatusView{{pair(10), {{config(1), Fenn::programmed}}},
                                           {pair(20), {{config(1), Fenn::programmed}}}}));
  EXPECT_EQ(programmer->heldCount(), 3u);

  programmer->pausedIs(false);
  EXPECT_EQ(view(*hwStatus), allProgrammed());
  EXPECT_EQ(programmer->heldCount(), 0u);
  EXPECT_EQ(programmer->programmedCount(), 2u);
}

TEST_F(FloodSetProgrammerTest, StartsFromTheCurrentConfigurationAndWithdrawsOnRelease) {
  programmer = nullptr;
  configure(10, 1);
  configure(11, 2);
  programmer = Sim::floodSetProgrammerFactory(hwConfig, hwStatus);
  EXPECT_EQ(view(*hwStatus), allProgrammed());
  programmer = nullptr;
  EXPECT_TRUE(hwStatus->status().empty());
}

}  // namespace
