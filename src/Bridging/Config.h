// The bridging configuration: one VlanConfig per configured VLAN. Written by the
// platform's configuration; state machines hold it as Qor::Ptr<Config const>.
#pragma once

#include <string_view>

#include "Bridging/VlanConfig.h"
#include "Bridging/VlanId.h"
#include "Qor/Attribute.h"

namespace Bridging {

class Config : public Qor::Entity {
 public:
  std::string_view fwkType() const override { return "Bridging::Config"; }

  QOR_CHILDREN(vlanConfig, VlanId, VlanConfig)
};

Qor::Ptr<Config> configFactory();

}  // namespace Bridging
