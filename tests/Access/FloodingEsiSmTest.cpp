// ESI label programming: who gets the label (the designated forwarder, or every remote
// when all are in the shared-ES pool), on which ports (a LAG's current members), how a
// changed hardware tunnel ID is applied with and without in-place update, and how failures
// are retried. The randomized test carries the breadth; these cases pin each rule.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "Evpn/EvpnStatus.h"
#include "FennEvpn/FennEvpnFloodingEsiSm.h"
#include "FennEvpn/FennEvpnFloodingSmHelperStub.h"
#include "Keel/ManualClock.h"
#include "sim/FloodingHardware.h"

namespace {

using Fenn::HwTunnelId;
using Ostra::IntfId;

IntfId eth(uint32_t n) { return IntfId::ethernet(n); }
IntfId lag(uint32_t n) { return IntfId::portChannel(n); }
Fenn::TunnelId tunnel(uint64_t pe) { return Fenn::TunnelId(Tunnel::tunnelTypeLdp, pe); }
IntfId tep(uint64_t pe) { return IntfId::dynamicTunnel(tunnel(pe)); }
Bridging::VlanId vlan(uint16_t v) { return Bridging::VlanId(v); }

class EsiTest : public ::testing::Test {
 protected:
  void start(Qor::Ptr<FennHelper::EvpnFloodingSmHelper> helper = nullptr) {
    sm = Fenn::evpnFloodingEsiSmFactory(helper ? helper : Qor::Ptr<FennHelper::EvpnFloodingSmHelper>(hw),
                                        scheduler, lags, evpn, table);
    sm->initializedIs(true);
  }
  Evpn::EthernetSegmentStatus* es(IntfId intf) { return evpn->ethernetSegmentStatusIs(intf); }
  // A segment on `intf` with local label 900, VLAN 10 and remotes pe1 (label 601) and pe2
  // (602), pe1 the DF; both tunnels with default-pool IDs 1 and 2.
  void segment(IntfId intf) {
    idIs(1, Fenn::hwTunnelIdTypeDefault, 1);
    idIs(2, Fenn::hwTunnelIdTypeDefault, 2);
    evpn->localEsiLabelIs(intf, Evpn::EncapTypeLabel::mpls(Ostra::MplsLabel(900)));
    es(intf)->remoteEsiLabelIs(tep(1), Evpn::EncapTypeLabel::mpls(Ostra::MplsLabel(601)));
    es(intf)->remoteEsiLabelIs(tep(2), Evpn::EncapTypeLabel::mpls(Ostra::MplsLabel(602)));
    es(intf)->configuredVlanIs(vlan(10));
    es(intf)->designatedForwarderTepIs(vlan(10), tep(1));
  }
  void idIs(uint64_t pe, Fenn::HwTunnelIdType type, uint32_t id) {
    table->tunnelIdToHwTunnelIdIs(Fenn::TunnelIdToHwTunnelId(tunnel(pe), HwTunnelId(type, id)));
  }
  void lagIs(IntfId l, std::initializer_list<IntfId> ports) {
    Fenn::FennPortList list;
    for (auto p : ports) list.portIs(p);
    lags->lagToPortIs(l, list);
  }
  // "port vlan pe/remote label/hw id" of every entry in the hardware.
  std::set<std::string> entries() const {
    std::set<std::string> out;
    for (auto const& [key, e] : hw->esiData()) {
      auto const& [port, v, t] = key;
      out.insert(port.name() + " " + std::to_string(v.value()) + " pe" + std::to_string(t.index()) + "/" +
                 std::to_string(e.remoteEsiLabel.value()) + "/" + std::to_string(e.hwTunnelId.id()));
    }
    return out;
  }
  void TearDown() override {
    EXPECT_EQ(hw->badEsiDeleteCount(), 0u);
    EXPECT_EQ(hw->badEsiCreateCount(), 0u);
  }

