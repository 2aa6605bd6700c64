// Names one via of the LFIB: its type, which selects the via table, and its index in that
// table. The default key (invalid type, index 0) names no via. Text form:
//   Value('Mpls::LfibViaKey', ** {'viaType': lfibViaTypeEvpnEthernetSegmentFilter, 'index': 3})
#pragma once

#include <cstdint>
#include <string_view>

#include "Mpls/LfibViaType.h"
#include "Qor/Record.h"

namespace Mpls {

class LfibViaKey : public Qor::RecordValue<LfibViaKey> {
 public:
  static constexpr std::string_view typeName = "Mpls::LfibViaKey";

  LfibViaKey() = default;
  LfibViaKey(LfibViaType viaType, uint32_t index) : viaType_(viaType), index_(index) {}
  explicit LfibViaKey(Qor::Parser& p) { parseFields(p); }

  LfibViaType viaType() const noexcept { return viaType_; }
  uint32_t index() const noexcept { return index_; }
  explicit operator bool() const noexcept { return viaType_ != lfibViaTypeInvalid; }

  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("viaType", self.viaType_);
    visit("index", self.index_);
  }

  auto operator<=>(LfibViaKey const&) const = default;
  bool operator==(LfibViaKey const&) const = default;

 private:
  LfibViaType viaType_ = lfibViaTypeInvalid;
  uint32_t index_ = 0;
};

}  // namespace Mpls
