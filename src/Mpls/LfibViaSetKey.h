// The key of a via set in the LFIB: routes that resolve the same way share one via set.
// Text form:
//   Value('Mpls::LfibViaSetKey', ** {'index': 12})
#pragma once

#include <cstdint>
#include <string_view>

#include "Qor/Record.h"

namespace Mpls {

class LfibViaSetKey : public Qor::RecordValue<LfibViaSetKey> {
 public:
  static constexpr std::string_view typeName = "Mpls::LfibViaSetKey";

  LfibViaSetKey() = default;
  explicit LfibViaSetKey(uint32_t index) : index_(index) {}
  explicit LfibViaSetKey(Qor::Parser& p) { parseFields(p); }

  uint32_t index() const noexcept { return index_; }

  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("index", self.index_);
  }

  auto operator<=>(LfibViaSetKey const&) const = default;
  bool operator==(LfibViaSetKey const&) const = default;

 private:
  uint32_t index_ = 0;
};

}  // namespace Mpls
