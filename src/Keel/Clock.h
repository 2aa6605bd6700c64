// The time source every scheduler, timer and allocator reads. Time is a monotonic count of
// seconds; its origin means nothing, only differences do. The agent runs on RealClock;
// tests and the simulator run on ManualClock so that every timer fires deterministically.
#pragma once

#include <limits>

#include "Qor/Ptr.h"

namespace Keel {

// A time that never comes: the due time of something that is not scheduled.
inline constexpr double neverDue = std::numeric_limits<double>::infinity();

class Clock : public Qor::PtrInterface {
 public:
  // Seconds since an arbitrary origin; never decreases.
  virtual double now() const = 0;
};

}  // namespace Keel
