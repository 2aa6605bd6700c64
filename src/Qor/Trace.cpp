#include "Qor/Trace.h"

#include <cstdio>
#include <cstdlib>

namespace Qor {

TraceHandle::TraceHandle(char const* sourcePath) : sourcePath_(sourcePath) {
  if (std::getenv("FENN_TRACE")) mask_ = ~0u;
}

TraceHelper::TraceHelper(TraceHandle& handle, int level, char const*, int, char const*)
    : handle_(handle), level_(level) {}

TraceHelper::~TraceHelper() {
  std::fprintf(stderr, "%s %d %s\n", handle_.sourcePath(), level_, os_.str().c_str());
}

}  // namespace Qor
