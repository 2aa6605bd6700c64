#include "FennEvpn/FennEvpnHwTunnelIdSmHelper.h"

namespace FennHelper {

Fenn::HwTunnelId EvpnHwTunnelIdSmHelper::getHwTunnelId(Fenn::HwTunnelIdType) {
  unimplemented("getHwTunnelId");
  return Fenn::HwTunnelId();
}

void EvpnHwTunnelIdSmHelper::releaseHwTunnelId(Fenn::HwTunnelId const&) {
  unimplemented("releaseHwTunnelId");
}

}  // namespace FennHelper
