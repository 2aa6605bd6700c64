// Explain and the summaries of the flood-set machines, on a simulated switch: a
// destination in each state it can be in, the step that decides it, and counters that
// follow what the machines did. A randomized run holds every answer against the hardware.
#include <gtest/gtest.h>

#include "../Sim/SwitchInputs.h"
#include "FennEvpn/FennEvpnExplain.h"
#include "sim/Switch.h"

namespace {

using Fenn::ExplainStatus;
using SimTest::tunnel;

Ostra::EthAddr const broadcast = Ostra::EthAddr::broadcast();

L2Rib::Dest mpls(int pe, uint32_t label) { return L2Rib::Dest::mpls(tunnel(pe), Ostra::MplsLabel(label)); }

// The first step that is not ok, as "machine: condition".
std::string decidingStep(Fenn::Explanation const& e) {
  for (auto const& s : e.steps()) {
    if (s.status != ExplainStatus::ok) return s.machine + ": " + s.condition;
  }
  return "";
}

std::string valueOf(Fenn::Explanation const& e, std::string const& condition) {
  for (auto const& s : e.steps()) {
    if (s.condition == condition) return s.value;
  }
  return "(no step " + condition + ")";
}

class FloodSetExplain : public ::testing::Test {
 protected:
  Sim::HardwareConfig config() {
    Sim::HardwareConfig c;
    c.defaultHwTunnelIds = 1;
    return c;
  }
  Fenn::Explanation explain(int vlan, int pe, uint32_t label) {
    return Fenn::explainFloodSetDest(sw.machines(), Bridging::VlanId(uint16_t(vlan)), broadcast,
                                     mpls(pe, label));
  }
  Fenn::SmSummary summaryOf(std::string const& machine) {
    for (auto const& s : Fenn::summaries(sw.machines())) {
      if (s.machine == machine) return s;
    }
    ADD_FAILURE() << "no summary of " << machine;
    return {};
  }
  Sim::Switch sw{config()};
};

TEST_F(FloodSetExplain, EachStateStopsAtTheConditionThatDecidesIt) {
  Fenn::Explanation e = explain(10, 1, 100);
  EXPECT_EQ(e.state(), ExplainStatus::missingInput) << e.text();
  EXPECT_EQ(decidingStep(e), "EvpnRemoteInfoFinderSm: layer-2 RIB flood set");

  sw.destIs(Bridging::VlanId(10), broadcast, mpls(1, 100));
  e = explain(10, 1, 100);
  EXPECT_EQ(e.state(), ExplainStatus::ok) << e.text();
  EXPECT_EQ(valueOf(e, "hardware tunnel ID"), "1 of the default pool");
  EXPECT_EQ(valueOf(e, "in hardware"), "programmed");

  // The only ID is taken: the second PE fails at its tunnel, though its FEC is answered.
  sw.advance(3);
  sw.destIs(Bridging::VlanId(10), broadcast, mpls(2, 200));
  e = explain(10, 2, 200);
  EXPECT_EQ(e.state(), ExplainStatus::failed) << e.text();
  EXPECT_EQ(decidingStep(e), "EvpnHwTunnelIdSm: hardware tunnel ID");
  EXPECT_EQ(
      valueOf(e, "hardware tunnel ID"),
      "none: the default pool is full (1 of 1, 0 zombies waiting for reclaim); last failure at t=3.0 s, "
      "next review when an ID is freed or the pool grows");

  // A new FEC the chip does not answer: waiting, at the FEC.
  sw.fecResponsesWithheldIs(true);
  sw.destIs(Bridging::VlanId(20), broadcast, mpls(1, 101));
  e = explain(20, 1, 101);
  EXPECT_EQ(e.state(), ExplainStatus::waitingForHardware) << e.text();
  EXPECT_EQ(decidingStep(e), "EvpnFloodSetFecSm: FEC answer");
  sw.fecResponsesWithheldIs(false);

  // Configured, but the flood-set programmer refuses it: failed, in hardware.
  sw.faults(Sim::FaultTarget::floodSetProgramming).failNextIs(1);
  sw.destIs(Bridging::VlanId(30), broadcast, mpls(1, 102));
  e = explain(30, 1, 102);
  EXPECT_EQ(e.state(), ExplainStatus::failed) << e.text();
  EXPECT_EQ(decidingStep(e), "EvpnVlanFloodSetSm: in hardware");

  // Configured, and the programmer has not reported on it yet: waiting, in hardware.
  sw.floodSetProgrammingPausedIs(true);
  sw.destIs(Bridging::VlanId(40), broadcast, mpls(1, 103));
  e = explain(40, 1, 103);
  EXPECT_EQ(e.state(), ExplainStatus::waitingForHardware) << e.text();
  EXPECT_EQ(decidingStep(e), "EvpnVlanFloodSetSm: in hardware");
  sw.floodSetProgrammingPausedIs(false);

  // More room: the waiting PE gets an ID at once and its destination is programmed.
  sw.hwTunnelIdPoolSizeIs(Fenn::hwTunnelIdTypeDefault, 4);
  sw.advance(1);
  for (auto [vlan, pe, label] : {std::tuple{10, 2, 200u}, {20, 1, 101u}, {30, 1, 102u}, {40, 1, 103u}}) {
    e = explain(vlan, pe, label);
    EXPECT_EQ(e.state(), ExplainStatus::ok) << e.text();
  }
}

TEST_F(FloodSetExplain, TunnelsSayWhoNeedsThemAndWhenTheyAreRetried) {
  sw.hwTunnelIdPoolSizeIs(Fenn::hwTunnelIdTypeDefault, 4);
  sw.faults(Sim::FaultTarget::hwTunnelIdAllocation).failNextIs(1);
  sw.advance(2);
  sw.destIs(Bridging::VlanId(10), broadcast, mpls(1, 100));
  Fenn::Explanation e = Fenn::explainTunnel(sw.machines(), tunnel(1));
  EXPECT_EQ(e.state(), ExplainStatus::failed) << e.text();
  // A transient failure: the hardware layer asked for a review after the retry interval.
  EXPECT_NE(valueOf(e, "hardware tunnel ID").find("last failure at t=2.0 s, next review due at t=7.0 s"),
            std::string::npos)
      << e.text();
  sw.advance(5);
  e = Fenn::explainTunnel(sw.machines(), tunnel(1));
  EXPECT_EQ(e.state(), ExplainStatus::ok) << e.text();
  EXPECT_EQ(valueOf(e, "tunnel " + Qor::valueToStrep(tunnel(1)) + " needed by"),
            "1 flood-set destination(s)");

  // No longer flooded to: it keeps its ID as a zombie, and nothing needs it.
  sw.destDel(Bridging::VlanId(10), broadcast, mpls(1, 100));
  e = Fenn::explainTunnel(sw.machines(), tunnel(1));
  EXPECT_EQ(e.state(), ExplainStatus::missingInput) << e.text();
  EXPECT_NE(valueOf(e, "hardware tunnel ID").find("a zombie"), std::string::npos) << e.text();
}

TEST_F(FloodSetExplain, AMachineTheAgentDoesNotRunIsNamed) {
  sw.destIs(Bridging::VlanId(10), broadcast, mpls(1, 100));
  Fenn::MachineSet machines = sw.machines();
  machines.floodSetFec = nullptr;
  Fenn::Explanation const e =
      Fenn::explainFloodSetDest(machines, Bridging::VlanId(10), broadcast, mpls(1, 100));
  EXPECT_EQ(e.state(), ExplainStatus::missingInput);
  EXPECT_EQ(decidingStep(e), "EvpnFloodSetFecSm: running");
}

TEST_F(FloodSetExplain, SummariesCountWhatTheMachinesDid) {
  sw.advance(1);
  sw.destIs(Bridging::VlanId(10), broadcast, mpls(1, 100));
  sw.destIs(Bridging::VlanId(10), broadcast, mpls(2, 200));
  Fenn::SmSummary s = summaryOf("EvpnHwTunnelIdSm");
  EXPECT_EQ(s.intended, 2u);
  EXPECT_EQ(s.programmed, 1u);
  EXPECT_EQ(s.unprogrammed, 1u);
  EXPECT_EQ(s.counters.helperFailures, 1u);
  EXPECT_EQ(s.counters.lastFailureTime, 1.0);
  ASSERT_EQ(s.pools.size(), 2u);
  EXPECT_EQ(s.pools[0].name, "default");
  EXPECT_EQ(s.pools[0].inUse, 1u);
  EXPECT_EQ(s.pools[0].size, 1u);
  EXPECT_EQ(summaryOf("EvpnVlanFloodSetSm").programmed, 1u);
  EXPECT_EQ(summaryOf("EvpnVlanFloodSetSm").unprogrammed, 1u);

  sw.hwTunnelIdPoolSizeIs(Fenn::hwTunnelIdTypeDefault, 4);
  sw.settle();
  s = summaryOf("EvpnHwTunnelIdSm");
  EXPECT_EQ(s.programmed, 2u);
  EXPECT_GE(s.counters.retries, 1u);
  EXPECT_EQ(s.pools[0].highWater, 2u);

  // Both leave: the IDs stay as zombies (still in use), the high-water mark stays.
  sw.floodSetDel(Bridging::VlanId(10), broadcast);
  s = summaryOf("EvpnHwTunnelIdSm");
  EXPECT_EQ(s.intended, 0u);
  EXPECT_EQ(s.pools[0].inUse, 2u);
  EXPECT_EQ(s.pools[0].highWater, 2u);
  // The FEC IDs go back once their answers are gone, and are held back for a while.
  Fenn::SmSummary fec = summaryOf("EvpnFloodSetFecSm");
  EXPECT_EQ(fec.intended, 0u);
  EXPECT_EQ(fec.fecIdsInUse, 0u);
  EXPECT_EQ(fec.fecIdsHeldBack, 2u);
  EXPECT_EQ(fec.pools[0].highWater, 2u);
  sw.advance(Fenn::EvpnFloodSetFecSm::fecIndexHoldBack + 1);
  EXPECT_EQ(summaryOf("EvpnFloodSetFecSm").fecIdsHeldBack, 0u);
}

TEST(ExplainRendering, TextAndJsonCarryEveryStepAndEscapeWhatJsonNeeds) {
  Fenn::Explanation e;
  e.keyIs("key \"q\"");
  e.stepIs("A", "first", "fine");
  e.stepIs("B", "second", "line\nbreak \\ end", ExplainStatus::waitingForHardware);
  e.stepIs("C", "third", "refused", ExplainStatus::failed);
  EXPECT_EQ(e.state(), ExplainStatus::waitingForHardware);
  EXPECT_EQ(e.text(),
            "key \"q\": waitingForHardware\n"
            "  ok      A: first: fine\n"
            "  WAITING B: second: line\nbreak \\ end\n"
            "  FAILED  C: third: refused\n");
  EXPECT_EQ(
      e.json(),
      "{\"key\": \"key \\\"q\\\"\", \"state\": \"waitingForHardware\", \"steps\": ["
      "{\"machine\": \"A\", \"condition\": \"first\", \"value\": \"fine\", \"status\": \"ok\"}, "
      "{\"machine\": \"B\", \"condition\": \"second\", \"value\": \"line\\u000abreak \\\\ end\", "
      "\"status\": \"waitingForHardware\"}, "
      "{\"machine\": \"C\", \"condition\": \"third\", \"value\": \"refused\", \"status\": \"failed\"}]}");
}

// Random flood-set and segment churn on a small pool, with delayed FEC answers: after
// every change, each destination of the layer-2 RIB is explained as programmed exactly
// when the hardware holds it programmed with a tunnel ID, and the summaries agree.
TEST(FloodSetExplainRandomized, AnswersAgreeWithTheHardware) {
  uint64_t const seed = SimTest::testSeed();
  SCOPED_TRACE(::testing::Message() << "FENN_TEST_SEED=" << seed);
  // A small default pool runs dry, which only a simulation survives.
  setenv("SIMULATION_VMID", "test", 1);
  Sim::HardwareConfig c = SimTest::hardware();
  c.defaultHwTunnelIds = 3;
  c.sharedEsHwTunnelIds = 1;
  Sim::Switch sw(c);
  std::set<std::tuple<uint16_t, uint64_t, L2Rib::Dest>> seen;
  for (auto const& op : SimTest::randomInputs(seed, 300)) {
    SimTest::apply(sw, op);
    if (op.kind == SimTest::Op::addDest) seen.emplace(op.vlan, op.mac, op.dest);
    Sim::HardwareState const hw = sw.state();
    size_t programmedEntries = 0;
    for (auto const& f : hw.floodSets) {
      programmedEntries += f.status == Fenn::programmed && f.config.hwTunnelId().valid();
    }
    for (auto const& [vlan, mac, dest] : seen) {
      if (dest.destType() != L2Rib::destTypeMpls_) continue;
      Fenn::Explanation const e =
          Fenn::explainFloodSetDest(sw.machines(), Bridging::VlanId(vlan), Ostra::EthAddr(mac), dest);
      bool inHardware = false;
      for (auto const& f : hw.floodSets) {
        inHardware |= f.macVlanPair == Bridging::MacVlanPair(Ostra::EthAddr(mac), Bridging::VlanId(vlan)) &&
                      f.config.tunnelId() == dest.mpls().tunnelId() &&
                      f.config.label() == dest.mpls().label() && f.status == Fenn::programmed &&
                      f.config.hwTunnelId().valid();
      }
      ASSERT_EQ(e.state() == ExplainStatus::ok, inHardware) << e.text();
    }
    for (auto const& s : Fenn::summaries(sw.machines())) {
      ASSERT_EQ(s.intended, s.programmed + s.unprogrammed) << s.machine;
      if (s.machine == "EvpnVlanFloodSetSm") {
        ASSERT_EQ(s.programmed, programmedEntries);
      }
      for (auto const& p : s.pools) ASSERT_LE(p.inUse, p.highWater) << s.machine << " " << p.name;
    }
  }
}

}  // namespace
