#include "Qor/StateMachine.h"

namespace Qor {

void StateMachine::initializedIs(bool v) {
  if (initialized_ == v) return;
  initialized_ = v;
  notify(initializedAttr);
  // The first pass owns what it sets up (allocators, the tables it publishes); running it
  // again would drop that while it is in use.
  if (v && !firstPassDone_) {
    firstPassDone_ = true;
    handleInitialized();
  }
}

}  // namespace Qor
