#include "Keel/NumAllocator.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <utility>

#include "Qor/Assert.h"

namespace Keel {

NumAllocator::NumAllocator(NumAllocatorConfig const& config, Qor::Ptr<TimerWheel> timerWheel)
    : config_(config), timerWheel_(std::move(timerWheel)), nextUnused_(config.range().first()) {
  QOR_ASSERT(timerWheel_);
  QOR_ASSERT(config_.range().first() <= config_.range().last());
  QOR_ASSERT(config_.range().last() <= uint64_t{std::numeric_limits<Number>::max()});
  QOR_ASSERT(config_.expiryTime() >= 0.0);
}

NumAllocator::~NumAllocator() { timerWheel_->timerCancel(drainTimer_); }

NumAllocator::Number NumAllocator::getNumber() {
  dropExpired();
  Number n;
  if (freeBitCount_ > 0) {
    n = takeFree();  // released longest ago
  } else if (!released_.empty() && released_.front().reusableAt <= timerWheel_->now()) {
    n = released_.front().number;
    released_.pop();
  } else if (nextUnused_ <= config_.range().last()) {
    n = static_cast<Number>(nextUnused_++);
    if ((nextUnused_ - 1 - config_.range().first()) % 64 == 0) inUseBits_.push_back(0);
  } else {
    return invalidNumber();
  }
  inUseIs(n, true);
  return n;
}

void NumAllocator::releaseNumber(Number n) {
  QOR_ASSERT(numberInUse(n));
  inUseIs(n, false);
  released_.push({n, timerWheel_->now() + config_.expiryTime()});
  dropExpired();
  if (released_.size() > kExpiredQueued && drainTimer_ == TimerWheel::noTimer) drainAtExpiry();
}

void NumAllocator::drainAtExpiry() {
  drainTimer_ = timerWheel_->timerAt(released_.front().reusableAt, [this] {
    drainTimer_ = TimerWheel::noTimer;
    drain();
  });
}

void NumAllocator::drain() {
  dropExpired(0);
  if (released_.size() > kExpiredQueued) return drainAtExpiry();
  if (inUseCount_ > 0 || !released_.empty()) return;
  // Nothing in use or held back: every number below the cursor is free, which is what a
  // new allocator's cursor says of them too.
  nextUnused_ = config_.range().first();
  released_ = RingQueue<Released>();
  inUseBits_ = std::vector<uint64_t>();
  freeBits_ = std::vector<uint64_t>();
  freeBitCount_ = 0;
  freeScan_ = 0;
}

void NumAllocator::dropExpired(size_t bound) {
  double const now = timerWheel_->now();
  bool moved = false;
  while (released_.size() > bound && released_.front().reusableAt <= now) {
    uint64_t const bit = static_cast<uint64_t>(released_.front().number) - config_.range().first();
    released_.pop();
    size_t const word = bit / 64;
    if (freeBits_.size() <= word) freeBits_.resize(inUseBits_.size());
    freeBits_[word] |= uint64_t{1} << (bit % 64);
    ++freeBitCount_;
    freeScan_ = std::min(freeScan_, word);
    moved = true;
  }
  // A burst of releases that has expired leaves the queue a bitmap's worth of memory.
  if (moved && 4 * released_.size() < released_.capacity()) released_.shrink();
}

NumAllocator::Number NumAllocator::takeFree() {
  while (freeBits_[freeScan_] == 0) ++freeScan_;
  uint64_t& word = freeBits_[freeScan_];
  uint64_t const bit = freeScan_ * 64 + static_cast<unsigned>(std::countr_zero(word));
  word &= word - 1;
  --freeBitCount_;
  return static_cast<Number>(config_.range().first() + bit);
}

bool NumAllocator::numberInUse(Number n) const {
  if (n < 0) return false;
  uint64_t const u = static_cast<uint64_t>(n);
  if (u < config_.range().first() || u >= nextUnused_) return false;
  uint64_t const bit = u - config_.range().first();
  return (inUseBits_[bit / 64] >> (bit % 64)) & 1;
}

void NumAllocator::inUseIs(Number n, bool inUse) {
  uint64_t const bit = static_cast<uint64_t>(n) - config_.range().first();
  uint64_t const mask = uint64_t{1} << (bit % 64);
  if (inUse) {
    inUseBits_[bit / 64] |= mask;
    if (++inUseCount_ > inUseHighWater_) inUseHighWater_ = inUseCount_;
  } else {
    inUseBits_[bit / 64] &= ~mask;
    --inUseCount_;
  }
}

NumAllocatorStatus NumAllocator::status() const {
  double const now = timerWheel_->now();
  // The queue is in expiry order: the expired ones are a prefix, found by bisection.
  size_t expiredQueued = 0;
  for (size_t held = released_.size(); expiredQueued < held;) {
    size_t const mid = expiredQueued + (held - expiredQueued) / 2;
    if (released_[mid].reusableAt <= now)
      expiredQueued = mid + 1;
    else
      held = mid;
  }
  uint64_t const neverUsed = config_.range().last() + 1 - nextUnused_;
  return NumAllocatorStatus(inUseCount_, released_.size() - expiredQueued,
                            expiredQueued + freeBitCount_ + neverUsed, nextUnused_);
}

}  // namespace Keel
