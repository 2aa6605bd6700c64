#include "Tunnel/TunnelEndpointStatus.h"

namespace Tunnel::TunnelTable {

Qor::Ptr<TunnelEndpointStatus> tunnelEndpointStatusFactory() {
  return Qor::Ptr<TunnelEndpointStatus>(new TunnelEndpointStatus);
}

}  // namespace Tunnel::TunnelTable
