// How a remote EVPN peer expects its traffic encapsulated, and so how the label it
// advertised is to be read: an MPLS label, a VXLAN network identifier, or nothing yet.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "Qor/Enum.h"
#include "Qor/Strep.h"

namespace Evpn {

using Qor::operator<<;  // text forms on std::ostream, found by argument-dependent lookup

enum EncapType : uint8_t {
  encapTypeNone = 0,
  encapTypeMpls = 1,
  encapTypeVxlan = 2,
};

}  // namespace Evpn

template <>
struct Qor::EnumTraits<Evpn::EncapType> {
  static constexpr std::string_view typeName = "Evpn::EncapType";
  static constexpr std::array<std::string_view, 3> names = {"encapTypeNone", "encapTypeMpls",
                                                            "encapTypeVxlan"};
};
