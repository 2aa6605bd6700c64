// The position of a via within a FEC: 0 to maxValue, the widest ECMP the hardware
// programs for one FEC being 16 vias.
#pragma once

#include <cstdint>

#include "Ostra/NumericValue.h"

namespace Vasp::Fib {

class ViaIndex : public Ostra::NumericValue<ViaIndex, uint8_t> {
 public:
  static constexpr uint64_t min = 0;
  static constexpr uint64_t max = 15;
  static constexpr uint64_t maxValue = max;
  static constexpr char const* rangeError = "ViaIndex::value < ViaIndex::min or > ViaIndex::max not allowed";
  using NumericValue::NumericValue;
};

}  // namespace Vasp::Fib
