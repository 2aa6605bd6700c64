// A label object of the layer-2 RIB: the MPLS label a remote peer advertised for its hosts
// and the next object of the chain (a destination, or a load balance over destinations).
// Text form:
//   Value('L2Rib::Label', ** {'label': 1000, 'next': Value('L2Rib::ObjTuple', ** {...})})
#pragma once

#include <string_view>

#include "L2Rib/ObjTuple.h"
#include "Ostra/MplsLabel.h"

namespace L2Rib {

class Label : public Qor::RecordValue<Label> {
 public:
  static constexpr std::string_view typeName = "L2Rib::Label";

  Label() = default;
  Label(Ostra::MplsLabel label, ObjTuple next) : label_(label), next_(next) {}
  explicit Label(Qor::Parser& p) { parseFields(p); }

  Ostra::MplsLabel label() const noexcept { return label_; }
  ObjTuple next() const noexcept { return next_; }

  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("label", self.label_);
    visit("next", self.next_);
  }

  auto operator<=>(Label const&) const = default;
  bool operator==(Label const&) const = default;

 private:
  Ostra::MplsLabel label_ = Ostra::MplsLabel::none();
  ObjTuple next_;
};

}  // namespace L2Rib
