// The cost of trace call sites: with the level off (the common case on every handler) and,
// for comparison, with a text line written to /dev/null.
#include <benchmark/benchmark.h>

#include "Qor/Trace.h"

QOR_TRACE_SOURCE("/bench/TraceBench");

namespace {

void BM_TraceLevelOff(benchmark::State& state) {
  Qor::traceLevelsIs("TraceBench/1");
  Qor::ringlogLevelsIs(std::nullopt);
  int64_t vlan = 0;
  for (auto _ : state) {
    QTRACE(8, "Sm::", "handleThing", " vlan: ", vlan, " mac: ", vlan + 1);
    // Makes the compiler load the handle's mask on every iteration, as a real call site does.
    benchmark::ClobberMemory();
    ++vlan;
  }
}
BENCHMARK(BM_TraceLevelOff)->Repetitions(5)->ReportAggregatesOnly(true);

void BM_TraceTextLine(benchmark::State& state) {
  Qor::traceFileIs("/dev/null");
  Qor::traceLevelsIs("TraceBench/8");
  Qor::ringlogLevelsIs("");
  int64_t vlan = 0;
  for (auto _ : state) {
    QTRACE(8, "Sm::", "handleThing", " vlan: ", vlan, " mac: ", vlan + 1);
    ++vlan;
  }
  Qor::traceLevelsIs("");
  Qor::ringlogLevelsIs(std::nullopt);
  Qor::traceFileIs("");
}
BENCHMARK(BM_TraceTextLine)->Repetitions(5)->ReportAggregatesOnly(true);

}  // namespace
