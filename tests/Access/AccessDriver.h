// Random access-side changes on a simulated switch: LAGs, VLAN configuration and status,
// BUM filters, segments with their labels, VLANs and designated forwarders, local ESI
// labels, flooding, pool sizes, createEsiData faults and time; and, in floodingStep(), the
// inputs of the dot1q and flood-filter machines with faults on their create operations.
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
  // With `ownFaults`, the driver also turns createEsiData faults on and off at random, and
  // floodingStep() the createVlan, createVlanToDot1qMapping and createNonDfPort faults.
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

  // A change of what the dot1q and flood-filter machines read besides LAGs and VLAN
  // membership: VLAN-to-dot1q tags, the VLAN-service dot1q flag, flood filters, and faults
  // of their hardware operations. The VLANs stay below 4095, whose missing tag is a range
  // error of its own.
  void floodingStep() {
    switch (pick(5)) {
      case 0:
        if (pick(5) == 0) {
          sw_.vlanToDot1qDel(anyVlan());
        } else {
          sw_.vlanToDot1qIs(anyVlan(), pick(3) ? Bridging::VlanIdOrNone(uint16_t(100 + pick(3)))
                                               : Bridging::VlanIdOrNone::none());
        }
        break;
      case 1:
        sw_.vlanServiceDot1qEnabledIs(pick(2));
        break;
      case 2:
      case 3:
        pick(5) == 0 ? sw_.vlanFloodStatusDel(anyVlan())
                     : sw_.vlanFloodStatusIs(anyVlan(), subset(accessIntfs));
        break;
      case 4: {
        static constexpr Sim::FaultTarget targets[] = {Sim::FaultTarget::createVlan,
                                                       Sim::FaultTarget::createVlanToDot1qMapping,
                                                       Sim::FaultTarget::createNonDfPort};
        Sim::FaultInjector& f = sw_.faults(targets[pick(3)]);
        if (ownFaults_) pick(3) ? f.failFractionIs(0.3, rng_()) : f.clear();
        break;
      }
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
