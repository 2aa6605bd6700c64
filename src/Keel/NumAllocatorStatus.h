// A snapshot of a number allocator's state. Every number of the range is in exactly one of
// three states: in use (handed out), held back (released, not yet expired) or free (never
// used, or released and expired), so the three counts add up to the size of the range.
// nextUnused is the lowest number never handed out (one past the range when none is left)
// since the allocator was new or last started over (NumAllocator.h).
#pragma once

#include <cstdint>
#include <string_view>

#include "Qor/Record.h"

namespace Keel {

class NumAllocatorStatus : public Qor::RecordValue<NumAllocatorStatus> {
 public:
  static constexpr std::string_view typeName = "Keel::NumAllocatorStatus";
  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("inUseCount", self.inUseCount_);
    visit("heldBackCount", self.heldBackCount_);
    visit("freeCount", self.freeCount_);
    visit("nextUnused", self.nextUnused_);
  }

  NumAllocatorStatus() = default;
  NumAllocatorStatus(uint64_t inUseCount, uint64_t heldBackCount, uint64_t freeCount, uint64_t nextUnused)
      : inUseCount_(inUseCount),
        heldBackCount_(heldBackCount),
        freeCount_(freeCount),
        nextUnused_(nextUnused) {}
  explicit NumAllocatorStatus(Qor::Parser& p) { parseFields(p); }

  uint64_t inUseCount() const noexcept { return inUseCount_; }
  uint64_t heldBackCount() const noexcept { return heldBackCount_; }
  uint64_t freeCount() const noexcept { return freeCount_; }
  uint64_t nextUnused() const noexcept { return nextUnused_; }

  auto operator<=>(NumAllocatorStatus const&) const = default;
  bool operator==(NumAllocatorStatus const&) const = default;

 private:
  uint64_t inUseCount_ = 0;
  uint64_t heldBackCount_ = 0;
  uint64_t freeCount_ = 0;
  uint64_t nextUnused_ = 0;
};

}  // namespace Keel
