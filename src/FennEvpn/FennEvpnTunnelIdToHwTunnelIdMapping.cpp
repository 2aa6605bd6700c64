#include "FennEvpn/FennEvpnTunnelIdToHwTunnelIdMapping.h"

namespace Fenn {

Qor::Ptr<TunnelIdToHwTunnelIdMapping> tunnelIdToHwTunnelIdMappingFactory(Qor::String name) {
  return Qor::Ptr<TunnelIdToHwTunnelIdMapping>(new TunnelIdToHwTunnelIdMapping(name, Vasp::Mode::writer));
}

Qor::Ptr<TunnelIdToHwTunnelIdMapping> tunnelIdToHwTunnelIdMappingReaderFactory(Qor::String name) {
  return Qor::Ptr<TunnelIdToHwTunnelIdMapping>(new TunnelIdToHwTunnelIdMapping(name, Vasp::Mode::reader));
}

}  // namespace Fenn
