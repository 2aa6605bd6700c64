// Memory under churn: cycles of adding and removing many entries on every state machine of
// the simulated switch. After each removal every collection of every machine is empty
// (but the per-pool flags and zombie sets of the hardware tunnel ID machine, whose zombies
// keep their IDs by design), every hardware model is empty (but those zombies' rows), and
// the live heap, counted by replacing the global allocation functions, is back where the
// first cycle left it: the first cycle grows hash tables and pools that stay allocated.
//
// FENN_CHURN_CYCLES (default 3) and FENN_CHURN_ENTRIES (default 1,000) size it; 100 and
// 10,000 is the long run (docs/reliability.md, Memory under churn).
#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <map>

#include "Qor/SysLog.h"
#include "Sim/SwitchInputs.h"
#include "Support/CountingHeap.h"

namespace {

using Bridging::VlanId;
using Ostra::IntfId;

// Counts the elements of every collection attribute of one entity.
class ElementCounter final : public Qor::Reactor {
 public:
  explicit ElementCounter(Qor::Entity const* entity) : Reactor(entity, nullptr) { walk(); }
  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (key) ++counts[id];
  }
  std::map<Qor::AttributeId, size_t> counts;
};

// `n` entries on every machine: flood-set destinations over 64 PEs, LFIB routes with ESI
// filter vias, LAG members, VLAN configuration and status, segments with peers, VLANs and
// designated forwarders, dot1q tags, flood filters, tunnel endpoints, and hosts over labels
// and destinations.
class Churn {
 public:
  Churn(Sim::Switch& sw, uint32_t n) : sw_(sw), n_(n), vlans_(std::clamp(n / 10, 1u, 4000u)) {}

  void add() {
    for (uint32_t i = 0; i < n_; ++i) sw_.destIs(vlan(i), mac(i), floodDest(i));
    for (uint32_t i = 0; i < n_; ++i) {
      sw_.lfib().filterViaIs(filterVia(i), IntfId::portChannel(1 + i % 1000));
      sw_.lfib().viaSetIs(Mpls::LfibViaSetKey(i), filterVia(i));
      sw_.lfib().routeIs(route(i), Mpls::LfibViaSetKey(i));
    }
    sw_.settle();
    // LAGs of four ports; every LAG in ten VLANs; the first segments multihomed to 8 PEs.
    std::vector<VlanId> tenVlans;
    for (uint32_t v = 0; v < 10; ++v) tenVlans.push_back(VlanId(uint16_t(1 + v)));
    for (uint32_t l = 0; l < lags(); ++l) {
      sw_.lagIs(lag(l), {port(4 * l), port(4 * l + 1), port(4 * l + 2), port(4 * l + 3)});
    }
    for (uint32_t v = 0; v < vlans_; ++v) {
      std::vector<IntfId> members;
      for (uint32_t l = v % 10; l < lags(); l += 10) members.push_back(lag(l));
      sw_.vlanConfigIs(vlan(v), members);
      sw_.vlanStatusIs(vlan(v), members);
      sw_.vlanToDot1qIs(vlan(v), Bridging::VlanIdOrNone(uint16_t(1 + v)));
      sw_.vlanFloodStatusIs(vlan(v), members);
    }
    sw_.vlanServiceDot1qEnabledIs(true);
    for (uint32_t s = 0; s < segments(); ++s) {
      std::map<IntfId, Ostra::MplsLabel> peers;
      std::map<VlanId, IntfId> df;
      for (uint64_t pe = 1; pe <= 8; ++pe) peers[IntfId::dynamicTunnel(SimTest::tunnel(int(pe)))] = label(pe);
      for (auto v : tenVlans) df[v] = IntfId::dynamicTunnel(SimTest::tunnel(1 + s % 8));
      sw_.segmentIs(lag(s), peers, s % 2 ? std::optional(Ostra::MplsLabel(900)) : std::nullopt);
      sw_.segmentVlansIs(lag(s), tenVlans, df);
      sw_.localEsiLabelIs(lag(s), Ostra::MplsLabel(800));
    }
    for (int pe = 1; pe <= 64; ++pe)
      sw_.tunnelEndpointIs(SimTest::tunnel(pe), Ostra::IpGenAddr::ipv4(0x0a000000 + uint32_t(pe)));
    for (uint32_t d = 0; d < 64; ++d)
      sw_.chainDestIs(L2Rib::DestId(d),
                      L2Rib::Dest::vxlan(Ostra::IpGenAddr(), 0, SimTest::tunnel(int(1 + d))));
    for (uint32_t l = 0; l < vlans_; ++l)
      sw_.labelIs(L2Rib::LabelId(l), L2Rib::Label(label(l), L2Rib::DestId(l % 64).tuple()));
    for (uint32_t h = 0; h < n_; ++h) sw_.hostIs(host(h), L2Rib::LabelId(h % vlans_).tuple());
    sw_.advance(30);
  }

