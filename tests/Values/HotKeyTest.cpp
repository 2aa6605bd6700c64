// The keys that grow with the flood-set destinations (L2Rib::Dest, Fenn::VlanMacDest,
// Fenn::MplsDestConfig): their hand-written hashes (equal keys hash equally; every field
// that equality compares reaches the hash, except that a configuration hashes its via
// alone), and a destination that stores only its own type's data yet reads, compares and
// orders as if every type's data were there.
#include <gtest/gtest.h>

#include <vector>

#include "FennEvpn/FennEvpnVlanFloodSet.h"
#include "L2Rib/Dest.h"
#include "Qor/Strep.h"

namespace {

using Bridging::VlanId;
using Fenn::HwTunnelId;
using Fenn::MplsDestConfig;
using Fenn::VlanMacDest;
using L2Rib::Dest;
using Ostra::EthAddr;
using Ostra::IntfId;
using Ostra::IpGenAddr;
using Ostra::MplsLabel;
using Tunnel::TunnelTable::TunnelId;

// Each key differs from `base` in exactly one field.
template <class K>
void expectEveryFieldHashed(K const& base, std::vector<K> const& variants) {
  EXPECT_EQ(K(base).hash(3), base.hash(3));
  EXPECT_NE(base.hash(3), base.hash(4));
  for (K const& v : variants) {
    EXPECT_NE(v, base);
    EXPECT_NE(v.hash(3), base.hash(3)) << Qor::valueToStrep(v);
  }
}

TEST(HotKeyHash, DestHashesItsTypesFields) {
  TunnelId const tunnel(Tunnel::tunnelTypeLdp, 1);
  Dest const mpls = Dest::mpls(tunnel, MplsLabel(100));
  expectEveryFieldHashed(mpls, {Dest::mpls(TunnelId(Tunnel::tunnelTypeLdp, 2), MplsLabel(100)),
                                Dest::mpls(tunnel, MplsLabel(101)),
                                Dest::mpls(tunnel, MplsLabel(100), IntfId::srTePolicy(tunnel))});
  Dest const vxlan = Dest::vxlan(IpGenAddr::ipv4(0x0a000001), 10010, tunnel);
  IpGenAddr::Bytes v6{};
  v6[15] = 1;
  expectEveryFieldHashed(vxlan, {Dest::vxlan(IpGenAddr::ipv4(0x0a000002), 10010, tunnel),
                                 Dest::vxlan(IpGenAddr::ipv6(v6), 10010, tunnel),
                                 Dest::vxlan(IpGenAddr::ipv4(0x0a000001), 10011, tunnel),
                                 Dest::vxlan(IpGenAddr::ipv4(0x0a000001), 10010)});
  expectEveryFieldHashed(Dest::intf(IntfId::ethernet(1)),
                         {Dest::intf(IntfId::ethernet(2)), Dest::cpu(), Dest()});
}

TEST(HotKey, DestReadsOtherTypesDataAsDefaultsAndOrdersByTypeThenData) {
  TunnelId const tunnel(Tunnel::tunnelTypeLdp, 7);
  Dest const mpls = Dest::mpls(tunnel, MplsLabel(100), IntfId::srTePolicy(tunnel));
  Dest const vxlan = Dest::vxlan(IpGenAddr::ipv4(0x0a000001), 10010, tunnel);
  Dest const intf = Dest::intf(IntfId::ethernet(1));
  EXPECT_EQ(mpls.mpls(), L2Rib::MplsDest(tunnel, MplsLabel(100), IntfId::srTePolicy(tunnel)));
  EXPECT_EQ(mpls.vxlan(), L2Rib::VxlanDest());
  EXPECT_EQ(mpls.intf(), IntfId());
  EXPECT_EQ(mpls.tunnel(), TunnelId());
  EXPECT_EQ(vxlan.tunnel(), tunnel);
  EXPECT_EQ(vxlan.mpls(), L2Rib::MplsDest());
  EXPECT_EQ(intf.mpls(), L2Rib::MplsDest());

  // Type first (intf < tunnel < mpls < cpu), then the type's data.
  EXPECT_LT(Dest(), intf);
  EXPECT_LT(intf, vxlan);
  EXPECT_LT(vxlan, mpls);
  EXPECT_LT(mpls, Dest::cpu());
  EXPECT_LT(Dest::mpls(tunnel, MplsLabel(99), IntfId::srTePolicy(tunnel)), mpls);
  EXPECT_LT(Dest::intf(IntfId::ethernet(1)), Dest::intf(IntfId::ethernet(2)));
  EXPECT_NE(Dest::intf(IntfId()), Dest::cpu());
  Dest copy = vxlan;
  EXPECT_EQ(copy, vxlan);
  copy = mpls;
  EXPECT_EQ(copy.mpls(), mpls.mpls());
  EXPECT_EQ(copy.vxlan(), L2Rib::VxlanDest());
}

TEST(HotKeyHash, VlanMacDestHashesEveryFieldAndMplsDestConfigItsVia) {
  Dest const dest = Dest::mpls(TunnelId(Tunnel::tunnelTypeLdp, 1), MplsLabel(100));
  VlanMacDest const d(VlanId(10), EthAddr::broadcast(), dest);
  expectEveryFieldHashed(
      d, {VlanMacDest(VlanId(11), EthAddr::broadcast(), dest), VlanMacDest(VlanId(10), EthAddr(1), dest),
          VlanMacDest(VlanId(10), EthAddr::broadcast(), Dest::mpls(dest.mpls().tunnelId(), MplsLabel(101)))});

  // A configuration hashes its tunnel and label, and nothing else: the configurations of
  // one via must share a probe run (the FEC machine reads only that run).
  TunnelId const tunnel(Tunnel::tunnelTypeLdp, 1);
  HwTunnelId const hwId(Fenn::hwTunnelIdTypeDefault, 5);
  MplsDestConfig const config(tunnel, MplsLabel(100), hwId, 0x1000, IntfId::dynamicTunnel(tunnel));
  expectEveryFieldHashed(
      config, {MplsDestConfig(TunnelId(Tunnel::tunnelTypeLdp, 2), MplsLabel(100), hwId, 0x1000,
                              IntfId::dynamicTunnel(tunnel)),
               MplsDestConfig(tunnel, MplsLabel(101), hwId, 0x1000, IntfId::dynamicTunnel(tunnel))});
  for (MplsDestConfig const& sameVia :
       {MplsDestConfig(tunnel, MplsLabel(100), HwTunnelId(Fenn::hwTunnelIdTypeSharedEs, 5), 0x1000,
                       IntfId::dynamicTunnel(tunnel)),
        MplsDestConfig(tunnel, MplsLabel(100), hwId, 0x1001, IntfId())}) {
    EXPECT_EQ(sameVia.hash(3), config.hash(3)) << Qor::valueToStrep(sameVia);
  }
}

}  // namespace
