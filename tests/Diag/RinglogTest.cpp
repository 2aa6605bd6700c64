#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <vector>

#include "Diag/DiagTestSupport.h"
#include "Qor/Trace.h"
#include "Ringlog/Descriptor.h"
#include "Ringlog/Layout.h"
#include "Ringlog/Reader.h"
#include "Ringlog/Ring.h"

QOR_TRACE_SOURCE("/src/Diag/RinglogTest");

namespace {

using Image = std::vector<std::byte>;

std::vector<Qor::String> texts(Ringlog::Contents const& c) {
  std::vector<Qor::String> out;
  for (auto const& e : c.entries) out.push_back(e.text());
  return out;
}

Image copyOfImage() {
  auto const image = Ringlog::image();
  return {image.begin(), image.end()};
}

Ringlog::FileHeader headerOf(Image const& image) {
  Ringlog::FileHeader h;
  std::memcpy(&h, image.data(), sizeof h);
  return h;
}

// Byte position in `image` of the n-th record from the tail (no padding before it).
size_t recordAt(Image const& image, int n) {
  auto const h = headerOf(image);
  uint64_t pos = h.tail;
  for (int i = 0; i < n; ++i) {
    uint32_t bytes;
    std::memcpy(&bytes, image.data() + h.ringOffset + (pos & (h.ringBytes - 1)), 4);
    pos += bytes;
  }
  return h.ringOffset + (pos & (h.ringBytes - 1));
}

class RinglogTest : public ::testing::Test {
 protected:
  void SetUp() override {
    resetDiagnostics();
    Qor::ringlogLevelsIs("RinglogTest");
  }
  void TearDown() override { resetDiagnostics(); }

