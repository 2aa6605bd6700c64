// Summaries of the machines that derive tables for the others (the flood-set filter, LAG
// members, VLAN membership, the TEP-to-segment index): every machine of the switch has a
// row, and each of these counts what its inputs want against what it published.
#include <gtest/gtest.h>

#include <set>

#include "FennEvpn/FennEvpnExplain.h"
#include "sim/Switch.h"

namespace {

using Ostra::IntfId;
using Tunnel::TunnelTable::TunnelId;

class DerivedTableSummary : public ::testing::Test {
 protected:
  Fenn::SmSummary summaryOf(std::string const& machine) {
    for (auto const& s : Fenn::summaries(sw.machines())) {
      if (s.machine == machine) return s;
    }
    ADD_FAILURE() << "no summary of " << machine;
    return {};
  }
  // intended/programmed/unprogrammed
  std::string entries(std::string const& machine) {
    Fenn::SmSummary const s = summaryOf(machine);
    return std::to_string(s.intended) + "/" + std::to_string(s.programmed) + "/" +
           std::to_string(s.unprogrammed);
  }
  static TunnelId tunnel(uint64_t pe) { return TunnelId(Tunnel::tunnelTypeLdp, pe); }

  Sim::Switch sw{Sim::HardwareConfig{}};
};

TEST_F(DerivedTableSummary, EveryStateMachineOfTheSwitchHasOneRow) {
  std::multiset<std::string> rows;
  for (auto const& s : Fenn::summaries(sw.machines())) rows.insert(s.machine);
  std::multiset<std::string> machines;
  for (Qor::StateMachine const* sm : sw.stateMachines()) {
    std::string_view const name = sm->fwkType();
    machines.insert(std::string(name.substr(name.rfind("::") + 2)));
  }
  EXPECT_EQ(rows, machines);
}

TEST_F(DerivedTableSummary, EachCountsWhatItsInputsWantAgainstWhatItPublished) {
  // Two MPLS destinations and one interface destination: the filter keeps the MPLS ones.
  sw.destIs(Bridging::VlanId(10), Ostra::EthAddr::broadcast(),
            L2Rib::Dest::mpls(tunnel(1), Ostra::MplsLabel(100)));
  sw.destIs(Bridging::VlanId(10), Ostra::EthAddr::broadcast(),
            L2Rib::Dest::mpls(tunnel(2), Ostra::MplsLabel(100)));
  sw.destIs(Bridging::VlanId(11), Ostra::EthAddr::broadcast(), L2Rib::Dest::intf(IntfId::ethernet(9)));
  EXPECT_EQ(entries("VlanFloodSetFilterSm"), "2/2/0");

  // A LAG without members is no entry.
  sw.lagIs(IntfId::portChannel(1), {IntfId::ethernet(1), IntfId::ethernet(2)});
  sw.lagIs(IntfId::portChannel(2), {});
  EXPECT_EQ(entries("EvpnLagSm"), "1/1/0");

  // Port-Channel1 filters BUM traffic: it follows its configuration (VLANs 10 and 11);
  // Ethernet5 follows its operational state (VLAN 10 only).
  sw.encapBumFilterIs({IntfId::portChannel(1)});
  sw.vlanConfigIs(Bridging::VlanId(10), {IntfId::portChannel(1), IntfId::ethernet(5)});
  sw.vlanConfigIs(Bridging::VlanId(11), {IntfId::portChannel(1), IntfId::ethernet(5)});
  sw.vlanStatusIs(Bridging::VlanId(10), {IntfId::ethernet(5)});
  EXPECT_EQ(entries("FennEvpnVlanMembershipSm"), "3/3/0");

  // Two TEPs of a segment; only PE1's tunnel has an endpoint yet.
  sw.tunnelEndpointIs(tunnel(1), Ostra::IpGenAddr("10.0.0.1"));
  sw.segmentIs(IntfId::portChannel(1),
               {{IntfId::dynamicTunnel(tunnel(1)), Ostra::MplsLabel(601)},
                {IntfId::dynamicTunnel(tunnel(2)), Ostra::MplsLabel(602)}},
               std::nullopt);
  EXPECT_EQ(entries("FennEvpnTepSegmentSm"), "2/1/1");
  sw.tunnelEndpointIs(tunnel(2), Ostra::IpGenAddr("10.0.0.2"));
  EXPECT_EQ(entries("FennEvpnTepSegmentSm"), "2/2/0");

  for (char const* machine :
       {"VlanFloodSetFilterSm", "EvpnLagSm", "FennEvpnVlanMembershipSm", "FennEvpnTepSegmentSm"}) {
    Fenn::SmSummary const s = summaryOf(machine);
    EXPECT_EQ(s.counters.helperCalls, 0u) << machine;
    EXPECT_TRUE(s.pools.empty()) << machine;
    EXPECT_FALSE(s.hasFecIds) << machine;
  }
  std::string const json = Fenn::summaryJson(Fenn::summaries(sw.machines()));
  EXPECT_NE(json.find("{\"machine\": \"FennEvpnTepSegmentSm\", \"intended\": 2, \"programmed\": 2"),
            std::string::npos)
      << json;
}

}  // namespace
