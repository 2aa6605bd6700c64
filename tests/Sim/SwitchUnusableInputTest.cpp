// Inputs the switch's state machines cannot use, fed through the control plane: each
// machine that meets one skips that key with a level-1 trace line, a bounded system-log
// message and its counter, and goes on serving every other key.
#include <gtest/gtest.h>

#include <string>

#include "FloodSet/FloodSetTestUtil.h"
#include "Qor/SysLog.h"
#include "sim/Switch.h"

namespace {

using Bridging::VlanId;
using Bridging::VlanIdOrNone;
using FloodSetTest::TraceCapture;
using Ostra::IntfId;
using Ostra::MplsLabel;
using Tunnel::TunnelTable::TunnelId;

TunnelId ldpTunnel(int i) { return TunnelId(Tunnel::tunnelTypeLdp, uint64_t(i)); }
TunnelId vlanTunnel(int i) { return TunnelId(Tunnel::tunnelTypeEvpnVlan, uint64_t(i)); }

class SwitchUnusableInputTest : public testing::Test {
 protected:
  SwitchUnusableInputTest() { Qor::sysLogRecordsDelAll(); }
  ~SwitchUnusableInputTest() override { Qor::sysLogRecordsDelAll(); }

  static size_t ignoredLogs() {
    size_t n = 0;
    for (auto const* m : Qor::sysLogRecords()) n += m->name() == "EVPN_MPLS_INPUT_IGNORED";
    return n;
  }
  bool hasEsiData(IntfId port, TunnelId tunnelId) const {
    for (auto const& e : sw.state().esiData) {
      if (e.port == port && e.tunnelId == tunnelId) return true;
    }
    return false;
  }
  bool hasFloodSetEntry(uint16_t vlan) const {
    for (auto const& e : sw.state().floodSets) {
      if (e.macVlanPair.vlanId() == VlanId(vlan)) return true;
    }
    return false;
  }

