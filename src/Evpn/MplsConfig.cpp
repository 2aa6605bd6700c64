#include "Evpn/MplsConfig.h"

namespace Evpn {

Qor::Ptr<MplsConfig> mplsConfigFactory() { return Qor::Ptr<MplsConfig>(new MplsConfig); }

}  // namespace Evpn
