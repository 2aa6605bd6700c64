#include "FennEvpn/FennEvpnTepSegment.h"

namespace Fenn {

Qor::Ptr<EvpnTepSegmentDir> evpnTepSegmentDirFactory() {
  return Qor::Ptr<EvpnTepSegmentDir>(new EvpnTepSegmentDir);
}

}  // namespace Fenn
