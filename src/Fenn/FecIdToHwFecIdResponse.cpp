#include "Fenn/FecIdToHwFecIdResponse.h"

namespace Fenn {

Qor::Ptr<FecIdToHwFecIdResponse> fecIdToHwFecIdResponseFactory(Qor::String const& name, Vasp::Mode mode) {
  return Qor::Ptr<FecIdToHwFecIdResponse>(new FecIdToHwFecIdResponse(name, mode));
}

}  // namespace Fenn
