// EvpnRemoteInfo: the remote tunnels that flood sets reach, each with the number of
// (VLAN, MAC flood set, destination) entries leading to it. A tunnel is present exactly
// while its count is above zero. Written only by EvpnRemoteInfoFinderSm; read by the
// hardware tunnel ID allocation.
#pragma once

#include <cstdint>
#include <string_view>

#include "FennEvpn/FennEvpnExport.h"
#include "Qor/Attribute.h"
#include "Qor/Ptr.h"
#include "Tunnel/TunnelId.h"

namespace Fenn {

class FENN_EVPN_EXPORT EvpnRemoteInfo : public Qor::Entity {
 public:
  std::string_view fwkType() const override { return "Fenn::EvpnRemoteInfo"; }

  QOR_COUNTER(remoteTunnelId, Tunnel::TunnelTable::TunnelId, uint32_t)
};

FENN_EVPN_EXPORT Qor::Ptr<EvpnRemoteInfo> evpnRemoteInfoFactory();

}  // namespace Fenn
