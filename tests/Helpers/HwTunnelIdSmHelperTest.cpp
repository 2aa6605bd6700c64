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

TEST_F(HwTunnelIdSmHelperStubTest, HandsOutInInsertionOrderThenInvalid) {
  EXPECT_EQ(stub->name(), "stub");
  EXPECT_EQ(stub->getHwTunnelId(hwTunnelIdTypeDefault), defaultId(1));
  EXPECT_EQ(stub->getHwTunnelId(hwTunnelIdTypeDefault), defaultId(2));
  EXPECT_FALSE(stub->getHwTunnelId(hwTunnelIdTypeDefault).valid());
  EXPECT_EQ(stub->getHwTunnelIdCount(), 3u);
  EXPECT_EQ(stub->getHwTunnelIdHwTunnelIdType(), hwTunnelIdTypeDefault);
}

TEST_F(HwTunnelIdSmHelperStubTest, ReleasedIdReturnsAfterTheOlderFreeOnes) {
  HwTunnelId const first = stub->getHwTunnelId(hwTunnelIdTypeDefault);
  stub->releaseHwTunnelId(first);
  EXPECT_EQ(stub->getHwTunnelId(hwTunnelIdTypeDefault), defaultId(2));
  EXPECT_EQ(stub->getHwTunnelId(hwTunnelIdTypeDefault), first);
}

TEST_F(HwTunnelIdSmHelperStubTest, ReleaseFilesTheIdUnderItsOwnPool) {
  stub->freeHwTunnelIdIs(hwTunnelIdTypeSharedEs);
  stub->releaseHwTunnelId(sharedEsId(9));
  EXPECT_EQ(stub->freeHwTunnelId(hwTunnelIdTypeDefault)->hwTunnelIdSize(), 2u);
  EXPECT_EQ(stub->getHwTunnelId(hwTunnelIdTypeSharedEs), sharedEsId(9));
  EXPECT_EQ(stub->getHwTunnelIdHwTunnelIdType(), hwTunnelIdTypeSharedEs);
}

TEST_F(HwTunnelIdSmHelperStubTest, SameIdReleasedTwiceStillCounts) {
  auto log = AttributeLog::watch(stub.get());
  stub->releaseHwTunnelId(defaultId(5));
  stub->releaseHwTunnelId(defaultId(5));
  EXPECT_EQ(stub->releaseHwTunnelIdCount(), 2u);
  EXPECT_EQ(stub->releaseHwTunnelIdHwTunnelId(), defaultId(5));
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

// The base operations are what an agent without a hardware layer runs.
class HwTunnelIdSmHelperBaseTest : public ::testing::Test {
 protected:
  void SetUp() override { unsetenv("FENN_NOOP_AGENT"); }
  void TearDown() override { unsetenv("FENN_NOOP_AGENT"); }
  Qor::Ptr<FennHelper::EvpnHwTunnelIdSmHelper> helper{new FennHelper::EvpnHwTunnelIdSmHelper("base")};
};

TEST_F(HwTunnelIdSmHelperBaseTest, NoopAgentFailsAllocationSoftly) {
  setenv("FENN_NOOP_AGENT", "1", 1);
  EXPECT_FALSE(helper->getHwTunnelId(hwTunnelIdTypeDefault).valid());
  helper->releaseHwTunnelId(defaultId(1));
}

TEST_F(HwTunnelIdSmHelperBaseTest, OtherwiseUnimplementedOperationsAbort) {
  EXPECT_DEATH(helper->getHwTunnelId(hwTunnelIdTypeDefault),
               "assertion failed: Unimplemented getHwTunnelId\n");
  EXPECT_DEATH(helper->releaseHwTunnelId(defaultId(1)),
               "assertion failed: Unimplemented releaseHwTunnelId\n");
}

}  // namespace