  void remove() {
    for (uint32_t h = 0; h < n_; ++h) sw_.hostDel(host(h));
    for (uint32_t l = 0; l < vlans_; ++l) sw_.labelDel(L2Rib::LabelId(l));
    for (uint32_t d = 0; d < 64; ++d) sw_.chainDestDel(L2Rib::DestId(d));
    for (int pe = 1; pe <= 64; ++pe) sw_.tunnelEndpointIs(SimTest::tunnel(pe), std::nullopt);
    for (uint32_t s = 0; s < segments(); ++s) {
      sw_.localEsiLabelIs(lag(s), std::nullopt);
      sw_.segmentDel(lag(s));
    }
    sw_.vlanServiceDot1qEnabledIs(false);
    for (uint32_t v = 0; v < vlans_; ++v) {
      sw_.vlanFloodStatusDel(vlan(v));
      sw_.vlanToDot1qDel(vlan(v));
      sw_.vlanStatusDel(vlan(v));
      sw_.vlanConfigDel(vlan(v));
    }
    for (uint32_t l = 0; l < lags(); ++l) sw_.lagDel(lag(l));
    for (uint32_t i = 0; i < n_; ++i) {
      sw_.lfib().routeDel(route(i));
      sw_.lfib().viaSetDel(Mpls::LfibViaSetKey(i));
      sw_.lfib().filterViaDel(filterVia(i));
    }
    for (uint32_t i = 0; i < n_; ++i) sw_.floodSetDel(vlan(i), mac(i));
    // Past every review, answer delay and the expiry of freed FEC numbers.
    sw_.advance(60);
  }

 private:
  uint32_t lags() const { return std::max(n_ / 4, 1u); }
  uint32_t segments() const { return std::min(lags(), 100u); }
  VlanId vlan(uint32_t i) const { return VlanId(uint16_t(1 + i % vlans_)); }
  Ostra::EthAddr mac(uint32_t i) const { return Ostra::EthAddr(0x01005e000000 + i / vlans_); }
  L2Rib::Dest floodDest(uint32_t i) const {
    return L2Rib::Dest::mpls(SimTest::tunnel(int(1 + i % 64)), Ostra::MplsLabel(1000 + i % 8));
  }
  static Ostra::MplsLabel label(uint64_t i) { return Ostra::MplsLabel(uint32_t(2000 + i % 1000)); }
  static Mpls::RouteKey route(uint32_t i) { return Mpls::RouteKey(Ostra::MplsLabel(100000 + i)); }
  static Mpls::LfibViaKey filterVia(uint32_t i) {
    return Mpls::LfibViaKey(Mpls::lfibViaTypeEvpnEthernetSegmentFilter, i);
  }
  static IntfId lag(uint32_t l) { return IntfId::portChannel(1 + l); }
  static IntfId port(uint32_t p) { return IntfId::ethernet(1 + p); }
  static Bridging::MacVlanPair host(uint32_t h) {
    return Bridging::MacVlanPair(Ostra::EthAddr(0x020000000000 + h), VlanId(10));
  }

