// What the hardware layer answers when asked to program (or remove) an LFIB entry. Callers
// act on the number: 0 programmed; 1 a conflict with an entry already installed; 2 and 3
// not programmed for now, worth retrying; anything higher needs no action. Only the
// enumerated values have names; a platform may answer higher numbers.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "Qor/Enum.h"
#include "Qor/Strep.h"

namespace Mpls {

using Qor::operator<<;  // text forms on std::ostream, found by argument-dependent lookup

enum LfibHwProgrammingReturnCode : uint32_t {
  lfibHwProgrammed = 0,
  lfibHwConflict = 1,
  lfibHwResourceFull = 2,
  lfibHwTemporaryFailure = 3,
  lfibHwNotApplicable = 4,
};

}  // namespace Mpls

template <>
struct Qor::EnumTraits<Mpls::LfibHwProgrammingReturnCode> {
  static constexpr std::string_view typeName = "Mpls::LfibHwProgrammingReturnCode";
  static constexpr std::array<std::string_view, 5> names = {"lfibHwProgrammed", "lfibHwConflict",
                                                            "lfibHwResourceFull", "lfibHwTemporaryFailure",
                                                            "lfibHwNotApplicable"};
};
