#include "FennEvpn/FennEvpnVersion.h"

namespace Fenn {
char const* libraryVersion() noexcept { return "0.1.0"; }
}  // namespace Fenn
