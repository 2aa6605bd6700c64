// What a number allocator hands out: a range of numbers, and how long (in seconds) a
// released number is held back before it is handed out again, so that late references
// to its previous use (a hardware answer still in flight) have drained.
#pragma once

#include <string_view>

#include "Keel/Range.h"

namespace Keel {

class NumAllocatorConfig : public Qor::RecordValue<NumAllocatorConfig> {
 public:
  static constexpr std::string_view typeName = "Keel::NumAllocatorConfig";
  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("range", self.range_);
    visit("expiryTime", self.expiryTime_);
  }

  NumAllocatorConfig() = default;
  NumAllocatorConfig(Range range, double expiryTime) : range_(range), expiryTime_(expiryTime) {}
  explicit NumAllocatorConfig(Qor::Parser& p) { parseFields(p); }

  Range const& range() const noexcept { return range_; }
  double expiryTime() const noexcept { return expiryTime_; }

  auto operator<=>(NumAllocatorConfig const&) const = default;
  bool operator==(NumAllocatorConfig const&) const = default;

 private:
  Range range_;
  double expiryTime_ = 0.0;
};

}  // namespace Keel
