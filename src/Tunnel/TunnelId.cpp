#include "Tunnel/TunnelId.h"

namespace Tunnel::TunnelTable {

Ostra::IntfId TunnelId::intfId() const {
  return tunnelType() == tunnelTypeSrTePolicy ? Ostra::IntfId::srTePolicy(*this)
                                              : Ostra::IntfId::dynamicTunnel(*this);
}

}  // namespace Tunnel::TunnelTable
