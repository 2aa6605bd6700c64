// The whole switch under random input changes of every kind and hardware faults on every
// model: once the faults stop and time has passed every review, each hardware model holds
// what a switch built afresh on the final inputs holds, up to the numbering of hardware
// tunnel IDs and FEC IDs, and no helper was asked to release or delete what it did not hold.
//
// The default run is short (100 seeds of 150 events per fault level). FENN_SOAK_SEEDS,
// FENN_SOAK_EVENTS and FENN_SOAK_FIRST_SEED make it a long run (scripts/soak); a failure
// prints the command that replays its fault level and seed.
#include <gtest/gtest.h>

#include <iostream>

#include "Access/AccessDriver.h"
#include "Qor/SysLog.h"
#include "Sim/SwitchEquality.h"
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
  for (auto const& difference : SimTest::hardwareDifferences(sw, reference)) ADD_FAILURE() << difference;
}

class SwitchSoak : public ::testing::TestWithParam<double> {
 protected:
  void SetUp() override {
    setenv("SIMULATION_VMID", "test", 0);
    Qor::logSinkIs([](Qor::LogMessage const&) {});
  }
  void TearDown() override { Qor::logSinkIs({}); }
};

TEST_P(SwitchSoak, EveryModelEndsAsAFreshSwitchOnTheFinalInputs) {
  uint64_t const first = envNumber("FENN_SOAK_FIRST_SEED", 1);
  uint64_t const seeds = envNumber("FENN_SOAK_SEEDS", 100);
  uint64_t const events = envNumber("FENN_SOAK_EVENTS", 150);
  Totals totals;
  for (uint64_t seed = first; seed < first + seeds; ++seed) {
    soak(seed, GetParam(), events, totals);
    if (HasFailure()) {
      std::cerr << "replay: FENN_SOAK_FIRST_SEED=" << seed << " FENN_SOAK_SEEDS=1 FENN_SOAK_EVENTS=" << events
                << " build/release/tests/test_Sim --gtest_filter='"
                << ::testing::UnitTest::GetInstance()->current_test_info()->test_suite_name() << "."
                << ::testing::UnitTest::GetInstance()->current_test_info()->name() << "'\n";
      return;
    }
  }
  EXPECT_GT(totals.faults, 0u) << "the run injected no fault";
  std::cerr << "soak: fault level " << GetParam() << ", " << seeds << " seeds, " << totals.events
            << " events, " << totals.faults << " faults injected and recovered\n";
}

INSTANTIATE_TEST_SUITE_P(FaultLevels, SwitchSoak, ::testing::Values(0.1, 0.3, 0.7));

}  // namespace
