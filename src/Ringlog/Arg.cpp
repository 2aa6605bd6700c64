#include "Ringlog/Arg.h"

namespace Ringlog {

Qor::String& scratchText() {
  static Qor::String text;
  return text;
}

}  // namespace Ringlog
