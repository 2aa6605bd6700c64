#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <new>
#include <set>
#include <vector>

#include "Keel/ManualClock.h"
#include "Keel/NumAllocator.h"
#include "Support/CountingHeap.h"

namespace {

using Keel::NumAllocator;
using Keel::NumAllocatorStatus;

class NumAllocatorTest : public ::testing::Test {
 protected:
  Qor::Ptr<NumAllocator> allocator(uint64_t first, uint64_t last, double expiry = 10.0) {
    return Qor::Ptr<NumAllocator>(
        new NumAllocator(Keel::NumAllocatorConfig(Keel::Range(first, last), expiry), wheel));
  }

  Qor::Ptr<Keel::ManualClock> clock{new Keel::ManualClock};
  Qor::Ptr<Keel::TaskScheduler> scheduler{new Keel::TaskScheduler(clock)};
  Qor::Ptr<Keel::TimerWheel> wheel{new Keel::TimerWheel(scheduler)};
};

TEST_F(NumAllocatorTest, HandsOutEachNumberOfASmallRangeThenRunsOut) {
  auto a = allocator(10, 12);
  EXPECT_EQ(a->getNumber(), 10);
  EXPECT_EQ(a->getNumber(), 11);
  EXPECT_EQ(a->getNumber(), 12);
  EXPECT_EQ(a->getNumber(), NumAllocator::invalidNumber());
  EXPECT_EQ(a->status(), NumAllocatorStatus(3, 0, 0, 13));
  EXPECT_TRUE(a->numberInUse(11));
  EXPECT_FALSE(a->numberInUse(NumAllocator::invalidNumber()));
}

TEST_F(NumAllocatorTest, ReleasedNumbersAreHeldBackThenReusedBeforeNeverUsedOnes) {
  auto a = allocator(0, 3, 10.0);
  for (int i = 0; i < 3; ++i) a->getNumber();
  a->releaseNumber(1);
  clock->advance(1);
  a->releaseNumber(0);
  EXPECT_EQ(a->status(), NumAllocatorStatus(1, 2, 1, 3));

  clock->nowIs(9.5);
  EXPECT_EQ(a->status(), NumAllocatorStatus(1, 2, 1, 3));
  clock->nowIs(10);
  EXPECT_EQ(a->getNumber(), 1);  // released first, reusable first, before the never-used 3
  EXPECT_EQ(a->getNumber(), 3);
  EXPECT_EQ(a->getNumber(), NumAllocator::invalidNumber());
  clock->nowIs(11);
  EXPECT_EQ(a->getNumber(), 0);
  EXPECT_EQ(a->status(), NumAllocatorStatus(4, 0, 0, 4));
}

TEST_F(NumAllocatorTest, HugeRangesAreNotBuiltUpFront) {
  auto a = allocator(0, 0xFFFFFFFF);
  for (int64_t i = 0; i < 100000; ++i) ASSERT_EQ(a->getNumber(), i);
  EXPECT_EQ(a->status(), NumAllocatorStatus(100000, 0, 0x100000000 - 100000, 100000));

  uint64_t const top = std::numeric_limits<NumAllocator::Number>::max();
  auto widest = allocator(top - (uint64_t{1} << 62), top);
  EXPECT_EQ(widest->getNumber(), int64_t(top - (uint64_t{1} << 62)));
  EXPECT_EQ(widest->status().freeCount(), uint64_t{1} << 62);
}

// Released numbers are held back as they must be, but once their hold-back is over the
// allocator keeps no more than a bounded number of them queued: the rest cost a bit each.
TEST_F(NumAllocatorTest, ExpiredReleasedNumbersBeyondABoundCostABitEach) {
  constexpr int64_t n = 100000;
  auto a = allocator(0, 0xFFFFFFFF, 10.0);
  for (int64_t i = 0; i < n; ++i) a->getNumber();
  size_t const before = TestHeap::liveBytes();
  for (int64_t i = 0; i < n; ++i) a->releaseNumber(i);
  EXPECT_EQ(a->status(), NumAllocatorStatus(0, n, 0x100000000 - n, n));
  clock->advance(10);
  int64_t const reused = a->getNumber();
  EXPECT_LT(reused, n);
  EXPECT_LT(TestHeap::liveBytes() - before, size_t{n} * 2)
      << "at most about 16 bytes per queued number, a bound of them";
  EXPECT_EQ(a->status(), NumAllocatorStatus(1, 0, 0x100000000 - 1, n));

  std::set<int64_t> handedOut{reused};  // every released number comes back once, before new ones
  for (int64_t i = 1; i < n; ++i) handedOut.insert(a->getNumber());
  EXPECT_EQ(handedOut.size(), size_t{n});
  EXPECT_EQ(*handedOut.rbegin(), n - 1);
  EXPECT_EQ(a->getNumber(), n);
}

// Bursts of releases, the last thing asked of the allocator: once past the bound, expired
// numbers leave the queue on a timer, a later burst still held back keeps it armed, and once
// nothing is in use or held back the allocator holds no more heap than when it was new and
// hands out numbers as a new one does.
TEST_F(NumAllocatorTest, BurstsOfReleasesGiveTheirMemoryBackOnceExpired) {
  constexpr int64_t n = 3000;
  auto bursts = [&](NumAllocator& a) {
    for (int64_t i = 0; i < 2 * n; ++i) a.getNumber();
    for (int64_t i = 0; i < n; ++i) a.releaseNumber(100 + i);
    scheduler->advanceBy(5.0);
    for (int64_t i = n; i < 2 * n; ++i) a.releaseNumber(100 + i);
    scheduler->advanceBy(5.0);
    EXPECT_EQ(a.status(), NumAllocatorStatus(0, n, 0x100000000 - 100 - n, 100 + 2 * n));
    scheduler->advanceBy(5.0);
  };
  bursts(*allocator(100, 0xFFFFFFFF, 10.0));  // the wheel and the scheduler take their size
  auto a = allocator(100, 0xFFFFFFFF, 10.0);
  size_t const asNew = TestHeap::liveBytes();
  bursts(*a);
  EXPECT_EQ(a->status(), NumAllocatorStatus(0, 0, 0x100000000 - 100, 100));
  EXPECT_EQ(TestHeap::liveBytes(), asNew);
  for (int64_t i = 0; i < 70; ++i) ASSERT_EQ(a->getNumber(), 100 + i);
}

// A working set that comes and goes, as hosts churn, slides its numbers through the queue
// of released ones: after the first round that costs no heap, whatever the queue's length.
TEST_F(NumAllocatorTest, AWorkingSetThatComesAndGoesCostsNoHeapAfterTheFirstRound) {
  for (int64_t const set : {10, 100, 1000}) {
    SCOPED_TRACE(set);
    auto a = allocator(0, 0xFFFFFFFF, 10.0);
    std::vector<int64_t> numbers;
    size_t baseline = 0;
    for (int round = 0; round < 50; ++round) {
      for (int64_t i = 0; i < set; ++i) numbers.push_back(a->getNumber());
      for (int64_t const n : numbers) a->releaseNumber(n);
      numbers.clear();
      clock->advance(60);
      if (round == 0) baseline = TestHeap::liveBytes();
      ASSERT_EQ(TestHeap::liveBytes(), baseline) << "round " << round;
    }
    EXPECT_EQ(a->status().inUseCount(), 0u);
  }
}

TEST_F(NumAllocatorTest, ReleasingANumberNotInUseIsACallerBug) {
  auto a = allocator(5, 9);
  a->getNumber();
  a->getNumber();
  a->releaseNumber(5);
  EXPECT_DEATH(a->releaseNumber(5), "assertion failed: numberInUse\\(n\\)");
  EXPECT_DEATH(a->releaseNumber(7), "numberInUse");                              // in range, never handed out
  EXPECT_DEATH(a->releaseNumber(NumAllocator::invalidNumber()), "numberInUse");  // below the range
  a->releaseNumber(6);
  EXPECT_EQ(a->status(), NumAllocatorStatus(0, 2, 3, 7));
}

}  // namespace
