// The tunnel RIB's endpoints: for each tunnel, the address of the router at its far end (a
// remote PE's loopback for the tunnels EVPN uses). Written by the platform's tunnel RIB;
// readers hold it as Qor::Ptr<TunnelEndpointStatus const>.
#pragma once

#include <string_view>

#include "Ostra/IpGenAddr.h"
#include "Qor/Attribute.h"
#include "Tunnel/TunnelId.h"

namespace Tunnel::TunnelTable {

class TunnelEndpointStatus : public Qor::Entity {
 public:
  std::string_view fwkType() const override { return "Tunnel::TunnelTable::TunnelEndpointStatus"; }

  QOR_MAP(tunnelEndpoint, TunnelId, Ostra::IpGenAddr)
};

Qor::Ptr<TunnelEndpointStatus> tunnelEndpointStatusFactory();

}  // namespace Tunnel::TunnelTable