  static void writeNumbered(int count) {
    for (int i = 0; i < count; ++i) QTRACE(5, "record ", i, " of ", count);
  }
};

TEST_F(RinglogTest, RecordsReadBackAsTheirTextLines) {
  TempDir dir;
  Qor::traceLevelsIs("RinglogTest/5");
  Qor::traceFileIs(dir.path() + "/trace.txt");
  Qor::String const longName(300, 'x');
  char const* noText = nullptr;
  QTRACE(5, "Sm::", "handle", " vlan: ", 10, " delta: ", -3, " big: ", UINT64_MAX, " up: ", false,
         " ratio: ", 1e-9, " name: ", Qor::String("eth1"), " none: ", noText, " color: ", Color::green,
         " bad color: ", static_cast<Color>(9), " pair: ", Pair{3, 4});
  QTRACE(5, "second line");
  QTRACE(5, "long: ", longName);
  Qor::traceFileIs("");

  auto const contents = Ringlog::read(Ringlog::image());
  EXPECT_EQ(contents.skipped, 0u);
  EXPECT_EQ(contents.problem, "");
  EXPECT_EQ(contents.pid, static_cast<uint64_t>(getpid()));
  ASSERT_EQ(contents.entries.size(), 3u);
  auto const lines = texts(contents);
  // The text line and its ring twin are the same, except that long text arguments are cut.
  EXPECT_EQ(lines[0] + "\n" + lines[1] + "\n",
            readFile(dir.path() + "/trace.txt").substr(0, lines[0].size() + lines[1].size() + 2));
  EXPECT_EQ(
      lines[0],
      "2024-05-01T10:11:12.123456Z RinglogTest 5 Sm::handle vlan: 10 delta: -3 big: 18446744073709551615"
      " up: False ratio: 1e-09 name: eth1 none:  color: green bad color: 9 pair: (3, 4)");
  EXPECT_EQ(lines[2], "2024-05-01T10:11:12.123456Z RinglogTest 5 long: " + longName.substr(0, 256) + "...");
  EXPECT_EQ(contents.entries[1].sequence, contents.entries[0].sequence + 1);
  EXPECT_EQ(contents.entries[0].sourcePath, "/src/Diag/RinglogTest");
}

TEST_F(RinglogTest, OnlyEnabledLevelsWriteAndEachCallSiteRegistersOnce) {
  writeNumbered(1);  // the call site may have been registered by an earlier test
  auto const before = Ringlog::descriptors().size();
  writeNumbered(3);
  QTRACE(5, "another site");
  EXPECT_EQ(Ringlog::descriptors().size(), before + 1);
  Qor::ringlogLevelsIs("RinglogTest/0-4");
  writeNumbered(3);
  EXPECT_EQ(Ringlog::read(Ringlog::image()).entries.size(), 5u);
}

// Three rounds of a 64 KiB ring in records of every size, then 56,000 bytes of 40-byte
// ones: what is left is the newest records, consecutive, nothing skipped, and the ring
// nearly full (all of the 40-byte ones and some before them).
TEST_F(RinglogTest, WrapAroundKeepsTheNewestRecordsInOrder) {
  for (int i = 0; i < 3000; ++i) QTRACE(5, "text ", Qor::String(static_cast<size_t>(i % 250), 'a'), " ", i);
  int const count = 1400;
  writeNumbered(count);
  auto const contents = Ringlog::read(Ringlog::image());
  EXPECT_EQ(contents.skipped, 0u);
  EXPECT_EQ(contents.problem, "");
  size_t const n = contents.entries.size();
  ASSERT_GT(n, size_t{count});
  for (size_t i = 1; i < n; ++i)
    ASSERT_EQ(contents.entries[i].sequence, contents.entries[i - 1].sequence + 1);
  for (int i = 0; i < count; ++i) {
    EXPECT_EQ(contents.entries[n - count + i].message, "record " + std::to_string(i) + " of 1400");
  }
  EXPECT_EQ(contents.entries[n - count - 1].message, "text " + Qor::String(2999 % 250, 'a') + " 2999");
}

// A damaged third record of five: a header that does not fit what was written is skipped,
// a size that cannot be right ends the walk with a problem.
TEST_F(RinglogTest, DamagedRecordsAreSkippedOrEndTheWalk) {
  writeNumbered(5);
  Image const clean = copyOfImage();
  size_t const third = recordAt(clean, 2);
  struct Damage {
    char const* what;
    size_t offset, bytes;
    uint64_t value;
    uint64_t skipped;
    size_t entries;
  };
  Damage const damages[] = {{"no such descriptor", 4, 4, 4000, 1, 4},
                            {"older sequence", 8, 8, 0, 1, 4},
                            {"size below a header", 0, 4, 12, 0, 2},
                            // Its arguments are missing; what follows is not a record.
                            {"header only", 0, 4, sizeof(Ringlog::RecordHeader), 1, 2}};
  for (auto const& d : damages) {
    Image image = clean;
    std::memcpy(image.data() + third + d.offset, &d.value, d.bytes);  // little-endian
    auto const c = Ringlog::read(image);
    EXPECT_EQ(c.skipped, d.skipped) << d.what;
    ASSERT_EQ(c.entries.size(), d.entries) << d.what;
    EXPECT_EQ(c.problem.empty(), d.entries == 4) << d.what;
    for (auto const& e : c.entries) EXPECT_NE(e.message, "record 2 of 5") << d.what;
  }
}

TEST_F(RinglogTest, DamagedTextLengthIsSkipped) {
  QTRACE(5, "name ", Qor::String("abc"));
  QTRACE(5, "after");
  Image image = copyOfImage();
  uint32_t const huge = 100000;
  std::memcpy(image.data() + recordAt(image, 0) + sizeof(Ringlog::RecordHeader), &huge, 4);
  auto const c = Ringlog::read(image);
  EXPECT_EQ(c.skipped, 1u);
  ASSERT_EQ(c.entries.size(), 1u);
  EXPECT_EQ(c.entries[0].message, "after");
}

TEST_F(RinglogTest, NotARingLog) {
  Image image = copyOfImage();
  EXPECT_THROW(Ringlog::read(std::span(image).first(40)), Ringlog::FormatError);
  image[0] = std::byte{'X'};
  EXPECT_THROW(Ringlog::read(image), Ringlog::FormatError);
  image = copyOfImage();
  EXPECT_THROW(Ringlog::read(std::span(image).first(image.size() - 1)), Ringlog::FormatError);
  EXPECT_THROW(Ringlog::readFile("/nonexistent/fenn.ringlog"), Ringlog::FormatError);
}

// A child writes into its own file and aborts; the parent reads the child's records from
// that file, and its own file holds none of them.
TEST_F(RinglogTest, FileOfAnAbortedProcessIsReadable) {
  TempDir dir;
  Ringlog::configure({dir.path(), Ringlog::kMinRingBytes, 64 << 10});
  QTRACE(5, "parent before fork");
  ASSERT_EQ(Ringlog::filePath(), dir.path() + "/fenn-" + std::to_string(getpid()) + ".ringlog");
  pid_t const child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    for (int i = 0; i < 3; ++i) QTRACE(5, "child record ", i);
    std::abort();
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGABRT);
  QTRACE(5, "parent after fork");

  auto const c = Ringlog::readFile(dir.path() + "/fenn-" + std::to_string(child) + ".ringlog");
  EXPECT_EQ(c.pid, static_cast<uint64_t>(child));
  std::vector<Qor::String> const expected = {"2024-05-01T10:11:12.123456Z RinglogTest 5 child record 0",
                                             "2024-05-01T10:11:12.123456Z RinglogTest 5 child record 1",
                                             "2024-05-01T10:11:12.123456Z RinglogTest 5 child record 2"};
  EXPECT_EQ(texts(c), expected);

  auto const own = Ringlog::readFile(Ringlog::filePath());
  ASSERT_EQ(own.entries.size(), 2u);
  EXPECT_EQ(own.entries[0].message, "parent before fork");
  EXPECT_EQ(own.entries[1].message, "parent after fork");
}

TEST_F(RinglogTest, ConfigurationIsChecked) {
  EXPECT_THROW(Ringlog::configure({"", 1 << 12, 4096}), std::invalid_argument);
  EXPECT_THROW(Ringlog::configure({"", (64 << 10) + 8, 4096}), std::invalid_argument);
}

}  // namespace
