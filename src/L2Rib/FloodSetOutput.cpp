#include "L2Rib/FloodSetOutput.h"

namespace L2Rib {

Qor::Ptr<FloodSetOutput> floodSetOutputFactory() { return Qor::Ptr<FloodSetOutput>(new FloodSetOutput); }

}  // namespace L2Rib
