#include <gtest/gtest.h>

#include <vector>

#include "AttributeLog.h"
#include "FennEvpn/FennEvpnHwTunnelIdQueue.h"

using Fenn::HwTunnelId;
using FennHelper::HwTunnelIdMetadata;
using FennHelper::HwTunnelIdQueue;

namespace {

HwTunnelId id(uint32_t n) { return HwTunnelId(Fenn::hwTunnelIdTypeDefault, n); }

class HwTunnelIdQueueTest : public ::testing::Test {
 protected:
  using Entries = std::vector<std::pair<uint32_t, HwTunnelId>>;
  Entries entries() const {
    Entries out;
    for (auto const& e : queue->hwTunnelId()) out.push_back(e);
    return out;
  }

  Qor::Ptr<HwTunnelIdQueue> queue{new HwTunnelIdQueue(Fenn::hwTunnelIdTypeDefault)};
};

TEST_F(HwTunnelIdQueueTest, FifoWithGrowingIndexes) {
  EXPECT_EQ(queue->hwTunnelIdEnq(id(7)), 0u);
  EXPECT_EQ(queue->hwTunnelIdEnq(id(3)), 1u);
  EXPECT_EQ(queue->hwTunnelIdEnq(id(5)), 2u);
  EXPECT_EQ(entries(), (Entries{{0, id(7)}, {1, id(3)}, {2, id(5)}}));
  EXPECT_EQ(queue->hwTunnelIdMetadata(), HwTunnelIdMetadata(0, 3));

  EXPECT_EQ(queue->hwTunnelIdDeq(), id(7));
  EXPECT_EQ(queue->hwTunnelIdMetadata(), HwTunnelIdMetadata(1, 3));
  // An index is never handed out twice, even after its element left.
  EXPECT_EQ(queue->hwTunnelIdEnq(id(7)), 3u);
  EXPECT_EQ(entries(), (Entries{{1, id(3)}, {2, id(5)}, {3, id(7)}}));
  EXPECT_EQ(queue->hwTunnelId(2), id(5));
  EXPECT_FALSE(queue->hwTunnelId(0).valid());
}

TEST_F(HwTunnelIdQueueTest, DeletedElementsLeaveHolesThatDequeueSkips) {
  for (uint32_t n = 1; n <= 4; ++n) queue->hwTunnelIdEnq(id(n));
  EXPECT_TRUE(queue->hwTunnelIdDel(1));
  EXPECT_FALSE(queue->hwTunnelIdDel(1));
  EXPECT_EQ(entries(), (Entries{{0, id(1)}, {2, id(3)}, {3, id(4)}}));

  EXPECT_EQ(queue->hwTunnelIdDeq(), id(1));
  EXPECT_EQ(queue->hwTunnelIdMetadata(), HwTunnelIdMetadata(2, 4));  // the head moved past the hole
  EXPECT_EQ(queue->hwTunnelIdDeq(), id(3));
  EXPECT_EQ(queue->hwTunnelIdDeq(), id(4));
  EXPECT_FALSE(queue->hwTunnelIdDeq().valid());
  EXPECT_EQ(queue->hwTunnelIdMetadata(), HwTunnelIdMetadata(4, 4));
}

TEST_F(HwTunnelIdQueueTest, DeleteThroughIteratorContinuesWithTheNextElement) {
  for (uint32_t n = 0; n < 6; ++n) queue->hwTunnelIdEnq(id(n + 10));
  queue->hwTunnelIdDel(1);
  // Deleting the head jumps over the hole at 1; deleting 3 lands on 4.
  auto it = queue->hwTunnelId().begin();
  it = queue->hwTunnelIdDel(it);
  EXPECT_EQ(it.index(), 2u);
  ++it;
  it = queue->hwTunnelIdDel(it);
  EXPECT_EQ(it.index(), 4u);
  ++it;
  it = queue->hwTunnelIdDel(it);  // the last one
  EXPECT_TRUE(it == queue->hwTunnelId().end());
  EXPECT_EQ(entries(), (Entries{{2, id(12)}, {4, id(14)}}));
}

TEST_F(HwTunnelIdQueueTest, StoreAtIndexExtendsTheTail) {
  queue->hwTunnelIdIs(10, id(1));
  EXPECT_EQ(queue->hwTunnelIdMetadata(), HwTunnelIdMetadata(10, 11));
  queue->hwTunnelIdIs(12, id(2));
  queue->hwTunnelIdIs(10, id(3));  // overwrite in place
  EXPECT_EQ(queue->hwTunnelIdEnq(id(4)), 13u);
  EXPECT_EQ(entries(), (Entries{{10, id(3)}, {12, id(2)}, {13, id(4)}}));
  EXPECT_EQ(queue->hwTunnelIdSize(), 3u);
}

TEST_F(HwTunnelIdQueueTest, IndexesWrapAroundInOrder) {
  queue->hwTunnelIdIs(0xffffffffu, id(1));
  EXPECT_EQ(queue->hwTunnelIdEnq(id(2)), 0u);
  EXPECT_EQ(entries(), (Entries{{0xffffffffu, id(1)}, {0, id(2)}}));
  EXPECT_EQ(queue->hwTunnelIdDeq(), id(1));
  EXPECT_EQ(queue->hwTunnelIdDeq(), id(2));
  EXPECT_TRUE(queue->hwTunnelId().empty());
}

TEST_F(HwTunnelIdQueueTest, DeleteAllKeepsIndexesGrowing) {
  queue->hwTunnelIdEnq(id(1));
  queue->hwTunnelIdEnq(id(2));
  queue->hwTunnelIdDelAll();
  EXPECT_TRUE(queue->hwTunnelId().empty());
  EXPECT_EQ(queue->hwTunnelIdMetadata(), HwTunnelIdMetadata(2, 2));
  EXPECT_EQ(queue->hwTunnelIdEnq(id(3)), 2u);
}

TEST_F(HwTunnelIdQueueTest, NotifiesElementThenMetadataOnlyWhenItMoves) {
  queue->hwTunnelIdEnq(id(1));
  queue->hwTunnelIdEnq(id(2));
  queue->hwTunnelIdEnq(id(3));
  auto log = AttributeLog::watch(queue.get());
  queue->hwTunnelIdEnq(id(4));
  queue->hwTunnelIdDel(1);  // neither head nor tail moves
  queue->hwTunnelIdDeq();
  EXPECT_EQ(log->ids, (std::vector<Qor::AttributeId>{
                          HwTunnelIdQueue::hwTunnelIdAttr, HwTunnelIdQueue::hwTunnelIdMetadataAttr,
                          HwTunnelIdQueue::hwTunnelIdAttr, HwTunnelIdQueue::hwTunnelIdAttr,
                          HwTunnelIdQueue::hwTunnelIdMetadataAttr}));
}

TEST_F(HwTunnelIdQueueTest, EnqueueFromANotificationGetsItsOwnIndex) {
  bool refilled = false;
  auto log = AttributeLog::watch(queue.get(), [&](Qor::AttributeId attr, void const*) {
    if (attr == HwTunnelIdQueue::hwTunnelIdAttr && !refilled) {
      refilled = true;
      queue->hwTunnelIdEnq(id(2));
    }
  });
  queue->hwTunnelIdEnq(id(1));
  EXPECT_EQ(entries(), (Entries{{0, id(1)}, {1, id(2)}}));
  EXPECT_EQ(queue->hwTunnelIdMetadata(), HwTunnelIdMetadata(0, 2));
}

}  // namespace
