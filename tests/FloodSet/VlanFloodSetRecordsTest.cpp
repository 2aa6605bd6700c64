// Flood-set value types: exact text forms and strict parsing (their random round trip runs
// with the other value types), ordering, hashing, and the via rule that the configuration
// and FEC state machines share.
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

TEST(VlanFloodSetTextForm, GoldenStringsAndStrictParsing) {
  VlanMacDest const d(VlanId(10), EthAddr::broadcast(), L2Rib::Dest::mpls(mplsTunnel, MplsLabel(1000)));
  EXPECT_EQ(Qor::valueToStrep(d),
            "Value('Fenn::VlanMacDest', ** {'vlanId': 10, 'macAddr': 'ff:ff:ff:ff:ff:ff', 'dest': "
            "Value('L2Rib::Dest', ** {'destType': destTypeMpls_, 'tunnelId': 228698418577409, 'label': 1000, "
            "'intfId': ''})})");
  EXPECT_EQ(Qor::valueToStrep(MplsFloodSetVia(vlanTunnel, MplsLabel(16), VlanIdOrNone(20))),
            "Value('Fenn::MplsFloodSetVia', ** {'tunnelId': 246290604621826, 'label': 16, 'vlanId': 20})");
  EXPECT_EQ(Qor::valueToStrep(MplsDestConfig()),
            "Value('Fenn::MplsDestConfig', ** {'tunnelId': 0, 'label': 1048576, 'hwTunnelId': "
            "Value('Fenn::HwTunnelId', ** {'type': hwTunnelIdTypeDefault, 'id': 0}), "
            "'hwIdForTunnelProgramming': 0, 'l2IntfId': ''})");
  // Label 0 is a real label: a configuration with it is not the "nothing configured" value.
  EXPECT_NE(MplsDestConfig(), MplsDestConfig(TunnelId(), MplsLabel(0), Fenn::HwTunnelId(), 0, IntfId()));

  EXPECT_THROW(Qor::strepToValue<MplsFloodSetVia>(
                   "Value('Fenn::MplsFloodSetVia', ** {'tunnelId': 5, 'label': 16, 'vlanId': 4095})"),
               Qor::ParseError);
  EXPECT_THROW(Qor::strepToValue<MplsDestHwInfo>(
                   "Value('Fenn::MplsDestConfig', ** {'hwIdForTunnelProgramming': 0, 'l2IntfId': ''})"),
               Qor::ParseError);
}

TEST(VlanFloodSetOrdering, FieldOrderDecides) {
  // The tunnel ID compares as an unsigned 64-bit number before the label is consulted.
  EXPECT_LT(MplsFloodSetVia(TunnelId(1), MplsLabel(1048575)),
            MplsFloodSetVia(TunnelId(TunnelId::maxValue), MplsLabel(0)));
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
}

VlanMacDest dest(uint16_t vlan, TunnelId tunnel, IntfId intf = IntfId()) {
  return VlanMacDest(VlanId(vlan), EthAddr::broadcast(), L2Rib::Dest::mpls(tunnel, MplsLabel(100), intf));
}

TEST(FloodSetViaRule, OnlyVlanCarryingTunnelsKeepTheVlan) {
  EXPECT_EQ(Fenn::floodSetVia(dest(10, mplsTunnel)), MplsFloodSetVia(mplsTunnel, MplsLabel(100)));
  EXPECT_EQ(Fenn::floodSetVia(dest(11, mplsTunnel)), MplsFloodSetVia(mplsTunnel, MplsLabel(100)));
  EXPECT_EQ(Fenn::floodSetVia(dest(10, vlanTunnel)),
            MplsFloodSetVia(vlanTunnel, MplsLabel(100), VlanIdOrNone(10)));
  EXPECT_EQ(Fenn::floodSetVia(dest(11, vlanTunnel)),
            MplsFloodSetVia(vlanTunnel, MplsLabel(100), VlanIdOrNone(11)));
  // An SR-TE policy interface names the tunnel, and so the tunnel type.
  EXPECT_EQ(Fenn::floodSetVia(dest(10, mplsTunnel, IntfId::srTePolicy(vlanTunnel))),
            MplsFloodSetVia(vlanTunnel, MplsLabel(100), VlanIdOrNone(10)));
}

TEST(FloodSetViaRule, ReservedVlanIsRejectedOnlyWhereTheViaCarriesIt) {
  try {
    Fenn::floodSetVia(dest(4095, vlanTunnel));
    FAIL() << "no range error";
  } catch (std::out_of_range const& e) {
    EXPECT_STREQ(e.what(), "VlanIdOrNone::value > 4094 not allowed");
  }
  EXPECT_EQ(Fenn::floodSetVia(dest(4095, mplsTunnel)).vlanId(), VlanIdOrNone::none());
}

}  // namespace
