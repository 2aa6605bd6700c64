// The position of a next object in a load balance's ECMP array: 0 to 15, the widest ECMP
// the hardware programs for one FEC.
#pragma once

#include <cstdint>

#include "Ostra/NumericValue.h"

namespace L2Rib {

class EcmpIndex : public Ostra::NumericValue<EcmpIndex, uint8_t> {
 public:
  static constexpr uint64_t min = 0;
  static constexpr uint64_t max = 15;
  static constexpr uint64_t maxValue = max;
  static constexpr char const* rangeError =
      "EcmpIndex::value < EcmpIndex::min or > EcmpIndex::max not allowed";
  using NumericValue::NumericValue;
};

}  // namespace L2Rib
