#include "Evpn/EvpnStatus.h"

namespace Evpn {

Qor::Ptr<EvpnStatus> evpnStatusFactory() { return Qor::Ptr<EvpnStatus>(new EvpnStatus); }

}  // namespace Evpn
