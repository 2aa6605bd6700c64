// A usable VLAN (1 to 4094) or none (0): for fields where the absence of a VLAN is a
// legitimate value, such as the VLAN of a flooding via over a tunnel that carries none.
#pragma once

#include <cstdint>

#include "Bridging/VlanId.h"
#include "Ostra/NumericValue.h"

namespace Bridging {

class VlanIdOrNone : public Ostra::NumericValue<VlanIdOrNone, uint16_t> {
 public:
  static constexpr uint64_t maxValue = 4094;
  static constexpr char const* rangeError = "VlanIdOrNone::value > 4094 not allowed";
  using NumericValue::NumericValue;
  // VLAN 4095 is reserved and has no VlanIdOrNone: it throws the range error.
  constexpr explicit VlanIdOrNone(VlanId vlanId) : NumericValue(vlanId.value()) {}

  static constexpr VlanIdOrNone none() noexcept { return VlanIdOrNone(); }
  constexpr bool isNone() const noexcept { return value() == 0; }
};

}  // namespace Bridging
