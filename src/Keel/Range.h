// An inclusive range of numbers [first, last], such as the FEC indices a number allocator
// hands out. Prints as "Value('Keel::Range', ** {'first': 0, 'last': 4294967295})".
#pragma once

#include <cstdint>
#include <string_view>

#include "Qor/Record.h"

namespace Keel {

class Range : public Qor::RecordValue<Range> {
 public:
  static constexpr std::string_view typeName = "Keel::Range";
  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("first", self.first_);
    visit("last", self.last_);
  }

  Range() = default;
  Range(uint64_t first, uint64_t last) : first_(first), last_(last) {}
  explicit Range(Qor::Parser& p) { parseFields(p); }

  uint64_t first() const noexcept { return first_; }
  uint64_t last() const noexcept { return last_; }

  auto operator<=>(Range const&) const = default;
  bool operator==(Range const&) const = default;

 private:
  uint64_t first_ = 0;
  uint64_t last_ = 0;
};

}  // namespace Keel
