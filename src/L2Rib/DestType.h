// The kinds of layer-2 RIB destination: a local interface, a tunnel (VXLAN), an MPLS
// tunnel with a label, or the CPU.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "Qor/Enum.h"
#include "Qor/Strep.h"

namespace L2Rib {

using Qor::operator<<;  // text forms on std::ostream, found by argument-dependent lookup

enum DestType : uint8_t {
  destTypeInvalid_ = 0,
  destTypeIntf_ = 1,
  destTypeTunnel_ = 2,
  destTypeMpls_ = 3,
  destTypeCpu_ = 4,
};

}  // namespace L2Rib

template <>
struct Qor::EnumTraits<L2Rib::DestType> {
  static constexpr std::string_view typeName = "L2Rib::DestType";
  static constexpr std::array<std::string_view, 5> names = {
      "destTypeInvalid_", "destTypeIntf_", "destTypeTunnel_", "destTypeMpls_", "destTypeCpu_"};
};
