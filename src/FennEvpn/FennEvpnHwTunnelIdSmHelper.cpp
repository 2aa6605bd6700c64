#include "FennEvpn/FennEvpnHwTunnelIdSmHelper.h"

namespace FennHelper {

Fenn::HwTunnelId EvpnHwTunnelIdSmHelper::getHwTunnelId(Fenn::HwTunnelIdType) {
  unimplemented("getHwTunnelId");
  return Fenn::HwTunnelId();
}

void EvpnHwTunnelIdSmHelper::releaseHwTunnelId(Fenn::HwTunnelId const&) {
  unimplemented("releaseHwTunnelId");
}

uint32_t EvpnHwTunnelIdSmHelper::hwTunnelIdPoolSize(Fenn::HwTunnelIdType) const { return 0; }

}  // namespace FennHelper
