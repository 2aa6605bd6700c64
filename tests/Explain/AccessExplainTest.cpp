// Explain for the access side and the decapsulation filter, on a simulated switch: an ESI
// label, a dot1q mapping, a flood filter and a filter route, each in every state it can
// be in, with the step that decides it; and the counters those machines keep.
#include <gtest/gtest.h>

#include "../Sim/SwitchInputs.h"
#include "FennEvpn/FennEvpnExplain.h"
#include "sim/Switch.h"

namespace {

using Fenn::ExplainStatus;
using Ostra::IntfId;
using SimTest::tunnel;

std::string decidingStep(Fenn::Explanation const& e) {
  for (auto const& s : e.steps()) {
    if (s.status != ExplainStatus::ok) return s.machine + ": " + s.condition;
  }
  return "";
}

class AccessExplain : public ::testing::Test {
 protected:
  AccessExplain() { sw.lagIs(lag, {IntfId::ethernet(1), IntfId::ethernet(2)}); }

  Fenn::SmSummary summaryOf(std::string const& machine) {
    for (auto const& s : Fenn::summaries(sw.machines())) {
      if (s.machine == machine) return s;
    }
    ADD_FAILURE() << "no summary of " << machine;
    return {};
  }
  // A segment on the LAG shared with PE1 and PE2; PE1 is the DF of VLAN 10.
  void segment() {
    sw.localEsiLabelIs(lag, Ostra::MplsLabel(900));
    sw.segmentIs(lag,
                 {{IntfId::dynamicTunnel(tunnel(1)), Ostra::MplsLabel(601)},
                  {IntfId::dynamicTunnel(tunnel(2)), Ostra::MplsLabel(602)}},
                 std::nullopt);
    sw.segmentVlansIs(lag, {vlan}, {{vlan, IntfId::dynamicTunnel(tunnel(1))}});
  }

