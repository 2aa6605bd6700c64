// The dot1q and flood-filter machines on the simulated flooding hardware, at 64 access
// interfaces (32 LAGs of two ports and 32 plain ports: 96 physical ports) × 4094 VLANs,
// every interface a member of every VLAN: 393,024 VLAN-to-dot1q mappings, and as many
// non-DF port entries when every interface is filtered in every VLAN.
//  - BM_Dot1qFromEmpty: every VLAN gets its tag and its 64 members; the VLANs are created
//    at once and the mappings by the interface review a second later. Reported: mappings
//    programmed per second, and the interface review's runs (it yields every workQuota pairs).
//  - BM_FloodFilterFromEmpty: every VLAN's flood status filters all 64 interfaces.
//    Reported: non-DF port entries programmed per second.
//  - BM_MembershipBurst: 10,000 (interface, VLAN) memberships go, or come back, in one
//    burst; reported: interface reviews scheduled for the burst, and the runs they took, at
//    the scheduler's default work quota (100) and with no quota.
//  - BM_Dot1qChange: one VLAN with 64 member interfaces changes its tag: the VLAN is
//    re-created and its 96 port mappings re-programmed by the next review.
// The machines are built on their inputs directly: what is timed is theirs and the chip
// model's, not the LAG and VLAN membership machines' in front of them.
#include <benchmark/benchmark.h>

#include <limits>

#include "Evpn/EvpnStatus.h"
#include "Evpn/MplsConfig.h"
#include "FennEvpn/FennEvpnFloodFilterSm.h"
#include "FennEvpn/FennEvpnFloodingDot1qSm.h"
#include "Keel/ManualClock.h"
#include "Keel/TaskScheduler.h"
#include "sim/FloodingHardware.h"

namespace {

using Bridging::VlanId;
using Ostra::IntfId;

constexpr uint32_t kIntfs = 64;
constexpr uint16_t kVlans = 4094;
constexpr uint32_t kPorts = (kIntfs / 2) * 2 + kIntfs / 2;
constexpr size_t kEntries = size_t(kPorts) * kVlans;
constexpr uint32_t kBurst = 10000;

// Interface i: LAG i+1 for the first half (ports 2i+1 and 2i+2), else a plain port above them.
IntfId accessIntf(uint32_t i) {
  return i < kIntfs / 2 ? IntfId::portChannel(i + 1) : IntfId::ethernet(1000 + i);
}

// The inputs both machines read, with the LAGs configured, and the hardware behind them.
struct Bench {
  Bench() {
    for (uint32_t i = 0; i < kIntfs / 2; ++i) {
      Fenn::FennPortList ports;
      ports.portIs(IntfId::ethernet(2 * i + 1));
      ports.portIs(IntfId::ethernet(2 * i + 2));
      lags->lagToPortIs(accessIntf(i), ports);
    }
  }
  Sim::VlanFloodingTables const& tables() const { return hw->vlanTables(); }

