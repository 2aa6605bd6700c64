// The label operation a FEC via performs on the packet's top label: push, swap or pop of
// `label`, or nothing. The default (no label, no action) is a via that leaves the label
// stack as it is. Text form:
//   Value('Vasp::Fib::LabelAndAction', ** {'label': 1048576, 'action': mplsActionNone})
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "Ostra/MplsLabel.h"
#include "Qor/Enum.h"
#include "Qor/Record.h"

namespace Vasp::Fib {

enum MplsAction : uint8_t {
  mplsActionNone = 0,
  mplsActionPush = 1,
  mplsActionSwap = 2,
  mplsActionPop = 3,
};

}  // namespace Vasp::Fib

template <>
struct Qor::EnumTraits<Vasp::Fib::MplsAction> {
  static constexpr std::string_view typeName = "Vasp::Fib::MplsAction";
  static constexpr std::array<std::string_view, 4> names = {"mplsActionNone", "mplsActionPush",
                                                            "mplsActionSwap", "mplsActionPop"};
};

namespace Vasp::Fib {

class LabelAndAction : public Qor::RecordValue<LabelAndAction> {
 public:
  static constexpr std::string_view typeName = "Vasp::Fib::LabelAndAction";

  LabelAndAction() = default;
  LabelAndAction(Ostra::MplsLabel label, MplsAction action) : label_(label), action_(action) {}
  explicit LabelAndAction(Qor::Parser& p) { parseFields(p); }

  Ostra::MplsLabel label() const noexcept { return label_; }
  void labelIs(Ostra::MplsLabel label) noexcept { label_ = label; }
  MplsAction action() const noexcept { return action_; }
  void actionIs(MplsAction action) noexcept { action_ = action; }

  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("label", self.label_);
    visit("action", self.action_);
  }

  auto operator<=>(LabelAndAction const&) const = default;
  bool operator==(LabelAndAction const&) const = default;

 private:
  Ostra::MplsLabel label_ = Ostra::MplsLabel::none();
  MplsAction action_ = mplsActionNone;
};

}  // namespace Vasp::Fib
