// The seed of a randomized test. Every randomized test takes its seed from here, so that one
// variable, FENN_TEST_SEED, replays any failure: set, it is the seed; unset, the seed is a
// random one. Either way it goes to stderr at once, so that ctest's output of a failed test
// names it even when the test aborts before any assertion could report it.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <random>

namespace TestSupport {

inline uint64_t testSeed() {
  char const* s = std::getenv("FENN_TEST_SEED");
  uint64_t const seed = s ? std::strtoull(s, nullptr, 10) : std::random_device()();
  std::cerr << "FENN_TEST_SEED=" << seed << std::endl;
  return seed;
}

}  // namespace TestSupport
