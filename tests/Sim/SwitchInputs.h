// Random input changes for whole-switch tests: a run applies the same list to every
// switch it compares, and compares their hardware without the numbers the hardware chose.
#pragma once

#include <cstdlib>
#include <optional>
#include <random>
#include <set>
#include <tuple>

#include "Support/TestSeed.h"
#include "sim/Switch.h"

namespace SimTest {

using Ostra::IntfId;
using Tunnel::TunnelTable::TunnelId;

// One input change; a run applies the same list to every switch.
struct Op {
  enum Kind { addDest, delDest, delFloodSet, segment, delSegment, advance } kind;
  uint16_t vlan = 0;
  uint64_t mac = 0;
  L2Rib::Dest dest;
  IntfId intf;
  std::map<IntfId, Ostra::MplsLabel> peers;
  std::optional<Ostra::MplsLabel> shared;
  double seconds = 0;
};

inline TunnelId tunnel(int i) { return TunnelId(Tunnel::tunnelTypeLdp, uint64_t(i)); }

inline std::vector<Op> randomInputs(uint64_t seed, int count) {
  std::mt19937_64 rng(seed);
  auto pick = [&](int n) { return int(rng() % uint64_t(n)); };
  std::vector<Op> ops;
  for (int i = 0; i < count; ++i) {
    Op op;
    int const r = pick(100);
    op.vlan = uint16_t(1 + pick(12));
    op.mac = pick(2) ? Ostra::EthAddr::broadcast().value() : 0x01005e000001;
    if (r < 55) {
      op.kind = pick(3) ? Op::addDest : Op::delDest;
      op.dest = pick(6) ? L2Rib::Dest::mpls(tunnel(1 + pick(6)), Ostra::MplsLabel(1000 + pick(3)))
                        : L2Rib::Dest::intf(IntfId::ethernet(uint32_t(1 + pick(4))));
    } else if (r < 62) {
      op.kind = Op::delFloodSet;
    } else if (r < 80) {
      op.kind = Op::segment;
      op.intf = IntfId::ethernet(uint32_t(10 + pick(2)));
      for (int t = 1; t <= 6; ++t) {
        if (pick(3) == 0) op.peers.emplace(IntfId::dynamicTunnel(tunnel(t)), Ostra::MplsLabel(500 + t));
      }
      if (pick(2)) op.shared = Ostra::MplsLabel(900);
    } else if (r < 85) {
      op.kind = Op::delSegment;
      op.intf = IntfId::ethernet(uint32_t(10 + pick(2)));
    } else {
      op.kind = Op::advance;
      op.seconds = 0.5 * pick(8);
    }
    ops.push_back(op);
  }
  return ops;
}

inline void apply(Sim::Switch& sw, Op const& op) {
  Bridging::VlanId const vlan(op.vlan);
  Ostra::EthAddr const mac(op.mac);
  switch (op.kind) {
    case Op::addDest:
      return sw.destIs(vlan, mac, op.dest);
    case Op::delDest:
      return sw.destDel(vlan, mac, op.dest);
    case Op::delFloodSet:
      return sw.floodSetDel(vlan, mac);
    case Op::segment:
      return sw.segmentIs(op.intf, op.peers, op.shared);
    case Op::delSegment:
      return sw.segmentDel(op.intf);
    case Op::advance:
      return sw.advance(op.seconds);
  }
}

// An LFIB change for the decapsulation filter: route n (label 900 + n) over via set n,
// which holds filter via n or a plain MPLS via, and filter via n claims port channel n or
// 10 + n. No two routes ever claim one interface, so which route owns a contested port map
// never depends on the order of events.
inline void lfibStep(Sim::Switch& sw, std::mt19937_64& rng) {
  uint32_t const n = uint32_t(1 + rng() % 6);
  Mpls::RouteKey const route(Ostra::MplsLabel(900 + n));
  Mpls::LfibViaSetKey const viaSet(n);
  Mpls::LfibViaKey const filterVia(Mpls::lfibViaTypeEvpnEthernetSegmentFilter, n);
  Sim::LfibTracker& lfib = sw.lfib();
  switch (rng() % 7) {
    case 0:
      lfib.routeIs(route, viaSet);
      break;
    case 1:
      lfib.routeDel(route);
      break;
    case 2:
      lfib.viaSetIs(viaSet, filterVia);
      break;
    case 3:
      lfib.viaSetIs(viaSet, Mpls::LfibViaKey(Mpls::lfibViaTypeMpls, n));
      break;
    case 4:
      lfib.viaSetDel(viaSet);
      break;
    case 5:
      lfib.filterViaIs(filterVia, IntfId::portChannel(rng() % 2 ? n : 10 + n));
      break;
    case 6:
      lfib.filterViaDel(filterVia);
      break;
  }
  sw.settle();
}

// A tunnel's endpoint in the tunnel RIB: one of three PE addresses, or none.
inline void tunnelEndpointStep(Sim::Switch& sw, std::mt19937_64& rng) {
  TunnelId const t = tunnel(int(1 + rng() % 6));
  uint64_t const pe = rng() % 4;
  sw.tunnelEndpointIs(t,
                      pe ? std::optional(Ostra::IpGenAddr::ipv4(0x0a000000 + uint32_t(pe))) : std::nullopt);
}

// The hardware state without the numbers the hardware chose.
struct Entries {
  std::set<TunnelId> tunnels;
  std::set<std::tuple<TunnelId, uint32_t, bool>> fecs;
  std::set<std::tuple<uint16_t, uint64_t, TunnelId, uint32_t, int>> floodSets;
  bool operator==(Entries const&) const = default;
};

inline Entries entries(Sim::HardwareState const& s) {
  Entries e;
  for (auto const& t : s.tunnels) e.tunnels.insert(t.tunnelId);
  for (auto const& f : s.fecs) e.fecs.emplace(f.tunnelId, f.label.value(), f.answered);
  for (auto const& f : s.floodSets) {
    e.floodSets.emplace(f.macVlanPair.vlanId().value(), f.macVlanPair.macAddr().value(), f.config.tunnelId(),
                        f.config.label().value(), f.status ? int(*f.status) : -1);
  }
  return e;
}

inline Sim::HardwareConfig hardware() {
  Sim::HardwareConfig c;
  c.defaultHwTunnelIds = 64;  // roomy: no exhaustion, so outcomes do not depend on order
  c.sharedEsHwTunnelIds = 16;
  c.fecResponseDelay = 0.2;
  return c;
}

// A number from the environment, or `fallback` when the variable is not set.
inline uint64_t envNumber(char const* name, uint64_t fallback) {
  char const* s = std::getenv(name);
  return s ? std::strtoull(s, nullptr, 10) : fallback;
}

using TestSupport::testSeed;

}  // namespace SimTest
