// Counters and a summary per state machine, for operators: how many entries the machine
// wants in hardware, how many are there and how many are not; how often it called its
// hardware helper and how often that failed; how many retries its reviews made and when
// the last failure was; the use of the pools it draws from, with high-water marks; the
// FEC IDs it holds. A machine keeps SmCounters as plain integers bumped where it calls
// the hardware (nothing allocated, no clock read unless a call failed) and builds its
// SmSummary on demand from its own maps, so the entry counts are its real state.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "FennEvpn/FennEvpnExport.h"
#include "Keel/NumAllocatorStatus.h"
#include "Qor/String.h"

namespace Fenn {

struct SmCounters {
  uint64_t helperCalls = 0;
  uint64_t helperFailures = 0;
  // Entries a review tried again.
  uint64_t retries = 0;
  // When the last helper call failed; meaningful once helperFailures > 0.
  double lastFailureTime = 0;

  void failureIs(double now) noexcept {
    ++helperFailures;
    lastFailureTime = now;
  }
};

// One pool a machine takes identifiers from. `size` is 0 when the platform does not say.
struct PoolUse {
  Qor::String name;
  uint64_t inUse = 0;
  uint64_t size = 0;
  uint64_t highWater = 0;
};

struct SmSummary {
  SmSummary() = default;
  SmSummary(Qor::String machineName, SmCounters const& machineCounters, uint64_t unusable)
      : machine(std::move(machineName)), counters(machineCounters), unusableInputs(unusable) {}

  // The entries wanted and those in hardware; the rest are unprogrammed.
  void entriesIs(uint64_t wanted, uint64_t inHardware) noexcept {
    intended = wanted;
    programmed = inHardware;
    unprogrammed = wanted - inHardware;
  }
  // The FEC IDs of an allocator over `rangeSize` numbers, also listed as a pool.
  void fecIdsIs(Keel::NumAllocatorStatus const& ids, uint64_t rangeSize, uint64_t highWater);

  Qor::String machine;
  uint64_t intended = 0;
  uint64_t programmed = 0;
  uint64_t unprogrammed = 0;
  SmCounters counters;
  std::vector<PoolUse> pools;
  // FEC IDs: handed out (requested, or withdrawn with an answer still present) and held
  // back after release; only machines that allocate FEC IDs have them.
  bool hasFecIds = false;
  uint64_t fecIdsInUse = 0;
  uint64_t fecIdsHeldBack = 0;
  // Inputs the machine skipped because it could not use them (docs/architecture.md).
  uint64_t unusableInputs = 0;
};

// One line per machine under a header, then one line per pool.
FENN_EVPN_EXPORT Qor::String summaryTable(std::vector<SmSummary> const& summaries);
// [{"machine": ..., "intended": ..., ..., "lastFailureTime": null or seconds, "pools": [...],
// "fecIdsInUse": ..., "fecIdsHeldBack": ...}, ...]
FENN_EVPN_EXPORT Qor::String summaryJson(std::vector<SmSummary> const& summaries);

}  // namespace Fenn
