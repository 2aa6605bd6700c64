// The whole flood-set path of the simulated switch (remote tunnel counts, hardware tunnel
// IDs, MPLS filter, FEC requests answered at once by the simulated FEC responder, flood-set
// configuration and its simulated programming), driven the way the layer-2 RIB drives it:
//  - BM_AddDestinations/<vlans>: every VLAN floods to 16 remote tunnels through 3 flood
//    MACs (broadcast, unknown unicast, unknown multicast), each remote PE advertising one
//    label per VLAN, so every (tunnel, VLAN) is a via of its own (65,504 FECs at 4094
//    VLANs). 4094 VLANs make 196,512 destinations; 209 and 1042 VLANs about 10k and 50k.
//    Reported: destinations per second, and the peak of live heap bytes per destination
//    while adding (inputs and every state machine's state together), counted by the
//    global operator new of this program.
//  - BM_HwTunnelIdChange: with the 4094-VLAN population in place, one tunnel moves between
//    hardware tunnel ID pools (its segment's shared ESI label is switched), which rewrites
//    the configuration of each of its 12,282 destinations.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstdint>
#include <cstdlib>
#include <new>
#include <vector>

#include "sim/Switch.h"

namespace {

size_t liveBytes = 0;
size_t peakBytes = 0;

void* allocate(size_t size) {
  void* p = std::malloc(size ? size : 1);
  if (!p) throw std::bad_alloc();
  liveBytes += malloc_usable_size(p);
  if (liveBytes > peakBytes) peakBytes = liveBytes;
  return p;
}

void release(void* p) noexcept {
  if (!p) return;
  liveBytes -= malloc_usable_size(p);
  std::free(p);
}

}  // namespace

void* operator new(size_t size) { return allocate(size); }
void* operator new[](size_t size) { return allocate(size); }
void operator delete(void* p) noexcept { release(p); }
void operator delete[](void* p) noexcept { release(p); }
void operator delete(void* p, size_t) noexcept { release(p); }
void operator delete[](void* p, size_t) noexcept { release(p); }

namespace {

using Fenn::TunnelId;

constexpr uint64_t tunnelCount = 16;
Ostra::EthAddr const floodMacs[] = {Ostra::EthAddr::broadcast(), Ostra::EthAddr(0x010000000001),
                                    Ostra::EthAddr(0x010000000002)};
L2Rib::FloodSetType const floodTypes[] = {L2Rib::floodSetTypeBroadcast, L2Rib::floodSetTypeUnknownUnicast,
                                          L2Rib::floodSetTypeUnknownMulticast};

TunnelId tunnel(uint64_t i) { return TunnelId(Tunnel::tunnelTypeLdp, 1 + i); }

// The destinations of `vlans` VLANs, ready to be written into their flood sets.
struct Population {
  std::vector<L2Rib::FloodSet*> floodSets;
  std::vector<L2Rib::Dest> dests;

  Population(L2Rib::FloodSetOutput& l2Rib, uint64_t vlans) {
    for (uint64_t v = 1; v <= vlans; ++v) {
      L2Rib::VlanFloodSet* vlanFloodSet = l2Rib.vlanFloodSetIs(Bridging::VlanId(v));
      for (size_t m = 0; m < 3; ++m) {
        L2Rib::FloodSet* floodSet = vlanFloodSet->floodSetIs(floodMacs[m]);
        floodSet->floodSetTypeIs(floodTypes[m]);
        floodSets.push_back(floodSet);
      }
    }
  }
  int64_t destinations() const { return int64_t(floodSets.size() * tunnelCount); }
  void fill() {
    for (size_t f = 0; f < floodSets.size(); ++f) {
      uint64_t const vlan = 1 + f / 3;
      for (uint64_t t = 0; t < tunnelCount; ++t) {
        floodSets[f]->destSetIs(L2Rib::Dest::mpls(tunnel(t), Ostra::MplsLabel(10000 + vlan)));
      }
    }
  }
};

void BM_AddDestinations(benchmark::State& state) {
  uint64_t const vlans = static_cast<uint64_t>(state.range(0));
  int64_t destinations = 0;
  double bytesPerDestination = 0;
  for (auto _ : state) {
    state.PauseTiming();
    {
      auto l2Rib = L2Rib::floodSetOutputFactory();
      auto evpnStatus = Evpn::evpnStatusFactory();
      Population population(*l2Rib, vlans);
      Sim::Switch sw(Sim::HardwareConfig{}, "bench", {l2Rib, evpnStatus});
      destinations = population.destinations();
      size_t const before = liveBytes;
      peakBytes = liveBytes;
      state.ResumeTiming();
      population.fill();
      state.PauseTiming();
      bytesPerDestination = double(peakBytes - before) / double(destinations);
      if (sw.floodSetHwStatus()->status().size() != vlans * 3)
        state.SkipWithError("flood sets not programmed");
    }
    state.ResumeTiming();
  }
  state.counters["destinations"] = double(destinations);
  state.counters["destinations/s"] =
      benchmark::Counter(double(destinations) * double(state.iterations()), benchmark::Counter::kIsRate);
  state.counters["peakBytes/destination"] = bytesPerDestination;
}
BENCHMARK(BM_AddDestinations)->Arg(209)->Arg(1042)->Arg(4094)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_HwTunnelIdChange(benchmark::State& state) {
  auto l2Rib = L2Rib::floodSetOutputFactory();
  auto evpnStatus = Evpn::evpnStatusFactory();
  Evpn::EthernetSegmentStatus* segment = evpnStatus->ethernetSegmentStatusIs(Ostra::IntfId("Ethernet1"));
  segment->remoteEsiLabelIs(Ostra::IntfId::dynamicTunnel(tunnel(0)),
                            Evpn::EncapTypeLabel::mpls(Ostra::MplsLabel(600)));
  Population population(*l2Rib, 4094);
  Sim::Switch sw(Sim::HardwareConfig{}, "bench", {l2Rib, evpnStatus});
  population.fill();
  int64_t const reconfigured = population.destinations() / int64_t(tunnelCount);
  bool shared = false;
  for (auto _ : state) {
    shared = !shared;
    segment->sharedEsiLabelIs(Evpn::SharedEsiLabel(Ostra::MplsLabel(500), shared));
  }
  Fenn::HwTunnelId const now = sw.tunnelIdToHwTunnelId()->tunnelIdToHwTunnelId(tunnel(0)).hwTunnelId();
  if (now.type() != (shared ? Fenn::hwTunnelIdTypeSharedEs : Fenn::hwTunnelIdTypeDefault)) {
    state.SkipWithError("the tunnel did not change pools");
  }
  state.counters["destinations/change"] = double(reconfigured);
  state.SetItemsProcessed(state.iterations() * reconfigured);
}
BENCHMARK(BM_HwTunnelIdChange)->Unit(benchmark::kMillisecond);

}  // namespace
