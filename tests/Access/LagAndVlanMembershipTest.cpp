// LAG member tracking and EVPN VLAN membership: the outputs follow their inputs, one
// change at a time, under the membership rule (BUM-filter interfaces follow the
// configuration, others the operational state). That the rule holds whatever order the
// inputs change in is the randomized access-side test's, which compares with fresh machines.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "Bridging/Config.h"
#include "Bridging/VlanStatusDir.h"
#include "Evpn/EvpnStatus.h"
#include "Fenn/LagCreatorConfigDir.h"
#include "FennEvpn/FennEvpnLagSm.h"
#include "FennEvpn/FennEvpnVlanMembershipSm.h"

namespace {

using Ostra::IntfId;

IntfId eth(uint32_t n) { return IntfId::ethernet(n); }
IntfId lag(uint32_t n) { return IntfId::portChannel(n); }

class LagSmTest : public ::testing::Test {
 protected:
  std::vector<IntfId> ports(IntfId l) const {
    if (!info->lagToPortHas(l)) return {};
    auto const& list = info->lagToPort(l);
    return {list.begin(), list.end()};
  }
  Qor::Ptr<Fenn::FennCommonSmData> acsd = Fenn::fennCommonSmDataFactory();
  Qor::Ptr<Fenn::LagCreatorConfigDir> dir = Fenn::lagCreatorConfigDirFactory();
  Qor::Ptr<Fenn::EvpnLagMemberInfo> info = Fenn::evpnLagMemberInfoFactory();
  Qor::Ptr<Fenn::EvpnLagSm> sm;
};

TEST_F(LagSmTest, MembersFollowTheConfigurationOneChangeAtATime) {
  dir->lagConfigIs(lag(1))->memberIs(eth(1), Hardware::Lag::portProgTypeRxTx);
  dir->lagConfigIs(lag(2));
  sm = Fenn::evpnLagSmFactory(acsd, dir, info);
  EXPECT_EQ(ports(lag(1)), std::vector<IntfId>{eth(1)}) << "construction publishes what is configured";
  EXPECT_FALSE(info->lagToPortHas(lag(2))) << "a LAG without members has no entry";

  dir->lagConfig(lag(2))->memberIs(eth(3), Hardware::Lag::portProgTypeNone);
  dir->lagConfig(lag(1))->memberIs(eth(2), Hardware::Lag::portProgTypeRxOnly);
  EXPECT_EQ(ports(lag(2)), std::vector<IntfId>{eth(3)}) << "the programming type does not matter";
  EXPECT_EQ(ports(lag(1)), (std::vector<IntfId>{eth(1), eth(2)}));
  dir->lagConfig(lag(1))->memberIs(eth(2), Hardware::Lag::portProgTypeRxTx);
  EXPECT_EQ(ports(lag(1)), (std::vector<IntfId>{eth(1), eth(2)}));

  dir->lagConfig(lag(1))->memberDel(eth(1));
  EXPECT_EQ(ports(lag(1)), std::vector<IntfId>{eth(2)});
  dir->lagConfig(lag(1))->memberDel(eth(2));
  EXPECT_FALSE(info->lagToPortHas(lag(1))) << "the last member leaving removes the LAG";

  dir->lagConfigDel(lag(2));
  EXPECT_FALSE(info->lagToPortHas(lag(2))) << "a deleted LAG goes though members were listed";
  dir->lagConfigIs(lag(2))->memberIs(eth(4), Hardware::Lag::portProgTypeRxTx);
  EXPECT_EQ(ports(lag(2)), std::vector<IntfId>{eth(4)});

  sm = nullptr;
  EXPECT_EQ(ports(lag(2)), std::vector<IntfId>{eth(4)}) << "the output outlives the machine";
}

// The three inputs, the output and the machine.
struct Membership {
  void start() { sm = Fenn::fennEvpnVlanMembershipSmFactory(config, status, evpn, out); }
  void configured(uint16_t vlan, IntfId intf, bool in = true) {
    auto* c = config->vlanConfigIs(Bridging::VlanId(vlan));
    in ? c->intfIs(intf, Bridging::VlanPortConfig(true)) : void(c->intfDel(intf));
  }
  void operational(uint16_t vlan, IntfId intf, bool in = true) {
    auto* s = status->vlanStatusIs(Bridging::VlanId(vlan));
    in ? s->vlanPortStatusIs(intf, Bridging::VlanPortStatus(true)) : void(s->vlanPortStatusDel(intf));
  }
  std::vector<IntfId> members(uint16_t vlan) const {
    auto const* m = out->vlanStatus(Bridging::VlanId(vlan));
    if (!m) return {};
    auto v = m->member().keys();
    std::sort(v.begin(), v.end());
    return v;
  }
  Qor::Ptr<Bridging::Config> config = Bridging::configFactory();
  Qor::Ptr<Bridging::VlanStatusDir> status = Bridging::vlanStatusDirFactory();
  Qor::Ptr<Evpn::EvpnStatus> evpn = Evpn::evpnStatusFactory();
  Qor::Ptr<Fenn::EvpnVlanStatus> out = Fenn::evpnVlanStatusFactory();
  Qor::Ptr<Fenn::FennEvpnVlanMembershipSm> sm;
};

class VlanMembershipTest : public ::testing::Test, public Membership {
 protected:
  void SetUp() override { start(); }
};

TEST_F(VlanMembershipTest, BumFilterInterfacesFollowConfigurationOthersTheOperationalState) {
  configured(10, eth(1));
  EXPECT_TRUE(members(10).empty()) << "configured but not operational";
  evpn->encapBumFilterIs(eth(1));
  EXPECT_EQ(members(10), std::vector<IntfId>{eth(1)});

  operational(10, eth(2));
  EXPECT_EQ(members(10), (std::vector<IntfId>{eth(1), eth(2)})) << "operational without configuration";
  evpn->encapBumFilterIs(eth(2));
  EXPECT_EQ(members(10), std::vector<IntfId>{eth(1)})
      << "a filter on an interface that is only operationally in the VLAN makes it leave";
  evpn->encapBumFilterDel(eth(2));
  EXPECT_EQ(members(10), (std::vector<IntfId>{eth(1), eth(2)}));

  configured(20, eth(3));
  operational(20, eth(3));
  evpn->encapBumFilterIs(eth(3));
  config->vlanConfigDel(Bridging::VlanId(20));
  EXPECT_TRUE(members(20).empty()) << "the filtered interface lost its configuration";
  evpn->encapBumFilterDel(eth(3));
  EXPECT_EQ(members(20), std::vector<IntfId>{eth(3)}) << "and follows its operational state again";

  status->vlanStatusDel(Bridging::VlanId(20));
  EXPECT_FALSE(out->vlanStatusHas(Bridging::VlanId(20))) << "a VLAN without members has no entry";
  EXPECT_FALSE(sm->intfVlanStatusSetHas(eth(3))) << "nor an index entry";
}

}  // namespace
