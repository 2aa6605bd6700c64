// What recording the inputs costs, on the flood-set workload of flood_set_bench: every VLAN
// floods to 16 remote tunnels through 3 flood MACs, each remote PE advertising one label
// per VLAN (196,512 destinations at 4094 VLANs), written into the layer-2 RIB's flood sets
// of a simulated switch. BM_AddDestinations/0 runs without a recorder (nothing watches
// for one: the same code as an agent that never attaches one), /1 with a recorder attached
// that writes every destination as a scenario step into a file under the temporary
// directory. Compare the CPU times.
#include <benchmark/benchmark.h>

#include <filesystem>

#include "sim/Switch.h"

namespace {

constexpr uint64_t vlans = 4094;
constexpr uint64_t tunnels = 16;
Ostra::EthAddr const floodMacs[] = {Ostra::EthAddr::broadcast(), Ostra::EthAddr(0x010000000001),
                                    Ostra::EthAddr(0x010000000002)};

void BM_AddDestinations(benchmark::State& state) {
  bool const recorded = state.range(0) != 0;
  std::filesystem::path const file = std::filesystem::temp_directory_path() / "fenn-recorder-bench.yaml";
  uint64_t steps = 0;
  for (auto _ : state) {
    state.PauseTiming();
    {
      auto l2Rib = L2Rib::floodSetOutputFactory();
      std::vector<L2Rib::FloodSet*> floodSets;
      for (uint64_t v = 1; v <= vlans; ++v) {
        for (auto const& mac : floodMacs)
          floodSets.push_back(l2Rib->vlanFloodSetIs(Bridging::VlanId(v))->floodSetIs(mac));
      }
      Sim::Switch sw(Sim::HardwareConfig{}, "bench", {l2Rib, Evpn::evpnStatusFactory()});
      if (recorded) sw.record({file.string()});
      state.ResumeTiming();
      for (size_t f = 0; f < floodSets.size(); ++f) {
        for (uint64_t t = 0; t < tunnels; ++t) {
          floodSets[f]->destSetIs(
              L2Rib::Dest::mpls(Tunnel::TunnelTable::TunnelId(Tunnel::tunnelTypeLdp, 1 + t),
                                Ostra::MplsLabel(10000 + 1 + f / 3)));
        }
      }
      if (recorded) sw.recorder()->flush();
      state.PauseTiming();
      if (recorded) steps = sw.recorder()->steps();
      if (sw.floodSetHwStatus()->status().size() != vlans * 3)
        state.SkipWithError("flood sets not programmed");
      if (recorded && !sw.recorder()->error().empty()) state.SkipWithError(sw.recorder()->error().c_str());
    }
    state.ResumeTiming();
  }
  std::filesystem::remove(file);
  state.counters["destinations"] = double(vlans * 3 * tunnels);
  state.counters["steps"] = double(steps);
}
BENCHMARK(BM_AddDestinations)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace
