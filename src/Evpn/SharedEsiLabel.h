// The shared ESI label setting of an Ethernet segment: one label sent to every peer of the
// segment instead of per-peer labels. Label and validity travel as one value, so that
// switching the setting on or off is a single change and a single notification. Text form:
//   Value('Evpn::SharedEsiLabel', ** {'label': 500, 'valid': True})
#pragma once

#include <string_view>

#include "Ostra/MplsLabel.h"
#include "Qor/Record.h"

namespace Evpn {

class SharedEsiLabel : public Qor::RecordValue<SharedEsiLabel> {
 public:
  static constexpr std::string_view typeName = "Evpn::SharedEsiLabel";

  SharedEsiLabel() = default;
  SharedEsiLabel(Ostra::MplsLabel label, bool valid) : label_(label), valid_(valid) {}
  explicit SharedEsiLabel(Qor::Parser& p) { parseFields(p); }

  Ostra::MplsLabel label() const noexcept { return label_; }
  bool valid() const noexcept { return valid_; }

  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("label", self.label_);
    visit("valid", self.valid_);
  }

  auto operator<=>(SharedEsiLabel const&) const = default;
  bool operator==(SharedEsiLabel const&) const = default;

 private:
  Ostra::MplsLabel label_;
  bool valid_ = false;
};

}  // namespace Evpn
