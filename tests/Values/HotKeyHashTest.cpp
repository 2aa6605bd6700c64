// The hand-written hashes of the keys that grow with the flood-set destinations
// (L2Rib::Dest, Fenn::VlanMacDest, Fenn::MplsDestConfig): equal keys hash equally, and
// every field that equality compares reaches the hash.
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
  expectEveryFieldHashed(Dest::intf(IntfId::ethernet(1)), {Dest::intf(IntfId::ethernet(2)), Dest::cpu(), Dest()});
}

TEST(HotKeyHash, VlanMacDestAndMplsDestConfigHashEveryField) {
  Dest const dest = Dest::mpls(TunnelId(Tunnel::tunnelTypeLdp, 1), MplsLabel(100));
  VlanMacDest const d(VlanId(10), EthAddr::broadcast(), dest);
  expectEveryFieldHashed(d, {VlanMacDest(VlanId(11), EthAddr::broadcast(), dest),
                             VlanMacDest(VlanId(10), EthAddr(1), dest),
                             VlanMacDest(VlanId(10), EthAddr::broadcast(), Dest::mpls(dest.mpls().tunnelId(),
                                                                                    MplsLabel(101)))});

  TunnelId const tunnel(Tunnel::tunnelTypeLdp, 1);
  HwTunnelId const hwId(Fenn::hwTunnelIdTypeDefault, 5);
  MplsDestConfig const config(tunnel, MplsLabel(100), hwId, 0x1000, IntfId::dynamicTunnel(tunnel));
  expectEveryFieldHashed(
      config,
      {MplsDestConfig(TunnelId(Tunnel::tunnelTypeLdp, 2), MplsLabel(100), hwId, 0x1000, IntfId::dynamicTunnel(tunnel)),
       MplsDestConfig(tunnel, MplsLabel(101), hwId, 0x1000, IntfId::dynamicTunnel(tunnel)),
       MplsDestConfig(tunnel, MplsLabel(100), HwTunnelId(Fenn::hwTunnelIdTypeSharedEs, 5), 0x1000,
                      IntfId::dynamicTunnel(tunnel)),
       MplsDestConfig(tunnel, MplsLabel(100), HwTunnelId(Fenn::hwTunnelIdTypeDefault, 6), 0x1000,
                      IntfId::dynamicTunnel(tunnel)),
       MplsDestConfig(tunnel, MplsLabel(100), hwId, 0x1001, IntfId::dynamicTunnel(tunnel)),
       MplsDestConfig(tunnel, MplsLabel(100), hwId, 0x1000, IntfId())});
}

}  // namespace
