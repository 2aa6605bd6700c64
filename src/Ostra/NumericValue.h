// Base of the platform's bounded numeric identifiers (VLAN numbers, MPLS labels, tunnel
// IDs): a single unsigned word with an upper bound, printed as plain decimal and hashed
// by the single-attribute hash. A derived type names its bound and its range error:
//
//   class VlanId : public Ostra::NumericValue<VlanId, uint16_t> {
//    public:
//     static constexpr uint64_t maxValue = 4095;
//     static constexpr char const* rangeError = "VlanId::value > 4095 not allowed";
//     using NumericValue::NumericValue;
//   };
//
// Building from an out-of-range number throws std::out_of_range with that text; parsing
// one fails with Qor::ParseError like any other malformed text.
#pragma once

#include <compare>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "Qor/Hash.h"
#include "Qor/Parser.h"
#include "Qor/Strep.h"
#include "Qor/String.h"

namespace Ostra {

using Qor::operator<<;  // text forms on std::ostream, found by argument-dependent lookup

template <class Self, class Rep>
class NumericValue {
 public:
  constexpr NumericValue() noexcept = default;
  constexpr explicit NumericValue(uint64_t v) : value_(checked(v)) {}
  explicit NumericValue(Qor::Parser& p)
      : value_(static_cast<Rep>(p.parseUnsigned(Self::maxValue, "a number in range"))) {}

  constexpr Rep value() const noexcept { return value_; }

  void print(Qor::String& out) const { out += std::to_string(value_); }
  uint32_t hash(uint32_t seed) const noexcept { return Qor::hashAttribute(value_, seed); }

  constexpr auto operator<=>(NumericValue const&) const noexcept = default;

 private:
  static constexpr Rep checked(uint64_t v) {
    if (v > Self::maxValue) throw std::out_of_range(Self::rangeError);
    return static_cast<Rep>(v);
  }

  Rep value_ = 0;
};

}  // namespace Ostra
