#include "Qor/Ptr.h"

namespace Qor {

namespace detail {
bool threadSafePtrs = false;
}

void threadSafePtrsIs(bool on) { detail::threadSafePtrs = on; }
bool threadSafePtrs() { return detail::threadSafePtrs; }

}  // namespace Qor
