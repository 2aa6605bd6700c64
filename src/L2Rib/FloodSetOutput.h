// The layer-2 RIB's flood sets: per VLAN a VlanFloodSet, per MAC of it a FloodSet with its
// destinations. `source` says which producer computed the output.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "Bridging/VlanId.h"
#include "L2Rib/VlanFloodSet.h"
#include "Qor/Attribute.h"
#include "Qor/Ptr.h"
#include "Qor/Strep.h"

namespace L2Rib {

using Qor::operator<<;  // text forms on std::ostream, found by argument-dependent lookup

enum FloodSetSource : uint8_t {
  floodSetSourceInvalid = 0,
  floodSetSourceL2Rib = 1,
  floodSetSourceStatic = 2,
};

}  // namespace L2Rib

template <>
struct Qor::EnumTraits<L2Rib::FloodSetSource> {
  static constexpr std::string_view typeName = "L2Rib::FloodSetSource";
  static constexpr std::array<std::string_view, 3> names = {"floodSetSourceInvalid", "floodSetSourceL2Rib",
                                                            "floodSetSourceStatic"};
};

namespace L2Rib {

class FloodSetOutput : public Qor::Entity {
 public:
  std::string_view fwkType() const override { return "L2Rib::FloodSetOutput"; }

  QOR_SCALAR(source, FloodSetSource, floodSetSourceInvalid)
  QOR_CHILDREN(vlanFloodSet, Bridging::VlanId, VlanFloodSet)
};

Qor::Ptr<FloodSetOutput> floodSetOutputFactory();

}  // namespace L2Rib
