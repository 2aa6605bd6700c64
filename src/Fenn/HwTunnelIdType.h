// The pools from which the hardware hands out tunnel IDs: the ordinary pool, which every
// remote tunnel can use, and the shared Ethernet-segment pool for tunnels towards peers of
// a segment with a shared ESI label.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "Qor/Enum.h"
#include "Qor/Strep.h"

namespace Fenn {

using Qor::operator<<;  // text forms on std::ostream, found by argument-dependent lookup

enum HwTunnelIdType : uint8_t {
  hwTunnelIdTypeDefault = 0,
  hwTunnelIdTypeSharedEs = 1,
};

}  // namespace Fenn

template <>
struct Qor::EnumTraits<Fenn::HwTunnelIdType> {
  static constexpr std::string_view typeName = "Fenn::HwTunnelIdType";
  static constexpr std::array<std::string_view, 2> names = {"hwTunnelIdTypeDefault",
                                                            "hwTunnelIdTypeSharedEs"};
};
