#include "FennEvpn/FennEvpnRemoteInfo.h"

namespace Fenn {

Qor::Ptr<EvpnRemoteInfo> evpnRemoteInfoFactory() { return Qor::Ptr<EvpnRemoteInfo>(new EvpnRemoteInfo); }

}  // namespace Fenn
