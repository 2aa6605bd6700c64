// The platform's tunnel types: the number kept in a tunnel ID's type field (bits 44 and
// up). tunnelTypeEvpnVlan (14) marks tunnels that carry a VLAN of their own, so flooding
// vias over them are told apart by VLAN.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "Qor/Enum.h"
#include "Qor/Strep.h"

namespace Tunnel {

using Qor::operator<<;  // text forms on std::ostream, found by argument-dependent lookup

enum TunnelType : uint32_t {
  tunnelTypeInvalid = 0,
  tunnelTypeStatic = 1,
  tunnelTypeLdp = 2,
  tunnelTypeRsvp = 3,
  tunnelTypeRsvpLer = 4,
  tunnelTypeIsisSr = 5,
  tunnelTypeOspfSr = 6,
  tunnelTypeBgpLu = 7,
  tunnelTypeSrTePolicy = 8,
  tunnelTypeTiLfa = 9,
  tunnelTypeNexthopGroup = 10,
  tunnelTypeGre = 11,
  tunnelTypeVxlan = 12,
  tunnelTypeEvpnMpls = 13,
  tunnelTypeEvpnVlan = 14,
};

}  // namespace Tunnel

template <>
struct Qor::EnumTraits<Tunnel::TunnelType> {
  static constexpr std::string_view typeName = "Tunnel::TunnelType";
  static constexpr std::array<std::string_view, 15> names = {
      "tunnelTypeInvalid",    "tunnelTypeStatic",   "tunnelTypeLdp",          "tunnelTypeRsvp",
      "tunnelTypeRsvpLer",    "tunnelTypeIsisSr",   "tunnelTypeOspfSr",       "tunnelTypeBgpLu",
      "tunnelTypeSrTePolicy", "tunnelTypeTiLfa",    "tunnelTypeNexthopGroup", "tunnelTypeGre",
      "tunnelTypeVxlan",      "tunnelTypeEvpnMpls", "tunnelTypeEvpnVlan"};
};
