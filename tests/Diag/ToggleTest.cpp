#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>

#include "Diag/DiagTestSupport.h"
#include "Qor/SysLog.h"
#include "Qor/Toggle.h"

namespace {

using Qor::getToggleState;

class ToggleTest : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("FENN_TOGGLE_DIR", dir.path().c_str(), 1);
    Qor::toggleCacheDelAll();
  }
  void TearDown() override {
    Qor::logSinkIs({});
    unsetenv("FENN_TOGGLE_DIR");
    Qor::toggleCacheDelAll();
  }
  void write(Qor::String const& file, Qor::String const& text) {
    std::ofstream(dir.path() + "/" + file) << text;
  }
  // The toggle's state when asked with default true, then with default false.
  std::pair<bool, bool> bothDefaults(Qor::String const& name, Qor::String const& file) {
    bool const withTrue = getToggleState(name, file, true);
    bool const withFalse = getToggleState(name, file, false);
    return {withTrue, withFalse};
  }

  TempDir dir;
};

TEST_F(ToggleTest, PresentFileGivesItsValues) {
  write("Fenn.json", R"( {"FennEvpnVxlan4WayL2Ecmp": false, "Other": true,
                          "Esc\"aped\u0041\ud83d\ude00": true} )");
  EXPECT_EQ(bothDefaults("FennEvpnVxlan4WayL2Ecmp", "Fenn.json"), std::pair(false, false));
  EXPECT_EQ(bothDefaults("Other", "Fenn.json"), std::pair(true, true));
  EXPECT_EQ(bothDefaults("Esc\"apedA\xF0\x9F\x98\x80", "Fenn.json"), std::pair(true, true));
  EXPECT_EQ(bothDefaults("NotSet", "Fenn.json"), std::pair(true, false));
  write("Empty.json", "{}");
  EXPECT_EQ(bothDefaults("Other", "Empty.json"), std::pair(true, false));
}

TEST_F(ToggleTest, FileIsReadOnce) {
  write("Fenn.json", R"({"A": true})");
  EXPECT_FALSE(getToggleState("B", "Fenn.json", false));
  write("Fenn.json", R"({"A": false, "B": true})");
  EXPECT_TRUE(getToggleState("A", "Fenn.json", false));
  EXPECT_FALSE(getToggleState("B", "Fenn.json", false));
  Qor::toggleCacheDelAll();
  EXPECT_FALSE(getToggleState("A", "Fenn.json", true));
  EXPECT_TRUE(getToggleState("B", "Fenn.json", false));
}

TEST_F(ToggleTest, MissingFileGivesDefaultsWithOneWarningNoDirectoryQuietly) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(bothDefaults("A", "Missing.json"), std::pair(true, false));
  EXPECT_EQ(bothDefaults("B", "Missing.json"), std::pair(true, false));
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "toggles: cannot read " + dir.path() + "/Missing.json; its toggles keep their defaults\n");

  unsetenv("FENN_TOGGLE_DIR");
  write("Fenn.json", R"({"A": false})");
  testing::internal::CaptureStderr();
  EXPECT_EQ(bothDefaults("A", "Fenn.json"), std::pair(true, false));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(ToggleTest, MalformedFileGivesDefaultsWithOneWarning) {
  Qor::logSinkIs([](Qor::LogMessage const&) {});
  Qor::sysLogRecordsDelAll();
  for (char const* bad : {"", "{", R"({"A": 1})", R"({"A": true,})", R"({"A" true})", R"({"A": true} x)",
                          R"({"A": true, "A": false})", R"(["A"])", R"({'A': true})", R"({"A": True})",
                          R"({"A\x": true})", "{\"A\tB\": true}", R"({"\ud83d": true})", R"({A: true})"}) {
    Qor::toggleCacheDelAll();
    write("Bad.json", bad);
    testing::internal::CaptureStderr();
    EXPECT_EQ(bothDefaults("A", "Bad.json"), std::pair(true, false)) << bad;
    Qor::String const warnings = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(warnings.starts_with("toggles: " + dir.path() + "/Bad.json is malformed (expected "))
        << bad << ": " << warnings;
    EXPECT_EQ(std::count(warnings.begin(), warnings.end(), '\n'), 1) << bad;
    ASSERT_EQ(Qor::sysLogRecords().size(), 1u) << bad;
    EXPECT_EQ(Qor::sysLogRecords().back()->name(), "FENN_TOGGLE_FILE_MALFORMED");
    Qor::sysLogRecordsDelAll();
  }
}

}  // namespace
