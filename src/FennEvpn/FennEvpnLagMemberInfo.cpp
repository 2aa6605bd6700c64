#include "FennEvpn/FennEvpnLagMemberInfo.h"

namespace Fenn {

Qor::Ptr<EvpnLagMemberInfo> evpnLagMemberInfoFactory() {
  return Qor::Ptr<EvpnLagMemberInfo>(new EvpnLagMemberInfo);
}

}  // namespace Fenn
