// Destinations per second through EvpnRemoteInfoFinderSm at 100k flood-set destinations:
// 100 VLANs x 10 MAC flood sets x 100 MPLS destinations over 1000 tunnels. Each item is
// one destination notification, including the input's own destSet write that sends it.
#include <benchmark/benchmark.h>

#include <vector>

#include "FennEvpn/FennEvpnRemoteInfoFinderSm.h"

namespace {

using Tunnel::TunnelTable::TunnelId;

constexpr int vlans = 100;
constexpr int macsPerVlan = 10;
constexpr int destsPerFloodSet = 100;
constexpr int tunnels = 1000;
constexpr int64_t destinations = int64_t(vlans) * macsPerVlan * destsPerFloodSet;

struct Population {
  std::vector<L2Rib::FloodSet*> floodSets;
  std::vector<L2Rib::Dest> dests;  // destsPerFloodSet per flood set, in flood-set order

  explicit Population(L2Rib::FloodSetOutput& input) {
    for (int v = 1; v <= vlans; ++v) {
      auto* vfs = input.vlanFloodSetIs(Bridging::VlanId(uint64_t(v)));
      for (int m = 0; m < macsPerVlan; ++m)
        floodSets.push_back(vfs->floodSetIs(Ostra::EthAddr(uint64_t(m + 1))));
    }
    for (int64_t i = 0; i < destinations; ++i) {
      dests.push_back(L2Rib::Dest::mpls(TunnelId(Tunnel::tunnelTypeLdp, 1 + uint64_t(i % tunnels)),
                                        Ostra::MplsLabel(16 + uint64_t(i / tunnels))));
    }
  }
  template <class Write>
  void forEach(Write write) {
    for (size_t f = 0; f < floodSets.size(); ++f) {
      for (size_t d = 0; d < destsPerFloodSet; ++d) write(*floodSets[f], dests[f * destsPerFloodSet + d]);
    }
  }
  void fill() {
    forEach([](L2Rib::FloodSet& fs, L2Rib::Dest const& d) { fs.destSetIs(d); });
  }
  void empty() {
    forEach([](L2Rib::FloodSet& fs, L2Rib::Dest const& d) { fs.destSetDel(d); });
  }
};

// Every destination added and then removed again: two notifications per destination.
void BM_AddAndRemoveDestinations(benchmark::State& state) {
  auto input = L2Rib::floodSetOutputFactory();
  auto info = Fenn::evpnRemoteInfoFactory();
  Population pop(*input);
  auto sm = Fenn::evpnRemoteInfoFinderSmFactory(input, info);
  for (auto _ : state) {
    pop.fill();
    pop.empty();
  }
  if (!info->remoteTunnelId().empty()) state.SkipWithError("counts left behind");
  state.SetItemsProcessed(state.iterations() * destinations * 2);
}
BENCHMARK(BM_AddAndRemoveDestinations)->Unit(benchmark::kMillisecond);

// A state machine created on a populated input walks and counts every destination.
void BM_ConstructOnPopulatedInput(benchmark::State& state) {
  auto input = L2Rib::floodSetOutputFactory();
  Population pop(*input);
  pop.fill();
  for (auto _ : state) {
    auto info = Fenn::evpnRemoteInfoFactory();
    auto sm = Fenn::evpnRemoteInfoFinderSmFactory(input, info);
    benchmark::DoNotOptimize(info->remoteTunnelId().size());
  }
  state.SetItemsProcessed(state.iterations() * destinations);
}
BENCHMARK(BM_ConstructOnPopulatedInput)->Unit(benchmark::kMillisecond);

}  // namespace
