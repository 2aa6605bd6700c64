// Ordering, equality and hashing of the keys, range errors of the bounded identifiers, and
// the free functions that turn destinations and interfaces into tunnel IDs.
#include <gtest/gtest.h>

#include <set>
#include <stdexcept>
#include <string>

#include "Bridging/VlanIdOrNone.h"
#include "FennEvpn/FennEvpn.h"
#include "Ostra/EthAddr.h"
#include "Qor/Hash.h"

namespace {

using Bridging::VlanId;
using Fenn::IntfVlanKey;
using Fenn::IntfVlanTunnelKey;
using Ostra::IntfId;
using Tunnel::TunnelTable::TunnelId;

TunnelId const lowTunnel(Tunnel::tunnelTypeLdp, 1);
TunnelId const highTunnel(Tunnel::tunnelTypeEvpnVlan, 1);

std::string rangeMessage(auto&& f) {
  try {
    f();
  } catch (std::out_of_range const& e) {
    return e.what();
  }
  return "no exception";
}

TEST(KeyOrder, LaterFieldsDecideOnlyOnTies) {
  IntfId const eth1 = IntfId::ethernet(1), eth2 = IntfId::ethernet(2);
  EXPECT_LT(IntfVlanTunnelKey(eth1, VlanId(10), lowTunnel), IntfVlanTunnelKey(eth1, VlanId(10), highTunnel));
  EXPECT_LT(IntfVlanTunnelKey(eth1, VlanId(10), highTunnel), IntfVlanTunnelKey(eth1, VlanId(11), lowTunnel));
  EXPECT_LT(IntfVlanTunnelKey(eth1, VlanId(4000), highTunnel), IntfVlanTunnelKey(eth2, VlanId(1), lowTunnel));
  EXPECT_LT(IntfVlanKey(eth1, VlanId(4095)), IntfVlanKey(eth2, VlanId(0)));
  EXPECT_LT(Fenn::IntfTunnelKey(eth1, highTunnel), Fenn::IntfTunnelKey(eth2, lowTunnel));
  // Interfaces order by kind first: every Ethernet port before every LAG.
  EXPECT_LT(IntfId::ethernet(9, 9), IntfId::portChannel(1));
  EXPECT_LT(IntfId(), IntfId::ethernet(1));
}

TEST(KeyHash, EqualKeysHashEquallyAndFieldsMixInOrder) {
  IntfVlanTunnelKey const a(IntfId::ethernet(3), VlanId(10), highTunnel);
  IntfVlanTunnelKey const b = Qor::strepToValue<IntfVlanTunnelKey>(Qor::valueToStrep(a));
  EXPECT_EQ(a.hash(7), b.hash(7));
  EXPECT_NE(a.hash(7), a.hash(8));

  Qor::HashAccumulator acc(7);
  acc.mix(IntfId::ethernet(3).hash(0));
  acc.mix(Qor::hashAttribute(10));
  acc.mix(Qor::oneAtATimeHash(highTunnel.value()));
  EXPECT_EQ(a.hash(7), acc.result());
  EXPECT_EQ(highTunnel.hash(5), Qor::oneAtATimeHash(highTunnel.value(), 5));

  // Swapping values between fields changes the hash.
  EXPECT_NE(IntfVlanKey(IntfId::ethernet(1), VlanId(2)).hash(0),
            IntfVlanKey(IntfId::ethernet(2), VlanId(1)).hash(0));
}

// Keys packed into words often leave a word's low half zero (a label shifted up); those
// words must still spread over a table.
TEST(KeyHash, WordsWithAZeroLowHalfHashApart) {
  std::set<uint32_t> hashes;
  for (uint64_t high = 1; high <= 64; ++high) {
    Qor::WordHashAccumulator acc;
    acc.mix(high << 32);
    hashes.insert(acc.result());
  }
  EXPECT_EQ(hashes.size(), 64u);
}

TEST(KeyHash, EsiInfoIsComparedButNeverHashed) {
  Fenn::HwTunnelId const hw(Fenn::hwTunnelIdTypeDefault, 4);
  Fenn::EsiInfo const a(hw, Ostra::MplsLabel(16)), b(hw, Ostra::MplsLabel(17));
  EXPECT_NE(a, b);
  EXPECT_EQ(a, Fenn::EsiInfo(hw, Ostra::MplsLabel(16)));
  EXPECT_THROW(Qor::hashOf(a), Qor::UnhashableError);
}

TEST(RangeErrors, BoundedIdentifiersRejectValuesAboveTheirRange) {
  EXPECT_EQ(rangeMessage([] { Bridging::VlanIdOrNone(4095); }), "VlanIdOrNone::value > 4094 not allowed");
  EXPECT_EQ(rangeMessage([] { VlanId(4096); }), "VlanId::value > 4095 not allowed");
  EXPECT_EQ(rangeMessage([] { Ostra::MplsLabel(1048577); }), "MplsLabel::value > 1048576 not allowed");
  std::string const tunnelRange = "TunnelId::value < TunnelId::minValue or > TunnelId::maxValue not allowed";
  EXPECT_EQ(rangeMessage([] { TunnelId(TunnelId::maxValue + 1); }), tunnelRange);
  EXPECT_EQ(rangeMessage([] { TunnelId(static_cast<Tunnel::TunnelType>(256), 0); }), tunnelRange);
  EXPECT_EQ(rangeMessage([] { TunnelId(Tunnel::tunnelTypeLdp, TunnelId::indexMask + 1); }), tunnelRange);
  EXPECT_NO_THROW(TunnelId{TunnelId::maxValue});
  EXPECT_THROW(Ostra::EthAddr(uint64_t(1) << 48), std::out_of_range);
  EXPECT_THROW(IntfId::ethernet(0), std::out_of_range);
  EXPECT_THROW(IntfId::portChannel(0), std::out_of_range);
  EXPECT_THROW(IntfId("Vlan10"), std::invalid_argument);
}

TEST(TunnelIdOf, TunnelInterfacesEncodeTheirTunnel) {
  TunnelId const policy(Tunnel::tunnelTypeSrTePolicy, 42);
  EXPECT_TRUE(policy.intfId().isSrTePolicy());
  EXPECT_TRUE(lowTunnel.intfId().isDynamicTunnel());
  EXPECT_EQ(policy.intfId().tunnelId(), policy);
  EXPECT_EQ(Fenn::srTeOrDynamicTunnelIntfIdToTunnelId(policy.intfId()), policy);
  EXPECT_EQ(Fenn::srTeOrDynamicTunnelIntfIdToTunnelId(IntfId::dynamicTunnel(highTunnel)), highTunnel);
  EXPECT_EQ(rangeMessage([] { Fenn::srTeOrDynamicTunnelIntfIdToTunnelId(IntfId::ethernet(1)); }),
            "TunnelId::value < TunnelId::minValue or > TunnelId::maxValue not allowed");
}

TEST(TunnelIdOf, SrTePolicyDestinationYieldsThePolicysTunnel) {
  TunnelId const policy(Tunnel::tunnelTypeSrTePolicy, 9);
  auto const viaPolicy = L2Rib::Dest::mpls(lowTunnel, Ostra::MplsLabel(100), IntfId::srTePolicy(policy));
  EXPECT_EQ(Fenn::destMplsTunnelId(viaPolicy), policy);
  auto const plain = L2Rib::Dest::mpls(lowTunnel, Ostra::MplsLabel(100), IntfId::ethernet(1));
  EXPECT_EQ(Fenn::destMplsTunnelId(plain), lowTunnel);
}

TEST(TunnelIdOfDeathTest, NonMplsDestinationIsABrokenInvariant) {
  EXPECT_DEATH(
      Fenn::destMplsTunnelId(L2Rib::Dest::intf(IntfId::ethernet(1))),
      "assertion failed: dest.destType\\(\\) == L2Rib::destTypeMpls_\n  at /src/FennEvpn/FennEvpn.cpp");
}

}  // namespace
