#include "Fenn/FennBaseHelper.h"

#include <cstdlib>

#include "Qor/Assert.h"

namespace Fenn {

void FennBaseHelper::fennAssert(Qor::String const& message, std::source_location where) const {
  Qor::assertFailed(message.c_str(), where.file_name(), static_cast<int>(where.line()), where.function_name());
}

void FennBaseHelper::unimplemented(std::string_view operation, std::source_location where) const {
  if (std::getenv("FENN_NOOP_AGENT") != nullptr) return;
  fennAssert("Unimplemented " + Qor::String(operation), where);
}

}  // namespace Fenn
