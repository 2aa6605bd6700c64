// The via of a split-horizon route: packets that arrive with the route's label (a local
// Ethernet segment's ESI label) must not be flooded out of `intfId`, the segment's access
// interface. The default via (no interface) is the empty via, what a lookup of a missing
// via yields. Text form:
//   Value('Mpls::LfibEvpnEthernetSegmentFilterVia', ** {'intfId': 'Port-Channel10'})
#pragma once

#include <string_view>

#include "Ostra/IntfId.h"
#include "Qor/Record.h"

namespace Mpls {

class LfibEvpnEthernetSegmentFilterVia : public Qor::RecordValue<LfibEvpnEthernetSegmentFilterVia> {
 public:
  static constexpr std::string_view typeName = "Mpls::LfibEvpnEthernetSegmentFilterVia";

  LfibEvpnEthernetSegmentFilterVia() = default;
  explicit LfibEvpnEthernetSegmentFilterVia(Ostra::IntfId intfId) : intfId_(intfId) {}
  explicit LfibEvpnEthernetSegmentFilterVia(Qor::Parser& p) { parseFields(p); }

  Ostra::IntfId intfId() const noexcept { return intfId_; }
  bool empty() const noexcept { return intfId_.empty(); }

  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("intfId", self.intfId_);
  }

  auto operator<=>(LfibEvpnEthernetSegmentFilterVia const&) const = default;
  bool operator==(LfibEvpnEthernetSegmentFilterVia const&) const = default;

 private:
  Ostra::IntfId intfId_;
};

}  // namespace Mpls
