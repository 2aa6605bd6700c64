// Loading a large scenario costs a small multiple of its size in heap, not the parser's
// node graph (some 70 bytes per byte of file). Heap is counted by replacing the global
// allocation functions of this test program (Support/CountingHeap.h).
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "Scenario.h"
#include "Support/CountingHeap.h"

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
  size_t const before = TestHeap::liveBytes();
  TestHeap::peakReset();
  SimTool::Scenario const scenario = SimTool::loadScenario(file.string());
  size_t const peak = TestHeap::peakBytes() - before;
  std::filesystem::remove(file);
  EXPECT_EQ(scenario.steps.size(), 4000u);
  EXPECT_LT(peak, 12 * fileBytes) << "peak heap " << peak << " bytes for a file of " << fileBytes;
}

}  // namespace