  Sim::Switch& sw_;
  uint32_t n_;
  uint32_t vlans_;
};

// The elements left in the collections of every state machine, by machine and attribute.
std::vector<std::string> leftovers(Sim::Switch const& sw) {
  std::vector<std::string> out;
  for (auto const* sm : sw.stateMachines()) {
    for (auto const& [id, count] : ElementCounter(sm).counts) {
      bool const byDesign =
          sm == sw.hwTunnelIdSm() && (id == Fenn::EvpnHwTunnelIdSm::hwTunnelIdOverflowAttr ||
                                      id == Fenn::EvpnHwTunnelIdSm::zombieTunnelIdAttr);
      if (!byDesign)
        out.push_back(std::string(sm->fwkType()) + " attribute " + std::to_string(id) + ": " +
                      std::to_string(count) + " left");
    }
  }
  return out;
}

TEST(ChurnMemory, EveryMachineEmptiesAndTheHeapReturnsToItsBaseline) {
  setenv("SIMULATION_VMID", "test", 0);
  Qor::logSinkIs([](Qor::LogMessage const&) {});
  uint64_t const cycles = SimTest::envNumber("FENN_CHURN_CYCLES", 3);
  uint32_t const entries = uint32_t(SimTest::envNumber("FENN_CHURN_ENTRIES", 1000));
  // The first switch of the process also fills process-wide registries (table names).
  { Sim::Switch warmUp(SimTest::hardware(), "churn/"); }
  size_t const start = TestHeap::liveBytes();
  {
    Sim::Switch sw(SimTest::hardware(), "churn/");
    Churn churn(sw, entries);
    size_t const empty = TestHeap::liveBytes();
    size_t baseline = 0;
    size_t peak = 0;
    for (uint64_t cycle = 0; cycle < cycles; ++cycle) {
      SCOPED_TRACE("cycle " + std::to_string(cycle));
      TestHeap::peakReset();
      churn.add();
      EXPECT_FALSE(sw.state().floodSets.empty()) << "the entries reached nothing";
      churn.remove();
      Qor::sysLogRecordsDelAll();
      peak = std::max(peak, TestHeap::peakBytes());
      for (auto const& left : leftovers(sw)) ADD_FAILURE() << left;
      Sim::HardwareState const s = sw.state();
      EXPECT_TRUE(s.fecs.empty() && s.floodSets.empty() && s.esiPortMaps.empty() &&
                  s.unprogrammedRoutes.empty() && s.lagMembers.empty() && s.vlanMembers.empty() &&
                  s.esiData.empty() && s.tepSegments.empty() && s.hostFecs.empty() && s.hosts.empty() &&
                  s.vlans.empty() && s.dot1qMappings.empty() && s.nonDfPorts.empty() &&
                  s.waitingTunnels.empty())
          << "a hardware model is not empty";
      if (cycle == 0) baseline = TestHeap::liveBytes();
      EXPECT_EQ(TestHeap::liveBytes(), baseline) << "live heap grew over the first cycle's";
      // Progress, for the long run.
      std::cerr << "churn: cycle " << cycle + 1 << " of " << cycles << ": live heap "
                << TestHeap::liveBytes() - start << " bytes, peak " << TestHeap::peakBytes() - start
                << std::endl;
      if (::testing::Test::HasFailure()) return;
    }
    std::cerr << "churn: " << cycles << " cycles of " << entries << " entries per machine; live heap "
              << empty - start << " bytes for the empty switch, " << baseline - start
              << " after the first cycle and after every later one, peak " << peak - start << "\n";
  }
  std::cerr << "churn: " << TestHeap::liveBytes() - start << " bytes live once the switch is gone\n";
  Qor::logSinkIs({});
}

}  // namespace
