#include "Bridging/VlanStatusDir.h"

namespace Bridging {

Qor::Ptr<VlanStatusDir> vlanStatusDirFactory() { return Qor::Ptr<VlanStatusDir>(new VlanStatusDir); }

}  // namespace Bridging
