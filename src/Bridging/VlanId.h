// A VLAN number, 0 to 4095, printed as plain decimal.
#pragma once

#include <cstdint>

#include "Ostra/NumericValue.h"

namespace Bridging {

class VlanId : public Ostra::NumericValue<VlanId, uint16_t> {
 public:
  static constexpr uint64_t maxValue = 4095;
  static constexpr char const* rangeError = "VlanId::value > 4095 not allowed";
  using NumericValue::NumericValue;
};

}  // namespace Bridging
