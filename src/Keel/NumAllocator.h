// Hands out numbers from a range (FEC indices, up to the full 32-bit range) and takes them
// back. A released number is held back for the configured expiry time before it is handed
// out again. Both operations are O(1) and nothing is built up front:
//  - a cursor walks the numbers never used yet;
//  - released numbers wait in a FIFO (a ring that allocates only to grow past its high
//    water) with the time they become reusable; since the clock never goes back and the
//    expiry time is fixed, the FIFO is also in expiry order, so only its front needs checking;
//  - one bit per number below the cursor records which are in use, so that releasing a
//    number twice, or one never handed out, is caught (a caller bug, asserted).
// getNumber() prefers an expired released number to a never-used one: that keeps the FIFO
// and the bitmap as small as the working set instead of letting them grow towards the range.
// The FIFO keeps at most kExpiredQueued numbers whose hold-back is over: beyond that, expired
// numbers leave it for a second bitmap of free numbers, so a burst of releases that is not
// followed by as many gets costs a bit per number once it has expired, not a queue entry.
// That happens on the next get or release, or, when the FIFO has passed the bound, on a timer
// at the oldest number's expiry, since a burst is often the last thing asked for a while (a
// flood set removed with its FECs). A timer finds the allocator idle, so it moves every
// expired number; once no number is in use or held back, the allocator lets go of its
// bitmaps and starts over as new, which hands numbers out in the same order the bitmap
// would: its memory returns to what it was before the burst came.
//
// Numbers are signed 64-bit so that invalidNumber() (-1) can never be in a range; a range
// may reach up to INT64_MAX.
#pragma once

#include <cstdint>
#include <vector>

#include "Keel/NumAllocatorConfig.h"
#include "Keel/NumAllocatorStatus.h"
#include "Keel/RingQueue.h"
#include "Keel/TimerWheel.h"

namespace Keel {

class NumAllocator : public Qor::PtrInterface {
 public:
  using Number = int64_t;
  static constexpr Number invalidNumber() noexcept { return -1; }
  // Expired numbers the FIFO keeps before it moves the oldest ones to the free bitmap.
  static constexpr size_t kExpiredQueued = 1024;

  NumAllocator(NumAllocatorConfig const& config, Qor::Ptr<TimerWheel> timerWheel);
  ~NumAllocator() override;
  NumAllocator(NumAllocator const&) = delete;
  NumAllocator& operator=(NumAllocator const&) = delete;

  NumAllocatorConfig const& config() const noexcept { return config_; }

  // A free number, or invalidNumber() when every number is in use or held back.
  Number getNumber();
  void releaseNumber(Number n);
  bool numberInUse(Number n) const;
  NumAllocatorStatus status() const;
  // The most numbers in use at once so far.
  uint64_t inUseHighWater() const noexcept { return inUseHighWater_; }

 private:
  struct Released {
    Number number;
    double reusableAt;
  };

  void inUseIs(Number n, bool inUse);
  // Moves expired numbers from the FIFO's front to the free bitmap while it is over `bound`.
  void dropExpired(size_t bound = kExpiredQueued);
  // The timer that drops expired numbers once the FIFO has passed the bound.
  void drainAtExpiry();
  void drain();
  Number takeFree();

  NumAllocatorConfig config_;
  Qor::Ptr<TimerWheel> timerWheel_;
  uint64_t nextUnused_;
  uint64_t inUseCount_ = 0;
  uint64_t inUseHighWater_ = 0;
  // A ring, so that numbers sliding through it cost no allocation once it has held as
  // many as it holds now (a deque allocates and frees a block every 32 releases).
  RingQueue<Released> released_;
  // Bit (n - first) for every n in [first, nextUnused_).
  std::vector<uint64_t> inUseBits_;
  // Same indexing: released, expired numbers that left the FIFO; grown on demand.
  std::vector<uint64_t> freeBits_;
  uint64_t freeBitCount_ = 0;
  size_t freeScan_ = 0;  // no word of freeBits_ below this one has a bit set
  TimerWheel::TimerId drainTimer_ = TimerWheel::noTimer;
};

}  // namespace Keel
