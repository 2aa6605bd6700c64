// The interface through which the access-side flooding state machines (ESI labels,
// VLAN-to-dot1q mappings, flood filters) program hardware; the platform's hardware layer
// subclasses it. Every programming decision of those state machines ends in one call here.
//
// `parentIntfId` is the access interface as configured (a LAG or a plain port),
// `memberIntfId` the physical port the entry is installed on (a LAG member, or the port
// itself). A create returns programmed (0), notProgrammed (1: the caller retries it from
// its review) or invalidHwId (2, createEsiData only: a fatal inconsistency for the
// caller). Deletes cannot fail as far as the callers are concerned.
//
// The base operations let an agent without a hardware layer run: the VLAN and non-DF
// operations fail softly; the others abort with "Unimplemented <operation>" unless
// "FENN_NOOP_AGENT" is set, in which case they fail softly too.
#pragma once

#include <string_view>

#include "Bridging/VlanId.h"
#include "Bridging/VlanIdOrNone.h"
#include "Fenn/FennBaseHelper.h"
#include "Fenn/HwTunnelId.h"
#include "FennEvpn/FennEvpn.h"
#include "FennEvpn/FennEvpnExport.h"
#include "Ostra/IntfId.h"
#include "Ostra/MplsLabel.h"
#include "Qor/Attribute.h"
#include "Qor/String.h"
#include "Tunnel/TunnelId.h"

namespace FennHelper {

class FENN_EVPN_EXPORT EvpnFloodingSmHelper : public Fenn::FennBaseHelper {
 public:
  explicit EvpnFloodingSmHelper(Qor::String name) : FennBaseHelper(std::move(name)) {}

  std::string_view fwkType() const override { return "FennHelper::EvpnFloodingSmHelper"; }

  // Set by the platform: whether createEsiData accepts an already installed entry as an
  // update (otherwise the caller deletes the old entry first).
  QOR_SCALAR(updateSupportedOnCreateEsiData, bool, false)
  // Set by the platform: whether the CPU interface is programmed as well.
  QOR_SCALAR(programCpuIntf, bool, false)

  virtual Fenn::HwProgrammingStatus createVlan(Bridging::VlanId vlanId, Bridging::VlanIdOrNone dot1q);
  virtual void deleteVlan(Bridging::VlanId vlanId, Bridging::VlanIdOrNone dot1q);
  virtual Fenn::HwProgrammingStatus createNonDfPort(Ostra::IntfId parentIntfId, Ostra::IntfId memberIntfId,
                                                    Bridging::VlanId vlanId);
  virtual void deleteNonDfPort(Ostra::IntfId parentIntfId, Ostra::IntfId memberIntfId,
                               Bridging::VlanId vlanId);
  virtual Fenn::HwProgrammingStatus createVlanToDot1qMapping(Ostra::IntfId parentIntfId,
                                                             Ostra::IntfId memberIntfId,
                                                             Bridging::VlanId vlanId,
                                                             Bridging::VlanIdOrNone dot1q);
  virtual void deleteVlanToDot1qMapping(Ostra::IntfId parentIntfId, Ostra::IntfId memberIntfId,
                                        Bridging::VlanId vlanId, Bridging::VlanIdOrNone dot1q);
  virtual Fenn::HwProgrammingStatus createEsiData(Ostra::IntfId parentIntfId, Ostra::IntfId memberIntfId,
                                                  Bridging::VlanId vlanId, Fenn::TunnelId const& tunnelId,
                                                  Fenn::HwTunnelId const& hwTunnelId,
                                                  Ostra::MplsLabel remoteEsiLabel,
                                                  Ostra::MplsLabel localEsiLabel);
  virtual void deleteEsiData(Ostra::IntfId parentIntfId, Ostra::IntfId memberIntfId, Bridging::VlanId vlanId,
                             Fenn::TunnelId const& tunnelId, Fenn::HwTunnelId const& hwTunnelId);
};

}  // namespace FennHelper
