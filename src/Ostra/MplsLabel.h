// An MPLS label: 20 significant bits held in a 32-bit word. One past the largest label,
// 1048576, is the platform's "no label" value and is a valid MplsLabel.
#pragma once

#include <cstdint>

#include "Ostra/NumericValue.h"

namespace Ostra {

class MplsLabel : public NumericValue<MplsLabel, uint32_t> {
 public:
  static constexpr uint64_t maxValue = 1048576;
  static constexpr char const* rangeError = "MplsLabel::value > 1048576 not allowed";
  static constexpr uint32_t noLabelValue = 1048576;

  using NumericValue::NumericValue;

  static constexpr MplsLabel none() noexcept { return MplsLabel(noLabelValue); }
  constexpr bool isNone() const noexcept { return value() == noLabelValue; }
};

}  // namespace Ostra