  Qor::Ptr<Keel::ManualClock> clock{new Keel::ManualClock};
  Qor::Ptr<Keel::TaskScheduler> scheduler{new Keel::TaskScheduler(clock)};
  Qor::Ptr<Evpn::EvpnStatus> evpn = Evpn::evpnStatusFactory();
  Qor::Ptr<Fenn::EvpnLagMemberInfo> lags = Fenn::evpnLagMemberInfoFactory();
  Qor::Ptr<Fenn::TunnelIdToHwTunnelIdMapping> table =
      Fenn::tunnelIdToHwTunnelIdMappingFactory("esiTestTable");
  Qor::Ptr<Sim::FloodingHardware> hw{new Sim::FloodingHardware("hw")};
  Qor::Ptr<Fenn::EvpnFloodingEsiSm> sm;
};

using S = std::set<std::string>;

TEST_F(EsiTest, DesignatedForwarderGetsTheLabelUnlessAllRemotesShareTheEsPool) {
  segment(eth(1));
  start();
  EXPECT_EQ(entries(), S{"Ethernet1 10 pe1/601/1"});

  es(eth(1))->designatedForwarderTepIs(vlan(10), tep(2));
  EXPECT_EQ(entries(), S{"Ethernet1 10 pe2/602/2"}) << "the label follows a DF change";

  es(eth(1))->designatedForwarderTepIs(vlan(10), tep(3));
  EXPECT_EQ(entries(), S{}) << "a DF that sent no ESI label is not programmed";

  idIs(1, Fenn::hwTunnelIdTypeSharedEs, 1);
  EXPECT_EQ(entries(), S{}) << "pe2 is still in the default pool";
  idIs(2, Fenn::hwTunnelIdTypeSharedEs, 2);
  EXPECT_EQ(entries(), (S{"Ethernet1 10 pe1/601/1", "Ethernet1 10 pe2/602/2"})) << "every remote";

  // A remote whose label is not MPLS is skipped, not programmed with a meaningless label.
  es(eth(1))->remoteEsiLabelIs(tep(2), Evpn::EncapTypeLabel(Evpn::encapTypeVxlan, 5000));
  EXPECT_EQ(entries(), S{"Ethernet1 10 pe1/601/1"});
  es(eth(1))->remoteEsiLabelDel(tep(2));
  es(eth(1))->remoteEsiLabelIs(tep(1), Evpn::EncapTypeLabel::mpls(Ostra::MplsLabel(611)));
  EXPECT_EQ(entries(), S{"Ethernet1 10 pe1/611/1"}) << "a new remote label replaces the entry";
  EXPECT_FALSE(sm->tunnelIntfVlanSetHas(tunnel(2))) << "a remote that left is forgotten";

  es(eth(1))->configuredVlanDel(vlan(10));
  EXPECT_EQ(entries(), S{"Ethernet1 10 pe1/611/1"}) << "still a DF VLAN of the segment";
  es(eth(1))->designatedForwarderTepDel(vlan(10));
  EXPECT_EQ(entries(), S{});
  es(eth(1))->configuredVlanIs(vlan(20));
  evpn->localEsiLabelDel(eth(1));
  EXPECT_EQ(entries(), S{}) << "no local label, nothing programmed";
  evpn->localEsiLabelIs(eth(1), Evpn::EncapTypeLabel::mpls(Ostra::MplsLabel(901)));
  EXPECT_EQ(entries(), S{"Ethernet1 20 pe1/611/1"});
  evpn->ethernetSegmentStatusDel(eth(1));
  EXPECT_EQ(entries(), S{});
  EXPECT_TRUE(sm->intfVlanSet().empty());
  EXPECT_TRUE(sm->intfVlanTunnelEsiInfo().empty());
}

TEST_F(EsiTest, LagIsProgrammedOnItsCurrentMembers) {
  segment(lag(1));
  start();
  EXPECT_EQ(entries(), S{}) << "no lag configuration";
  lagIs(lag(1), {eth(1), eth(2)});
  EXPECT_EQ(entries(), (S{"Ethernet1 10 pe1/601/1", "Ethernet2 10 pe1/601/1"}));
  lagIs(lag(1), {eth(2), eth(3)});
  EXPECT_EQ(entries(), (S{"Ethernet2 10 pe1/601/1", "Ethernet3 10 pe1/601/1"})) << "stale member deleted";
  lags->lagToPortDel(lag(1));
  EXPECT_EQ(entries(), S{});
  lagIs(lag(1), {eth(4)});
  sm = nullptr;
  EXPECT_EQ(entries(), S{}) << "releasing the machine removes what it programmed";
}

TEST_F(EsiTest, ChangedHardwareTunnelIdIsOverwrittenInPlaceOnlyWhereSupported) {
  segment(lag(1));
  lagIs(lag(1), {eth(1), eth(2)});
  start();
  idIs(1, Fenn::hwTunnelIdTypeDefault, 7);
  EXPECT_EQ(entries(), (S{"Ethernet1 10 pe1/601/7", "Ethernet2 10 pe1/601/7"}));
  EXPECT_EQ(hw->esiDeleteCount(), 2u) << "deleted first: the hardware cannot update";

  hw->updateSupportedOnCreateEsiDataIs(true);
  hw->esiDataFaults().failNextIs(1);
  idIs(1, Fenn::hwTunnelIdTypeDefault, 8);
  EXPECT_EQ(hw->esiDeleteCount(), 2u) << "overwritten in place";
  EXPECT_EQ(entries(), (S{"Ethernet1 10 pe1/601/7", "Ethernet2 10 pe1/601/8"}))
      << "the first overwrite failed";
  lagIs(lag(1), {eth(2)});
  EXPECT_EQ(entries(), S{"Ethernet2 10 pe1/601/8"}) << "a port whose overwrite failed is still deleted";
  EXPECT_TRUE(sm->unprogrammedEsi().empty());
}

TEST_F(EsiTest, FailuresAreRetriedOncePerIntervalAndAtOnceAfterADeletion) {
  segment(eth(1));
  segment(eth(2));
  es(eth(1))->designatedForwarderTepIs(vlan(10), tep(2));
  hw->esiDataFaults().failNextIs(2);
  start();
  EXPECT_EQ(entries(), S{});
  EXPECT_EQ(sm->unprogrammedEsi().size(), 2u);
  EXPECT_EQ(sm->reviewUnprogrammed()->dueTime(), 5.0) << "two failures, one review";

  hw->esiDataFaults().failNextIs(2);
  scheduler->advanceBy(5);
  EXPECT_EQ(entries(), S{}) << "failed again";
  EXPECT_EQ(sm->reviewUnprogrammed()->dueTime(), 10.0);

  // Ethernet3 programs; taking it away frees room, so the failed entries are retried now.
  segment(eth(3));
  EXPECT_EQ(entries(), S{"Ethernet3 10 pe1/601/1"});
  evpn->ethernetSegmentStatusDel(eth(3));
  scheduler->runReady();
  EXPECT_EQ(entries(), (S{"Ethernet1 10 pe2/602/2", "Ethernet2 10 pe1/601/1"}));
  EXPECT_TRUE(sm->unprogrammedEsi().empty());
  EXPECT_TRUE(sm->esiStatus(Fenn::IntfVlanTunnelKey(eth(1), vlan(10), tunnel(2)))->unprogrammed().empty());
}

// A detached input reads as empty from then on: the LAG's entries go with its member lists,
// every entry with the hardware tunnel IDs, the indexes with the segments; and later changes
// of a detached input are not heard.
TEST_F(EsiTest, DetachedInputsReadAsEmpty) {
  segment(eth(1));
  segment(lag(1));
  lagIs(lag(1), {eth(2)});
  start();
  EXPECT_EQ(entries(), (S{"Ethernet1 10 pe1/601/1", "Ethernet2 10 pe1/601/1"}));
  sm->evpnLagMemberInfoDel();
  EXPECT_EQ(entries(), S{"Ethernet1 10 pe1/601/1"}) << "a LAG without member lists has no configuration";
  lagIs(lag(1), {eth(2), eth(3)});
  sm->tunnelIdHwTunnelIdDel();
  EXPECT_EQ(entries(), S{});
  idIs(1, Fenn::hwTunnelIdTypeDefault, 5);
  es(eth(1))->designatedForwarderTepIs(vlan(10), tep(2));
  EXPECT_EQ(entries(), S{}) << "no hardware tunnel ID is published";
  EXPECT_TRUE(sm->intfVlanTunnelEsiInfo().empty());
  sm->evpnStatusDel();
  EXPECT_TRUE(sm->intfVlanSet().empty());
  EXPECT_TRUE(sm->intfVlanTunnelSet().empty());
  EXPECT_TRUE(sm->tunnelIntfVlanSet().empty());
  segment(eth(4));
  EXPECT_TRUE(sm->intfVlanSet().empty());

  // The EVPN status first, with a refused entry waiting for the review.
  evpn->ethernetSegmentStatusDel(eth(4));
  hw->esiDataFaults().failNextIs(1);
  start();
  EXPECT_EQ(entries().size(), 2u) << "one of three refused";
  EXPECT_EQ(sm->unprogrammedEsi().size(), 1u);
  sm->evpnStatusDel();
  EXPECT_EQ(entries(), S{});
  EXPECT_TRUE(sm->unprogrammedEsi().empty());
  EXPECT_TRUE(sm->esiStatus().empty());
  scheduler->advanceBy(sm->defaultUnprogrammedRetryInterval());
  EXPECT_EQ(entries(), S{});
}

TEST_F(EsiTest, InvalidHardwareTunnelIdIsFatal) {
  auto stub = FennHelper::evpnFloodingSmHelperStubFactory("stub");
  stub->createEsiDataRcIs(Fenn::invalidHwId);
  segment(eth(1));
  EXPECT_DEATH(start(stub), "rc != invalidHwId");
}

}  // namespace
