// Hands out numbers from a range (FEC indices, up to the full 32-bit range) and takes them
// back. A released number is held back for the configured expiry time before it is handed
// out again. Both operations are O(1) and nothing is built up front:
//  - a cursor walks the numbers never used yet;
//  - released numbers wait in a FIFO with the time they become reusable; since the clock
//    never goes back and the expiry time is fixed, the FIFO is also in expiry order, so only
//    its front needs checking;
//  - one bit per number below the cursor records which are in use, so that releasing a
//    number twice, or one never handed out, is caught (a caller bug, asserted).
// getNumber() prefers an expired released number to a never-used one: that keeps the FIFO
// and the bitmap as small as the working set instead of letting them grow towards the range.
//
// Numbers are signed 64-bit so that invalidNumber() (-1) can never be in a range; a range
// may reach up to INT64_MAX.
#pragma once

#include <cstdint>
#include <deque>
#include <vector>

#include "Keel/NumAllocatorConfig.h"
#include "Keel/NumAllocatorStatus.h"
#include "Keel/TimerWheel.h"

namespace Keel {

class NumAllocator : public Qor::PtrInterface {
 public:
  using Number = int64_t;
  static constexpr Number invalidNumber() noexcept { return -1; }

  NumAllocator(NumAllocatorConfig const& config, Qor::Ptr<TimerWheel> timerWheel);

  NumAllocatorConfig const& config() const noexcept { return config_; }

  // A free number, or invalidNumber() when every number is in use or held back.
  Number getNumber();
  void releaseNumber(Number n);
  bool numberInUse(Number n) const;
  NumAllocatorStatus status() const;

 private:
  struct Released {
    Number number;
    double reusableAt;
  };

  void inUseIs(Number n, bool inUse);

  NumAllocatorConfig config_;
  Qor::Ptr<TimerWheel> timerWheel_;
  uint64_t nextUnused_;
  uint64_t inUseCount_ = 0;
  std::deque<Released> released_;
  // Bit (n - first) for every n in [first, nextUnused_).
  std::vector<uint64_t> inUseBits_;
};

}  // namespace Keel
