#include "Ringlog/Clock.h"

#include <ctime>

namespace Ringlog {

namespace {
int64_t read(clockid_t id) noexcept {
  timespec ts;
  clock_gettime(id, &ts);
  return int64_t{ts.tv_sec} * 1'000'000'000 + ts.tv_nsec;
}
}  // namespace

int64_t preciseNow() noexcept { return read(CLOCK_REALTIME); }
int64_t coarseNow() noexcept { return read(CLOCK_REALTIME_COARSE); }

constinit Clocks clocks;

void clockIs(Clock clock) noexcept {
  clocks.line = clock ? clock : preciseNow;
  clocks.record = clock ? clock : coarseNow;
}

}  // namespace Ringlog
