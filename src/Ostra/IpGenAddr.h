// An IPv4 or IPv6 address in one value type (a VTEP, a remote TEP). Both families are
// stored as sixteen bytes in network order (IPv4 in the first four) plus the family, so
// equality, ordering (all IPv4 before all IPv6) and hashing are plain byte operations.
// Text form: '10.0.0.1' or '2001:db8::1', the IPv6 form canonical as RFC 5952 section 4
// prescribes (lowercase, no leading zeros, the longest run of two or more zero groups
// shortened to "::", the first such run on a tie; no embedded dotted IPv4), so every
// address has exactly one text and parsing accepts only that text.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <string_view>

#include "Qor/Parser.h"
#include "Qor/Strep.h"
#include "Qor/String.h"

namespace Ostra {

using Qor::operator<<;  // text forms on std::ostream, found by argument-dependent lookup

class IpGenAddr {
 public:
  enum class Family : uint8_t { v4 = 4, v6 = 6 };
  using Bytes = std::array<uint8_t, 16>;

  // 0.0.0.0
  IpGenAddr() noexcept = default;
  // The IPv4 address whose 32 bits are `v4` (10.0.0.1 is 0x0a000001).
  static IpGenAddr ipv4(uint32_t v4) noexcept;
  static IpGenAddr ipv6(Bytes const& bytes) noexcept;
  // Unquoted canonical text; throws std::invalid_argument for anything else.
  explicit IpGenAddr(std::string_view text);
  explicit IpGenAddr(Qor::Parser& p);

  Family family() const noexcept { return family_; }
  bool isV4() const noexcept { return family_ == Family::v4; }
  // Only the first four bytes are used for IPv4; the rest stay zero.
  Bytes const& bytes() const noexcept { return bytes_; }

  // Unquoted canonical text.
  Qor::String toString() const;
  void print(Qor::String& out) const;
  uint32_t hash(uint32_t seed) const noexcept;

  auto operator<=>(IpGenAddr const&) const noexcept = default;

 private:
  Family family_ = Family::v4;
  Bytes bytes_{};
};

}  // namespace Ostra
