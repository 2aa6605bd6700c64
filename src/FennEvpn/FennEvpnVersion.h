// The library's version, for an agent to log what it loaded.
#pragma once

#include "FennEvpn/FennEvpnExport.h"

namespace Fenn {
FENN_EVPN_EXPORT char const* libraryVersion() noexcept;
}
