// EvpnHwTunnelIdSm's assertions, each reached through the machine's inputs, its output
// table or its public calls. Muting the machine (hasNotificationActiveIs) is how a platform
// hides a change from it; the asserted invariants are what that breaks.
#include <cstdlib>

#include "Death/DeathTestSupport.h"
#include "HwTunnelId/HwTunnelIdHarness.h"

namespace {

using DeathTest::assertion;
using namespace HwTunnelIdTest;

constexpr char const* kFile = "FennEvpnHwTunnelIdSm.cpp";

class HwTunnelIdSmDeathTest : public Harness {
 protected:
  void SetUp() override {
    Harness::SetUp();
    setenv("SIMULATION_VMID", "1", 1);  // an empty default pool leaves tunnels waiting
  }
  void TearDown() override {
    unsetenv("SIMULATION_VMID");
    Harness::TearDown();
  }
  // While muted, the machine hears nothing of `change`.
  template <class F>
  void unheard(F&& change) {
    sm->hasNotificationActiveIs(false);
    change();
    sm->hasNotificationActiveIs(true);
  }
};

// A tunnel retired twice: it came back unheard, and went again.
TEST_F(HwTunnelIdSmDeathTest, TunnelRetiredTwice) {
  freeIds({defaultId(1)});
  start();
  floodInc(10);
  floodDec(10);
  ASSERT_TRUE(zombie(10));
  unheard([&] { floodInc(10); });
  EXPECT_DEATH(floodDec(10),
               assertion("!zombieTunnelIdIs( hwTunnelIdType )->tunnelIdHas( tunnelId )", kFile));
}

// A zombie whose row was removed behind the machine's back, reclaimed when the pool is dry.
TEST_F(HwTunnelIdSmDeathTest, ZombieWithoutItsRow) {
  freeIds({defaultId(1)});
  start();
  floodInc(10);
  floodDec(10);
  table->tunnelIdToHwTunnelIdDel(tunnel(10));
  EXPECT_DEATH(floodInc(11), assertion("!!tidHwTid", kFile));
}

// A waiting tunnel: gone from the flood sets unheard, then published by the review; and a
// review asked for, or run, after the machine was marked uninitialized.
TEST_F(HwTunnelIdSmDeathTest, ReviewOfWaitingTunnels) {
  start();
  floodInc(13);  // the pool is empty: it waits
  ASSERT_TRUE(sm->unprogrammedTunnelHas(tunnel(13)));
  unheard([&] { floodDec(13); });
  sm->maybeScheduleUnprogrammedReview(true);
  EXPECT_DEATH(scheduler->runReady(), assertion("remoteInfo()->remoteTunnelIdHas( tunnelId )", kFile));

  floodInc(13);
  sm->maybeScheduleUnprogrammedReview(false);
  sm->initializedIs(false);
  EXPECT_DEATH(sm->maybeScheduleUnprogrammedReview(true), assertion("initialized()", kFile));
  EXPECT_DEATH(scheduler->advanceBy(sm->defaultUnprogrammedRetryInterval()),
               assertion("initialized()", kFile));
}

}  // namespace
