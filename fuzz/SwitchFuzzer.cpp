// The whole switch under input changes read from the fuzzer's bytes: the first eight bytes
// are the seed of the values the changes carry, the ninth the fault level, and every further
// byte one change of the kind it names (at most 400). After the faults stop and time passes
// every review, each hardware model must hold what a switch built afresh on the final
// inputs holds; a difference is printed and aborts, which libFuzzer reports as a finding.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Qor/SysLog.h"
#include "Sim/SwitchSoak.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  setenv("SIMULATION_VMID", "fuzz", 0);  // an exhausted default pool is a state, not a crash
  Qor::logSinkIs([](Qor::LogMessage const&) {});
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  constexpr size_t kHeader = 9;
  constexpr size_t kMaxChanges = 400;
  constexpr double kLevels[] = {0.0, 0.1, 0.3, 0.7};
  if (size < kHeader) return 0;
  uint64_t seed;
  std::memcpy(&seed, data, sizeof seed);
  size_t const changes = std::min(size - kHeader, kMaxChanges);
  SimTest::SoakRun run(seed, kLevels[data[8] % std::size(kLevels)], changes);
  for (size_t i = 0; i < changes; ++i) run.change(data[kHeader + i]);
  run.recover();
  auto const differences = run.differences();
  if (differences.empty()) return 0;
  for (auto const& difference : differences) std::fprintf(stderr, "%s\n", difference.c_str());
  std::abort();
}
