// The platform's 64-bit tunnel identifier: the tunnel type in the type field (bits 44 to
// 63, that is the high 32-bit word shifted right by 12) and the tunnel's index below it.
// The type is limited to 8 bits so that every tunnel ID fits in the payload of a tunnel
// interface ID (Ostra::IntfId). 0 is the invalid tunnel. Printed as plain decimal and
// hashed by Jenkins' one-at-a-time hash of the 64-bit value.
#pragma once

#include <cstdint>

#include "Ostra/NumericValue.h"
#include "Tunnel/TunnelType.h"

namespace Ostra {
class IntfId;
}

namespace Tunnel::TunnelTable {

class TunnelId : public Ostra::NumericValue<TunnelId, uint64_t> {
 public:
  static constexpr unsigned typeShift = 44;
  static constexpr uint64_t indexMask = (uint64_t(1) << typeShift) - 1;
  static constexpr uint64_t maxType = 0xff;
  static constexpr uint64_t minValue = 0;
  static constexpr uint64_t maxValue = (maxType << typeShift) | indexMask;
  static constexpr char const* rangeError =
      "TunnelId::value < TunnelId::minValue or > TunnelId::maxValue not allowed";

  using NumericValue::NumericValue;
  // Throws the range error for a type above 255 or an index wider than 44 bits.
  constexpr TunnelId(TunnelType type, uint64_t index)
      : NumericValue(uint64_t(type) > maxType || index > indexMask ? maxValue + 1
                                                                   : (uint64_t(type) << typeShift) | index) {}

  static constexpr TunnelId invalid() noexcept { return TunnelId(); }

  constexpr TunnelType tunnelType() const noexcept { return static_cast<TunnelType>(value() >> typeShift); }
  constexpr uint64_t index() const noexcept { return value() & indexMask; }

  // The tunnel's interface: its SR-TE policy interface for an SR-TE policy tunnel, its
  // dynamic tunnel interface otherwise.
  Ostra::IntfId intfId() const;

  uint32_t hash(uint32_t seed) const noexcept { return Qor::oneAtATimeHash(value(), seed); }
};

}  // namespace Tunnel::TunnelTable

// IntfId encodes tunnel IDs and TunnelId::intfId returns one: whichever header comes first,
// both types are complete after it.
#include "Ostra/IntfId.h"
