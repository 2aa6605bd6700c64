// The EVPN control plane's view of one local Ethernet segment, keyed by its access
// interface: the remote TEPs (tunnel interfaces) that share the segment, the VLANs
// configured on it, the ESI label each peer advertised, the designated forwarder per VLAN,
// and the segment's shared ESI label setting. Written by the platform, read by the
// library's state machines.
#pragma once

#include <string_view>

#include "Bridging/VlanId.h"
#include "Evpn/EncapTypeLabel.h"
#include "Evpn/SharedEsiLabel.h"
#include "Ostra/IntfId.h"
#include "Qor/Attribute.h"

namespace Evpn {

class EthernetSegmentStatus : public Qor::Entity {
 public:
  explicit EthernetSegmentStatus(Ostra::IntfId intfId) : intfId_(intfId) {}
  std::string_view fwkType() const override { return "Evpn::EthernetSegmentStatus"; }

  Ostra::IntfId intfId() const noexcept { return intfId_; }

 private:
  Ostra::IntfId const intfId_;

 public:
  QOR_SET(remoteTep, Ostra::IntfId)
  QOR_SET(configuredVlan, Bridging::VlanId)
  // Remote TEP interface to the ESI label that TEP advertised for this segment.
  QOR_MAP(remoteEsiLabel, Ostra::IntfId, EncapTypeLabel)
  // VLAN to the TEP interface of its designated forwarder.
  QOR_MAP(designatedForwarderTep, Bridging::VlanId, Ostra::IntfId)
  QOR_SCALAR(sharedEsiLabel, SharedEsiLabel, SharedEsiLabel())
};

}  // namespace Evpn
