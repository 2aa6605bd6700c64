// How an interface is configured in a VLAN: tagged (a trunk member) or as the
// interface's untagged VLAN. Membership readers look only at the entry's presence. Text
// form:
//   Value('Bridging::VlanPortConfig', ** {'tagged': True})
#pragma once

#include <string_view>

#include "Qor/Record.h"

namespace Bridging {

class VlanPortConfig : public Qor::RecordValue<VlanPortConfig> {
 public:
  static constexpr std::string_view typeName = "Bridging::VlanPortConfig";

  VlanPortConfig() = default;
  explicit VlanPortConfig(bool tagged) : tagged_(tagged) {}
  explicit VlanPortConfig(Qor::Parser& p) { parseFields(p); }

  bool tagged() const noexcept { return tagged_; }

  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("tagged", self.tagged_);
  }
  auto operator<=>(VlanPortConfig const&) const = default;
  bool operator==(VlanPortConfig const&) const = default;

 private:
  bool tagged_ = true;
};

}  // namespace Bridging
