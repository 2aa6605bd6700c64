#include "L2Rib/ChainTables.h"

namespace L2Rib {

Qor::Ptr<HostOutput> hostOutputFactory() { return Qor::Ptr<HostOutput>(new HostOutput); }
Qor::Ptr<LabelOutput> labelOutputFactory() { return Qor::Ptr<LabelOutput>(new LabelOutput); }
Qor::Ptr<LoadBalanceOutput> loadBalanceOutputFactory() {
  return Qor::Ptr<LoadBalanceOutput>(new LoadBalanceOutput);
}
Qor::Ptr<DestOutput> destOutputFactory() { return Qor::Ptr<DestOutput>(new DestOutput); }

}  // namespace L2Rib
