// The cost of one ring-log record (text trace off), in memory and in a mapped file, with
// four integer arguments (the common shape) and with a text argument.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>

#include "Qor/Trace.h"
#include "Ringlog/Ring.h"

QOR_TRACE_SOURCE("/bench/RinglogBench");

namespace {

void ringOnly(Qor::String const& directory) {
  Ringlog::configure({directory});
  Qor::traceLevelsIs("");
  Qor::ringlogLevelsIs("RinglogBench/5");
}

void fourIntegers(benchmark::State& state) {
  uint64_t a = 0;
  for (auto _ : state) {
    QTRACE(5, "Sm::", "handle", " a: ", a, " b: ", a + 1, " c: ", a + 2, " d: ", a + 3);
    ++a;
  }
}

void BM_RinglogFourIntegersInMemory(benchmark::State& state) {
  ringOnly("");
  fourIntegers(state);
}
BENCHMARK(BM_RinglogFourIntegersInMemory)->Repetitions(9)->ReportAggregatesOnly(true);

void BM_RinglogFourIntegersInFile(benchmark::State& state) {
  Qor::String dir = (std::filesystem::temp_directory_path() / "fenn-ringlog-bench-XXXXXX").string();
  if (!mkdtemp(dir.data())) {
    state.SkipWithError("mkdtemp failed");
    return;
  }
  ringOnly(dir);
  fourIntegers(state);
  Ringlog::configure({});
  std::filesystem::remove_all(dir);
}
BENCHMARK(BM_RinglogFourIntegersInFile)->Repetitions(9)->ReportAggregatesOnly(true);

void BM_RinglogTextArgument(benchmark::State& state) {
  ringOnly("");
  Qor::String const name = "Ethernet12/1";
  uint64_t a = 0;
  for (auto _ : state) {
    QTRACE(5, "Sm::", "handle", " intf: ", name, " vlan: ", a);
    ++a;
  }
}
BENCHMARK(BM_RinglogTextArgument)->Repetitions(9)->ReportAggregatesOnly(true);

}  // namespace
