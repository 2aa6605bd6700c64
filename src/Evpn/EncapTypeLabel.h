// An ESI label as the EVPN control plane publishes it: the encapsulation it belongs to and
// the label itself (an MPLS label, or a VXLAN network identifier, hence 32 bits). The
// default value is the empty label, which readers treat like a missing entry. Text form:
//   Value('Evpn::EncapTypeLabel', ** {'encapType': encapTypeMpls, 'label': 100})
#pragma once

#include <cstdint>
#include <string_view>

#include "Evpn/EncapType.h"
#include "Ostra/MplsLabel.h"
#include "Qor/Record.h"

namespace Evpn {

class EncapTypeLabel : public Qor::RecordValue<EncapTypeLabel> {
 public:
  static constexpr std::string_view typeName = "Evpn::EncapTypeLabel";

  EncapTypeLabel() = default;
  EncapTypeLabel(EncapType encapType, uint32_t label) : encapType_(encapType), label_(label) {}
  explicit EncapTypeLabel(Qor::Parser& p) { parseFields(p); }

  static EncapTypeLabel mpls(Ostra::MplsLabel label) { return EncapTypeLabel(encapTypeMpls, label.value()); }

  EncapType encapType() const noexcept { return encapType_; }
  uint32_t label() const noexcept { return label_; }
  bool empty() const noexcept { return *this == EncapTypeLabel(); }
  bool isMpls() const noexcept { return encapType_ == encapTypeMpls; }
  // Throws the MplsLabel range error when the label is no MPLS label.
  Ostra::MplsLabel mplsLabel() const { return Ostra::MplsLabel(label_); }

  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("encapType", self.encapType_);
    visit("label", self.label_);
  }

  auto operator<=>(EncapTypeLabel const&) const = default;
  bool operator==(EncapTypeLabel const&) const = default;

 private:
  EncapType encapType_ = encapTypeNone;
  uint32_t label_ = 0;
};

}  // namespace Evpn