  IntfId const lag = IntfId::portChannel(10);
  Bridging::VlanId const vlan{10};
  Sim::Switch sw{Sim::HardwareConfig{}};
};

TEST_F(AccessExplain, EsiLabelFromMissingSegmentToProgrammedOnEveryMember) {
  Fenn::IntfVlanTunnelKey const key(lag, vlan, tunnel(1));
  Fenn::Explanation e = Fenn::explainEsi(sw.machines(), key);
  EXPECT_EQ(e.state(), ExplainStatus::missingInput) << e.text();

  segment();
  e = Fenn::explainEsi(sw.machines(), key);
  EXPECT_EQ(e.state(), ExplainStatus::ok) << e.text();

  // Ethernet3 joins the LAG, and the chip refuses the label there.
  sw.faults(Sim::FaultTarget::createEsiData).failNextIs(1);
  sw.advance(1);
  sw.lagIs(lag, {IntfId::ethernet(1), IntfId::ethernet(2), IntfId::ethernet(3)});
  e = Fenn::explainEsi(sw.machines(), key);
  EXPECT_EQ(e.state(), ExplainStatus::failed) << e.text();
  EXPECT_EQ(decidingStep(e), "EvpnFloodingEsiSm: in hardware");
  EXPECT_EQ(
      e.steps().back().value,
      "refused on Ethernet3, programmed on Ethernet1 Ethernet2; last failure at t=1.0 s, next review due at "
      "t=6.0 s");

  // PE2 is not the DF of VLAN 10: its label is not sent, by design.
  e = Fenn::explainEsi(sw.machines(), Fenn::IntfVlanTunnelKey(lag, vlan, tunnel(2)));
  EXPECT_EQ(e.state(), ExplainStatus::missingInput) << e.text();
  EXPECT_EQ(decidingStep(e), "EvpnFloodingEsiSm: ESI label sent");

  EXPECT_EQ(summaryOf("EvpnFloodingEsiSm").unprogrammed, 1u);
  sw.advance(5);
  e = Fenn::explainEsi(sw.machines(), key);
  EXPECT_EQ(e.state(), ExplainStatus::ok) << e.text();
  Fenn::SmSummary const s = summaryOf("EvpnFloodingEsiSm");
  EXPECT_EQ(s.intended, 1u);
  EXPECT_EQ(s.programmed, 1u);
  EXPECT_EQ(s.counters.helperFailures, 1u);
  EXPECT_GE(s.counters.retries, 1u);

  // The LAG loses its members: the label has nowhere to go.
  sw.lagIs(lag, {});
  e = Fenn::explainEsi(sw.machines(), key);
  EXPECT_EQ(e.state(), ExplainStatus::missingInput) << e.text();
  EXPECT_EQ(decidingStep(e), "EvpnFloodingEsiSm: member ports");
}

TEST_F(AccessExplain, Dot1qMappingWaitsForTheInterfaceReviewThenForARetry) {
  Fenn::IntfVlanKey const key(lag, vlan);
  EXPECT_EQ(Fenn::explainDot1q(sw.machines(), key).state(), ExplainStatus::missingInput);
  sw.vlanConfigIs(vlan, {lag});
  sw.vlanStatusIs(vlan, {lag});
  sw.vlanToDot1qIs(vlan, Bridging::VlanIdOrNone(100));
  Fenn::Explanation e = Fenn::explainDot1q(sw.machines(), key);
  EXPECT_EQ(e.state(), ExplainStatus::waitingForHardware) << e.text();
  EXPECT_EQ(decidingStep(e), "EvpnFloodingDot1qSm: interface review");

  sw.faults(Sim::FaultTarget::createVlanToDot1qMapping).failNextIs(2);
  sw.advance(1);
  e = Fenn::explainDot1q(sw.machines(), key);
  EXPECT_EQ(e.state(), ExplainStatus::failed) << e.text();
  EXPECT_EQ(decidingStep(e), "EvpnFloodingDot1qSm: in hardware");
  sw.advance(5);
  e = Fenn::explainDot1q(sw.machines(), key);
  EXPECT_EQ(e.state(), ExplainStatus::ok) << e.text();
  EXPECT_EQ(e.steps().back().value, "programmed on Ethernet1 Ethernet2");
  Fenn::SmSummary const s = summaryOf("EvpnFloodingDot1qSm");
  EXPECT_EQ(s.programmed, 1u);
  EXPECT_EQ(s.counters.helperFailures, 2u);
  EXPECT_EQ(s.counters.lastFailureTime, 1.0);
}

TEST_F(AccessExplain, FloodFilterFollowsTheFloodStatus) {
  Fenn::IntfVlanKey const key(lag, vlan);
  Fenn::Explanation e = Fenn::explainFloodFilter(sw.machines(), key);
  EXPECT_EQ(e.state(), ExplainStatus::missingInput) << e.text();
  sw.faults(Sim::FaultTarget::createNonDfPort).failNextIs(1);
  sw.vlanFloodStatusIs(vlan, {lag});
  e = Fenn::explainFloodFilter(sw.machines(), key);
  EXPECT_EQ(e.state(), ExplainStatus::failed) << e.text();
  sw.advance(5);
  EXPECT_EQ(Fenn::explainFloodFilter(sw.machines(), key).state(), ExplainStatus::ok);
  EXPECT_EQ(summaryOf("FennEvpnFloodFilterSm").programmed, 1u);
  sw.vlanFloodStatusIs(vlan, {});
  EXPECT_EQ(Fenn::explainFloodFilter(sw.machines(), key).state(), ExplainStatus::missingInput);
  EXPECT_EQ(summaryOf("FennEvpnFloodFilterSm").intended, 0u);
}

TEST_F(AccessExplain, FilterRouteFromBacklogToConflictAndRetry) {
  Mpls::RouteKey const route(Ostra::MplsLabel(900));
  Mpls::RouteKey const other(Ostra::MplsLabel(901));
  EXPECT_EQ(Fenn::explainFilterRoute(sw.machines(), route).state(), ExplainStatus::missingInput);
  Mpls::LfibViaKey const via(Mpls::lfibViaTypeEvpnEthernetSegmentFilter, 1);
  sw.lfib().filterViaIs(via, lag);
  sw.lfib().viaSetIs(Mpls::LfibViaSetKey(1), via);
  sw.lfib().routeIs(route, Mpls::LfibViaSetKey(1));
  // Written, not yet drained from the backlog.
  Fenn::Explanation e = Fenn::explainFilterRoute(sw.machines(), route);
  EXPECT_EQ(e.state(), ExplainStatus::waitingForHardware) << e.text();
  sw.settle();
  EXPECT_EQ(Fenn::explainFilterRoute(sw.machines(), route).state(), ExplainStatus::ok);

  // A second route over the same interface conflicts; a refused one is retried.
  sw.lfib().routeIs(other, Mpls::LfibViaSetKey(1));
  sw.settle();
  e = Fenn::explainFilterRoute(sw.machines(), other);
  EXPECT_EQ(e.state(), ExplainStatus::failed) << e.text();
  EXPECT_NE(e.steps().back().value.find("belongs to the route of label 900"), std::string::npos) << e.text();
  sw.faults(Sim::FaultTarget::esiPortMapTemporaryFailure).failNextIs(1);
  sw.lfib().routeDel(route);
  sw.advance(5);
  e = Fenn::explainFilterRoute(sw.machines(), other);
  EXPECT_EQ(e.state(), ExplainStatus::failed) << e.text();
  EXPECT_NE(e.steps().back().value.find("temporary failure"), std::string::npos) << e.text();
  sw.advance(5);
  EXPECT_EQ(Fenn::explainFilterRoute(sw.machines(), other).state(), ExplainStatus::ok);
  Fenn::SmSummary const s = summaryOf("EsiFilteringDecapSm");
  EXPECT_EQ(s.programmed, 1u);
  EXPECT_EQ(s.unprogrammed, 0u);
  EXPECT_EQ(s.counters.helperFailures, 1u);
}

TEST(HostFecExplain, HostsAndObjectsFromIncompleteChainToAnsweredFec) {
  Sim::Switch sw(Sim::HardwareConfig{});
  Bridging::MacVlanPair const host(Ostra::EthAddr(0x020000000001), Bridging::VlanId(10));
  L2Rib::ObjTuple const label(L2Rib::tableTypeLabel_, 1);
  L2Rib::ObjTuple const dest(L2Rib::tableTypeDest_, 1);
  EXPECT_EQ(Fenn::explainHost(sw.machines(), host).state(), ExplainStatus::missingInput);
  sw.labelIs(L2Rib::LabelId(1), L2Rib::Label(Ostra::MplsLabel(1001), dest));
  sw.hostIs(host, label);
  // The label leads to a destination the RIB has not written: no FEC can be built.
  Fenn::Explanation e = Fenn::explainHost(sw.machines(), host);
  EXPECT_EQ(e.state(), ExplainStatus::missingInput) << e.text();
  EXPECT_NE(e.steps().back().value.find("chain is incomplete (missing: destination 1)"), std::string::npos)
      << e.text();

  sw.fecResponsesWithheldIs(true);
  sw.chainDestIs(L2Rib::DestId(1), L2Rib::Dest::vxlan(Ostra::IpGenAddr(), 0, tunnel(1)));
  e = Fenn::explainHost(sw.machines(), host);
  EXPECT_EQ(e.state(), ExplainStatus::waitingForHardware) << e.text();
  EXPECT_EQ(decidingStep(e), "FennMacAddrFecRequestSm: FEC answer");
  sw.fecResponsesWithheldIs(false);
  EXPECT_EQ(Fenn::explainObject(sw.machines(), label).state(), ExplainStatus::ok);
  Fenn::SmSummary s;
  for (auto const& summary : Fenn::summaries(sw.machines())) {
    if (summary.machine == "FennMacAddrFecRequestSm") s = summary;
  }
  EXPECT_EQ(s.intended, 1u);
  EXPECT_EQ(s.programmed, 1u);
  EXPECT_EQ(s.fecIdsInUse, 1u);

  sw.hostDel(host);
  e = Fenn::explainObject(sw.machines(), label);
  EXPECT_EQ(e.state(), ExplainStatus::missingInput) << e.text();
}

}  // namespace
