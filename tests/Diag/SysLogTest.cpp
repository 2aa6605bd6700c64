#include <gtest/gtest.h>

#include <vector>

#include "Qor/SysLog.h"

namespace {

Qor::LogMessage const TEST_RESOURCE_FULL("TEST_RESOURCE_FULL", Qor::LogSeverity::warning,
                                         "Resources are short.", "Some entries are not programmed.",
                                         "Remove some configuration.");
Qor::LogMessage const TEST_RESOURCE_NORMAL("TEST_RESOURCE_NORMAL", Qor::LogSeverity::notice,
                                           "Resources are available again.", "Every entry is programmed.",
                                           "");

class SysLogTest : public ::testing::Test {
 protected:
  void SetUp() override {
    Qor::logSinkIs([this](Qor::LogMessage const& m) { sunk.push_back(&m); });
    Qor::sysLogRecordsDelAll();
  }
  void TearDown() override {
    Qor::logSinkIs(nullptr);
    Qor::sysLogRecordsDelAll();
  }
  std::vector<Qor::LogMessage const*> sunk;
};

TEST_F(SysLogTest, MessagesAreFoundByNameAndLogReachesTheSinkAndTheRecord) {
  EXPECT_EQ(Qor::logMessage("TEST_RESOURCE_FULL"), &TEST_RESOURCE_FULL);
  EXPECT_EQ(Qor::logMessage("TEST_NO_SUCH_MESSAGE"), nullptr);
  Qor::log(TEST_RESOURCE_FULL);
  Qor::log(TEST_RESOURCE_NORMAL);
  Qor::log(TEST_RESOURCE_FULL);
  std::vector<Qor::LogMessage const*> const expected = {&TEST_RESOURCE_FULL, &TEST_RESOURCE_NORMAL,
                                                        &TEST_RESOURCE_FULL};
  EXPECT_EQ(sunk, expected);
  EXPECT_EQ(std::vector(Qor::sysLogRecords().begin(), Qor::sysLogRecords().end()), expected);
  Qor::sysLogRecordsDelAll();
  EXPECT_TRUE(Qor::sysLogRecords().empty());
}

TEST_F(SysLogTest, RecordKeepsTheMostRecentThousand) {
  Qor::log(TEST_RESOURCE_NORMAL);
  for (int i = 0; i < 1000; ++i) Qor::log(TEST_RESOURCE_FULL);
  EXPECT_EQ(Qor::sysLogRecords().size(), 1000u);
  EXPECT_EQ(Qor::sysLogRecords().front(), &TEST_RESOURCE_FULL);
}

TEST_F(SysLogTest, MessageThatGoesAwayTakesItsRecordsAlong) {
  {
    Qor::LogMessage const transient("TEST_TRANSIENT", Qor::LogSeverity::info, "Here for a while.", "", "");
    Qor::log(transient);
    Qor::log(TEST_RESOURCE_FULL);
    EXPECT_EQ(Qor::logMessage("TEST_TRANSIENT"), &transient);
  }
  EXPECT_EQ(Qor::logMessage("TEST_TRANSIENT"), nullptr);
  ASSERT_EQ(Qor::sysLogRecords().size(), 1u);
  EXPECT_EQ(Qor::sysLogRecords().front(), &TEST_RESOURCE_FULL);
}

TEST_F(SysLogTest, DuplicateNameIsFatal) {
  EXPECT_DEATH(Qor::LogMessage("TEST_RESOURCE_FULL", Qor::LogSeverity::error, "again", "", ""),
               "assertion failed: system log message names are unique");
}

}  // namespace
