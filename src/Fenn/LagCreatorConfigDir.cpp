#include "Fenn/LagCreatorConfigDir.h"

namespace Fenn {

Qor::Ptr<LagCreatorConfigDir> lagCreatorConfigDirFactory() {
  return Qor::Ptr<LagCreatorConfigDir>(new LagCreatorConfigDir);
}

}  // namespace Fenn
