#include "Bridging/Config.h"

namespace Bridging {

Qor::Ptr<Config> configFactory() { return Qor::Ptr<Config>(new Config); }

}  // namespace Bridging
