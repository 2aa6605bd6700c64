// A via set of the LFIB: the via its routes forward through. Text form:
//   Value('Mpls::LfibViaSet', ** {'viaKey': Value('Mpls::LfibViaKey', ** {...})})
#pragma once

#include <string_view>

#include "Mpls/LfibViaKey.h"
#include "Qor/Record.h"

namespace Mpls {

class LfibViaSet : public Qor::RecordValue<LfibViaSet> {
 public:
  static constexpr std::string_view typeName = "Mpls::LfibViaSet";

  LfibViaSet() = default;
  explicit LfibViaSet(LfibViaKey viaKey) : viaKey_(viaKey) {}
  explicit LfibViaSet(Qor::Parser& p) { parseFields(p); }

  LfibViaKey viaKey() const noexcept { return viaKey_; }

  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("viaKey", self.viaKey_);
  }

  auto operator<=>(LfibViaSet const&) const = default;
  bool operator==(LfibViaSet const&) const = default;

 private:
  LfibViaKey viaKey_;
};

}  // namespace Mpls
