// Uses the concepts of the value types' hashing and their text forms, which need C++20.
#include <iostream>

#include "FennEvpn/FennEvpnTunnelIdToHwTunnelIdMapping.h"
#include "Qor/Hash.h"

int main() {
  Tunnel::TunnelTable::TunnelId const tunnelId(Tunnel::tunnelTypeLdp, 7);
  std::cout << Qor::valueToStrep(tunnelId) << " " << Qor::Hasher<Tunnel::TunnelTable::TunnelId>{}(tunnelId)
            << "\n";
  return Fenn::tunnelIdToHwTunnelIdMappingFactory("consumer") ? 0 : 1;
}
