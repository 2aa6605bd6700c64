// A 48-bit Ethernet MAC address kept in the low bits of a 64-bit word, so it compares and
// hashes as one integer. Text form: '00:1a:2b:3c:4d:5e' (quoted, lowercase, two hex
// digits per byte); parsing accepts exactly that form and nothing else.
#pragma once

#include <compare>
#include <cstdint>
#include <string_view>

#include "Qor/Hash.h"
#include "Qor/Parser.h"
#include "Qor/Strep.h"
#include "Qor/String.h"

namespace Ostra {

using Qor::operator<<;  // text forms on std::ostream, found by argument-dependent lookup

class EthAddr {
 public:
  static constexpr uint64_t mask = (uint64_t(1) << 48) - 1;

  constexpr EthAddr() noexcept = default;
  // Throws std::out_of_range for a value wider than 48 bits.
  constexpr explicit EthAddr(uint64_t value) : value_(checked(value)) {}
  // "00:1a:2b:3c:4d:5e" (unquoted); throws std::invalid_argument for anything else.
  explicit EthAddr(std::string_view text);
  explicit EthAddr(Qor::Parser& p);

  static constexpr EthAddr broadcast() noexcept { return EthAddr(mask); }

  constexpr uint64_t value() const noexcept { return value_; }
  constexpr bool isBroadcast() const noexcept { return value_ == mask; }

  void print(Qor::String& out) const;
  uint32_t hash(uint32_t seed) const noexcept { return Qor::hashAttribute(value_, seed); }

  constexpr auto operator<=>(EthAddr const&) const noexcept = default;

 private:
  static constexpr uint64_t checked(uint64_t v) {
    if (v > mask) throw std::out_of_range("EthAddr::value wider than 48 bits not allowed");
    return v;
  }

  uint64_t value_ = 0;
};

}  // namespace Ostra
