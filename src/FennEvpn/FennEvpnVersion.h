// The library's version, for an agent to log what it loaded.
#pragma once

namespace Fenn {
char const* libraryVersion() noexcept;
}
