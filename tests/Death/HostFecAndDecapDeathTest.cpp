// The host FEC and decapsulation-filter machines: a review that finds the machine marked
// uninitialized, and inputs the platform forgot to hand in. (Broken chains, the toggle and
// running out of FEC IDs are reached in tests/HostFec; the filter's conflicts and bookkeeping
// in tests/EsiFilteringDecap.)
#include "Death/DeathTestSupport.h"
#include "EsiFilteringDecap/EsiFilteringDecapHarness.h"
#include "HostFec/HostFecHarness.h"

namespace {

using DeathTest::assertion;

class HostFecDeathTest : public ::testing::Test, public HostFecTest::Harness {
 protected:
  HostFecDeathTest() : Harness("deathHostFec") {}
};

TEST_F(HostFecDeathTest, BacklogReviewAfterBeingMarkedUninitialized) {
  using namespace HostFecTest;
  build(3, false);
  dest(1, 11);
  label(1, 1000, D(1));
  host(1, L(1));
  sm->initializedIs(true);  // the backlog's review is now due
  sm->initializedIs(false);
  EXPECT_DEATH(scheduler->runReady(), assertion("initialized()", "FennMacAddrFecRequestSm.cpp"));
}

TEST(EsiFilteringDecapDeathTest, InputsMissingAtInitialization) {
  constexpr char const* file = "FennEvpnEsiFilteringDecapSm.cpp";
  auto helper = FennHelper::esiFilteringDecapHelperStubFactory("deathDecapHelper");
  Qor::Ptr<Keel::TaskScheduler> scheduler(
      new Keel::TaskScheduler(Qor::Ptr<Keel::ManualClock>(new Keel::ManualClock)));
  auto lfib = Mpls::lfibStatusFactory();
  auto tracking = Mpls::lfibTrackingStatusFactory();
  auto hw = Mpls::lfibHwStatusFactory();
  auto const start = [&](auto h, auto l, auto s, auto t, auto w) {
    Fenn::esiFilteringDecapSmFactory(h, l, s, t, w)->initializedIs(true);
  };
  EXPECT_DEATH(start(nullptr, lfib, scheduler, tracking, hw), assertion("esiFilteringDecapHelper()", file));
  EXPECT_DEATH(start(helper, nullptr, scheduler, tracking, hw), assertion("lfibStatus()", file));
  EXPECT_DEATH(start(helper, lfib, nullptr, tracking, hw), assertion("scheduler()", file));
  EXPECT_DEATH(start(helper, lfib, scheduler, nullptr, hw), assertion("lfibTrackingStatus()", file));
  EXPECT_DEATH(start(helper, lfib, scheduler, tracking, nullptr), assertion("lfibHwStatus()", file));
}

}  // namespace
