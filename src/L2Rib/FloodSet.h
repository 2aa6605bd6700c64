// One flood set of a VLAN: for one MAC address (broadcast, or a class of unknown traffic)
// the set of destinations that flooded frames are copied to, and which traffic it floods.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "L2Rib/Dest.h"
#include "Ostra/EthAddr.h"
#include "Qor/Attribute.h"
#include "Qor/Strep.h"

namespace L2Rib {

using Qor::operator<<;  // text forms on std::ostream, found by argument-dependent lookup

enum FloodSetType : uint8_t {
  floodSetTypeInvalid = 0,
  floodSetTypeAll = 1,
  floodSetTypeBroadcast = 2,
  floodSetTypeUnknownUnicast = 3,
  floodSetTypeUnknownMulticast = 4,
};

}  // namespace L2Rib

template <>
struct Qor::EnumTraits<L2Rib::FloodSetType> {
  static constexpr std::string_view typeName = "L2Rib::FloodSetType";
  static constexpr std::array<std::string_view, 5> names = {
      "floodSetTypeInvalid", "floodSetTypeAll", "floodSetTypeBroadcast", "floodSetTypeUnknownUnicast",
      "floodSetTypeUnknownMulticast"};
};

namespace L2Rib {

class FloodSet : public Qor::Entity {
 public:
  explicit FloodSet(Ostra::EthAddr macAddr) : macAddr_(macAddr) {}
  std::string_view fwkType() const override { return "L2Rib::FloodSet"; }
  Ostra::EthAddr macAddr() const noexcept { return macAddr_; }

  QOR_SCALAR(floodSetType, FloodSetType, floodSetTypeInvalid)
  QOR_SET(destSet, Dest)

 private:
  Ostra::EthAddr macAddr_;
};

}  // namespace L2Rib
