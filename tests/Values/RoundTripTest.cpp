// Printing then parsing gives back an equal value, for many random values of every type.
#include <gtest/gtest.h>

#include <cstdint>
#include <iostream>
#include <random>

#include "Bridging/MacVlanPair.h"
#include "Bridging/VlanIdOrNone.h"
#include "FennEvpn/FennEvpn.h"
#include "FennEvpn/FennEvpnVlanFloodSet.h"
#include "L2Rib/ChainTables.h"
#include "L2Rib/Dest.h"
#include "Ostra/IpGenAddr.h"
#include "Ostra/MplsLabelAndAction.h"
#include "Qor/Strep.h"

namespace {

using Tunnel::TunnelTable::TunnelId;

class RoundTrip : public ::testing::Test {
 protected:
  void SetUp() override {
    rng_.seed(seed);
    std::cout << "seed " << seed << '\n';
  }

  uint64_t below(uint64_t n) { return std::uniform_int_distribution<uint64_t>(0, n - 1)(rng_); }

  TunnelId tunnelId() {
    return below(8) == 0
               ? TunnelId()
               : TunnelId(static_cast<Tunnel::TunnelType>(below(256)), below(TunnelId::indexMask + 1));
  }
  // Every kind of interface; the generators draw all candidates and keep one.
  Ostra::IntfId intfId() {
    auto const n = [&](uint64_t max) { return static_cast<uint32_t>(1 + below(max)); };
    Ostra::IntfId const kinds[] = {Ostra::IntfId(),
                                   Ostra::IntfId::ethernet(n(0xffff)),
                                   Ostra::IntfId::ethernet(n(0xffff), n(0xffff)),
                                   Ostra::IntfId::portChannel(n(UINT32_MAX)),
                                   Ostra::IntfId::srTePolicy(tunnelId()),
                                   Ostra::IntfId::dynamicTunnel(tunnelId()),
                                   Ostra::IntfId::cpu()};
    return kinds[below(std::size(kinds))];
  }
  Bridging::VlanId vlanId() { return Bridging::VlanId(below(4096)); }
  Ostra::MplsLabel label() { return Ostra::MplsLabel(below(1048577)); }
  Ostra::EthAddr ethAddr() { return Ostra::EthAddr(below(uint64_t(1) << 48)); }
  Ostra::IpGenAddr ipAddr() {
    if (below(2)) return Ostra::IpGenAddr::ipv4(static_cast<uint32_t>(below(uint64_t(1) << 32)));
    Ostra::IpGenAddr::Bytes b{};
    // Mostly-zero groups, so that zero runs of every length and position occur.
    for (int g = 0; g < 8; ++g) {
      if (below(2)) continue;
      uint16_t const v = static_cast<uint16_t>(below(0x10000));
      b[2 * g] = static_cast<uint8_t>(v >> 8);
      b[2 * g + 1] = static_cast<uint8_t>(v);
    }
    return Ostra::IpGenAddr::ipv6(b);
  }
  Fenn::HwTunnelId hwTunnelId() {
    return Fenn::HwTunnelId(static_cast<Fenn::HwTunnelIdType>(below(2)),
                            static_cast<uint32_t>(below(UINT32_MAX)));
  }
  L2Rib::Dest dest() {
    L2Rib::Dest const kinds[] = {
        L2Rib::Dest::mpls(tunnelId(), label(), intfId()),
        L2Rib::Dest::vxlan(ipAddr(), static_cast<uint32_t>(below(1 << 24)), tunnelId()),
        L2Rib::Dest::intf(intfId()), L2Rib::Dest::cpu(), L2Rib::Dest()};
    return kinds[below(std::size(kinds))];
  }

  L2Rib::ObjTuple objTuple() {
    return L2Rib::ObjTuple(static_cast<L2Rib::TableType>(below(4)), static_cast<uint32_t>(rng_()));
  }
  L2Rib::LoadBalance loadBalance() {
    L2Rib::LoadBalance lb;
    for (uint64_t i = 0, n = below(17); i < n; ++i) lb.nextIs(L2Rib::EcmpIndex(i), objTuple());
    return lb;
  }

  template <class Make>
  void roundTrip(Make make) {
    for (int i = 0; i < 2000; ++i) {
      auto const v = make();
      auto const text = Qor::valueToStrep(v);
      ASSERT_EQ(Qor::strepToValue<std::remove_cvref_t<decltype(v)>>(text), v) << text;
    }
  }

  static constexpr uint64_t seed = 0x5eed0001;
  std::mt19937_64 rng_;
};

TEST_F(RoundTrip, PlatformTypes) {
  roundTrip([&] { return tunnelId(); });
  roundTrip([&] { return intfId(); });
  roundTrip([&] { return vlanId(); });
  roundTrip([&] { return Bridging::VlanIdOrNone(below(4095)); });
  roundTrip([&] { return label(); });
  roundTrip([&] { return ethAddr(); });
  roundTrip([&] { return ipAddr(); });
  roundTrip([&] { return Bridging::MacVlanPair(ethAddr(), vlanId()); });
  roundTrip([&] { return hwTunnelId(); });
  roundTrip([&] { return dest(); });
  roundTrip([&] { return Ostra::MplsLabelAndAction(label(), static_cast<Ostra::MplsAction>(below(4))); });
}

TEST_F(RoundTrip, ChainTypes) {
  roundTrip([&] { return objTuple(); });
  roundTrip([&] { return L2Rib::Label(label(), objTuple()); });
  roundTrip([&] { return loadBalance(); });
  roundTrip([&] { return L2Rib::HostAndSource(objTuple(), static_cast<L2Rib::HostSource>(below(4))); });
  roundTrip([&] { return L2Rib::DestId(rng_() >> 32); });
}

TEST_F(RoundTrip, LibraryTypes) {
  roundTrip([&] { return Fenn::IntfVlanKey(intfId(), vlanId()); });
  roundTrip([&] { return Fenn::IntfTunnelKey(intfId(), tunnelId()); });
  roundTrip([&] { return Fenn::IntfVlanTunnelKey(intfId(), vlanId(), tunnelId()); });
  roundTrip([&] { return Fenn::TunnelIdToHwTunnelId(tunnelId(), hwTunnelId()); });
  roundTrip([&] { return Fenn::EsiInfo(hwTunnelId(), label()); });
  roundTrip([&] { return static_cast<Fenn::HwProgrammingStatus>(below(3)); });
  roundTrip([&] { return Fenn::VlanMacDest(vlanId(), ethAddr(), dest()); });
  roundTrip([&] { return Fenn::MplsFloodSetVia(tunnelId(), label(), Bridging::VlanIdOrNone(below(4095))); });
  roundTrip([&] { return Fenn::MplsDestHwInfo(rng_(), intfId()); });
  roundTrip([&] { return Fenn::MplsDestConfig(tunnelId(), label(), hwTunnelId(), rng_(), intfId()); });
}

}  // namespace
