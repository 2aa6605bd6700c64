#include "FennEvpn/FennEvpnVlanStatus.h"

namespace Fenn {

Qor::Ptr<EvpnVlanStatus> evpnVlanStatusFactory() { return Qor::Ptr<EvpnVlanStatus>(new EvpnVlanStatus); }

Qor::Ptr<EvpnVlanMemberInfo> evpnVlanMemberInfoFactory(Bridging::VlanId vlanId) {
  return Qor::Ptr<EvpnVlanMemberInfo>(new EvpnVlanMemberInfo(vlanId));
}

}  // namespace Fenn
