// The label operation a forwarding step performs on the packet's top label: push, swap or
// pop of `label`, or nothing. The default (no label, no action) leaves the label stack as
// it is. FEC vias carry one (flood-set vias none, host-chain vias a push of the service
// label). Text form:
//   Value('Ostra::MplsLabelAndAction', ** {'label': 1048576, 'action': mplsActionNone})
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "Ostra/MplsLabel.h"
#include "Qor/Enum.h"
#include "Qor/Record.h"
#include "Qor/Strep.h"

namespace Ostra {

using Qor::operator<<;  // text forms on std::ostream, found by argument-dependent lookup

enum MplsAction : uint8_t {
  mplsActionNone = 0,
  mplsActionPush = 1,
  mplsActionSwap = 2,
  mplsActionPop = 3,
};

}  // namespace Ostra

template <>
struct Qor::EnumTraits<Ostra::MplsAction> {
  static constexpr std::string_view typeName = "Ostra::MplsAction";
  static constexpr std::array<std::string_view, 4> names = {"mplsActionNone", "mplsActionPush",
                                                            "mplsActionSwap", "mplsActionPop"};
};

namespace Ostra {

class MplsLabelAndAction : public Qor::RecordValue<MplsLabelAndAction> {
 public:
  static constexpr std::string_view typeName = "Ostra::MplsLabelAndAction";

  MplsLabelAndAction() = default;
  MplsLabelAndAction(MplsLabel label, MplsAction action) : label_(label), action_(action) {}
  explicit MplsLabelAndAction(Qor::Parser& p) { parseFields(p); }

  MplsLabel label() const noexcept { return label_; }
  void labelIs(MplsLabel label) noexcept { label_ = label; }
  MplsAction action() const noexcept { return action_; }
  void actionIs(MplsAction action) noexcept { action_ = action; }

  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("label", self.label_);
    visit("action", self.action_);
  }

  auto operator<=>(MplsLabelAndAction const&) const = default;
  bool operator==(MplsLabelAndAction const&) const = default;

 private:
  MplsLabel label_ = MplsLabel::none();
  MplsAction action_ = mplsActionNone;
};

}  // namespace Ostra
