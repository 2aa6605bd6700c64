// Restarting the library at random points of a run: after each restart the new machines
// rebuild everything from the inputs, and the run ends where the same run without restarts
// ends, with every hardware tunnel ID handed back that the old machines held. Re-initializing
// any one machine, as fenn-sim's reinitialize step does, ends where a fresh switch starts.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "Access/AccessDriver.h"
#include "HostFec/HostChainDriver.h"
#include "Sim/SwitchEquality.h"
#include "Sim/SwitchInputs.h"

namespace {

using namespace SimTest;

// Whatever a random run left, a host whose chain (a label over a destination) is complete,
// and a segment whose remote TEP's tunnel has an endpoint: about one run in twenty ends
// with every host chain broken, and a few in a thousand with no segment peer at a known
// endpoint, and the comparisons must still cover host FECs and TEP segments.
void completeChainAndSegment(Sim::Switch& sw) {
  sw.chainDestIs(L2Rib::DestId(100), L2Rib::Dest::vxlan(Ostra::IpGenAddr(), 0, tunnel(1)));
  sw.labelIs(L2Rib::LabelId(100), L2Rib::Label(Ostra::MplsLabel(3000), L2Rib::DestId(100).tuple()));
  sw.hostIs(Bridging::MacVlanPair(Ostra::EthAddr(0x0200000000ff), Bridging::VlanId(10)),
            L2Rib::LabelId(100).tuple());
  sw.segmentIs(IntfId::ethernet(20), {{IntfId::dynamicTunnel(tunnel(1)), Ostra::MplsLabel(501)}},
               std::nullopt);
  sw.tunnelEndpointIs(tunnel(1), Ostra::IpGenAddr::ipv4(0x0a000001));
}

TEST(SwitchRestart, HundredRestartsAtRandomPointsEndAsWithoutRestarts) {
  setenv("SIMULATION_VMID", "test", 0);
  uint64_t const seed = testSeed();
  SCOPED_TRACE("FENN_TEST_SEED=" + std::to_string(seed));
  std::vector<Op> const ops = randomInputs(seed, 400);
  // 100 restart points, repeats allowed: a restart right after a restart is a case too.
  std::mt19937_64 rng(seed + 7);
  std::vector<size_t> restarts(100);
  for (auto& r : restarts) r = size_t(rng() % ops.size());
  std::sort(restarts.begin(), restarts.end());

  Sim::Switch plain(hardware(), "plain/");
  Sim::Switch restarted(hardware(), "restarted/");
  // Host chains too: a restart leaves answers of the old host FEC requests standing (the
  // answers come after a delay, or are withheld) that the new machine must keep clear of.
  HostFecTest::ChainDriver plainChains(plain, seed + 1);
  HostFecTest::ChainDriver restartedChains(restarted, seed + 1);
  size_t next = 0;
  size_t done = 0;
  for (size_t i = 0; i < ops.size(); ++i) {
    for (; next < restarts.size() && restarts[next] == i; ++next, ++done) restarted.restart();
    apply(plain, ops[i]);
    apply(restarted, ops[i]);
    plainChains.step();
    restartedChains.step();
  }
  ASSERT_EQ(done, 100u);
  completeChainAndSegment(plain);
  completeChainAndSegment(restarted);
  // FEC answers a restart withdrew the requests for come back after the delay.
  plain.fecResponsesWithheldIs(false);
  restarted.fecResponsesWithheldIs(false);
  plain.advance(11);
  restarted.advance(11);
  EXPECT_EQ(equality::join(hardwareDifferences(restarted, plain)), "");

  Sim::HardwareState const expected = plain.state();
  Sim::HardwareState const actual = restarted.state();
  EXPECT_EQ(entries(actual), entries(expected));
  EXPECT_EQ(actual.pools, expected.pools) << "hardware tunnel IDs held by no machine";
  EXPECT_EQ(actual.waitingTunnels, expected.waitingTunnels);
  EXPECT_EQ(actual.esiPortMaps, expected.esiPortMaps);
  EXPECT_EQ(actual.esiData, expected.esiData);
  EXPECT_EQ(restarted.hwTunnelIdBadReleases(), 0u);
  EXPECT_EQ(restarted.floodingHardware().badEsiDeleteCount(), 0u);
  EXPECT_FALSE(expected.floodSets.empty() || expected.hostFecs.empty()) << "the run programmed nothing";
}

// Every state machine of the switch is listed once (a step addresses it by its type name),
// and after any one of them is re-initialized on a populated switch, the hardware is what a
// switch built afresh on the same inputs holds.
TEST(SwitchRestart, ReinitializingAnyMachineEndsAsAFreshSwitch) {
  setenv("SIMULATION_VMID", "test", 0);
  uint64_t const seed = testSeed();
  SCOPED_TRACE("FENN_TEST_SEED=" + std::to_string(seed));
  Sim::Switch sw(hardware(), "reinitialized/");
  AccessTest::Driver access(sw, seed, false);
  HostFecTest::ChainDriver chains(sw, seed + 1);
  std::mt19937_64 rng(seed + 2);
  for (Op const& op : randomInputs(seed, 200)) {
    apply(sw, op);
    access.step();
    access.floodingStep();
    chains.step();
    lfibStep(sw, rng);
    tunnelEndpointStep(sw, rng);
  }
  completeChainAndSegment(sw);
  // The drivers shrink the pools and withhold answers: with a pool short, which tunnel
  // waits depends on the order of events.
  sw.hwTunnelIdPoolSizeIs(Fenn::hwTunnelIdTypeDefault, hardware().defaultHwTunnelIds);
  sw.hwTunnelIdPoolSizeIs(Fenn::hwTunnelIdTypeSharedEs, hardware().sharedEsHwTunnelIds);
  sw.fecResponsesWithheldIs(false);
  sw.advance(60);
  Sim::Switch reference(hardware(), "reinitializedReference/", sw.controlPlane());
  reference.advance(60);
  ASSERT_EQ(equality::join(hardwareDifferences(sw, reference)), "");
  Sim::HardwareState const populated = sw.state();
  ASSERT_FALSE(populated.floodSets.empty() || populated.hostFecs.empty() || populated.tepSegments.empty())
      << "the run left a feature empty";

  std::vector<Qor::StateMachine*> const machines = sw.stateMachines();
  std::set<std::string_view> names;
  for (Qor::StateMachine* sm : machines) names.insert(sm->fwkType());
  EXPECT_EQ(names.size(), machines.size());
  for (char const* name :
       {"Fenn::EvpnFloodingDot1qSm", "Fenn::FennEvpnFloodFilterSm", "Fenn::FennMacAddrFecRequestSm",
        "Fenn::FennEvpnTepSegmentSm", "Fenn::EvpnLagSm"}) {
    EXPECT_TRUE(names.count(name)) << name;
  }
  for (Qor::StateMachine* sm : machines) {
    sw.reinitialize(*sm);
    sw.advance(60);
    EXPECT_EQ(equality::join(hardwareDifferences(sw, reference)), "")
        << "after re-initializing " << sm->fwkType();
  }
}

}  // namespace
