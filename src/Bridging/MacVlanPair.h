// A host or flood set in a VLAN: a MAC address and the VLAN it lives in. Ordered by MAC
// first, then VLAN (field order). Text form:
//   Value('Bridging::MacVlanPair', ** {'macAddr': '00:1a:2b:3c:4d:5e', 'vlanId': 10})
#pragma once

#include <string_view>

#include "Bridging/VlanId.h"
#include "Ostra/EthAddr.h"
#include "Qor/Record.h"

namespace Bridging {

class MacVlanPair : public Qor::RecordValue<MacVlanPair> {
 public:
  static constexpr std::string_view typeName = "Bridging::MacVlanPair";

  MacVlanPair() = default;
  MacVlanPair(Ostra::EthAddr macAddr, VlanId vlanId) : macAddr_(macAddr), vlanId_(vlanId) {}
  explicit MacVlanPair(Qor::Parser& p) { parseFields(p); }

  Ostra::EthAddr macAddr() const noexcept { return macAddr_; }
  VlanId vlanId() const noexcept { return vlanId_; }

  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("macAddr", self.macAddr_);
    visit("vlanId", self.vlanId_);
  }

  auto operator<=>(MacVlanPair const&) const = default;
  bool operator==(MacVlanPair const&) const = default;

 private:
  Ostra::EthAddr macAddr_;
  VlanId vlanId_;
};

}  // namespace Bridging
