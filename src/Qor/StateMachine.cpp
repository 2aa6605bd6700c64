#include "Qor/StateMachine.h"

namespace Qor {

void StateMachine::initializedIs(bool v) {
  if (initialized_ == v) return;
  initialized_ = v;
  notify(initializedAttr, nullptr);
  if (v) handleInitialized();
}

}  // namespace Qor
