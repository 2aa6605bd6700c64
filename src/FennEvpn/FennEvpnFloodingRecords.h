// The per-key bookkeeping records of the access-side flooding state machines: reverse
// indexes between interfaces, VLANs and tunnels, and the programming status of each
// physical member port per (interface, VLAN) or (interface, VLAN, tunnel). Each record is
// an entity whose key is fixed at construction, so an owner keeps them as QOR_CHILDREN
// (`xxxIs(key)` builds the record); its collections notify like any attribute.
//
// In the status records the member is always a physical port: one entry per LAG member
// for a LAG, the port itself for a plain port. `programmed`: the hardware accepted it (for
// ESI data, with the hardware tunnel ID given); `unprogrammed`: the last attempt failed and
// the owner's review retries it; `forceReprogram`: program again although programmed.
#pragma once

#include <string_view>

#include "Bridging/VlanId.h"
#include "Fenn/HwTunnelId.h"
#include "FennEvpn/FennEvpn.h"
#include "FennEvpn/FennEvpnExport.h"
#include "Ostra/IntfId.h"
#include "Qor/Attribute.h"
#include "Qor/Entity.h"
#include "Tunnel/TunnelId.h"

// The key of a record: constructor, reader and type name.
#define FENN_RECORD_KEY(Record, keyName, KeyT)                           \
 public:                                                                 \
  explicit Record(KeyT const& keyName) : keyName##_(keyName) {}          \
  KeyT const& keyName() const noexcept { return keyName##_; }            \
  std::string_view fwkType() const override { return "Fenn::" #Record; } \
                                                                         \
 private:                                                                \
  KeyT const keyName##_;                                                 \
                                                                         \
 public:

namespace Fenn {

// VLANs flooded on an access interface.
class FENN_EVPN_EXPORT IntfVlanSet : public Qor::Entity {
  FENN_RECORD_KEY(IntfVlanSet, intfId, Ostra::IntfId)
  QOR_SET(vlanId, Bridging::VlanId)
};

// Access interfaces in a VLAN.
class FENN_EVPN_EXPORT VlanIntfSet : public Qor::Entity {
  FENN_RECORD_KEY(VlanIntfSet, vlanId, Bridging::VlanId)
  QOR_SET(intfId, Ostra::IntfId)
};

// Remote tunnels seen on an interface.
class FENN_EVPN_EXPORT IntfTunnelSet : public Qor::Entity {
  FENN_RECORD_KEY(IntfTunnelSet, intfId, Ostra::IntfId)
  QOR_SET(tunnelId, TunnelId)
};

// The (interface, VLAN) pairs that use a tunnel, so that a change of the tunnel's hardware
// tunnel ID reaches them.
class FENN_EVPN_EXPORT TunnelIntfVlanSet : public Qor::Entity {
  FENN_RECORD_KEY(TunnelIntfVlanSet, tunnelId, TunnelId)
  QOR_SET(intfVlan, IntfVlanKey)
};

// VLANs per (interface, tunnel).
class FENN_EVPN_EXPORT IntfTunnelVlanSet : public Qor::Entity {
  FENN_RECORD_KEY(IntfTunnelVlanSet, intfTunnel, IntfTunnelKey)
  QOR_SET(vlanId, Bridging::VlanId)
};

// Remote tunnels per (interface, VLAN).
class FENN_EVPN_EXPORT IntfVlanTunnelSet : public Qor::Entity {
  FENN_RECORD_KEY(IntfVlanTunnelSet, intfVlan, IntfVlanKey)
  QOR_SET(tunnelId, TunnelId)
};

// Programming status per member port of an (interface, VLAN).
class FENN_EVPN_EXPORT IntfVlanStatus : public Qor::Entity {
  FENN_RECORD_KEY(IntfVlanStatus, intfVlan, IntfVlanKey)
  QOR_SET(programmed, Ostra::IntfId)
  QOR_SET(unprogrammed, Ostra::IntfId)
  QOR_SET(forceReprogram, Ostra::IntfId)
};

// ESI programming status per member port of an (interface, VLAN, tunnel): a programmed
// member maps to the hardware tunnel ID its ESI data was programmed with.
class FENN_EVPN_EXPORT IntfVlanTunnelEsiStatus : public Qor::Entity {
  FENN_RECORD_KEY(IntfVlanTunnelEsiStatus, intfVlanTunnel, IntfVlanTunnelKey)
  QOR_MAP(programmed, Ostra::IntfId, HwTunnelId)
  QOR_SET(unprogrammed, Ostra::IntfId)
};

}  // namespace Fenn
