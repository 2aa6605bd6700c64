// The ESI label machine on the simulated switch (with the LAG and VLAN membership machines
// and the hardware tunnel ID allocation behind it), at 64 access interfaces (32 LAGs of two
// ports and 32 plain ports), each an Ethernet segment with 1000 VLANs shared with two remote
// PEs, the designated forwarder alternating between them by VLAN: 96,000 ESI entries.
//  - BM_EsiFromEmpty/<vlans>: the segments' VLANs appear on a switch that has the LAGs, peers
//    and labels already; reported: ESI entries programmed per second.
//  - BM_DesignatedForwarderChange: every VLAN of every segment changes its DF to the other
//    PE (64,000 DF changes, 96,000 entries deleted and created).
//  - BM_LagMemberJoin: a third port joins one LAG (1000 entries); it leaves between runs.
//  - BM_HwTunnelIdChange: one PE's tunnel moves between hardware tunnel ID pools (another
//    segment's shared ESI label is switched), which re-programs the 48,000 entries towards it.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <vector>

#include "sim/Switch.h"

namespace {

using Ostra::IntfId;

constexpr uint32_t kIntfs = 64;
constexpr uint16_t kVlans = 1000;
constexpr size_t kEntries = (kIntfs / 2) * 2 * kVlans + (kIntfs / 2) * kVlans;

Fenn::TunnelId tunnel(uint64_t pe) { return Fenn::TunnelId(Tunnel::tunnelTypeLdp, pe); }
IntfId tep(uint64_t pe) { return IntfId::dynamicTunnel(tunnel(pe)); }
// Interface i: LAG i+1 for the first half (ports 2i+1 and 2i+2), else a plain port above them.
IntfId accessIntf(uint32_t i) {
  return i < kIntfs / 2 ? IntfId::portChannel(i + 1) : IntfId::ethernet(1000 + i);
}
IntfId const spareSegment = IntfId::ethernet(5000);

// A switch with the LAGs, the segments' peers and local labels, and no VLANs yet.
std::unique_ptr<Sim::Switch> prepared() {
  setenv("SIMULATION_VMID", "1", 1);
  auto sw = std::make_unique<Sim::Switch>(Sim::HardwareConfig{}, "accessBench");
  for (uint32_t i = 0; i < kIntfs / 2; ++i)
    sw->lagIs(accessIntf(i), {IntfId::ethernet(2 * i + 1), IntfId::ethernet(2 * i + 2)});
  for (uint32_t i = 0; i < kIntfs; ++i) {
    sw->localEsiLabelIs(accessIntf(i), Ostra::MplsLabel(900 + i));
    sw->segmentIs(accessIntf(i), {{tep(1), Ostra::MplsLabel(601)}, {tep(2), Ostra::MplsLabel(602)}},
                  std::nullopt);
  }
  sw->segmentIs(spareSegment, {{tep(1), Ostra::MplsLabel(601)}}, std::nullopt);
  return sw;
}

Evpn::EthernetSegmentStatus* segment(Sim::Switch& sw, uint32_t i) {
  return sw.controlPlane().evpnStatus->ethernetSegmentStatus(accessIntf(i));
}

// VLANs 1..vlans on every segment, DF PE1 for odd VLANs and PE2 for even ones (`flip` swaps).
void vlansIs(Sim::Switch& sw, bool flip, uint16_t vlans = kVlans) {
  for (uint32_t i = 0; i < kIntfs; ++i) {
    Evpn::EthernetSegmentStatus* es = segment(sw, i);
    for (uint16_t v = 1; v <= vlans; ++v) {
      es->configuredVlanIs(Bridging::VlanId(v));
      es->designatedForwarderTepIs(Bridging::VlanId(v), tep((v % 2 == 1) != flip ? 1 : 2));
    }
  }
  sw.settle();
}

void BM_EsiFromEmpty(benchmark::State& state) {
  auto const vlans = static_cast<uint16_t>(state.range(0));
  size_t const entries = kEntries / kVlans * vlans;
  for (auto _ : state) {
    state.PauseTiming();
    auto sw = prepared();
    state.ResumeTiming();
    vlansIs(*sw, false, vlans);
    state.PauseTiming();
    if (sw->floodingHardware().esiData().size() != entries) state.SkipWithError("not every entry programmed");
    sw.reset();
    state.ResumeTiming();
  }
  state.counters["entries/s"] =
      benchmark::Counter(double(entries) * double(state.iterations()), benchmark::Counter::kIsRate);
}
// At the VLANs above, and at four times as many (384,000 entries).
BENCHMARK(BM_EsiFromEmpty)->Arg(kVlans)->Arg(4 * kVlans)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_DesignatedForwarderChange(benchmark::State& state) {
  auto sw = prepared();
  vlansIs(*sw, false);
  bool flip = false;
  for (auto _ : state) {
    flip = !flip;
    vlansIs(*sw, flip);
  }
  if (sw->floodingHardware().esiData().size() != kEntries) state.SkipWithError("not every entry programmed");
  state.counters["dfChanges/s"] =
      benchmark::Counter(double(kIntfs) * kVlans * double(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_DesignatedForwarderChange)->Unit(benchmark::kMillisecond)->Iterations(4);

void BM_LagMemberJoin(benchmark::State& state) {
  auto sw = prepared();
  vlansIs(*sw, false);
  for (auto _ : state) {
    sw->lagIs(accessIntf(0), {IntfId::ethernet(1), IntfId::ethernet(2), IntfId::ethernet(999)});
    state.PauseTiming();
    if (sw->floodingHardware().esiData().size() != kEntries + kVlans)
      state.SkipWithError("join not programmed");
    sw->lagIs(accessIntf(0), {IntfId::ethernet(1), IntfId::ethernet(2)});
    state.ResumeTiming();
  }
}
BENCHMARK(BM_LagMemberJoin)->Unit(benchmark::kMicrosecond);

void BM_HwTunnelIdChange(benchmark::State& state) {
  auto sw = prepared();
  vlansIs(*sw, false);
  bool shared = false;
  for (auto _ : state) {
    shared = !shared;
    std::optional<Ostra::MplsLabel> label;
    if (shared) label = Ostra::MplsLabel(700);
    sw->segmentIs(spareSegment, {{tep(1), Ostra::MplsLabel(601)}}, label);
  }
  auto const& rows = sw->state().esiData;
  size_t towardsPe1 = 0;
  for (auto const& r : rows) towardsPe1 += r.tunnelId == tunnel(1);
  if (towardsPe1 != kEntries / 2) state.SkipWithError("PE1's entries not all re-programmed");
  state.counters["entries"] = double(towardsPe1);
}
BENCHMARK(BM_HwTunnelIdChange)->Unit(benchmark::kMillisecond)->Iterations(6);

}  // namespace
