// The kinds of via an LFIB via set can select. Each kind has its own via table in the
// LFIB; a via key names the kind and the entry in that kind's table.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "Qor/Enum.h"
#include "Qor/Strep.h"

namespace Mpls {

using Qor::operator<<;  // text forms on std::ostream, found by argument-dependent lookup

enum LfibViaType : uint8_t {
  lfibViaTypeInvalid = 0,
  lfibViaTypeMpls = 1,  // forward with a label operation to a next hop
  lfibViaTypeEvpnEthernetSegmentFilter = 2,
  lfibViaTypeDrop = 3,
};

}  // namespace Mpls

template <>
struct Qor::EnumTraits<Mpls::LfibViaType> {
  static constexpr std::string_view typeName = "Mpls::LfibViaType";
  static constexpr std::array<std::string_view, 4> names = {
      "lfibViaTypeInvalid", "lfibViaTypeMpls", "lfibViaTypeEvpnEthernetSegmentFilter", "lfibViaTypeDrop"};
};
