// The access-side machines' assertions, reached through their inputs, their public calls
// and the helper's answers: inputs the platform forgot to hand in, calls and reviews after
// the machine was marked uninitialized, a VLAN tag changed unheard, and the helper answering
// invalidHwId. (The ESI label machine's invalidHwId answer is reached in tests/Access.)
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
using DeathTest::expectEachInputRequired;
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
  expectEachInputRequired(
      "FennEvpnFloodingEsiSm.cpp",
      [](auto... in) { Fenn::evpnFloodingEsiSmFactory(in...)->initializedIs(true); },
      {"floodingHelper()", "scheduler()", "evpnLagMemberInfo()", "evpnStatus()", "tunnelIdHwTunnelId()"},
      helper, scheduler, lags, evpn, Fenn::tunnelIdToHwTunnelIdMappingFactory("deathEsiHwTid"));
}

TEST_F(AccessDeathTest, Dot1qMachine) {
  constexpr char const* file = "FennEvpnFloodingDot1qSm.cpp";
  expectEachInputRequired(
      file, [&](auto... in) { Fenn::evpnFloodingDot1qSmFactory(in..., mplsConfig)->initializedIs(true); },
      {"floodingHelper()", "scheduler()", "evpnLagMemberInfo()", "evpnVlanStatus()", "evpnStatus()"}, helper,
      scheduler, lags, vlanStatus, evpn);

  auto sm = Fenn::evpnFloodingDot1qSmFactory(helper, scheduler, lags, vlanStatus, evpn, mplsConfig);
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
  expectEachInputRequired(
      file, [](auto... in) { Fenn::fennEvpnFloodFilterSmFactory(in...)->initializedIs(true); },
      {"floodingHelper()", "scheduler()", "evpnLagMemberInfo()", "evpnStatus()"}, helper, scheduler, lags,
      evpn);

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

// The helper answering invalidHwId to a create is a broken platform, not a failure to retry.
TEST_F(AccessDeathTest, InvalidHwIdAnswers) {
  helper->createVlanToDot1qRcIs(Fenn::invalidHwId);
  helper->createNonDfPortRcIs(Fenn::invalidHwId);
  auto dot1q = Fenn::evpnFloodingDot1qSmFactory(helper, scheduler, lags, vlanStatus, evpn, mplsConfig);
  dot1q->initializedIs(true);
  evpn->vlanToDot1qIs(VlanId(10), VlanIdOrNone(100));
  vlanStatus->vlanStatusIs(VlanId(10))->memberIs(IntfId::ethernet(1));
  EXPECT_DEATH(scheduler->advanceBy(dot1q->defaultIntfVlanDelay()),
               assertion("invalid hwId, failed to program dot1q mapping", "FennEvpnFloodingDot1qSm.cpp"));
  auto filter = Fenn::fennEvpnFloodFilterSmFactory(helper, scheduler, lags, evpn);
  filter->initializedIs(true);
  EXPECT_DEATH(evpn->evpnVlanFloodStatusIs(VlanId(10))->floodFilterIs(IntfId::ethernet(1)),
               assertion("invalid hwId, failed to program", "FennEvpnFloodFilterSm.cpp"));
}

}  // namespace
