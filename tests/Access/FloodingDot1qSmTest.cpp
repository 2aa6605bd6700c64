// VLAN-to-dot1q programming: the VLAN's own entry at once, the mappings of its member
// ports behind the one-second interface review; the VLAN-service flag, failures and the
// range error. The randomized access-side test carries the breadth (tag changes remapping
// every member, a VLAN leaving the mapping, LAG members leaving and joining); these cases
// pin what it cannot see (timing, calls, counts).
#include <map>
#include <stdexcept>

#include "Access/VlanFloodingFixture.h"
#include "FennEvpn/FennEvpnFloodingDot1qSm.h"

namespace {

using Bridging::VlanIdOrNone;

class FloodingDot1qSmTest : public VlanFloodingFixture {
 protected:
  void SetUp() override {
    sm = Fenn::evpnFloodingDot1qSmFactory(hw, scheduler, lags, vlanStatus, evpn, mplsConfig);
    sm->initializedIs(true);
  }
  void membersIs(uint16_t vlan, std::initializer_list<IntfId> intfs) {
    if (intfs.size() == 0) {
      vlanStatus->vlanStatusDel(VlanId(vlan));
      return;
    }
    Fenn::EvpnVlanMemberInfo* members = vlanStatus->vlanStatusIs(VlanId(vlan));
    members->memberDelAll();
    for (auto const& intf : intfs) members->memberIs(intf);
  }
  void dot1qIs(uint16_t vlan, uint16_t dot1q) { evpn->vlanToDot1qIs(VlanId(vlan), VlanIdOrNone(dot1q)); }
  // Port to tag, for one VLAN.
  std::map<IntfId, uint16_t> mappings(uint16_t vlan) const {
    std::map<IntfId, uint16_t> out;
    for (auto const& [portVlan, m] : tables().dot1qMappings()) {
      if (portVlan.second == VlanId(vlan)) out[portVlan.first] = m.dot1q.value();
    }
    return out;
  }
  std::optional<uint16_t> vlanTag(uint16_t vlan) const {
    auto it = tables().vlans().find(VlanId(vlan));
    if (it == tables().vlans().end()) return std::nullopt;
    return it->second.value();
  }

  Qor::Ptr<Fenn::EvpnVlanStatus> vlanStatus = Fenn::evpnVlanStatusFactory();
  Qor::Ptr<Evpn::MplsConfig> mplsConfig = Evpn::mplsConfigFactory();
  Qor::Ptr<Fenn::EvpnFloodingDot1qSm> sm;
};

TEST_F(FloodingDot1qSmTest, BurstOfMembershipChangesCostsOneReviewOneSecondLater) {
  dot1qIs(10, 100);
  EXPECT_EQ(vlanTag(10), 100) << "the VLAN itself is created at once";
  for (uint32_t p = 1; p <= 40; ++p) vlanStatus->vlanStatusIs(VlanId(10))->memberIs(eth(p));
  vlanStatus->vlanStatus(VlanId(10))->memberDel(eth(40));
  scheduler->advanceBy(0.9);
  EXPECT_TRUE(mappings(10).empty());
  scheduler->advanceBy(0.1);
  EXPECT_EQ(sm->intfVlanReviewCount(), 1u);
  EXPECT_EQ(mappings(10).size(), 39u);
  EXPECT_EQ(mappings(10).at(eth(1)), 100);

  // A review longer than the scheduler's quota yields and goes on at once, not a second later.
  scheduler->workQuotaIs(10);
  for (uint32_t p = 41; p <= 65; ++p) vlanStatus->vlanStatus(VlanId(10))->memberIs(eth(p));
  scheduler->advanceBy(1);
  EXPECT_EQ(sm->intfVlanReviewCount(), 1u + 3u);
  EXPECT_EQ(mappings(10).size(), 64u);
  EXPECT_EQ(clock->now(), 2.0);
}

TEST_F(FloodingDot1qSmTest, VlanServiceFlagTagsAVlanWithoutATagWithItsOwnId) {
  evpn->vlanToDot1qIs(VlanId(20), VlanIdOrNone::none());
  dot1qIs(30, 300);
  membersIs(20, {eth(1)});
  membersIs(30, {eth(2)});
  scheduler->advanceBy(1);
  EXPECT_EQ(vlanTag(20), 0) << "no tag without the flag";
  EXPECT_EQ(mappings(20).at(eth(1)), 0);

  uint64_t const creates = tables().createCount();
  mplsConfig->vlanServiceDot1qEnabledIs(true);
  EXPECT_EQ(vlanTag(20), 20);
  EXPECT_EQ(tables().createCount(), creates + 1) << "VLAN 30 keeps its tag and is not re-created";
  scheduler->advanceBy(1);
  EXPECT_EQ(mappings(20).at(eth(1)), 20);
  EXPECT_EQ(mappings(30).at(eth(2)), 300);
}

TEST_F(FloodingDot1qSmTest, FailuresWaitForTheReviewAndADeletionRetriesThemAtOnce) {
  tables().createVlanFaults().failNextIs(1);
  dot1qIs(10, 100);
  membersIs(10, {eth(1), eth(2)});
  scheduler->advanceBy(1);
  EXPECT_TRUE(mappings(10).empty()) << "the VLAN is not there yet";
  EXPECT_TRUE(sm->unprogrammedDot1qHas(Fenn::IntfVlanKey(IntfId(), VlanId(10))));
  scheduler->advanceBy(4);  // the review re-creates the VLAN at 5 s, its pairs follow at 6 s
  EXPECT_EQ(vlanTag(10), 100);
  tables().createVlanToDot1qMappingFaults().failNextIs(2);
  scheduler->advanceBy(1);
  EXPECT_TRUE(mappings(10).empty());
  EXPECT_EQ(sm->unprogrammedDot1q().size(), 2u);

  // Another VLAN's mapping goes: the failures are retried at once.
  dot1qIs(20, 200);
  membersIs(20, {eth(3)});
  scheduler->advanceBy(1);
  ASSERT_EQ(mappings(20).size(), 1u);
  double const now = clock->now();
  membersIs(20, {});
  scheduler->advanceBy(1);
  EXPECT_EQ(clock->now(), now + 1) << "the deletion ran in the review, the retry right after it";
  EXPECT_EQ(mappings(10).size(), 2u);
  EXPECT_TRUE(sm->unprogrammedDot1q().empty());
}

TEST_F(FloodingDot1qSmTest, VlanWithoutAPossibleTagIsSkipped) {
  evpn->vlanToDot1qIs(VlanId(10), VlanIdOrNone::none());
  evpn->vlanToDot1qIs(VlanId(4095), VlanIdOrNone::none());
  mplsConfig->vlanServiceDot1qEnabledIs(true);
  EXPECT_EQ(sm->unusableInputCount(), 1u);
  EXPECT_EQ(vlanTag(10), 10) << "VLAN 10 was handled all the same";
  EXPECT_EQ(vlanTag(4095), std::nullopt);
  EXPECT_THROW(sm->dot1qTagForVlan(VlanId(4095)), std::out_of_range);
  EXPECT_EQ(sm->dot1qTagForVlan(VlanId(4094)), VlanIdOrNone(4094));
}

}  // namespace
