// The key of an MPLS label route in the LFIB: the top label that the route matches. Routes
// that filter by Ethernet segment have a local segment's ESI label as their top label.
// Text form:
//   Value('Mpls::RouteKey', ** {'topLabel': 100})
#pragma once

#include <string_view>

#include "Ostra/MplsLabel.h"
#include "Qor/Record.h"

namespace Mpls {

class RouteKey : public Qor::RecordValue<RouteKey> {
 public:
  static constexpr std::string_view typeName = "Mpls::RouteKey";

  RouteKey() = default;
  explicit RouteKey(Ostra::MplsLabel topLabel) : topLabel_(topLabel) {}
  explicit RouteKey(Qor::Parser& p) { parseFields(p); }

  Ostra::MplsLabel topLabel() const noexcept { return topLabel_; }

  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("topLabel", self.topLabel_);
  }

  auto operator<=>(RouteKey const&) const = default;
  bool operator==(RouteKey const&) const = default;

 private:
  Ostra::MplsLabel topLabel_;
};

}  // namespace Mpls
