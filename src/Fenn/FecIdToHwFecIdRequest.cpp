#include "Fenn/FecIdToHwFecIdRequest.h"

namespace Fenn {

Qor::Ptr<FecIdToHwFecIdRequest> fecIdToHwFecIdRequestFactory(Qor::String const& name, Vasp::Mode mode) {
  return Qor::Ptr<FecIdToHwFecIdRequest>(new FecIdToHwFecIdRequest(name, mode));
}

}  // namespace Fenn
