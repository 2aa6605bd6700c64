// The clock of a running agent: the system's steady (monotonic) clock in seconds.
#pragma once

#include "Keel/Clock.h"

namespace Keel {

class RealClock : public Clock {
 public:
  double now() const override;
};

}  // namespace Keel
