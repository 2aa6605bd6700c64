// The simulated switch under hardware faults: once faults stop and time moves past two
// review intervals, the hardware holds what a fault-free run of the same inputs holds,
// up to the numbering of hardware tunnel IDs and FEC IDs, and nothing else.
#include <gtest/gtest.h>


#include "Sim/SwitchInputs.h"

namespace {

using namespace SimTest;
using Ostra::IntfId;

TEST(SwitchFaultRecovery, FaultyRunConvergesToTheFaultFreeRun) {
  // Injected allocation failures look like an empty pool to the library; in a simulation
  // that is survivable, as on the switch's simulator.
  setenv("SIMULATION_VMID", "test", 0);
  uint64_t const seed = testSeed();
  SCOPED_TRACE("FENN_TEST_SEED=" + std::to_string(seed));
  std::vector<Op> const ops = randomInputs(seed, 600);
  Sim::FaultTarget const targets[] = {Sim::FaultTarget::hwTunnelIdAllocation, Sim::FaultTarget::fecResponse,
                                      Sim::FaultTarget::floodSetProgramming};
  Sim::Switch clean(hardware(), "clean/");
  Sim::Switch faulty(hardware(), "faulty/");
  faulty.faults(Sim::FaultTarget::hwTunnelIdAllocation).failFractionIs(0.3, seed + 1);
  faulty.faults(Sim::FaultTarget::fecResponse).failFractionIs(0.3, seed + 2);
  faulty.faults(Sim::FaultTarget::floodSetProgramming).failFractionIs(0.3, seed + 3);
  // The first call of each kind fails too: a run answers only 20 to 50 FEC requests, and
  // at 30% about one seed in a thousand would otherwise fail none of them.
  for (auto target : targets) faulty.faults(target).failNextIs(1);
  for (Op const& op : ops) {
    apply(clean, op);
    apply(faulty, op);
  }
  for (auto target : targets) {
    EXPECT_GT(faulty.faults(target).failures(), 0u) << "the run never reached some faulty operation";
    faulty.faults(target).clear();
  }
  double const twoReviews = 2 * 5.0 + 1.0;
  clean.advance(twoReviews);
  faulty.advance(twoReviews);

  Entries const expected = entries(clean.state());
  Entries const actual = entries(faulty.state());
  EXPECT_EQ(actual.tunnels, expected.tunnels);
  EXPECT_EQ(actual.fecs, expected.fecs);
  EXPECT_EQ(actual.floodSets, expected.floodSets);
  EXPECT_EQ(faulty.hwTunnelIdBadReleases(), 0u);
  // Nothing left waiting: every FEC answered, every entry programmed.
  for (auto const& f : actual.fecs) EXPECT_TRUE(std::get<2>(f));
  for (auto const& f : actual.floodSets) EXPECT_EQ(std::get<4>(f), int(Fenn::programmed));
}

}  // namespace

// A tunnel that must change pools, and whose one allocation in the new pool fails, keeps
// its old ID and is moved by the review that the failure asks for: into the shared-ES pool
// when its segment gains a shared ESI label, out of it when the label goes.
TEST(SwitchFaultRecovery, PoolMoveAfterOneAllocationFailureEndsAsWithoutTheFault) {
  setenv("SIMULATION_VMID", "test", 0);
  IntfId const segment = IntfId::ethernet(7);
  std::map<IntfId, Ostra::MplsLabel> const peers{{IntfId::dynamicTunnel(tunnel(1)), Ostra::MplsLabel(501)}};
  for (bool const intoShared : {true, false}) {
    SCOPED_TRACE(intoShared ? "into the shared-ES pool" : "out of the shared-ES pool");
    std::optional<Ostra::MplsLabel> const before =
        intoShared ? std::nullopt : std::optional(Ostra::MplsLabel(900));
    std::optional<Ostra::MplsLabel> const after =
        intoShared ? std::optional(Ostra::MplsLabel(900)) : std::nullopt;
    Sim::Switch clean(hardware(), "moveClean/");
    Sim::Switch faulty(hardware(), "moveFaulty/");
    for (Sim::Switch* sw : {&clean, &faulty}) {
      sw->destIs(Bridging::VlanId(10), Ostra::EthAddr::broadcast(),
                 L2Rib::Dest::mpls(tunnel(1), Ostra::MplsLabel(1001)));
      sw->segmentIs(segment, peers, before);
    }
    faulty.faults(Sim::FaultTarget::hwTunnelIdAllocation).failNextIs(1);
    clean.segmentIs(segment, peers, after);
    faulty.segmentIs(segment, peers, after);
    ASSERT_EQ(faulty.faults(Sim::FaultTarget::hwTunnelIdAllocation).failures(), 1u);
    EXPECT_NE(faulty.state().tunnels, clean.state().tunnels) << "the failed move changed nothing yet";
    clean.advance(5.0);
    faulty.advance(5.0);
    Sim::HardwareState const expected = clean.state();
    Sim::HardwareState const actual = faulty.state();
    EXPECT_EQ(actual.tunnels, expected.tunnels);
    EXPECT_EQ(actual.pools, expected.pools);
    EXPECT_EQ(actual.fecs, expected.fecs);
    EXPECT_EQ(actual.floodSets, expected.floodSets);
    EXPECT_EQ(faulty.hwTunnelIdBadReleases(), 0u);
  }
}
