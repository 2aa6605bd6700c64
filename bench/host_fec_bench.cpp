// FennMacAddrFecRequestSm at scale: hosts over 20,000 labels (18,000 over a destination,
// 2,000 over a load balance), 2,000 load balances of four destinations and 512
// destinations. Hosts are spread over labels and load balances round-robin.
//   BM_HostsFromEmpty/N: N hosts written into an initialized machine (items = hosts;
//     counters: FECs built, heap bytes per host), at 100K and 1M and at four times both.
//   BM_DestinationChange: one destination used directly by 5,000 labels changes tunnel.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include "FennEvpn/FennMacAddrFecRequestSm.h"
#include "Keel/ManualClock.h"
#include "Keel/TaskScheduler.h"

namespace {

using L2Rib::ObjTuple;

constexpr uint32_t dests = 512;
constexpr uint32_t lbs = 2000;
constexpr uint32_t labels = 20000;

struct Chains {
  Chains() {
    for (uint32_t d = 0; d < dests; ++d) destIs(d, d + 1);
    for (uint32_t b = 0; b < lbs; ++b) {
      L2Rib::LoadBalance lb;
      for (uint32_t i = 0; i < 4; ++i)
        lb.nextIs(L2Rib::EcmpIndex(i), L2Rib::DestId((b + i * 97) % dests).tuple());
      lbTable->loadBalanceIs(L2Rib::LoadBalanceId(b), lb);
    }
    for (uint32_t l = 0; l < labels; ++l) {
      ObjTuple const next =
          l < labels - lbs ? L2Rib::DestId(l % dests).tuple() : L2Rib::LoadBalanceId(l % lbs).tuple();
      labelTable->labelIs(L2Rib::LabelId(l), L2Rib::Label(Ostra::MplsLabel(1000 + l), next));
    }
    sm = Fenn::fennMacAddrFecRequestSmFactory(labelTable, lbTable, destTable, hosts, responseReader, request,
                                              hwIds, wheel, scheduler);
    sm->maxChainLengthIs(3);
    sm->initializedIs(true);
    scheduler->runReady();
  }
  ~Chains() { sm = nullptr; }
  void destIs(uint32_t d, uint64_t tunnel) {
    destTable->destIs(L2Rib::DestId(d),
                      L2Rib::Dest::vxlan(Ostra::IpGenAddr(), d,
                                         Tunnel::TunnelTable::TunnelId(Tunnel::tunnelTypeLdp, tunnel)));
  }
  void hostIs(uint64_t h, ObjTuple first) {
    hosts->hostIs(Bridging::MacVlanPair(Ostra::EthAddr(0x020000000000 + h), Bridging::VlanId(1 + h % 4000)),
                  L2Rib::HostAndSource(first, L2Rib::hostSourceEvpn));
  }

  Qor::Ptr<Keel::ManualClock> clock{new Keel::ManualClock};
  Qor::Ptr<Keel::TaskScheduler> scheduler{new Keel::TaskScheduler(clock)};
  Qor::Ptr<Keel::TimerWheel> wheel{new Keel::TimerWheel(scheduler)};
  Qor::Ptr<L2Rib::LabelOutput> labelTable = L2Rib::labelOutputFactory();
  Qor::Ptr<L2Rib::LoadBalanceOutput> lbTable = L2Rib::loadBalanceOutputFactory();
  Qor::Ptr<L2Rib::DestOutput> destTable = L2Rib::destOutputFactory();
  Qor::Ptr<L2Rib::HostOutput> hosts = L2Rib::hostOutputFactory();
  Qor::Ptr<Fenn::FecIdToHwFecIdRequest> request =
      Fenn::fecIdToHwFecIdRequestFactory("benchHostFecRequest", Vasp::Mode::writer);
  Qor::Ptr<Fenn::FecIdToHwFecIdResponse> response =
      Fenn::fecIdToHwFecIdResponseFactory("benchHostFecResponse", Vasp::Mode::writer);
  Qor::Ptr<Fenn::FecIdToHwFecIdResponse> responseReader =
      Fenn::fecIdToHwFecIdResponseFactory("benchHostFecResponse", Vasp::Mode::reader);
  Qor::Ptr<Fenn::ObjTupleToHwId> hwIds = Fenn::objTupleToHwIdFactory();
  Qor::Ptr<Fenn::FennMacAddrFecRequestSm> sm;
};

// Small blocks and the large ones malloc maps on its own (the big hash tables).
size_t heapBytes() {
  struct mallinfo2 const m = mallinfo2();
  return m.uordblks + m.hblkhd;
}

ObjTuple firstObject(uint64_t h) {
  // One host in eleven on a load balance directly, the rest on labels.
  return h % 11 == 0 ? L2Rib::LoadBalanceId(h % lbs).tuple() : L2Rib::LabelId(h % labels).tuple();
}

void BM_HostsFromEmpty(benchmark::State& state) {
  uint64_t const count = state.range(0);
  double fecs = 0;
  double bytesPerHost = 0;
  for (auto _ : state) {
    state.PauseTiming();
    auto chains = std::make_unique<Chains>();
    size_t const before = heapBytes();
    state.ResumeTiming();
    for (uint64_t h = 0; h < count; ++h) chains->hostIs(h, firstObject(h));
    state.PauseTiming();
    fecs = double(chains->request->rowCount());
    // The RIB's own host table included: what a million hosts cost the process here.
    bytesPerHost = double(heapBytes() - before) / double(count);
    chains.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(int64_t(state.iterations() * count));
  state.counters["fecs"] = fecs;
  state.counters["fecsPerSecond"] =
      benchmark::Counter(fecs * double(state.iterations()), benchmark::Counter::kIsRate);
  state.counters["heapBytesPerHost"] = bytesPerHost;
}
BENCHMARK(BM_HostsFromEmpty)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond)->Iterations(1);
// Four times the sizes above: the cost per host should not grow with the count.
BENCHMARK(BM_HostsFromEmpty)->Arg(400000)->Arg(4000000)->Unit(benchmark::kMillisecond)->Iterations(1);

void BM_DestinationChange(benchmark::State& state) {
  Chains chains;
  // 5,000 labels straight over destination 0, each with a host.
  for (uint32_t l = 0; l < 5000; ++l) {
    chains.labelTable->labelIs(L2Rib::LabelId(100000 + l),
                               L2Rib::Label(Ostra::MplsLabel(5000 + l), L2Rib::DestId(0).tuple()));
    chains.hostIs(l, L2Rib::LabelId(100000 + l).tuple());
  }
  uint64_t tunnel = 1;
  for (auto _ : state) {
    tunnel = tunnel == 1 ? 9999 : 1;
    chains.destIs(0, tunnel);
  }
  state.counters["fecsRewritten"] =
      double(chains.sm->nextHopReverseMap(L2Rib::DestId(0).tuple())->objTuples());
}
BENCHMARK(BM_DestinationChange)->Unit(benchmark::kMillisecond);

}  // namespace
