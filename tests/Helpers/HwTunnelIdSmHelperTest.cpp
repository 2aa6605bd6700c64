// The hardware tunnel ID helper: the stub hands out IDs from per-pool queues and files
// released ones back under their own pool; the base operations are what an agent without a
// hardware layer runs.
#include <gtest/gtest.h>

#include <cstdlib>

#include "AttributeLog.h"
#include "FennEvpn/FennEvpnHwTunnelIdSmHelper.h"
#include "FennEvpn/FennEvpnHwTunnelIdSmHelperStub.h"

using Fenn::HwTunnelId;
using Fenn::hwTunnelIdTypeDefault;
using Fenn::hwTunnelIdTypeSharedEs;
using FennHelper::EvpnHwTunnelIdSmHelperStub;

namespace {

HwTunnelId defaultId(uint32_t n) { return HwTunnelId(hwTunnelIdTypeDefault, n); }
HwTunnelId sharedEsId(uint32_t n) { return HwTunnelId(hwTunnelIdTypeSharedEs, n); }

class HwTunnelIdSmHelperStubTest : public ::testing::Test {
 protected:
  void SetUp() override {
    auto* pool = stub->freeHwTunnelIdIs(hwTunnelIdTypeDefault);
    pool->hwTunnelIdEnq(defaultId(1));
    pool->hwTunnelIdEnq(defaultId(2));
  }
  Qor::Ptr<EvpnHwTunnelIdSmHelperStub> stub = FennHelper::evpnHwTunnelIdSmHelperStubFactory("stub");
};

TEST_F(HwTunnelIdSmHelperStubTest, HandsOutInOrderAndReleasedIdsQueueBehindTheirOwnPool) {
  EXPECT_EQ(stub->getHwTunnelId(hwTunnelIdTypeDefault), defaultId(1));
  stub->releaseHwTunnelId(defaultId(1));
  stub->freeHwTunnelIdIs(hwTunnelIdTypeSharedEs);
  stub->releaseHwTunnelId(sharedEsId(9));
  EXPECT_EQ(stub->getHwTunnelId(hwTunnelIdTypeDefault), defaultId(2));
  EXPECT_EQ(stub->getHwTunnelId(hwTunnelIdTypeDefault), defaultId(1));
  EXPECT_FALSE(stub->getHwTunnelId(hwTunnelIdTypeDefault).valid());
  EXPECT_EQ(stub->getHwTunnelId(hwTunnelIdTypeSharedEs), sharedEsId(9));
  EXPECT_EQ(stub->getHwTunnelIdCount(), 5u);
  EXPECT_EQ(stub->getHwTunnelIdHwTunnelIdType(), hwTunnelIdTypeSharedEs);
}

TEST_F(HwTunnelIdSmHelperStubTest, SameIdReleasedTwiceStillCounts) {
  auto log = AttributeLog::watch(stub.get());
  stub->releaseHwTunnelId(defaultId(5));
  stub->releaseHwTunnelId(defaultId(5));
  EXPECT_EQ(stub->releaseHwTunnelIdCount(), 2u);
  // The latest ID did not change on the second call, so only the counter notified.
  EXPECT_EQ(log->ids,
            (std::vector<Qor::AttributeId>{EvpnHwTunnelIdSmHelperStub::releaseHwTunnelIdCountAttr,
                                           EvpnHwTunnelIdSmHelperStub::releaseHwTunnelIdHwTunnelIdAttr,
                                           EvpnHwTunnelIdSmHelperStub::releaseHwTunnelIdCountAttr}));
}

TEST_F(HwTunnelIdSmHelperStubTest, PoolWithoutQueueIsASetUpError) {
  EXPECT_DEATH(stub->getHwTunnelId(hwTunnelIdTypeSharedEs),
               "assertion failed: EvpnHwTunnelIdSmHelperStub has no free hardware tunnel ID queue for "
               "hwTunnelIdTypeSharedEs");
  EXPECT_DEATH(stub->releaseHwTunnelId(sharedEsId(1)), "no free hardware tunnel ID queue");
}

class HwTunnelIdSmHelperBaseTest : public ::testing::Test {
 protected:
  void SetUp() override { unsetenv("FENN_NOOP_AGENT"); }
  void TearDown() override { unsetenv("FENN_NOOP_AGENT"); }
  Qor::Ptr<FennHelper::EvpnHwTunnelIdSmHelper> helper{new FennHelper::EvpnHwTunnelIdSmHelper("base")};
};

TEST_F(HwTunnelIdSmHelperBaseTest, NoopAgentFailsAllocationSoftlyOtherwiseItAborts) {
  EXPECT_DEATH(helper->getHwTunnelId(hwTunnelIdTypeDefault),
               "assertion failed: Unimplemented getHwTunnelId\n");
  EXPECT_DEATH(helper->releaseHwTunnelId(defaultId(1)),
               "assertion failed: Unimplemented releaseHwTunnelId\n");
  setenv("FENN_NOOP_AGENT", "1", 1);
  EXPECT_FALSE(helper->getHwTunnelId(hwTunnelIdTypeDefault).valid());
  helper->releaseHwTunnelId(defaultId(1));
}

}  // namespace
