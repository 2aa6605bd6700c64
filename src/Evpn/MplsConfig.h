// The platform's EVPN MPLS configuration, as far as the library reads it: whether VLAN
// services carry a dot1q tag. With the flag set, a VLAN whose VLAN-to-dot1q mapping names
// no tag is tagged with its own VLAN ID. Written by the platform; state machines hold it
// as Qor::Ptr<MplsConfig const>.
#pragma once

#include <string_view>

#include "Qor/Attribute.h"

namespace Evpn {

class MplsConfig : public Qor::Entity {
 public:
  std::string_view fwkType() const override { return "Evpn::MplsConfig"; }

  QOR_SCALAR(vlanServiceDot1qEnabled, bool, false)
};

Qor::Ptr<MplsConfig> mplsConfigFactory();

}  // namespace Evpn
