// Random access-side changes on a simulated switch: LAGs, VLAN configuration and status,
// BUM filters, segments with their labels, VLANs and designated forwarders, local ESI
// labels, flooding, pool sizes, createEsiData faults and time.
#pragma once

#include <map>
#include <optional>
#include <random>
#include <vector>

#include "sim/Switch.h"

namespace AccessTest {

using Bridging::VlanId;
using Ostra::IntfId;

inline std::vector<IntfId> const lagPorts = {IntfId::ethernet(1), IntfId::ethernet(2), IntfId::ethernet(3),
                                             IntfId::ethernet(4), IntfId::ethernet(5)};
inline std::vector<IntfId> const accessIntfs = {IntfId::portChannel(1), IntfId::portChannel(2),
                                                IntfId::portChannel(3), IntfId::ethernet(6),
                                                IntfId::ethernet(7)};
inline std::vector<VlanId> const vlans = {VlanId(10), VlanId(11), VlanId(12)};
constexpr uint64_t kPes = 4;

inline Fenn::TunnelId tunnel(uint64_t pe) { return Fenn::TunnelId(Tunnel::tunnelTypeLdp, pe); }
inline IntfId tep(uint64_t pe) { return IntfId::dynamicTunnel(tunnel(pe)); }

class Driver {
 public:
  // With `ownFaults`, the driver also turns createEsiData faults on and off at random.
  Driver(Sim::Switch& sw, uint64_t seed, bool ownFaults = true)
      : sw_(sw), rng_(seed), ownFaults_(ownFaults) {}

  void step() {
    switch (pick(12)) {
      case 0: {
        // A port belongs to one LAG at most: a LAG takes ports no other LAG holds.
        IntfId const lag = any(accessIntfs.begin(), accessIntfs.begin() + 3);
        std::vector<IntfId> members;
        if (pick(5) == 0) {
          sw_.lagDel(lag);
        } else {
          for (auto const& port : subset(lagPorts)) {
            if (!lagOf_.count(port) || lagOf_[port] == lag) members.push_back(port);
          }
          sw_.lagIs(lag, members);
        }
        std::erase_if(lagOf_, [&](auto const& e) { return e.second == lag; });
        for (auto const& port : members) lagOf_[port] = lag;
        break;
      }
      case 1:
        pick(4) == 0 ? sw_.vlanConfigDel(anyVlan()) : sw_.vlanConfigIs(anyVlan(), subset(accessIntfs));
        break;
      case 2:
        pick(4) == 0 ? sw_.vlanStatusDel(anyVlan()) : sw_.vlanStatusIs(anyVlan(), subset(accessIntfs));
        break;
      case 3:
        sw_.encapBumFilterIs(subset(accessIntfs));
        break;
      case 4:
      case 5: {
        IntfId const intf = any(accessIntfs.begin(), accessIntfs.end());
        if (pick(6) == 0) {
          sw_.segmentDel(intf);
          break;
        }
        std::map<IntfId, Ostra::MplsLabel> peers;
        for (uint64_t pe = 1; pe <= kPes; ++pe) {
          if (pick(2)) peers[tep(pe)] = Ostra::MplsLabel(600 + pick(3));
        }
        std::optional<Ostra::MplsLabel> shared;
        if (pick(2)) shared = Ostra::MplsLabel(700);
        sw_.segmentIs(intf, peers, shared);
        break;
      }
      case 6: {
        std::vector<VlanId> configured;
        std::map<VlanId, IntfId> df;
        for (auto v : vlans) {
          if (pick(2)) configured.push_back(v);
          if (pick(3)) df[v] = tep(1 + pick(kPes));
        }
        sw_.segmentVlansIs(any(accessIntfs.begin(), accessIntfs.end()), configured, df);
        break;
      }
      case 7: {
        std::optional<Ostra::MplsLabel> label;
        if (pick(4)) label = Ostra::MplsLabel(900 + pick(2));
        sw_.localEsiLabelIs(any(accessIntfs.begin(), accessIntfs.end()), label);
        break;
      }
      case 8: {
        // Flooding to a PE gives its tunnel a default-pool ID whatever the segments want.
        L2Rib::Dest const dest = L2Rib::Dest::mpls(tunnel(1 + pick(kPes)), Ostra::MplsLabel(1000));
        pick(2) ? sw_.destIs(VlanId(10), Ostra::EthAddr::broadcast(), dest)
                : sw_.destDel(VlanId(10), Ostra::EthAddr::broadcast(), dest);
        break;
      }
      case 9:
        sw_.hwTunnelIdPoolSizeIs(pick(2) ? Fenn::hwTunnelIdTypeDefault : Fenn::hwTunnelIdTypeSharedEs,
                                 1 + pick(5));
        break;
      case 10: {
        Sim::FaultInjector& f = sw_.faults(Sim::FaultTarget::createEsiData);
        if (ownFaults_) pick(3) ? f.failFractionIs(0.3, rng_()) : f.clear();
        break;
      }
      case 11:
        sw_.advance(double(pick(7)));
        break;
    }
  }

 private:
  uint64_t pick(uint64_t n) { return std::uniform_int_distribution<uint64_t>(0, n - 1)(rng_); }
  template <class It>
  typename std::iterator_traits<It>::value_type any(It begin, It end) {
    return *(begin + pick(uint64_t(end - begin)));
  }
  VlanId anyVlan() { return any(vlans.begin(), vlans.end()); }
  std::vector<IntfId> subset(std::vector<IntfId> const& from) {
    std::vector<IntfId> out;
    for (auto const& i : from) {
      if (pick(2)) out.push_back(i);
    }
    return out;
  }

  Sim::Switch& sw_;
  std::mt19937_64 rng_;
  bool ownFaults_;
  std::map<IntfId, IntfId> lagOf_;
};

}  // namespace AccessTest
