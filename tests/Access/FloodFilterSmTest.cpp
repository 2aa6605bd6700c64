// The flood filter: a non-DF port entry on every physical port of each (interface, VLAN)
// that the VLAN's flood status filters, following LAG members, lifted with the filter,
// retried after failures. The randomized access-side test carries the breadth; these
// cases pin single behaviours.
#include "Access/VlanFloodingFixture.h"
#include "FennEvpn/FennEvpnFloodFilterSm.h"

namespace {

class FloodFilterSmTest : public VlanFloodingFixture {
 protected:
  void SetUp() override {
    sm = Fenn::fennEvpnFloodFilterSmFactory(hw, scheduler, lags, evpn);
    sm->initializedIs(true);
  }
  void filterIs(uint16_t vlan, std::initializer_list<IntfId> intfs) {
    Evpn::EvpnVlanFloodStatus* status = evpn->evpnVlanFloodStatusIs(VlanId(vlan));
    status->floodFilterDelAll();
    for (auto const& intf : intfs) status->floodFilterIs(intf);
  }

  Qor::Ptr<Fenn::FennEvpnFloodFilterSm> sm;
};

TEST_F(FloodFilterSmTest, FilterCoversEveryPortOfItsInterfaceAndReleaseLiftsIt) {
  lagIs(lag(10), {1, 2});
  filterIs(10, {lag(10), eth(5)});
  filterIs(20, {lag(10)});
  EXPECT_EQ(nonDfPorts(), (PortVlans{{eth(1), VlanId(10)},
                                     {eth(2), VlanId(10)},
                                     {eth(5), VlanId(10)},
                                     {eth(1), VlanId(20)},
                                     {eth(2), VlanId(20)}}));
  EXPECT_EQ(tables().nonDfPorts().at({eth(1), VlanId(10)}), lag(10)) << "programmed for its LAG";

  // Released, the machine lifts what it installed. (A filter lifted, or a whole flood status
  // gone, while it runs is the randomized access-side test's.)
  sm = nullptr;
  EXPECT_TRUE(tables().nonDfPorts().empty());
}

TEST_F(FloodFilterSmTest, FailuresAreRetriedOnceAfterTheIntervalAndAtOnceAfterADeletion) {
  lagIs(lag(10), {1, 2});
  tables().createNonDfPortFaults().failNextIs(3);
  filterIs(10, {lag(10), eth(5)});  // three creates, three failures
  EXPECT_TRUE(nonDfPorts().empty());
  EXPECT_EQ(sm->unprogrammedFilter().size(), 2u);
  EXPECT_EQ(sm->reviewUnprogrammed()->dueTime(), 5.0) << "one review for the burst";
  scheduler->advanceBy(4.9);
  EXPECT_TRUE(nonDfPorts().empty());

  tables().createNonDfPortFaults().failNextIs(1);
  scheduler->advanceBy(0.1);
  EXPECT_EQ(nonDfPorts().size(), 2u) << "one of the three failed again";
  EXPECT_EQ(sm->unprogrammedFilter().size(), 1u);
  EXPECT_EQ(sm->reviewUnprogrammed()->dueTime(), 10.0);

  // Lifting another filter deletes an entry, which may free room: the failure is retried now.
  filterIs(20, {eth(6)});
  evpn->evpnVlanFloodStatus(VlanId(20))->floodFilterDel(eth(6));
  scheduler->runReady();
  EXPECT_EQ(clock->now(), 5.0);
  EXPECT_EQ(nonDfPorts(), (PortVlans{{eth(1), VlanId(10)}, {eth(2), VlanId(10)}, {eth(5), VlanId(10)}}));
  EXPECT_TRUE(sm->unprogrammedFilter().empty());
  EXPECT_FALSE(sm->reviewUnprogrammed()->taskScheduled());
}

}  // namespace