  Sim::Switch sw{Sim::HardwareConfig{}};
};

// A peer keyed by an interface that names no tunnel: the hardware tunnel ID, ESI label and
// TEP-segment machines each skip it once, when it arrives, and serve the segment's real peer.
TEST_F(SwitchUnusableInputTest, SegmentPeerThatNamesNoTunnelIsSkippedByEveryMachineThatReadsPeers) {
  IntfId const es = IntfId::ethernet(10);
  IntfId const notATunnel = IntfId::ethernet(5);
  IntfId const peer = IntfId::dynamicTunnel(ldpTunnel(1));
  sw.tunnelEndpointIs(ldpTunnel(1), Ostra::IpGenAddr("10.0.0.1"));
  sw.localEsiLabelIs(es, MplsLabel(900));
  sw.segmentVlansIs(es, {VlanId(10)}, {{VlanId(10), peer}});
  TraceCapture capture("FennEvpnHwTunnelIdSm/1,FennEvpnFloodingEsiSm/1,FennEvpnSegmentSm/1");
  sw.segmentIs(es, {{notATunnel, MplsLabel(100)}, {peer, MplsLabel(101)}}, std::nullopt);
  std::string const trace = capture.take();

  EXPECT_NE(trace.find("EvpnHwTunnelIdSm::handleRemoteEsiLabel skipped tep 'Ethernet5' "
                       "TunnelId::value < TunnelId::minValue or > TunnelId::maxValue not allowed"),
            std::string::npos)
      << trace;
  EXPECT_NE(trace.find("EvpnFloodingEsiSm::handleLabel skipped tep 'Ethernet5' intfId 'Ethernet10' "),
            std::string::npos)
      << trace;
  EXPECT_NE(trace.find("FennEvpnSegmentSm::processTep intfId 'Ethernet10' skipped tep 'Ethernet5' "),
            std::string::npos)
      << trace;
  EXPECT_EQ(sw.hwTunnelIdSm()->unusableInputCount(), 1u);
  EXPECT_EQ(sw.floodingEsiSm()->unusableInputCount(), 1u);
  EXPECT_EQ(sw.tepSegmentSm()->unusableInputCount(), 1u);
  EXPECT_EQ(ignoredLogs(), 3u) << "each machine logs its first";

  EXPECT_TRUE(sw.tunnelIdToHwTunnelId()->tunnelIdToHwTunnelIdHas(ldpTunnel(1)));
  EXPECT_TRUE(hasEsiData(es, ldpTunnel(1))) << "the real peer gets its ESI data";
  ASSERT_EQ(sw.state().tepSegments.size(), 1u);

  // Later changes are served; the bad peer leaving is neither counted nor logged again.
  sw.segmentIs(es, {{notATunnel, MplsLabel(100)}, {peer, MplsLabel(102)}}, std::nullopt);
  EXPECT_TRUE(hasEsiData(es, ldpTunnel(1)));
  sw.segmentIs(es, {{peer, MplsLabel(102)}}, std::nullopt);
  sw.segmentDel(es);
  EXPECT_EQ(sw.hwTunnelIdSm()->unusableInputCount(), 1u);
  EXPECT_EQ(sw.floodingEsiSm()->unusableInputCount(), 1u);
  EXPECT_EQ(sw.tepSegmentSm()->unusableInputCount(), 1u) << "a segment that went keeps its count";
  EXPECT_EQ(ignoredLogs(), 3u);
  EXPECT_TRUE(sw.state().esiData.empty());
  EXPECT_TRUE(sw.state().tepSegments.empty());
}

// VLAN 4095 cannot be the VLAN of a via: a destination of it over a per-VLAN tunnel is
// skipped by the FEC and configuration machines; the same tunnel in VLAN 10 is served.
TEST_F(SwitchUnusableInputTest, FloodSetDestinationWithoutAViaIsSkippedByTheFloodSetPath) {
  L2Rib::Dest const dest = L2Rib::Dest::mpls(vlanTunnel(1), MplsLabel(1000));
  Ostra::EthAddr const bcast = Ostra::EthAddr::broadcast();
  TraceCapture capture("FennEvpnFloodSetFecSm/1,FennEvpnVlanFloodSetSm/1");
  sw.destIs(VlanId(4095), bcast, dest);
  sw.destIs(VlanId(10), bcast, dest);
  std::string const trace = capture.take();

  EXPECT_NE(
      trace.find("EvpnFloodSetFecSm::processMplsDest skipped vlan: 4095 mac: 'ff:ff:ff:ff:ff:ff' dest: "),
      std::string::npos)
      << trace;
  EXPECT_NE(trace.find("EvpnVlanFloodSetSm::processMplsDest skipped vlan: 4095 "), std::string::npos)
      << trace;
  EXPECT_NE(trace.find("VlanIdOrNone::value > 4094 not allowed"), std::string::npos) << trace;
  EXPECT_EQ(sw.floodSetFecSm()->unusableInputCount(), 1u);
  EXPECT_EQ(sw.vlanFloodSetSm()->unusableInputCount(), 1u);
  EXPECT_EQ(ignoredLogs(), 2u);
  EXPECT_TRUE(hasFloodSetEntry(10));
  EXPECT_FALSE(hasFloodSetEntry(4095));
  EXPECT_EQ(sw.state().fecs.size(), 1u) << "one FEC, for VLAN 10's via";

  // Leaving is not counted; the other VLAN keeps being served to the end.
  sw.destDel(VlanId(4095), bcast, dest);
  sw.destDel(VlanId(10), bcast, dest);
  sw.advance(10);
  EXPECT_EQ(sw.floodSetFecSm()->unusableInputCount(), 1u);
  EXPECT_EQ(sw.vlanFloodSetSm()->unusableInputCount(), 1u);
  EXPECT_TRUE(sw.state().floodSets.empty());
  EXPECT_TRUE(sw.state().fecs.empty());
}

// VLAN 4095 cannot be its own dot1q tag. Each time the flag offers it again it is skipped
// again; the system log carries only the 1st, 2nd, 4th, 8th... of them.
TEST_F(SwitchUnusableInputTest, VlanWithoutAPossibleTagIsSkippedAndItsLogIsBounded) {
  sw.vlanToDot1qIs(VlanId(10), VlanIdOrNone::none());
  sw.vlanToDot1qIs(VlanId(4095), VlanIdOrNone::none());
  TraceCapture capture("FennEvpnFloodingDot1qSm/1");
  sw.vlanServiceDot1qEnabledIs(true);
  std::string const trace = capture.take();
  EXPECT_NE(trace.find("EvpnFloodingDot1qSm::handleVlanDot1q skipped vlan 4095 VlanIdOrNone::value > 4094 "
                       "not allowed"),
            std::string::npos)
      << trace;
  auto const vlans = [&] { return sw.state().vlans; };
  ASSERT_EQ(vlans().size(), 1u);
  EXPECT_EQ(vlans()[0].vlan, VlanId(10));
  EXPECT_EQ(vlans()[0].dot1q, VlanIdOrNone(10));

  for (int i = 0; i < 9; ++i) {
    sw.vlanServiceDot1qEnabledIs(false);  // untagged, VLAN 4095 is served
    EXPECT_EQ(vlans().size(), 2u);
    sw.vlanServiceDot1qEnabledIs(true);
  }
  EXPECT_EQ(sw.floodingDot1qSm()->unusableInputCount(), 10u);
  EXPECT_EQ(ignoredLogs(), 4u) << "the 1st, 2nd, 4th and 8th";
  EXPECT_EQ(vlans().size(), 1u);
}

}  // namespace
