#include "Fenn/FennCommonSmData.h"

namespace Fenn {

Qor::Ptr<FennCommonSmData> fennCommonSmDataFactory() {
  return Qor::Ptr<FennCommonSmData>(new FennCommonSmData);
}

}  // namespace Fenn
