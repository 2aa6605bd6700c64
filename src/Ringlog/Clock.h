// Time stamps of trace lines and ring-log records, in nanoseconds since the epoch. Records
// use a coarse clock (a memory read, no system call) because they are written on hot
// paths; their order is carried by sequence numbers, not by time. Tests and the simulator
// replace both clocks with one of their own.
#pragma once

#include <cstdint>

namespace Ringlog {

using Clock = int64_t (*)() noexcept;

int64_t preciseNow() noexcept;
int64_t coarseNow() noexcept;

struct Clocks {
  Clock line = preciseNow;   // text trace lines
  Clock record = coarseNow;  // ring-log records
};
extern constinit Clocks clocks;

// Uses `clock` for both lines and records; nullptr restores the real clocks.
void clockIs(Clock clock) noexcept;

}  // namespace Ringlog
