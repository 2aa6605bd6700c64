#include <gtest/gtest.h>
#include <stdlib.h>

#include <array>
#include <fstream>
#include <iterator>

#include "Diag/DiagTestSupport.h"
#include "Qor/Trace.h"
#include "Ringlog/Clock.h"

QOR_TRACE_SOURCE("/tests/Diag/TraceTest");

namespace {

using Qor::ParseError;
using Qor::TraceHandle;
using Qor::TraceLevels;

constexpr uint32_t levels(int low, int high) {
  uint32_t m = 0;
  for (int l = low; l <= high; ++l) m |= 1u << l;
  return m;
}

TEST(TraceLevelsTest, NamesRangesAndOff) {
  TraceLevels const t("FennEvpnHwTunnelIdSm/0-8,FennEvpnLagSm/1,FennEvpnLagSm/5,Quiet/off,Everything");
  EXPECT_EQ(t.maskFor("/src/FennEvpn/FennEvpnHwTunnelIdSm"), levels(0, 8));
  EXPECT_EQ(t.maskFor("/src/FennEvpn/FennEvpnLagSm"), (1u << 1) | (1u << 5));
  EXPECT_EQ(t.maskFor("/src/FennEvpn/Quiet"), 0u);
  EXPECT_EQ(t.maskFor("/src/X/Everything"), ~0u);
  EXPECT_EQ(t.maskFor("/src/FennEvpn/FennEvpnLagSmX"), 0u);
  EXPECT_EQ(TraceLevels("A/31").maskFor("A"), 1u << 31);
  EXPECT_EQ(TraceLevels("A/0-31").maskFor("A"), ~0u);
  EXPECT_EQ(TraceLevels("").maskFor("A"), 0u);
}

TEST(TraceLevelsTest, MostSpecificPatternWins) {
  TraceLevels const t("*/1,FennEvpn*/2,FennEvpnFlooding*/3,FennEvpnFloodingEsiSm/4,Noisy/off");
  EXPECT_EQ(t.maskFor("/src/FennEvpn/FennEvpnFloodingEsiSm"), 1u << 4);
  EXPECT_EQ(t.maskFor("/src/FennEvpn/FennEvpnFloodingDot1qSm"), 1u << 3);
  EXPECT_EQ(t.maskFor("/src/FennEvpn/FennEvpnLagSm"), 1u << 2);
  EXPECT_EQ(t.maskFor("/src/Keel/TaskScheduler"), 1u << 1);
  EXPECT_EQ(t.maskFor("/src/Keel/Noisy"), 0u);
}

TEST(TraceLevelsTest, MalformedSpecsAreRejected) {
  for (char const* bad : {"A/32", "A/5-3", "/1", "A/x", "A/1,", "A/1-", ",A", "A/1 ", "A*B/1", "A/on"}) {
    EXPECT_THROW(TraceLevels{bad}, ParseError) << bad;
  }
}

class TraceTest : public ::testing::Test {
 protected:
  void SetUp() override { resetDiagnostics(); }
  void TearDown() override { resetDiagnostics(); }
};

TEST_F(TraceTest, HandlesFollowTheSettings) {
  TraceHandle alpha("/src/X/Alpha");
  Qor::traceLevelsIs("Alpha/0-8,*/1");
  TraceHandle beta("/src/X/Beta");  // registered after the change: gets it too
  EXPECT_TRUE(alpha.enabled(8));
  EXPECT_FALSE(alpha.enabled(9));
  EXPECT_TRUE(beta.enabled(1));
  EXPECT_FALSE(beta.enabled(8));

  Qor::traceLevelsIs("Beta/8");
  EXPECT_FALSE(alpha.enabled(1));
  EXPECT_TRUE(beta.enabled(8));

  // A malformed spec changes nothing.
  EXPECT_THROW(Qor::traceLevelsIs("Beta/99"), ParseError);
  EXPECT_TRUE(beta.enabled(8));
}

TEST_F(TraceTest, RingLevelsAreSeparateFromText) {
  TraceHandle alpha("/src/X/Alpha");
  Qor::traceLevelsIs("Alpha/5");
  EXPECT_TRUE(alpha.textEnabled(5));
  EXPECT_TRUE(alpha.ringEnabled(5));  // follows text until set

  Qor::ringlogLevelsIs("*/3");
  EXPECT_TRUE(alpha.textEnabled(5) && !alpha.ringEnabled(5));
  EXPECT_TRUE(alpha.ringEnabled(3) && !alpha.textEnabled(3));
  EXPECT_TRUE(alpha.enabled(3) && alpha.enabled(5) && !alpha.enabled(4));  // either one

  Qor::ringlogLevelsIs(std::nullopt);
  EXPECT_TRUE(alpha.ringEnabled(5));
  EXPECT_FALSE(alpha.ringEnabled(3));
}

TEST_F(TraceTest, EnvironmentSettings) {
  TempDir dir;
  TraceHandle alpha("/src/X/Alpha");
  setenv("FENN_TRACE", "Alpha/2-3", 1);
  setenv("FENN_RINGLOG_LEVELS", "Alpha/7", 1);
  setenv("FENN_TRACE_FILE", (dir.path() + "/trace.txt").c_str(), 1);
  Qor::traceReadEnvironment();
  EXPECT_TRUE(alpha.textEnabled(2));
  EXPECT_TRUE(alpha.textEnabled(3));
  EXPECT_FALSE(alpha.ringEnabled(2));
  EXPECT_TRUE(alpha.ringEnabled(7));
  QTRACE(1, "not on");
  Qor::traceLevelsIs("TraceTest/1");
  QTRACE(1, "to the file");
  Qor::traceFileIs("");
  EXPECT_EQ(readFile(dir.path() + "/trace.txt"), "2024-05-01T10:11:12.123456Z TraceTest 1 to the file\n");

  // A malformed setting leaves that trace off rather than guessing.
  setenv("FENN_TRACE", "Alpha/2-", 1);
  unsetenv("FENN_RINGLOG_LEVELS");
  Qor::traceReadEnvironment();
  EXPECT_FALSE(alpha.enabled(2));
}

int64_t testNow = 0;

// Lines for a file wait in a batch of whole lines: out on traceFlush, or with the first
// line 100 ms after the batch started. Each line keeps its own time, across seconds.
TEST_F(TraceTest, FileLinesGoOutInBatches) {
  TempDir dir;
  testNow = kFixedTimeNs;
  Ringlog::clockIs([]() noexcept { return testNow; });
  Qor::String const path = dir.path() + "/trace.txt";
  Qor::traceFileIs(path);
  Qor::traceLevelsIs("TraceTest/1");
  QTRACE(1, "first");
  testNow += 99'000'000;
  QTRACE(1, "second");
  EXPECT_EQ(readFile(path), "");
  testNow += 1'000'000;
  QTRACE(1, "third");
  Qor::String const three =
      "2024-05-01T10:11:12.123456Z TraceTest 1 first\n"
      "2024-05-01T10:11:12.222456Z TraceTest 1 second\n"
      "2024-05-01T10:11:12.223456Z TraceTest 1 third\n";
  EXPECT_EQ(readFile(path), three);
  testNow += 900'000'000;
  QTRACE(1, "fourth");
  EXPECT_EQ(readFile(path), three);
  Qor::traceFlush();
  EXPECT_EQ(readFile(path), three + "2024-05-01T10:11:13.123456Z TraceTest 1 fourth\n");
  Qor::traceFileIs("");
}

}  // namespace
