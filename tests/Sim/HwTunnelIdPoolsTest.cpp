// The simulated hardware tunnel ID allocator: lowest free ID first, per pool, with every
// handed-out ID accounted for.
#include <gtest/gtest.h>

#include "sim/HwTunnelIdPools.h"

namespace {

using Fenn::HwTunnelId;

class HwTunnelIdPoolsTest : public ::testing::Test {
 protected:
  Qor::Ptr<Sim::HwTunnelIdPools> pools{new Sim::HwTunnelIdPools("test")};
  void SetUp() override {
    pools->poolSizeIs(Fenn::hwTunnelIdTypeDefault, 3);
    pools->poolSizeIs(Fenn::hwTunnelIdTypeSharedEs, 1);
  }
};

TEST_F(HwTunnelIdPoolsTest, HandsOutLowestFreeIdsPerPoolUntilEmpty) {
  EXPECT_EQ(pools->getHwTunnelId(Fenn::hwTunnelIdTypeDefault), HwTunnelId(Fenn::hwTunnelIdTypeDefault, 1));
  EXPECT_EQ(pools->getHwTunnelId(Fenn::hwTunnelIdTypeSharedEs), HwTunnelId(Fenn::hwTunnelIdTypeSharedEs, 1));
  EXPECT_FALSE(pools->getHwTunnelId(Fenn::hwTunnelIdTypeSharedEs).valid());
  EXPECT_EQ(pools->getHwTunnelId(Fenn::hwTunnelIdTypeDefault).id(), 2u);
  pools->releaseHwTunnelId(HwTunnelId(Fenn::hwTunnelIdTypeDefault, 1));
  EXPECT_EQ(pools->getHwTunnelId(Fenn::hwTunnelIdTypeDefault).id(), 1u) << "the gap is filled first";
  EXPECT_EQ(pools->getHwTunnelId(Fenn::hwTunnelIdTypeDefault).id(), 3u);
  EXPECT_FALSE(pools->getHwTunnelId(Fenn::hwTunnelIdTypeDefault).valid());
  EXPECT_EQ(pools->freeCount(Fenn::hwTunnelIdTypeDefault), 0u);
}

TEST_F(HwTunnelIdPoolsTest, BadReleasesAreCountedAndShrinkingKeepsIdsInUse) {
  pools->releaseHwTunnelId(HwTunnelId(Fenn::hwTunnelIdTypeDefault, 2));  // never handed out
  pools->releaseHwTunnelId(HwTunnelId());
  EXPECT_EQ(pools->badReleaseCount(), 2u);
  pools->getHwTunnelId(Fenn::hwTunnelIdTypeDefault);
  pools->getHwTunnelId(Fenn::hwTunnelIdTypeDefault);
  pools->poolSizeIs(Fenn::hwTunnelIdTypeDefault, 1);
  EXPECT_EQ(pools->inUse(Fenn::hwTunnelIdTypeDefault).size(), 2u);
  EXPECT_EQ(pools->freeCount(Fenn::hwTunnelIdTypeDefault), 0u);
  pools->releaseHwTunnelId(HwTunnelId(Fenn::hwTunnelIdTypeDefault, 2));
  EXPECT_EQ(pools->badReleaseCount(), 2u);
}

TEST_F(HwTunnelIdPoolsTest, InjectedFaultsFailCallsWithoutTakingIds) {
  pools->allocationFaults().failNextIs(2);
  EXPECT_FALSE(pools->getHwTunnelId(Fenn::hwTunnelIdTypeDefault).valid());
  EXPECT_FALSE(pools->getHwTunnelId(Fenn::hwTunnelIdTypeDefault).valid());
  EXPECT_EQ(pools->getHwTunnelId(Fenn::hwTunnelIdTypeDefault).id(), 1u);
  EXPECT_EQ(pools->allocationFaults().failures(), 2u);
  EXPECT_EQ(pools->allocationFaults().calls(), 3u);
}

}  // namespace
