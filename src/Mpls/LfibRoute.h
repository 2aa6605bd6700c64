// An MPLS label route of the LFIB: the via set that packets matching the route's key
// (its top label) are forwarded through. Text form:
//   Value('Mpls::LfibRoute', ** {'viaSetKey': Value('Mpls::LfibViaSetKey', ** {'index': 12})})
#pragma once

#include <string_view>

#include "Mpls/LfibViaSetKey.h"
#include "Qor/Record.h"

namespace Mpls {

class LfibRoute : public Qor::RecordValue<LfibRoute> {
 public:
  static constexpr std::string_view typeName = "Mpls::LfibRoute";

  LfibRoute() = default;
  explicit LfibRoute(LfibViaSetKey viaSetKey) : viaSetKey_(viaSetKey) {}
  explicit LfibRoute(Qor::Parser& p) { parseFields(p); }

  LfibViaSetKey viaSetKey() const noexcept { return viaSetKey_; }

  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("viaSetKey", self.viaSetKey_);
  }

  auto operator<=>(LfibRoute const&) const = default;
  bool operator==(LfibRoute const&) const = default;

 private:
  LfibViaSetKey viaSetKey_;
};

}  // namespace Mpls
