// Every value type, over many random values: printing then parsing gives back an equal
// value; and the parsers' fuzz property, that a random corruption of a valid text either
// fails to parse or parses to a value that prints as exactly that text and parses again to
// the same value. Together: each value has one text, both ways.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <exception>
#include <optional>
#include <random>
#include <string>

#include "Bridging/MacVlanPair.h"
#include "Bridging/VlanIdOrNone.h"
#include "Evpn/EncapTypeLabel.h"
#include "Evpn/SharedEsiLabel.h"
#include "Fenn/FecIdToHwFecIdResponse.h"
#include "Fenn/FennPortList.h"
#include "FennEvpn/FennEvpn.h"
#include "FennEvpn/FennEvpnHwTunnelIdQueue.h"
#include "FennEvpn/FennEvpnVlanFloodSet.h"
#include "Hardware/LagPortProgType.h"
#include "Keel/NumAllocatorConfig.h"
#include "Keel/NumAllocatorStatus.h"
#include "L2Rib/ChainTables.h"
#include "L2Rib/Dest.h"
#include "L2Rib/FloodSetOutput.h"
#include "Ostra/IpGenAddr.h"
#include "Ostra/MplsLabelAndAction.h"
#include "Qor/Strep.h"
#include "Support/TestSeed.h"
#include "Vasp/FibFec.h"
#include "Vasp/Table.h"

namespace {

using Tunnel::TunnelTable::TunnelId;

class RoundTrip : public ::testing::Test {
 protected:
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

  template <class E>
  E enumerator() {
    return static_cast<E>(below(Qor::EnumTraits<E>::names.size()));
  }
  // Mostly small numbers, where spellings such as "-0" and "00" live.
  template <class I>
  I integer() {
    auto const u = below(4) ? below(10) : rng_();
    return below(2) ? static_cast<I>(u) : static_cast<I>(0 - u);
  }
  double real() {
    double const kinds[] = {
        static_cast<double>(integer<int32_t>()), 1.0 / static_cast<double>(1 + below(1000)),
        std::ldexp(static_cast<double>(rng_() >> 11), static_cast<int>(below(200)) - 100)};
    return kinds[below(std::size(kinds))];
  }
  Qor::String text() {
    static constexpr std::string_view chars = "ab'\\ 01";
    Qor::String s;
    for (auto n = below(6); n > 0; --n) s += chars[below(chars.size())];
    return s;
  }
  Vasp::Fib::FecId fecId() { return Vasp::Fib::FecId(static_cast<uint8_t>(below(256)), below(1000)); }
  Vasp::Fib::Via via() {
    Vasp::Fib::Via v;
    v.intfIdIs(intfId());
    v.fecIdIs(fecId());
    v.labelAndActionIs(Ostra::MplsLabelAndAction(label(), enumerator<Ostra::MplsAction>()));
    v.mplsLabelIs(label());
    v.weightIs(integer<uint32_t>());
    v.backupIs(below(2));
    return v;
  }

  // A few random edits of a valid text, from characters that spell numbers, names and quotes.
  std::string mutate(std::string text) {
    static constexpr std::string_view chars = "0123456789-+.eEinfaxT'\\ :/,[]";
    for (auto edits = 1 + below(2); edits > 0; --edits) {
      size_t const pos = below(text.size() + 1);
      char const c = chars[below(chars.size())];
      switch (below(3)) {
        case 0:
          text.insert(pos, 1, c);
          break;
        case 1:
          if (pos < text.size()) text.erase(pos, 1);
          break;
        default:
          if (pos < text.size()) text[pos] = c;
      }
    }
    return text;
  }

  template <class Make>
  void roundTrip(Make make) {
    using T = std::remove_cvref_t<decltype(make())>;
    for (int i = 0; i < 2000; ++i) {
      T const v = make();
      std::string const text = Qor::valueToStrep(v);
      ASSERT_EQ(Qor::strepToValue<T>(text), v) << text;

      std::string const mutated = mutate(text);
      std::optional<T> parsed;
      try {
        parsed = Qor::strepToValue<T>(mutated);
      } catch (std::exception const&) {
        continue;  // rejected: fine
      }
      std::string const printed = Qor::valueToStrep(*parsed);
      ASSERT_EQ(printed, mutated) << "a second text for the value of " << text;
      ASSERT_EQ(Qor::strepToValue<T>(printed), *parsed) << printed;
    }
  }

  std::mt19937_64 rng_{TestSupport::testSeed()};
};

TEST_F(RoundTrip, ScalarsAndEnumerations) {
  roundTrip([&] { return integer<int32_t>(); });
  roundTrip([&] { return integer<int64_t>(); });
  roundTrip([&] { return integer<uint32_t>(); });
  roundTrip([&] { return integer<uint64_t>(); });
  roundTrip([&] { return real(); });
  roundTrip([&] { return below(2) == 1; });
  roundTrip([&] { return text(); });
  roundTrip([&] { return enumerator<Tunnel::TunnelType>(); });
  roundTrip([&] { return enumerator<L2Rib::DestType>(); });
  roundTrip([&] { return enumerator<L2Rib::FloodSetType>(); });
  roundTrip([&] { return enumerator<L2Rib::FloodSetSource>(); });
  roundTrip([&] { return enumerator<L2Rib::HostSource>(); });
  roundTrip([&] { return enumerator<Evpn::EncapType>(); });
  roundTrip([&] { return enumerator<Vasp::MountState>(); });
  roundTrip([&] { return enumerator<Hardware::Lag::PortProgType>(); });
}

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
  roundTrip([&] { return Keel::NumAllocatorConfig(Keel::Range(rng_(), rng_()), real()); });
  roundTrip([&] { return Keel::NumAllocatorStatus(rng_(), below(9), rng_(), below(9)); });
  roundTrip([&] { return Evpn::EncapTypeLabel(enumerator<Evpn::EncapType>(), integer<uint32_t>()); });
  roundTrip([&] { return Evpn::SharedEsiLabel(label(), below(2)); });
  roundTrip([&] { return L2Rib::LabelId(integer<uint32_t>()); });
  roundTrip([&] { return fecId(); });
  roundTrip([&] { return via(); });
  roundTrip([&] {
    Vasp::Fib::Fec fec(fecId());
    for (uint64_t i = 0, n = below(3); i < n; ++i) fec.viaIs(Vasp::Fib::ViaIndex(i), via());
    return fec;
  });
  roundTrip([&] { return Fenn::FecToHwFecId(fecId(), rng_(), intfId()); });
  roundTrip([&] {
    Fenn::FennPortList ports;
    for (auto n = below(4); n > 0; --n)
      ports.portIs(Ostra::IntfId::ethernet(static_cast<uint32_t>(1 + below(9))));
    return ports;
  });
  roundTrip([&] { return FennHelper::HwTunnelIdMetadata(integer<uint32_t>(), integer<uint32_t>()); });
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
