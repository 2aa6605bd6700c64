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
  DeathTest::expectEachInputRequired(
      "FennEvpnEsiFilteringDecapSm.cpp",
      [](auto... in) { Fenn::esiFilteringDecapSmFactory(in...)->initializedIs(true); },
      {"esiFilteringDecapHelper()", "lfibStatus()", "scheduler()", "lfibTrackingStatus()", "lfibHwStatus()"},
      FennHelper::esiFilteringDecapHelperStubFactory("deathDecapHelper"), Mpls::lfibStatusFactory(),
      Qor::Ptr<Keel::TaskScheduler>(
          new Keel::TaskScheduler(Qor::Ptr<Keel::ManualClock>(new Keel::ManualClock))),
      Mpls::lfibTrackingStatusFactory(), Mpls::lfibHwStatusFactory());
}

}  // namespace
