// A soak run's scenario (docs/reliability.md, Whole-switch soak) replays the run itself: the
// recorded inputs with the fault steps the soak puts in make the same hardware calls fail
// in fenn-sim as in the run, and end with the same hardware. A replay that drifts from its
// run (a hardware call more or fewer, another call failing) shows in the counts of the fault
// targets long before it shows in the final hardware, which usually heals to the same state.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "Qor/SysLog.h"
#include "Runner.h"
#include "Sim/SwitchSoak.h"

namespace {

class SoakReplay : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("SIMULATION_VMID", "test", 0);
    Qor::logSinkIs([](Qor::LogMessage const&) {});
  }
  void TearDown() override { Qor::logSinkIs({}); }

  // Records soak seed `seed` at fault level `level`, replays the scenario with fenn-sim's
  // runner, and requires every fault target to have seen the same calls and failed the
  // same ones, and the same hardware at the end.
  static void expectExactReplay(uint64_t seed, double level, uint64_t events = 150) {
    SCOPED_TRACE("soak seed " + std::to_string(seed) + " at fault level " + std::to_string(level) + ", " +
                 std::to_string(events) + " events");
    std::string const path = ::testing::TempDir() + "soak-replay-" + std::to_string(getpid()) + ".yaml";
    SimTest::SoakRun run(seed, level, events);
    run.record(path);
    for (uint64_t i = 0; i < events; ++i) run.change();
    run.recover();

    Qor::sysLogRecordsDelAll();
    std::ostringstream out;
    SimTool::Scenario const scenario = SimTool::loadScenario(path);  // the runner keeps a reference
    SimTool::Runner runner(scenario, out);
    EXPECT_EQ(runner.run(), 0u) << out.str();
    for (auto const& fault : SimTest::kSoakFaults) {
      Sim::FaultInjector& recorded = run.simSwitch().faults(fault.target);
      Sim::FaultInjector& replayed = runner.simSwitch().faults(fault.target);
      EXPECT_EQ(replayed.calls(), recorded.calls()) << fault.name;
      EXPECT_EQ(replayed.failures(), recorded.failures()) << fault.name;
    }
    EXPECT_EQ(SimTest::equality::join(SimTest::hardwareDifferences(runner.simSwitch(), run.simSwitch())), "");
    std::filesystem::remove(path);
  }
};

// Seeds 1 to 3, and the seeds whose replays once drifted, each for the cause it showed:
// 107 (30%), 141 (10%) and 110 (70%) a failed tunnel ID allocation whose retry the
// simulated hardware layer asked for when the switch settled, a moment no recorded step
// marks when no task ran then; 2009354113 (30%) an LFIB write that changed nothing but
// still queued routes in the backlog, which no recorded step carries.
TEST_F(SoakReplay, TheScenarioOfASoakRunFailsTheSameCallsAndEndsWithTheSameHardware) {
  struct Seed {
    uint64_t seed;
    double level;
  };
  for (Seed const s : {Seed{1, 0.3}, Seed{2, 0.3}, Seed{3, 0.3}, Seed{107, 0.3}, Seed{141, 0.1},
                       Seed{110, 0.7}, Seed{2009354113, 0.3}}) {
    expectExactReplay(s.seed, s.level);
  }
}

// FENN_SOAK_REPLAY_SEEDS random seeds (20) of FENN_SOAK_EVENTS events (150) at each fault
// level, from FENN_TEST_SEED: before the fixes above, about one seed in twelve drifted at
// 70%, one in thirty at 30%. Set, the variables make it a long sweep.
TEST_F(SoakReplay, RandomSeedsReplayCallForCallAtEveryFaultLevel) {
  uint64_t const first = SimTest::testSeed();
  uint64_t const seeds = SimTest::envNumber("FENN_SOAK_REPLAY_SEEDS", 20);
  uint64_t const events = SimTest::envNumber("FENN_SOAK_EVENTS", 150);
  for (double const level : {0.1, 0.3, 0.7}) {
    for (uint64_t seed = first; seed < first + seeds; ++seed) {
      expectExactReplay(seed, level, events);
      if (HasFailure()) return;
    }
  }
}

}  // namespace
