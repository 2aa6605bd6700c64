#include "Mpls/LfibHwStatus.h"
#include "Mpls/LfibStatus.h"
#include "Mpls/LfibTrackingStatus.h"

namespace Mpls {

Qor::Ptr<LfibStatus> lfibStatusFactory() { return Qor::Ptr<LfibStatus>(new LfibStatus); }
Qor::Ptr<LfibTrackingStatus> lfibTrackingStatusFactory() {
  return Qor::Ptr<LfibTrackingStatus>(new LfibTrackingStatus);
}
Qor::Ptr<LfibHwStatus> lfibHwStatusFactory() { return Qor::Ptr<LfibHwStatus>(new LfibHwStatus); }

}  // namespace Mpls