  Qor::Ptr<Keel::ManualClock> clock{new Keel::ManualClock};
  Qor::Ptr<Keel::TaskScheduler> scheduler{new Keel::TaskScheduler(clock)};
  Qor::Ptr<Fenn::EvpnLagMemberInfo> lags = Fenn::evpnLagMemberInfoFactory();
  Qor::Ptr<Fenn::EvpnVlanStatus> vlanStatus = Fenn::evpnVlanStatusFactory();
  Qor::Ptr<Evpn::EvpnStatus> evpn = Evpn::evpnStatusFactory();
  Qor::Ptr<Evpn::MplsConfig> mplsConfig = Evpn::mplsConfigFactory();
  Qor::Ptr<Sim::FloodingHardware> hw{new Sim::FloodingHardware("dot1qBench")};
};

struct Dot1qBench : Bench {
  Dot1qBench() {
    sm = Fenn::evpnFloodingDot1qSmFactory(hw, scheduler, lags, vlanStatus, evpn, mplsConfig);
    sm->initializedIs(true);
  }
  // Every VLAN tagged with its own ID and every interface a member; the review runs.
  void everything() {
    for (uint16_t v = 1; v <= kVlans; ++v) {
      evpn->vlanToDot1qIs(VlanId(v), Bridging::VlanIdOrNone(v));
      Fenn::EvpnVlanMemberInfo* members = vlanStatus->vlanStatusIs(VlanId(v));
      for (uint32_t i = 0; i < kIntfs; ++i) members->memberIs(accessIntf(i));
    }
    scheduler->advanceBy(sm->defaultIntfVlanDelay());
  }
  Qor::Ptr<Fenn::EvpnFloodingDot1qSm> sm;
};

void BM_Dot1qFromEmpty(benchmark::State& state) {
  uint64_t runs = 0;
  for (auto _ : state) {
    state.PauseTiming();
    auto b = std::make_unique<Dot1qBench>();
    state.ResumeTiming();
    b->everything();
    state.PauseTiming();
    if (b->tables().dot1qMappings().size() != kEntries) state.SkipWithError("not every mapping programmed");
    runs = b->sm->intfVlanReviewCount();
    b.reset();
    state.ResumeTiming();
  }
  state.counters["mappings/s"] =
      benchmark::Counter(double(kEntries) * double(state.iterations()), benchmark::Counter::kIsRate);
  state.counters["reviewRuns"] = double(runs);
}
BENCHMARK(BM_Dot1qFromEmpty)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_FloodFilterFromEmpty(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    auto b = std::make_unique<Bench>();
    auto sm = Fenn::fennEvpnFloodFilterSmFactory(b->hw, b->scheduler, b->lags, b->evpn);
    sm->initializedIs(true);
    state.ResumeTiming();
    for (uint16_t v = 1; v <= kVlans; ++v) {
      Evpn::EvpnVlanFloodStatus* status = b->evpn->evpnVlanFloodStatusIs(VlanId(v));
      for (uint32_t i = 0; i < kIntfs; ++i) status->floodFilterIs(accessIntf(i));
    }
    b->scheduler->runReady();
    state.PauseTiming();
    if (b->tables().nonDfPorts().size() != kEntries) state.SkipWithError("not every filter programmed");
    sm = nullptr;
    b.reset();
    state.ResumeTiming();
  }
  state.counters["filters/s"] =
      benchmark::Counter(double(kEntries) * double(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_FloodFilterFromEmpty)->Unit(benchmark::kMillisecond)->Iterations(3);

// Arg: the scheduler's work quota, 0 for none.
void BM_MembershipBurst(benchmark::State& state) {
  Dot1qBench b;
  b.everything();
  if (state.range(0) > 0) {
    b.scheduler->workQuotaIs(uint64_t(state.range(0)));
  } else {
    b.scheduler->workQuotaIs(std::numeric_limits<uint64_t>::max());
  }
  bool present = true;
  uint64_t reviews = 0;
  uint64_t runs = 0;
  for (auto _ : state) {
    present = !present;
    uint64_t const runsBefore = b.sm->intfVlanReviewCount();
    // Pair n: interface n % 64 in VLAN n / 64 + 1, so whole VLANs change.
    for (uint32_t n = 0; n < kBurst; ++n) {
      Fenn::EvpnVlanMemberInfo* members = b.vlanStatus->vlanStatus(VlanId(uint16_t(n / kIntfs + 1)));
      if (present) {
        members->memberIs(accessIntf(n % kIntfs));
      } else {
        members->memberDel(accessIntf(n % kIntfs));
      }
    }
    reviews += b.sm->reviewIntfVlan()->taskScheduled();
    b.scheduler->advanceBy(b.sm->defaultIntfVlanDelay());
    runs += b.sm->intfVlanReviewCount() - runsBefore;
  }
  size_t expected = kEntries;
  for (uint32_t n = 0; !present && n < kBurst; ++n) expected -= n % kIntfs < kIntfs / 2 ? 2 : 1;
  if (b.tables().dot1qMappings().size() != expected) state.SkipWithError("burst not programmed");
  state.counters["reviews/burst"] = double(reviews) / double(state.iterations());
  state.counters["runs/burst"] = double(runs) / double(state.iterations());
}
BENCHMARK(BM_MembershipBurst)->Unit(benchmark::kMillisecond)->Arg(100)->Arg(0);

void BM_Dot1qChange(benchmark::State& state) {
  Dot1qBench b;
  b.everything();
  VlanId const vlan(100);
  uint64_t const createsBefore = b.tables().createCount();
  bool moved = false;
  for (auto _ : state) {
    moved = !moved;
    b.evpn->vlanToDot1qIs(vlan, Bridging::VlanIdOrNone(moved ? 4000 : vlan.value()));
    b.scheduler->advanceBy(b.sm->defaultIntfVlanDelay());
  }
  auto const tag = b.tables().dot1qMappings().at({IntfId::ethernet(1), vlan}).dot1q;
  if (tag != Bridging::VlanIdOrNone(moved ? 4000 : vlan.value()))
    state.SkipWithError("mapping not re-programmed");
  state.counters["creates/change"] =
      double(b.tables().createCount() - createsBefore) / double(state.iterations());
}
BENCHMARK(BM_Dot1qChange)->Unit(benchmark::kMicrosecond);

}  // namespace
