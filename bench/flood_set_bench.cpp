// The whole flood-set path (remote tunnel counts, hardware tunnel IDs, MPLS filter, FEC
// requests answered at once, flood-set configuration), driven the way the layer-2 RIB
// drives it: every VLAN floods to `tunnels` remote tunnels through 3 flood MACs (broadcast,
// unknown unicast, unknown multicast), each remote PE advertising one label per VLAN, so
// every (tunnel, VLAN) is a via of its own. VLANs x tunnels x 3 destinations:
//   209 x 16 = 10,032     4094 x 16 = 196,512     4094 x 64 = 786,048
//   4094 x 256 = 3,144,192 (registered on its own: it takes GBs and tens of seconds)
// Two harnesses run the same workload:
//  - Switch: the simulated switch, its FEC responder and flood-set programmer included;
//  - Library: the library's state machines with the platform's side reduced to the least
//    that answers: FEC requests are answered inside their notification, and nothing
//    programs the flood-set configuration (no hardware status comes back).
// Benchmarks:
//  - BM_<harness>AddDestinations/<vlans>/<tunnels>: first fill into a new switch.
//    Reported: destinations per second, and the peak of live heap bytes per destination
//    while adding (inputs and every state machine's state together), counted by the
//    global operator new of this program.
//  - BM_<harness>RemoveDestinations/<vlans>/<tunnels>: removal of every destination of a
//    filled switch. Reported: destinations per second, and the live heap bytes per
//    destination left over against the switch before the fill (0: back to baseline) once
//    the released FEC indexes have been held back long enough to go back to their pool.
//  - BM_Restart: Sim::Switch::restart on inputs that hold a million destinations;
//    BM_RestartBuild and BM_RestartTeardown time its halves apart: a new switch built on
//    those inputs until their configuration is complete (reported with its page faults),
//    and a filled switch released.
//    BM_SwitchAddDestinationsRestartSize is the first fill of the same destinations.
//  - BM_HwTunnelIdChange: with the 196K population in place, one tunnel moves between
//    hardware tunnel ID pools (its segment's shared ESI label is switched), which rewrites
//    the configuration of each of its 12,282 destinations.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sys/resource.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <vector>

#include "sim/Switch.h"

