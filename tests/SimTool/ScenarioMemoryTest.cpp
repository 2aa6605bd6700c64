// Loading a large scenario costs a small multiple of its size in heap, not the parser's
// node graph (some 70 bytes per byte of file). Heap is counted by replacing the global
// allocation functions of this test program.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <new>

#include "Scenario.h"

namespace {
std::atomic<size_t> liveBytes{0};
std::atomic<size_t> peakBytes{0};

// The size sits in front of each block, so that delete knows what it gives back.
constexpr size_t header = alignof(std::max_align_t);
void* counted(size_t n) {
  auto* p = static_cast<char*>(std::malloc(n + header));
  if (!p) throw std::bad_alloc();
  *reinterpret_cast<size_t*>(p) = n;
  size_t const live = liveBytes += n;
  size_t peak = peakBytes;
  while (live > peak && !peakBytes.compare_exchange_weak(peak, live)) {
  }
  return p + header;
}
void uncounted(void* p) {
  if (!p) return;
  char* block = static_cast<char*>(p) - header;
  liveBytes -= *reinterpret_cast<size_t*>(block);
  std::free(block);
}
}  // namespace

void* operator new(size_t n) { return counted(n); }
void* operator new[](size_t n) { return counted(n); }
void operator delete(void* p) noexcept { uncounted(p); }
void operator delete[](void* p) noexcept { uncounted(p); }
void operator delete(void* p, size_t) noexcept { uncounted(p); }
void operator delete[](void* p, size_t) noexcept { uncounted(p); }

namespace {

TEST(ScenarioMemory, LoadingTakesASmallMultipleOfTheFileSize) {
  auto const file =
      std::filesystem::temp_directory_path() / ("fenn-large-" + std::to_string(getpid()) + ".yaml");
  {
    std::ofstream out(file);
    out << "tunnels:\n";
    for (int pe = 1; pe <= 200; ++pe) out << "  pe" << pe << ": { index: " << pe << " }\n";
    out << "steps:\n";
    for (int i = 0; i < 4000; ++i) {
      out << "  - addDest: { vlan: " << 1 + i % 4000 << ", mac: broadcast, mpls: { tunnel: pe" << 1 + i % 200
          << ", label: " << 1000 + i % 200 << " } }\n";
    }
  }
  size_t const fileBytes = std::filesystem::file_size(file);
  size_t const before = liveBytes;
  peakBytes = before;
  SimTool::Scenario const scenario = SimTool::loadScenario(file.string());
  size_t const peak = peakBytes - before;
  std::filesystem::remove(file);
  EXPECT_EQ(scenario.steps.size(), 4000u);
  EXPECT_LT(peak, 12 * fileBytes) << "peak heap " << peak << " bytes for a file of " << fileBytes;
}

}  // namespace
