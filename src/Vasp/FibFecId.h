// The identifier of a forwarding equivalence class (FEC) that the hardware layer programs:
// one 64-bit word with the adjacency type (which kind of FEC, and so which client
// allocated it) in its top byte and that client's index in the low 56 bits. Keeping the
// kind in the ID lets several allocators share the FEC tables without ever colliding.
// 0 is no FEC. Printed as plain decimal like the platform's other numeric identifiers.
#pragma once

#include <cstdint>

#include "Ostra/NumericValue.h"

namespace Vasp::Fib {

class FecId : public Ostra::NumericValue<FecId, uint64_t> {
 public:
  static constexpr uint64_t maxValue = UINT64_MAX;
  static constexpr char const* rangeError = "FecId::index > 2^56 - 1 not allowed";
  static constexpr unsigned adjTypeShift = 56;
  static constexpr uint64_t indexMask = (uint64_t(1) << adjTypeShift) - 1;

  using NumericValue::NumericValue;
  // Throws the range error for an index wider than 56 bits.
  constexpr FecId(uint8_t adjType, uint64_t index)
      : NumericValue(index > indexMask ? throw std::out_of_range(rangeError)
                                       : uint64_t(adjType) << adjTypeShift | index) {}

  constexpr uint8_t adjType() const noexcept { return static_cast<uint8_t>(value() >> adjTypeShift); }
  constexpr uint64_t index() const noexcept { return value() & indexMask; }
  constexpr bool valid() const noexcept { return value() != 0; }
};

}  // namespace Vasp::Fib
