// The free hardware tunnel ID queue: FIFO over indexes that only grow (wrapping at 2^32),
// with holes left by deletions, and notifications of the element before the metadata.
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

TEST_F(HwTunnelIdQueueTest, FifoWhoseIndexesAreNeverHandedOutTwice) {
  EXPECT_EQ(queue->hwTunnelIdEnq(id(7)), 0u);
  EXPECT_EQ(queue->hwTunnelIdEnq(id(3)), 1u);
  EXPECT_EQ(queue->hwTunnelIdEnq(id(5)), 2u);
  EXPECT_EQ(queue->hwTunnelIdDeq(), id(7));
  EXPECT_EQ(queue->hwTunnelIdMetadata(), HwTunnelIdMetadata(1, 3));
  EXPECT_EQ(queue->hwTunnelIdEnq(id(7)), 3u);
  EXPECT_EQ(entries(), (Entries{{1, id(3)}, {2, id(5)}, {3, id(7)}}));
  EXPECT_FALSE(queue->hwTunnelId(0).valid());

  queue->hwTunnelIdDelAll();
  EXPECT_EQ(queue->hwTunnelIdMetadata(), HwTunnelIdMetadata(4, 4));
  EXPECT_EQ(queue->hwTunnelIdEnq(id(3)), 4u);
}

TEST_F(HwTunnelIdQueueTest, DeletedElementsLeaveHolesThatDequeueAndIteratorsSkip) {
  for (uint32_t n = 0; n < 6; ++n) queue->hwTunnelIdEnq(id(n + 10));
  EXPECT_TRUE(queue->hwTunnelIdDel(1));
  EXPECT_FALSE(queue->hwTunnelIdDel(1));
  // Deleting the head through an iterator jumps over the hole at 1; deleting 3 lands on 4.
  auto it = queue->hwTunnelIdDel(queue->hwTunnelId().begin());
  EXPECT_EQ(it.index(), 2u);
  it = queue->hwTunnelIdDel(++it);
  EXPECT_EQ(it.index(), 4u);
  EXPECT_TRUE(queue->hwTunnelIdDel(++it) == queue->hwTunnelId().end());
  EXPECT_EQ(entries(), (Entries{{2, id(12)}, {4, id(14)}}));

  EXPECT_EQ(queue->hwTunnelIdDeq(), id(12));
  EXPECT_EQ(queue->hwTunnelIdMetadata(), HwTunnelIdMetadata(4, 6));  // the head moved past the hole
  EXPECT_EQ(queue->hwTunnelIdDeq(), id(14));
  EXPECT_FALSE(queue->hwTunnelIdDeq().valid());
}

TEST_F(HwTunnelIdQueueTest, StoreAtIndexExtendsTheTailAndIndexesWrapAroundInOrder) {
  queue->hwTunnelIdIs(0xfffffffdu, id(1));
  queue->hwTunnelIdIs(0xffffffffu, id(2));
  queue->hwTunnelIdIs(0xfffffffdu, id(3));  // overwrite in place
  EXPECT_EQ(queue->hwTunnelIdEnq(id(4)), 0u);
  EXPECT_EQ(entries(), (Entries{{0xfffffffdu, id(3)}, {0xffffffffu, id(2)}, {0, id(4)}}));
  EXPECT_EQ(queue->hwTunnelIdDeq(), id(3));
  EXPECT_EQ(queue->hwTunnelIdDeq(), id(2));
  EXPECT_EQ(queue->hwTunnelIdDeq(), id(4));
  EXPECT_TRUE(queue->hwTunnelId().empty());
}

// An index behind the head puts the element first: the head moves back to it, and the
// range never turns inside out (a tail below the head would send dequeue round 2^32 holes).
TEST_F(HwTunnelIdQueueTest, StoreBehindTheHeadBecomesTheNewHead) {
  for (uint32_t n = 0; n < 4; ++n) queue->hwTunnelIdEnq(id(n + 10));
  queue->hwTunnelIdDeq();
  queue->hwTunnelIdDeq();
  queue->hwTunnelIdIs(0, id(9));
  ASSERT_EQ(queue->hwTunnelIdMetadata(), HwTunnelIdMetadata(0, 4));
  queue->hwTunnelIdIs(0xfffffffeu, id(8));  // behind the head across the wrap
  ASSERT_EQ(queue->hwTunnelIdMetadata(), HwTunnelIdMetadata(0xfffffffeu, 4));
  EXPECT_EQ(entries(), (Entries{{0xfffffffeu, id(8)}, {0, id(9)}, {2, id(12)}, {3, id(13)}}));
  for (uint32_t n : {8, 9, 12, 13}) EXPECT_EQ(queue->hwTunnelIdDeq(), id(n));
  EXPECT_FALSE(queue->hwTunnelIdDeq().valid());
}

TEST_F(HwTunnelIdQueueTest, NotifiesElementThenMetadataOnlyWhenItMoves) {
  for (uint32_t n = 1; n <= 3; ++n) queue->hwTunnelIdEnq(id(n));
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
