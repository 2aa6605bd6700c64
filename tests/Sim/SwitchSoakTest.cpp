// The whole switch under random input changes of every kind and hardware faults on every
// model: once the faults stop and time has passed every review, each hardware model holds
// what a switch built afresh on the final inputs holds, up to the numbering of hardware
// tunnel IDs and FEC IDs, and no helper was asked to release or delete what it did not hold.
//
// The default run is short: FENN_SOAK_SEEDS seeds (100) of FENN_SOAK_EVENTS events (150)
// per fault level, from FENN_SOAK_FIRST_SEED (1); scripts/soak makes it a long run. A
// failure prints a fenn-sim scenario that replays the failing seed (docs/reliability.md),
// and the command that runs the soak on that seed alone.
#include <gtest/gtest.h>

#include <iostream>

#include "Qor/SysLog.h"
#include "Sim/SwitchSoak.h"

namespace {

using SimTest::envNumber;

struct Totals {
  uint64_t events = 0;
  uint64_t faults = 0;
};

// One seed: random changes with faults at `level`, then recovery, then the comparison.
void soak(uint64_t seed, double level, uint64_t events, Totals& totals) {
  SCOPED_TRACE("fault level " + std::to_string(level) + " FENN_SOAK_FIRST_SEED=" + std::to_string(seed));
  SimTest::SoakRun run(seed, level, events);
  for (uint64_t i = 0; i < events; ++i) run.change();
  totals.faults += run.recover();
  totals.events += events;
  for (auto const& difference : run.differences()) ADD_FAILURE() << difference;
}

// Runs a seed again with the recorder on; returns the fenn-sim scenario it wrote, which
// replays the run and ends by expecting what a fresh switch holds.
std::string recordedScenario(uint64_t seed, double level, uint64_t events) {
  std::string const path = ::testing::TempDir() + "soak-seed" + std::to_string(seed) + "-level" +
                           std::to_string(int(level * 100)) + ".yaml";
  SimTest::SoakRun run(seed, level, events);
  run.record(path);
  for (uint64_t i = 0; i < events; ++i) run.change();
  run.recover();
  run.differences();
  return path;
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
      std::cerr << "scenario: build/release/tools/fenn-sim/fenn-sim "
                << recordedScenario(seed, GetParam(), events) << "\nreplay: FENN_SOAK_FIRST_SEED=" << seed
                << " FENN_SOAK_SEEDS=1 FENN_SOAK_EVENTS=" << events
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
