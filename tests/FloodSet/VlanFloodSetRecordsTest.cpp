// Flood-set value types: exact text forms, strict parsing, ordering, hashing, and the via
// rule that the configuration and FEC state machines share.
#include <gtest/gtest.h>

#include <stdexcept>

#include "FennEvpn/FennEvpnVlanFloodSet.h"
#include "Qor/Strep.h"

namespace {

using Bridging::VlanId;
using Bridging::VlanIdOrNone;
using Fenn::MplsDestConfig;
using Fenn::MplsDestHwInfo;
using Fenn::MplsFloodSetVia;
using Fenn::VlanMacDest;
using Ostra::EthAddr;
using Ostra::IntfId;
using Ostra::MplsLabel;
using Tunnel::TunnelTable::TunnelId;

TunnelId const mplsTunnel(Tunnel::tunnelTypeEvpnMpls, 1);  // 228698418577409
TunnelId const vlanTunnel(Tunnel::tunnelTypeEvpnVlan, 2);  // 246290604621826

TEST(VlanFloodSetTextForm, GoldenStrings) {
  VlanMacDest const d(VlanId(10), EthAddr::broadcast(), L2Rib::Dest::mpls(mplsTunnel, MplsLabel(1000)));
  EXPECT_EQ(Qor::valueToStrep(d),
            "Value('Fenn::VlanMacDest', ** {'vlanId': 10, 'macAddr': 'ff:ff:ff:ff:ff:ff', 'dest': "
            "Value('L2Rib::Dest', ** {'destType': destTypeMpls_, 'tunnelId': 228698418577409, 'label': 1000, "
            "'intfId': ''})})");
  EXPECT_EQ(Qor::valueToStrep(MplsFloodSetVia(vlanTunnel, MplsLabel(16), VlanIdOrNone(20))),
            "Value('Fenn::MplsFloodSetVia', ** {'tunnelId': 246290604621826, 'label': 16, 'vlanId': 20})");
  EXPECT_EQ(Qor::valueToStrep(MplsDestHwInfo(77, IntfId::ethernet(3))),
            "Value('Fenn::MplsDestHwInfo', ** {'hwIdForTunnelProgramming': 77, 'l2IntfId': 'Ethernet3'})");
  EXPECT_EQ(Qor::valueToStrep(MplsDestHwInfo()),
            "Value('Fenn::MplsDestHwInfo', ** {'hwIdForTunnelProgramming': 0, 'l2IntfId': ''})");
  EXPECT_EQ(Qor::valueToStrep(MplsDestConfig(mplsTunnel, MplsLabel(1000),
                                             Fenn::HwTunnelId(Fenn::hwTunnelIdTypeSharedEs, 7),
                                             18446744073709551615u, IntfId::ethernet(1, 2))),
            "Value('Fenn::MplsDestConfig', ** {'tunnelId': 228698418577409, 'label': 1000, 'hwTunnelId': "
            "Value('Fenn::HwTunnelId', ** {'type': hwTunnelIdTypeSharedEs, 'id': 7}), "
            "'hwIdForTunnelProgramming': 18446744073709551615, 'l2IntfId': 'Ethernet1/2'})");
}

TEST(VlanFloodSetTextForm, DefaultConfigurationCarriesNoLabel) {
  MplsDestConfig const none;
  EXPECT_EQ(Qor::valueToStrep(none),
            "Value('Fenn::MplsDestConfig', ** {'tunnelId': 0, 'label': 1048576, 'hwTunnelId': "
            "Value('Fenn::HwTunnelId', ** {'type': hwTunnelIdTypeDefault, 'id': 0}), "
            "'hwIdForTunnelProgramming': 0, 'l2IntfId': ''})");
  // Label 0 is a real label: a configuration with it is not the "nothing configured" value.
  EXPECT_NE(none, MplsDestConfig(TunnelId(), MplsLabel(0), Fenn::HwTunnelId(), 0, IntfId()));
  EXPECT_NE(none, MplsDestConfig(TunnelId(), MplsLabel(1048575), Fenn::HwTunnelId(), 0, IntfId()));
}

TEST(VlanFloodSetTextForm, RoundTrip) {
  VlanMacDest const d(VlanId(4094), EthAddr(0x001a2b3c4d5e),
                      L2Rib::Dest::mpls(vlanTunnel, MplsLabel(1048575), IntfId::srTePolicy(mplsTunnel)));
  EXPECT_EQ(Qor::strepToValue<VlanMacDest>(Qor::valueToStrep(d)), d);
  MplsFloodSetVia const via(mplsTunnel, MplsLabel(3));
  EXPECT_EQ(Qor::strepToValue<MplsFloodSetVia>(Qor::valueToStrep(via)), via);
  MplsDestHwInfo const info(1ull << 40, IntfId::portChannel(9));
  EXPECT_EQ(Qor::strepToValue<MplsDestHwInfo>(Qor::valueToStrep(info)), info);
  MplsDestConfig const config(vlanTunnel, MplsLabel(5), Fenn::HwTunnelId(Fenn::hwTunnelIdTypeDefault, 9), 12,
                              IntfId::ethernet(4));
  EXPECT_EQ(Qor::strepToValue<MplsDestConfig>(Qor::valueToStrep(config)), config);
  EXPECT_EQ(Qor::strepToValue<MplsDestConfig>(Qor::valueToStrep(MplsDestConfig())), MplsDestConfig());
}

TEST(VlanFloodSetTextForm, ParsingIsStrict) {
  auto const good =
      Qor::String("Value('Fenn::MplsFloodSetVia', ** {'tunnelId': 5, 'label': 16, 'vlanId': 0})");
  EXPECT_EQ(Qor::strepToValue<MplsFloodSetVia>(good), MplsFloodSetVia(TunnelId(5), MplsLabel(16)));
  EXPECT_THROW(Qor::strepToValue<MplsFloodSetVia>(
                   "Value('Fenn::MplsFloodSetVia', ** {'tunnelId': 5,  'label': 16, 'vlanId': 0})"),
               Qor::ParseError);
  EXPECT_THROW(Qor::strepToValue<MplsFloodSetVia>(
                   "Value('Fenn::MplsFloodSetVia', ** {'label': 16, 'tunnelId': 5, 'vlanId': 0})"),
               Qor::ParseError);
  EXPECT_THROW(Qor::strepToValue<MplsFloodSetVia>(
                   "Value('Fenn::MplsFloodSetVia', ** {'tunnelId': 5, 'label': 16, 'vlanId': 4095})"),
               Qor::ParseError);
  EXPECT_THROW(Qor::strepToValue<MplsDestHwInfo>(
                   "Value('Fenn::MplsDestConfig', ** {'hwIdForTunnelProgramming': 0, 'l2IntfId': ''})"),
               Qor::ParseError);
}

TEST(VlanFloodSetOrdering, FieldOrderDecides) {
  // The tunnel ID compares as an unsigned 64-bit number before the label is consulted.
  MplsFloodSetVia const high(TunnelId(TunnelId::maxValue), MplsLabel(0));
  MplsFloodSetVia const low(TunnelId(1), MplsLabel(1048575));
  EXPECT_LT(low, high);
  EXPECT_LT(MplsFloodSetVia(TunnelId(1), MplsLabel(2), VlanIdOrNone(4094)),
            MplsFloodSetVia(TunnelId(1), MplsLabel(3), VlanIdOrNone::none()));

  // VLAN first, then MAC, then destination.
  auto const dest = L2Rib::Dest::mpls(mplsTunnel, MplsLabel(9));
  EXPECT_LT(VlanMacDest(VlanId(1), EthAddr(0xffff), dest), VlanMacDest(VlanId(2), EthAddr(1), dest));
  EXPECT_LT(VlanMacDest(VlanId(1), EthAddr(1), L2Rib::Dest::mpls(TunnelId(99), MplsLabel(9))),
            VlanMacDest(VlanId(1), EthAddr(2), dest));

  MplsDestConfig const base(TunnelId(5), MplsLabel(7), Fenn::HwTunnelId(Fenn::hwTunnelIdTypeSharedEs, 1), 3,
                            IntfId());
  EXPECT_LT(base, MplsDestConfig(TunnelId(6), MplsLabel(0), Fenn::HwTunnelId(), 0, IntfId()));
  EXPECT_LT(MplsDestConfig(TunnelId(5), MplsLabel(7), Fenn::HwTunnelId(Fenn::hwTunnelIdTypeDefault, 9), 3,
                           IntfId()),
            base);
}

TEST(VlanFloodSetHash, TunnelIdGoesThroughOneAtATime) {
  MplsFloodSetVia const via(vlanTunnel, MplsLabel(16), VlanIdOrNone(20));
  Qor::HashAccumulator acc(42);
  acc.mix(Qor::oneAtATimeHash(vlanTunnel.value()));
  acc.mix(Qor::hashAttribute(16));
  acc.mix(Qor::hashAttribute(20));
  EXPECT_EQ(via.hash(42), acc.result());
  // Vias that differ only in VLAN are different keys (and get different FECs).
  EXPECT_NE(via, MplsFloodSetVia(vlanTunnel, MplsLabel(16)));
}

class FloodSetViaRule : public ::testing::Test {
 protected:
  static VlanMacDest dest(VlanId vlan, TunnelId tunnel, MplsLabel label) {
    return VlanMacDest(vlan, EthAddr::broadcast(), L2Rib::Dest::mpls(tunnel, label));
  }
};

TEST_F(FloodSetViaRule, OnlyVlanCarryingTunnelsKeepTheVlan) {
  EXPECT_EQ(Fenn::floodSetVia(dest(VlanId(10), mplsTunnel, MplsLabel(100))),
            MplsFloodSetVia(mplsTunnel, MplsLabel(100), VlanIdOrNone::none()));
  EXPECT_EQ(Fenn::floodSetVia(dest(VlanId(10), mplsTunnel, MplsLabel(100))),
            Fenn::floodSetVia(dest(VlanId(11), mplsTunnel, MplsLabel(100))));
  EXPECT_EQ(Fenn::floodSetVia(dest(VlanId(10), vlanTunnel, MplsLabel(100))),
            MplsFloodSetVia(vlanTunnel, MplsLabel(100), VlanIdOrNone(10)));
  EXPECT_NE(Fenn::floodSetVia(dest(VlanId(10), vlanTunnel, MplsLabel(100))),
            Fenn::floodSetVia(dest(VlanId(11), vlanTunnel, MplsLabel(100))));
  // An SR-TE policy interface names the tunnel, and so the tunnel type.
  VlanMacDest const steered(VlanId(10), EthAddr::broadcast(),
                            L2Rib::Dest::mpls(mplsTunnel, MplsLabel(100), IntfId::srTePolicy(vlanTunnel)));
  EXPECT_EQ(Fenn::floodSetVia(steered), MplsFloodSetVia(vlanTunnel, MplsLabel(100), VlanIdOrNone(10)));
}

TEST_F(FloodSetViaRule, ReservedVlanIsRejectedOnlyWhereTheViaCarriesIt) {
  try {
    Fenn::floodSetVia(dest(VlanId(4095), vlanTunnel, MplsLabel(1)));
    FAIL() << "no range error";
  } catch (std::out_of_range const& e) {
    EXPECT_STREQ(e.what(), "VlanIdOrNone::value > 4094 not allowed");
  }
  EXPECT_EQ(Fenn::floodSetVia(dest(VlanId(4095), mplsTunnel, MplsLabel(1))).vlanId(), VlanIdOrNone::none());
}

TEST_F(FloodSetViaRule, NonMplsDestinationDies) {
  VlanMacDest const d(VlanId(1), EthAddr::broadcast(), L2Rib::Dest::intf(IntfId::ethernet(1)));
  EXPECT_DEATH(Fenn::floodSetVia(d), "assertion failed: dest.destType\\(\\) == L2Rib::destTypeMpls_");
}

}  // namespace
