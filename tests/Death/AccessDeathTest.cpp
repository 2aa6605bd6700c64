// The access-side machines' assertions, reached through their inputs, their public calls
// and the helper's answers: inputs the platform forgot to hand in, calls and reviews after
// the machine was marked uninitialized, and a VLAN tag changed unheard. (The helper's
// invalidHwId answers are reached in tests/Access.)
#include "Death/DeathTestSupport.h"
#include "Evpn/EvpnStatus.h"
#include "Evpn/MplsConfig.h"
#include "FennEvpn/FennEvpnFloodFilterSm.h"
#include "FennEvpn/FennEvpnFloodingDot1qSm.h"
#include "FennEvpn/FennEvpnFloodingEsiSm.h"
#include "FennEvpn/FennEvpnFloodingSmHelperStub.h"
#include "FennEvpn/FennEvpnTunnelIdToHwTunnelIdMapping.h"
#include "Keel/ManualClock.h"
#include "Keel/TaskScheduler.h"

namespace {

using Bridging::VlanId;
using Bridging::VlanIdOrNone;
using DeathTest::assertion;
using Ostra::IntfId;

class AccessDeathTest : public ::testing::Test {
 protected:
  Qor::Ptr<FennHelper::EvpnFloodingSmHelperStub> helper = FennHelper::evpnFloodingSmHelperStubFactory("stub");
  Qor::Ptr<Keel::ManualClock> clock{new Keel::ManualClock};
  Qor::Ptr<Keel::TaskScheduler> scheduler{new Keel::TaskScheduler(clock)};
  Qor::Ptr<Fenn::EvpnLagMemberInfo> lags = Fenn::evpnLagMemberInfoFactory();
  Qor::Ptr<Fenn::EvpnVlanStatus> vlanStatus = Fenn::evpnVlanStatusFactory();
  Qor::Ptr<Evpn::EvpnStatus> evpn = Evpn::evpnStatusFactory();
  Qor::Ptr<Evpn::MplsConfig> mplsConfig = Evpn::mplsConfigFactory();
};

TEST_F(AccessDeathTest, EsiLabelMachine) {
  constexpr char const* file = "FennEvpnFloodingEsiSm.cpp";
  auto table = Fenn::tunnelIdToHwTunnelIdMappingFactory("deathEsiHwTid");
  auto const start = [&](auto h, auto s, auto l, auto e, auto t) {
    Fenn::evpnFloodingEsiSmFactory(h, s, l, e, t)->initializedIs(true);
  };
  EXPECT_DEATH(start(helper, scheduler, lags, nullptr, table), assertion("evpnStatus()", file));
  EXPECT_DEATH(start(helper, scheduler, lags, evpn, nullptr), assertion("tunnelIdHwTunnelId()", file));
  EXPECT_DEATH(start(helper, scheduler, nullptr, evpn, table), assertion("evpnLagMemberInfo()", file));
  EXPECT_DEATH(start(nullptr, scheduler, lags, evpn, table), assertion("floodingHelper()", file));
  EXPECT_DEATH(start(helper, nullptr, lags, evpn, table), assertion("scheduler()", file));
}

TEST_F(AccessDeathTest, Dot1qMachine) {
  constexpr char const* file = "FennEvpnFloodingDot1qSm.cpp";
  auto const build = [&](auto h, auto s, auto l, auto v, auto e) {
    return Fenn::evpnFloodingDot1qSmFactory(h, s, l, v, e, mplsConfig);
  };
  EXPECT_DEATH(build(helper, scheduler, lags, vlanStatus, nullptr)->initializedIs(true),
               assertion("evpnStatus()", file));
  EXPECT_DEATH(build(helper, scheduler, lags, nullptr, evpn)->initializedIs(true),
               assertion("evpnVlanStatus()", file));
  EXPECT_DEATH(build(helper, scheduler, nullptr, vlanStatus, evpn)->initializedIs(true),
               assertion("evpnLagMemberInfo()", file));
  EXPECT_DEATH(build(nullptr, scheduler, lags, vlanStatus, evpn)->initializedIs(true),
               assertion("floodingHelper()", file));
  EXPECT_DEATH(build(helper, nullptr, lags, vlanStatus, evpn)->initializedIs(true),
               assertion("scheduler()", file));

  auto sm = build(helper, scheduler, lags, vlanStatus, evpn);
  EXPECT_DEATH(sm->maybeScheduleIntfVlanReview(IntfId::ethernet(1), VlanId(10)),
               assertion("initialized()", file));
  sm->initializedIs(true);
  evpn->vlanToDot1qIs(VlanId(10), VlanIdOrNone(100));
  vlanStatus->vlanStatusIs(VlanId(10))->memberIs(IntfId::ethernet(1));
  scheduler->advanceBy(sm->defaultIntfVlanDelay());
  ASSERT_TRUE(sm->intfVlanDot1qHas(Fenn::IntfVlanKey(IntfId::ethernet(1), VlanId(10))));

  // The tag changed while the machine heard nothing: what it programmed is not what it would.
  sm->hasNotificationActiveIs(false);
  evpn->vlanToDot1qIs(VlanId(10), VlanIdOrNone(200));
  sm->hasNotificationActiveIs(true);
  EXPECT_DEATH(sm->processIntfVlan(IntfId::ethernet(1), VlanId(10)),
               assertion("programmedDot1q( vlanId ) == dot1q", file));
  evpn->vlanToDot1qIs(VlanId(10), VlanIdOrNone(100));

  // Marked uninitialized: the interface review, and programming a new member.
  vlanStatus->vlanStatus(VlanId(10))->memberIs(IntfId::ethernet(2));  // queues the review
  sm->initializedIs(false);
  EXPECT_DEATH(scheduler->advanceBy(sm->defaultIntfVlanDelay()), assertion("initialized()", file));
  EXPECT_DEATH(sm->processIntfVlan(IntfId::ethernet(2), VlanId(10)), assertion("initialized()", file));
}

TEST_F(AccessDeathTest, FloodFilterMachineAndTheSharedReview) {
  constexpr char const* file = "FennEvpnFloodFilterSm.cpp";
  EXPECT_DEATH(Fenn::fennEvpnFloodFilterSmFactory(helper, scheduler, nullptr, evpn)->initializedIs(true),
               assertion("evpnLagMemberInfo()", file));
  EXPECT_DEATH(Fenn::fennEvpnFloodFilterSmFactory(helper, scheduler, lags, nullptr)->initializedIs(true),
               assertion("evpnStatus()", file));
  EXPECT_DEATH(Fenn::fennEvpnFloodFilterSmFactory(helper, nullptr, lags, evpn)->initializedIs(true),
               assertion("scheduler()", file));
  EXPECT_DEATH(Fenn::fennEvpnFloodFilterSmFactory(nullptr, scheduler, lags, evpn)->initializedIs(true),
               assertion("floodingHelper()", file));

  auto sm = Fenn::fennEvpnFloodFilterSmFactory(helper, scheduler, lags, evpn);
  EXPECT_DEATH(sm->processIntfVlan(IntfId::ethernet(1), VlanId(10)), assertion("initialized()", file));

  // A refused entry waits for the review, which finds the machine marked uninitialized; so
  // does a review asked for.
  sm->initializedIs(true);
  helper->createNonDfPortRcIs(Fenn::notProgrammed);
  evpn->evpnVlanFloodStatusIs(VlanId(10))->floodFilterIs(IntfId::ethernet(1));
  ASSERT_FALSE(sm->unprogrammedFilter().empty());
  sm->initializedIs(false);
  EXPECT_DEATH(scheduler->advanceBy(sm->defaultUnprogrammedRetryInterval()),
               assertion("initialized()", "FennEvpnUnprogrammedReview.h"));
  auto esi = Fenn::evpnFloodingEsiSmFactory(helper, scheduler, lags, evpn,
                                            Fenn::tunnelIdToHwTunnelIdMappingFactory("deathReviewHwTid"));
  esi->initializedIs(true);
  esi->initializedIs(false);
  EXPECT_DEATH(esi->maybeScheduleUnprogrammedReview(true),
               assertion("initialized()", "FennEvpnUnprogrammedReview.h"));
}

}  // namespace
