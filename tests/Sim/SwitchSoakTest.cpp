// The whole switch under random input changes of every kind and hardware faults on every
// model: once the faults stop and time has passed every review, each hardware model holds
// what a switch built afresh on the final inputs holds, up to the numbering of hardware
// tunnel IDs and FEC IDs, and no helper was asked to release or delete what it did not hold.
//
// The default run is short: FENN_SOAK_SEEDS seeds (100) of FENN_SOAK_EVENTS events (150)
// per fault level, from FENN_SOAK_FIRST_SEED (1); scripts/soak makes it a long run. A
// failure prints the command that replays its fault level and seed.
#include <gtest/gtest.h>

#include <iostream>

#include "Access/AccessDriver.h"
#include "HostFec/HostChainDriver.h"
#include "Qor/SysLog.h"
#include "Sim/SwitchEquality.h"
#include "Sim/SwitchInputs.h"

namespace {

using SimTest::envNumber;

// Every helper operation and hardware model that can fail.
constexpr Sim::FaultTarget kTargets[] = {
    Sim::FaultTarget::hwTunnelIdAllocation,
    Sim::FaultTarget::fecResponse,
    Sim::FaultTarget::floodSetProgramming,
    Sim::FaultTarget::esiPortMapResourceFull,
    Sim::FaultTarget::esiPortMapTemporaryFailure,
    Sim::FaultTarget::createEsiData,
    Sim::FaultTarget::hostFecResponse,
    Sim::FaultTarget::createVlan,
    Sim::FaultTarget::createVlanToDot1qMapping,
    Sim::FaultTarget::createNonDfPort,
};

struct Totals {
  uint64_t events = 0;
  uint64_t faults = 0;
};

// One seed: random changes with faults at `level`, then recovery, then the comparison.
void soak(uint64_t seed, double level, uint64_t events, Totals& totals) {
  SCOPED_TRACE("fault level " + std::to_string(level) + " FENN_SOAK_FIRST_SEED=" + std::to_string(seed));
  Sim::HardwareConfig const config = SimTest::hardware();
  Sim::Switch sw(config, "soak/");
  for (size_t i = 0; i < std::size(kTargets); ++i)
    sw.faults(kTargets[i]).failFractionIs(level, seed * 16 + i);
  AccessTest::Driver access(sw, seed, false);
  HostFecTest::ChainDriver chains(sw, seed + 1);
  std::vector<SimTest::Op> const ops = SimTest::randomInputs(seed, int(events));
  std::mt19937_64 rng(seed ^ 0x5eed);
  for (SimTest::Op const& op : ops) {
    // Flood-set and segment changes, access-side changes (which include pool sizes and
    // time), dot1q and flood filters, host chains (with FEC answer delays and withholding),
    // LFIB routes, tunnel endpoints, and the flood-set capacity.
    switch (rng() % 12) {
      case 0:
      case 1:
      case 2:
        SimTest::apply(sw, op);
        break;
      case 3:
      case 4:
        access.step();
        break;
      case 5:
        access.floodingStep();
        break;
      case 6:
      case 7:
        chains.step();
        break;
      case 8:
      case 9:
        SimTest::lfibStep(sw, rng);
        break;
      case 10:
        SimTest::tunnelEndpointStep(sw, rng);
        break;
      default:
        sw.floodSetCapacityIs(rng() % 2 ? uint32_t(rng() % 24) : config.floodSetCapacity);
    }
  }
  for (auto target : kTargets) {
    totals.faults += sw.faults(target).failures();
    sw.faults(target).clear();
  }
  totals.events += events;
  sw.fecResponsesWithheldIs(false);
  sw.floodSetCapacityIs(config.floodSetCapacity);
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
