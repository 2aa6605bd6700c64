// The whole switch under random input changes of every kind and hardware faults on every
// model: once the faults stop and time has passed every review, each hardware model holds
// what a switch built afresh on the final inputs holds, up to the numbering of hardware
// tunnel IDs and FEC IDs, and no helper was asked to release or delete what it did not hold.
//
// FENN_SOAK_SEEDS, FENN_SOAK_EVENTS and FENN_SOAK_FIRST_SEED make it a long run
// (scripts/soak); a failure names the fault level and seed that replays it.
//
// Kept out of the default run until the drift it finds is fixed: some seeds end with a
// hardware tunnel ID held for a TEP that no flood set and no segment names any more, with
// or without faults (docs/reliability.md lists them). scripts/soak runs it.
#include <gtest/gtest.h>

#include <iostream>

#include "Access/AccessDriver.h"
#include "Qor/SysLog.h"
#include "Sim/SwitchInputs.h"

namespace {

uint64_t envNumber(char const* name, uint64_t fallback) {
  char const* s = std::getenv(name);
  return s ? std::strtoull(s, nullptr, 10) : fallback;
}

// Every model the inputs below reach (the decapsulation filter's port maps are not among them).
constexpr Sim::FaultTarget kTargets[] = {
    Sim::FaultTarget::hwTunnelIdAllocation,
    Sim::FaultTarget::fecResponse,
    Sim::FaultTarget::floodSetProgramming,
    Sim::FaultTarget::createEsiData,
};

// ESI data without the hardware tunnel ID the pools chose.
using EsiRow = std::tuple<Ostra::IntfId, Bridging::VlanId, Tunnel::TunnelTable::TunnelId, Ostra::IntfId,
                          Ostra::MplsLabel, Ostra::MplsLabel>;
std::vector<EsiRow> esiRows(Sim::HardwareState const& s) {
  std::vector<EsiRow> out;
  for (auto const& e : s.esiData)
    out.emplace_back(e.port, e.vlan, e.tunnelId, e.parentIntf, e.remoteEsiLabel, e.localEsiLabel);
  return out;
}

struct Totals {
  uint64_t events = 0;
  uint64_t faults = 0;
};

// One seed: random changes with faults at `level`, then recovery, then the comparison.
void soak(uint64_t seed, double level, uint64_t events, Totals& totals) {
  SCOPED_TRACE("fault level " + std::to_string(level) + " FENN_SOAK_FIRST_SEED=" + std::to_string(seed));
  Sim::HardwareConfig config = SimTest::hardware();
  Sim::Switch sw(config, "soak/");
  for (size_t i = 0; i < std::size(kTargets); ++i) sw.faults(kTargets[i]).failFractionIs(level, seed * 8 + i);
  AccessTest::Driver access(sw, seed, false);
  std::vector<SimTest::Op> const ops = SimTest::randomInputs(seed, int(events));
  std::mt19937_64 rng(seed ^ 0x5eed);
  for (SimTest::Op const& op : ops) {
    // Half the events are flood-set and segment changes, half access-side changes (which
    // include pool sizes and time); now and then the FEC answers stall or resume.
    rng() % 2 ? SimTest::apply(sw, op) : access.step();
    if (rng() % 50 == 0) sw.fecResponsesWithheldIs(!sw.fecResponsesWithheld());
  }
  for (auto target : kTargets) {
    totals.faults += sw.faults(target).failures();
    sw.faults(target).clear();
  }
  totals.events += events;
  sw.fecResponsesWithheldIs(false);
  sw.hwTunnelIdPoolSizeIs(Fenn::hwTunnelIdTypeDefault, config.defaultHwTunnelIds);
  sw.hwTunnelIdPoolSizeIs(Fenn::hwTunnelIdTypeSharedEs, config.sharedEsHwTunnelIds);
  sw.advance(60);

  Sim::Switch reference(config, "soakReference/", sw.controlPlane());
  reference.advance(60);
  Sim::HardwareState const expected = reference.state();
  Sim::HardwareState const actual = sw.state();
  EXPECT_EQ(SimTest::entries(actual), SimTest::entries(expected));
  EXPECT_EQ(actual.pools, expected.pools) << "hardware tunnel IDs held by no tunnel";
  EXPECT_EQ(actual.waitingTunnels, expected.waitingTunnels);
  EXPECT_EQ(actual.lagMembers, expected.lagMembers);
  EXPECT_EQ(actual.vlanMembers, expected.vlanMembers);
  EXPECT_EQ(esiRows(actual), esiRows(expected));
  EXPECT_EQ(sw.hwTunnelIdBadReleases(), 0u);
  EXPECT_EQ(sw.floodingHardware().badEsiDeleteCount(), 0u);
  EXPECT_EQ(sw.floodingHardware().badEsiCreateCount(), 0u);
  for (auto const& f : actual.fecs) EXPECT_TRUE(f.answered) << "a FEC left unanswered";
  for (auto const& f : actual.floodSets)
    EXPECT_EQ(f.status, Fenn::programmed) << "an entry left unprogrammed";
}

class SwitchSoak : public ::testing::TestWithParam<double> {
 protected:
  void SetUp() override {
    setenv("SIMULATION_VMID", "test", 0);
    Qor::logSinkIs([](Qor::LogMessage const&) {});
  }
  void TearDown() override { Qor::logSinkIs({}); }
};

TEST_P(SwitchSoak, DISABLED_EveryModelEndsAsAFreshSwitchOnTheFinalInputs) {
  uint64_t const first = envNumber("FENN_SOAK_FIRST_SEED", 1);
  uint64_t const seeds = envNumber("FENN_SOAK_SEEDS", 20);
  uint64_t const events = envNumber("FENN_SOAK_EVENTS", 150);
  Totals totals;
  for (uint64_t seed = first; seed < first + seeds; ++seed) {
    soak(seed, GetParam(), events, totals);
    if (HasFailure()) {
      std::cerr << "replay: FENN_SOAK_FIRST_SEED=" << seed << " FENN_SOAK_SEEDS=1 FENN_SOAK_EVENTS=" << events
                << " --gtest_filter='*SwitchSoak*' --gtest_also_run_disabled_tests\n";
      return;
    }
  }
  EXPECT_GT(totals.faults, 0u) << "the run injected no fault";
  std::cerr << "soak: fault level " << GetParam() << ", " << seeds << " seeds, " << totals.events
            << " events, " << totals.faults << " faults injected and recovered\n";
}

INSTANTIATE_TEST_SUITE_P(FaultLevels, SwitchSoak, ::testing::Values(0.1, 0.3, 0.7));

}  // namespace
