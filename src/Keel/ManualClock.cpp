#include "Keel/ManualClock.h"

#include "Qor/Assert.h"

namespace Keel {

void ManualClock::advance(double seconds) {
  QOR_ASSERT(seconds >= 0.0);
  now_ += seconds;
}

void ManualClock::nowIs(double time) {
  QOR_ASSERT(time >= now_);
  now_ = time;
}

}  // namespace Keel
