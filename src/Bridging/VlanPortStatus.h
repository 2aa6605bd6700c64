// An interface's operational state in a VLAN: whether it forwards (spanning tree and
// link state allow it) or only belongs. Membership readers look only at the entry's
// presence. Text form:
//   Value('Bridging::VlanPortStatus', ** {'forwarding': True})
#pragma once

#include <string_view>

#include "Qor/Record.h"

namespace Bridging {

class VlanPortStatus : public Qor::RecordValue<VlanPortStatus> {
 public:
  static constexpr std::string_view typeName = "Bridging::VlanPortStatus";

  VlanPortStatus() = default;
  explicit VlanPortStatus(bool forwarding) : forwarding_(forwarding) {}
  explicit VlanPortStatus(Qor::Parser& p) { parseFields(p); }

  bool forwarding() const noexcept { return forwarding_; }

  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("forwarding", self.forwarding_);
  }
  auto operator<=>(VlanPortStatus const&) const = default;
  bool operator==(VlanPortStatus const&) const = default;

 private:
  bool forwarding_ = true;
};

}  // namespace Bridging
