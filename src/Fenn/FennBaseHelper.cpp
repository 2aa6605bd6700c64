#include "Fenn/FennBaseHelper.h"

#include <cstdlib>

#include "Qor/Assert.h"

namespace Fenn {

namespace {
// "virtual Fenn::HwTunnelId FennHelper::EvpnHwTunnelIdSmHelper::getHwTunnelId(Fenn::HwTunnelIdType)"
// becomes "FennHelper::EvpnHwTunnelIdSmHelper::getHwTunnelId": the signature adds nothing
// that the source line does not already say.
Qor::String qualifiedFunctionName(std::string_view signature) {
  std::string_view name = signature.substr(0, signature.find('('));
  auto const space = name.rfind(' ');
  if (space != std::string_view::npos) name.remove_prefix(space + 1);
  return Qor::String(name);
}
}  // namespace

void FennBaseHelper::fennAssert(Qor::String const& message, Qor::SourceLocation where) const {
  Qor::assertFailed(message.c_str(), where.file_name(), static_cast<int>(where.line()),
                    qualifiedFunctionName(where.function_name()).c_str());
}

void FennBaseHelper::unimplemented(std::string_view operation, Qor::SourceLocation where) const {
  if (std::getenv("FENN_NOOP_AGENT") != nullptr) return;
  fennAssert("Unimplemented " + Qor::String(operation), where);
}

}  // namespace Fenn
