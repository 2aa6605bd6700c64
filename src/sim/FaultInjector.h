// Fault injection for one operation of a simulated hardware model: fail the next N calls,
// or fail a fraction of calls drawn from a seeded generator, so that runs with faults stay
// deterministic and replayable.
#pragma once

#include <cstdint>
#include <random>

namespace Sim {

class FaultInjector {
 public:
  // The next `n` calls fail (added to any already pending).
  void failNextIs(uint32_t n) noexcept { failNext_ += n; }
  // From now on each call fails with probability `fraction` (0 turns it off).
  void failFractionIs(double fraction, uint64_t seed) {
    fraction_ = fraction;
    rng_.seed(seed);
  }
  void clear() noexcept {
    failNext_ = 0;
    fraction_ = 0;
  }

  // Decides one call; counts what it decided.
  bool shouldFail() {
    ++calls_;
    bool fail = false;
    if (failNext_ > 0) {
      --failNext_;
      fail = true;
    } else if (fraction_ > 0) {
      fail = std::uniform_real_distribution<double>(0, 1)(rng_) < fraction_;
    }
    failures_ += fail;
    return fail;
  }

  bool active() const noexcept { return failNext_ > 0 || fraction_ > 0; }
  uint64_t calls() const noexcept { return calls_; }
  uint64_t failures() const noexcept { return failures_; }

 private:
  uint32_t failNext_ = 0;
  double fraction_ = 0;
  std::mt19937_64 rng_;
  uint64_t calls_ = 0;
  uint64_t failures_ = 0;
};

}  // namespace Sim
