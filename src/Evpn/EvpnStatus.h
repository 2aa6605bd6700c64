// The platform's EVPN status, the input every access-side and tunnel-ID state machine
// watches: one EthernetSegmentStatus per local Ethernet segment, the local ESI label per
// access interface, the interfaces that filter encapsulated BUM traffic, the VLAN-to-dot1q
// mapping of VLAN services, and one EvpnVlanFloodStatus per VLAN. Written by the platform;
// state machines hold it as Qor::Ptr<EvpnStatus const>.
#pragma once

#include <string_view>

#include "Bridging/VlanId.h"
#include "Bridging/VlanIdOrNone.h"
#include "Evpn/EncapTypeLabel.h"
#include "Evpn/EthernetSegmentStatus.h"
#include "Evpn/EvpnVlanFloodStatus.h"
#include "Ostra/IntfId.h"
#include "Qor/Attribute.h"

namespace Evpn {

class EvpnStatus : public Qor::Entity {
 public:
  std::string_view fwkType() const override { return "Evpn::EvpnStatus"; }

  QOR_CHILDREN(ethernetSegmentStatus, Ostra::IntfId, EthernetSegmentStatus)
  QOR_MAP(localEsiLabel, Ostra::IntfId, EncapTypeLabel)
  QOR_SET(encapBumFilter, Ostra::IntfId)
  QOR_MAP(vlanToDot1q, Bridging::VlanId, Bridging::VlanIdOrNone)
  QOR_CHILDREN(evpnVlanFloodStatus, Bridging::VlanId, EvpnVlanFloodStatus)
};

Qor::Ptr<EvpnStatus> evpnStatusFactory();

}  // namespace Evpn
