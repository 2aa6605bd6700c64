#include "Keel/RealClock.h"

#include <chrono>

namespace Keel {

double RealClock::now() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace Keel
