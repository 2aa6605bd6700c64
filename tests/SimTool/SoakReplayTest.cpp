// A soak run's scenario (docs/reliability.md, Whole-switch soak) replays the run itself: the
// recorded inputs with the fault steps the soak puts in make the same hardware calls fail
// in fenn-sim as in the run, and end with the same hardware. Fixed seeds: the replay is
// not call-for-call exact for every seed yet (seed 107 makes two hardware tunnel ID
// allocation calls fewer; docs/reliability.md).
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "Qor/SysLog.h"
#include "Runner.h"
#include "Sim/SwitchSoak.h"

namespace {

TEST(SoakReplay, TheScenarioOfASoakRunFailsTheSameCallsAndEndsWithTheSameHardware) {
  setenv("SIMULATION_VMID", "test", 0);
  Qor::logSinkIs([](Qor::LogMessage const&) {});
  for (uint64_t seed = 1; seed <= 3; ++seed) {
    SCOPED_TRACE("soak seed " + std::to_string(seed));
    std::string const path = ::testing::TempDir() + "soak-replay-" + std::to_string(getpid()) + ".yaml";
    SimTest::SoakRun run(seed, 0.3, 150);
    run.record(path);
    for (int i = 0; i < 150; ++i) run.change();
    ASSERT_GT(run.recover(), 0u) << "the run injected no fault";

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
  Qor::logSinkIs({});
}

}  // namespace
