// How the hardware programs a LAG member port: whether it takes part in both directions,
// only receives (a member held out of the transmit hash, as during a graceful removal), or
// is configured but not programmed yet. Membership readers look only at the member's
// presence, never at this value.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "Qor/Enum.h"
#include "Qor/Strep.h"

namespace Hardware::Lag {

using Qor::operator<<;  // text forms on std::ostream, found by argument-dependent lookup

enum PortProgType : uint8_t {
  portProgTypeRxTx = 0,
  portProgTypeRxOnly = 1,
  portProgTypeNone = 2,
};

}  // namespace Hardware::Lag

template <>
struct Qor::EnumTraits<Hardware::Lag::PortProgType> {
  static constexpr std::string_view typeName = "Hardware::Lag::PortProgType";
  static constexpr std::array<std::string_view, 3> names = {"portProgTypeRxTx", "portProgTypeRxOnly",
                                                            "portProgTypeNone"};
};
