// A route the hardware layer could not program, and why: the row of the LFIB hardware
// status's unprogrammed routes. Text form:
//   Value('Mpls::RouteInfo', ** {'routeKey': Value('Mpls::RouteKey', ** {...}),
//         'returnCode': lfibHwResourceFull})
#pragma once

#include <string_view>

#include "Mpls/LfibHwProgrammingReturnCode.h"
#include "Mpls/RouteKey.h"
#include "Qor/Record.h"

namespace Mpls {

class RouteInfo : public Qor::RecordValue<RouteInfo> {
 public:
  static constexpr std::string_view typeName = "Mpls::RouteInfo";

  RouteInfo() = default;
  RouteInfo(RouteKey routeKey, LfibHwProgrammingReturnCode returnCode)
      : routeKey_(routeKey), returnCode_(returnCode) {}
  explicit RouteInfo(Qor::Parser& p) { parseFields(p); }

  RouteKey routeKey() const noexcept { return routeKey_; }
  LfibHwProgrammingReturnCode returnCode() const noexcept { return returnCode_; }

  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("routeKey", self.routeKey_);
    visit("returnCode", self.returnCode_);
  }

  auto operator<=>(RouteInfo const&) const = default;
  bool operator==(RouteInfo const&) const = default;

 private:
  RouteKey routeKey_;
  LfibHwProgrammingReturnCode returnCode_ = lfibHwProgrammed;
};

}  // namespace Mpls