namespace {

size_t liveBytes = 0;
size_t peakBytes = 0;
size_t allocations = 0;

void* allocate(size_t size) {
  void* p = std::malloc(size ? size : 1);
  if (!p) throw std::bad_alloc();
  liveBytes += malloc_usable_size(p);
  ++allocations;
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

Ostra::EthAddr const floodMacs[] = {Ostra::EthAddr::broadcast(), Ostra::EthAddr(0x010000000001),
                                    Ostra::EthAddr(0x010000000002)};
L2Rib::FloodSetType const floodTypes[] = {L2Rib::floodSetTypeBroadcast, L2Rib::floodSetTypeUnknownUnicast,
                                          L2Rib::floodSetTypeUnknownMulticast};

TunnelId tunnel(uint64_t i) { return TunnelId(Tunnel::tunnelTypeLdp, 1 + i); }

// The flood sets of `vlans` VLANs, and the destinations of `tunnels` tunnels to write into them.
struct Population {
  std::vector<L2Rib::FloodSet*> floodSets;
  uint64_t tunnels;

  Population(L2Rib::FloodSetOutput& l2Rib, uint64_t vlans, uint64_t tunnels) : tunnels(tunnels) {
    for (uint64_t v = 1; v <= vlans; ++v) {
      L2Rib::VlanFloodSet* vlanFloodSet = l2Rib.vlanFloodSetIs(Bridging::VlanId(v));
      for (size_t m = 0; m < 3; ++m) {
        L2Rib::FloodSet* floodSet = vlanFloodSet->floodSetIs(floodMacs[m]);
        floodSet->floodSetTypeIs(floodTypes[m]);
        floodSets.push_back(floodSet);
      }
    }
  }
  int64_t destinations() const { return int64_t(floodSets.size() * tunnels); }
  static L2Rib::Dest dest(size_t floodSet, uint64_t t) {
    return L2Rib::Dest::mpls(tunnel(t), Ostra::MplsLabel(10000 + 1 + floodSet / 3));
  }
  void fill() {
    for (size_t f = 0; f < floodSets.size(); ++f) {
      for (uint64_t t = 0; t < tunnels; ++t) floodSets[f]->destSetIs(dest(f, t));
    }
  }
  void empty() {
    for (size_t f = 0; f < floodSets.size(); ++f) {
      for (uint64_t t = 0; t < tunnels; ++t) floodSets[f]->destSetDel(dest(f, t));
    }
  }
};

Sim::HardwareConfig hardware() {
  Sim::HardwareConfig config;
  config.defaultHwTunnelIds = 4096;
  return config;
}

// The simulated switch, hardware models included.
class SwitchHarness {
 public:
  SwitchHarness(Qor::Ptr<L2Rib::FloodSetOutput> l2Rib, Qor::Ptr<Evpn::EvpnStatus> evpnStatus)
      : sw_(hardware(), "bench", {l2Rib, evpnStatus}) {}
  size_t configuredFloodSets() const { return sw_.floodSetHwStatus()->status().size(); }
  int64_t programmedDestinations() const {
    int64_t n = 0;
    for (auto const& [pair, status] : sw_.floodSetHwStatus()->status())
      n += int64_t(status->mplsDestStatus().size());
    return n;
  }
  Sim::Switch& sw() { return sw_; }
  void advance(double seconds) { sw_.advance(seconds); }

 private:
  Sim::Switch sw_;
};

// Answers every FEC request inside its notification, as a chip that never fails would.
class FecAnswerer : public Qor::StateMachine {
 public:
  FecAnswerer(Qor::Ptr<Fenn::FecIdToHwFecIdRequest const> request,
              Qor::Ptr<Fenn::FecIdToHwFecIdResponse> response)
      : request_(std::move(request)), response_(std::move(response)) {
    reactor_ = Qor::newReactor<Reactor>(request_.get(), this);
  }
  std::string_view fwkType() const override { return "Bench::FecAnswerer"; }

 private:
  class Reactor : public Vasp::TableReactor<Fenn::FecIdToHwFecIdRequest, FecAnswerer> {
   public:
    using TableReactor::TableReactor;
    void notify(Vasp::Fib::FecId const& fecId) override { sm()->answer(fecId); }
  };
  void answer(Vasp::Fib::FecId fecId) {
    if (Vasp::Fib::Fec const* fec = request_->rowFind(fecId)) {
      response_->rowIs(Fenn::FecToHwFecId(fecId, 0x1000 + fecId.index(), fec->vias()[0].intfId()));
    } else {
      response_->rowDel(fecId);
    }
  }
  Qor::Ptr<Fenn::FecIdToHwFecIdRequest const> request_;
  Qor::Ptr<Fenn::FecIdToHwFecIdResponse> response_;
  std::unique_ptr<Reactor> reactor_;
};

// The library's flood-set state machines, wired as the switch wires them, with a FEC
// answerer and no flood-set programming.
class LibraryHarness {
 public:
  LibraryHarness(Qor::Ptr<L2Rib::FloodSetOutput> l2Rib, Qor::Ptr<Evpn::EvpnStatus> evpnStatus) {
    Qor::Ptr<Keel::TimerWheel> timerWheel(new Keel::TimerWheel(scheduler_));
    Qor::Ptr<Sim::HwTunnelIdPools> pools(new Sim::HwTunnelIdPools("benchHwTunnelIdPools"));
    pools->poolSizeIs(Fenn::hwTunnelIdTypeDefault, 4096);
    auto remoteInfo = Fenn::evpnRemoteInfoFactory();
    auto tunnelIds = Fenn::tunnelIdToHwTunnelIdMappingFactory("benchTunnelIds");
    auto tunnelIdsReader = Fenn::tunnelIdToHwTunnelIdMappingReaderFactory("benchTunnelIds");
    auto mplsFloodSets = L2Rib::floodSetOutputFactory();
    auto request = Fenn::fecIdToHwFecIdRequestFactory("benchFecRequest", Vasp::Mode::writer);
    auto response = Fenn::fecIdToHwFecIdResponseFactory("benchFecResponse", Vasp::Mode::writer);
    auto responseReader = Fenn::fecIdToHwFecIdResponseFactory("benchFecResponse", Vasp::Mode::reader);
    auto hwInfo = Fenn::hwInfoMappingFactory();
    hwConfig_ = Fenn::evpnVlanFloodSetHwConfigFactory();
    auto hwStatus = Fenn::evpnVlanFloodSetHwStatusFactory();
    answerer_ = Qor::Ptr<FecAnswerer>(
        new FecAnswerer(Fenn::fecIdToHwFecIdRequestFactory("benchFecRequest", Vasp::Mode::reader), response));
    // Producers before consumers, and torn down in the reverse order.
    sms_.push_back(Fenn::evpnRemoteInfoFinderSmFactory(l2Rib, remoteInfo));
    sms_.push_back(Fenn::evpnHwTunnelIdSmFactory(pools, scheduler_, Fenn::fennCommonSmDataFactory(),
                                                 evpnStatus, remoteInfo, tunnelIds));
    sms_.push_back(Fenn::vlanFloodSetFilterSmFactory(L2Rib::destTypeMpls_, l2Rib, mplsFloodSets));
    sms_.push_back(Fenn::evpnFloodSetFecSmFactory(mplsFloodSets, tunnelIdsReader, hwStatus, request,
                                                  responseReader, hwInfo, timerWheel));
    sms_.push_back(
        Fenn::evpnVlanFloodSetSmFactory(mplsFloodSets, tunnelIdsReader, hwInfo, hwConfig_, hwStatus));
    for (auto const& sm : sms_) sm->initializedIs(true);
  }
  ~LibraryHarness() {
    while (!sms_.empty()) sms_.pop_back();
  }
  size_t configuredFloodSets() const { return hwConfig_->config().size(); }
  void advance(double seconds) { scheduler_->advanceBy(seconds); }

 private:
  Qor::Ptr<Keel::TaskScheduler> scheduler_{
      new Keel::TaskScheduler(Qor::Ptr<Keel::ManualClock>(new Keel::ManualClock))};
  Qor::Ptr<Fenn::EvpnVlanFloodSetHwConfig> hwConfig_;
  Qor::Ptr<FecAnswerer> answerer_;
  std::vector<Qor::Ptr<Qor::StateMachine>> sms_;
};

// One new harness on a population of flood sets, the inputs and the harness built untimed.
template <class Harness>
struct Run {
  Qor::Ptr<L2Rib::FloodSetOutput> l2Rib = L2Rib::floodSetOutputFactory();
  Qor::Ptr<Evpn::EvpnStatus> evpnStatus = Evpn::evpnStatusFactory();
  Population population;
  Harness harness;
  size_t const baseline;

  Run(uint64_t vlans, uint64_t tunnels)
      : population(*l2Rib, vlans, tunnels), harness(l2Rib, evpnStatus), baseline(liveBytes) {}
  double perDestination(size_t bytes) const {
    return double(int64_t(bytes) - int64_t(baseline)) / double(population.destinations());
  }
};

// Times the first fill of a new harness or, with `removal`, the removal of every
// destination from a filled one. Reported with the rate: the peak bytes per destination
// while filling, or the bytes per destination left after the removal.
template <class Harness, bool removal>
void timeDestinations(benchmark::State& state) {
  uint64_t const vlans = static_cast<uint64_t>(state.range(0));
  uint64_t const tunnels = static_cast<uint64_t>(state.range(1));
  int64_t destinations = 0;
  double bytesPerDestination = 0;
  double allocationsPerDestination = 0;
  for (auto _ : state) {
    state.PauseTiming();
    {
      Run<Harness> run(vlans, tunnels);
      destinations = run.population.destinations();
      if (removal) run.population.fill();
      peakBytes = liveBytes;
      size_t const allocationsBefore = allocations;
      state.ResumeTiming();
      if (removal) {
        run.population.empty();
      } else {
        run.population.fill();
      }
      state.PauseTiming();
      allocationsPerDestination = double(allocations - allocationsBefore) / double(destinations);
      // Released FEC indexes are held back for a while before they go back to the pool.
      if (removal) run.harness.advance(Fenn::EvpnFloodSetFecSm::fecIndexHoldBack + 1);
      bytesPerDestination = run.perDestination(removal ? liveBytes : peakBytes);
      if (run.harness.configuredFloodSets() != (removal ? 0 : vlans * 3))
        state.SkipWithError("flood sets not configured as expected");
    }
    state.ResumeTiming();
  }
  state.counters["destinations"] = double(destinations);
  state.counters["destinations/s"] =
      benchmark::Counter(double(destinations) * double(state.iterations()), benchmark::Counter::kIsRate);
  state.counters[removal ? "leftBytes/destination" : "peakBytes/destination"] = bytesPerDestination;
  state.counters["allocations/destination"] = allocationsPerDestination;
}

void BM_SwitchAddDestinations(benchmark::State& state) { timeDestinations<SwitchHarness, false>(state); }
void BM_SwitchRemoveDestinations(benchmark::State& state) { timeDestinations<SwitchHarness, true>(state); }
void BM_LibraryAddDestinations(benchmark::State& state) { timeDestinations<LibraryHarness, false>(state); }
void BM_LibraryRemoveDestinations(benchmark::State& state) { timeDestinations<LibraryHarness, true>(state); }

// VLANs and tunnels of the scaling steps, 3.1M apart.
void scalingSteps(benchmark::internal::Benchmark* b) {
  b->Args({209, 16})->Args({4094, 16})->Args({4094, 64})->Unit(benchmark::kMillisecond)->Iterations(3);
}
void dataCenterScale(benchmark::internal::Benchmark* b) {
  b->Args({4094, 256})->Unit(benchmark::kMillisecond)->Iterations(1);
}
BENCHMARK(BM_SwitchAddDestinations)->Apply(scalingSteps);
BENCHMARK(BM_SwitchRemoveDestinations)->Apply(scalingSteps);
BENCHMARK(BM_LibraryAddDestinations)->Apply(scalingSteps);
BENCHMARK(BM_LibraryRemoveDestinations)->Apply(scalingSteps);
BENCHMARK(BM_SwitchAddDestinations)->Name("BM_SwitchAddDestinations3M")->Apply(dataCenterScale);
BENCHMARK(BM_SwitchRemoveDestinations)->Name("BM_SwitchRemoveDestinations3M")->Apply(dataCenterScale);
BENCHMARK(BM_LibraryAddDestinations)->Name("BM_LibraryAddDestinations3M")->Apply(dataCenterScale);
BENCHMARK(BM_LibraryRemoveDestinations)->Name("BM_LibraryRemoveDestinations3M")->Apply(dataCenterScale);

// A restart on inputs that hold 1,007,124 destinations (4094 VLANs x 82 tunnels x 3): every
// state machine withdraws what it published and is built again on the inputs, until the
// flood-set configuration is complete again. The two halves are timed apart below.
uint64_t const restartVlans = 4094;
uint64_t const restartTunnels = 82;

// The first fill of the same million destinations into a new switch, for comparison: the
// build below does the same work, walk by walk instead of destination by destination.
BENCHMARK(BM_SwitchAddDestinations)
    ->Name("BM_SwitchAddDestinationsRestartSize")
    ->Args({int64_t(restartVlans), int64_t(restartTunnels)})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

void BM_Restart(benchmark::State& state) {
  Run<SwitchHarness> run(restartVlans, restartTunnels);
  run.population.fill();
  for (auto _ : state) run.harness.sw().restart();
  if (run.harness.programmedDestinations() != run.population.destinations())
    state.SkipWithError("flood sets not programmed again");
  state.counters["destinations"] = double(run.population.destinations());
}
BENCHMARK(BM_Restart)->Unit(benchmark::kMillisecond)->Iterations(1);

// The page faults of this process so far: on 4 KiB pages, a fresh page costs the build about
// as much as the work it holds (see docs/performance.md), so the build reports its own.
int64_t minorPageFaults() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return int64_t(usage.ru_minflt);
}

// The build half of a restart: every state machine created on inputs that already hold the
// million destinations, until the hardware configuration is complete (a new switch, whose
// constructor settles). Reported with the page faults of the last build.
void BM_RestartBuild(benchmark::State& state) {
  auto l2Rib = L2Rib::floodSetOutputFactory();
  auto evpnStatus = Evpn::evpnStatusFactory();
  Population population(*l2Rib, restartVlans, restartTunnels);
  population.fill();
  int64_t programmed = 0;
  int64_t pageFaults = 0;
  for (auto _ : state) {
    int64_t const faultsBefore = minorPageFaults();
    auto harness = std::make_unique<SwitchHarness>(l2Rib, evpnStatus);
    state.PauseTiming();
    pageFaults = minorPageFaults() - faultsBefore;
    programmed = harness->programmedDestinations();
    harness.reset();
    state.ResumeTiming();
  }
  if (programmed != population.destinations()) state.SkipWithError("flood sets not programmed");
  state.counters["destinations"] = double(population.destinations());
  state.counters["pageFaults"] = double(pageFaults);
  state.counters["destinations/s"] = benchmark::Counter(
      double(population.destinations()) * double(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_RestartBuild)->Unit(benchmark::kMillisecond)->Iterations(1);

// The teardown half: a switch holding the million destinations released, each state
// machine withdrawing what it published (the hardware models answer every withdrawal).
void BM_RestartTeardown(benchmark::State& state) {
  auto l2Rib = L2Rib::floodSetOutputFactory();
  auto evpnStatus = Evpn::evpnStatusFactory();
  Population population(*l2Rib, restartVlans, restartTunnels);
  population.fill();
  for (auto _ : state) {
    state.PauseTiming();
    auto harness = std::make_unique<SwitchHarness>(l2Rib, evpnStatus);
    state.ResumeTiming();
    harness.reset();
  }
  state.counters["destinations"] = double(population.destinations());
  state.counters["destinations/s"] = benchmark::Counter(
      double(population.destinations()) * double(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_RestartTeardown)->Unit(benchmark::kMillisecond)->Iterations(1);

void BM_HwTunnelIdChange(benchmark::State& state) {
  auto l2Rib = L2Rib::floodSetOutputFactory();
  auto evpnStatus = Evpn::evpnStatusFactory();
  Evpn::EthernetSegmentStatus* segment = evpnStatus->ethernetSegmentStatusIs(Ostra::IntfId("Ethernet1"));
  segment->remoteEsiLabelIs(Ostra::IntfId::dynamicTunnel(tunnel(0)),
                            Evpn::EncapTypeLabel::mpls(Ostra::MplsLabel(600)));
  Population population(*l2Rib, 4094, 16);
  SwitchHarness harness(l2Rib, evpnStatus);
  population.fill();
  int64_t const reconfigured = population.destinations() / int64_t(population.tunnels);
  bool shared = false;
  for (auto _ : state) {
    shared = !shared;
    segment->sharedEsiLabelIs(Evpn::SharedEsiLabel(Ostra::MplsLabel(500), shared));
  }
  Fenn::HwTunnelId const now =
      harness.sw().tunnelIdToHwTunnelId()->tunnelIdToHwTunnelId(tunnel(0)).hwTunnelId();
  if (now.type() != (shared ? Fenn::hwTunnelIdTypeSharedEs : Fenn::hwTunnelIdTypeDefault)) {
    state.SkipWithError("the tunnel did not change pools");
  }
  state.counters["destinations/change"] = double(reconfigured);
  state.SetItemsProcessed(state.iterations() * reconfigured);
}
BENCHMARK(BM_HwTunnelIdChange)->Unit(benchmark::kMillisecond);

}  // namespace
