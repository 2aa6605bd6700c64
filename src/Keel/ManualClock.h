// A clock that moves only when told to. Tests and the simulator use it so that timers fire
// at exactly the times a scenario names, however long the machine takes to run it.
// It starts at 0 and, like any clock, never goes back.
#pragma once

#include "Keel/Clock.h"

namespace Keel {

class ManualClock : public Clock {
 public:
  double now() const override { return now_; }
  void advance(double seconds);
  void nowIs(double time);

 private:
  double now_ = 0.0;
};

}  // namespace Keel
