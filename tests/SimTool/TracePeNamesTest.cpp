// fenn-sim's trace decoration: the PE name follows each tunnel number that has one, in
// every text form the library traces a tunnel in, and nothing else is touched.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "Qor/Trace.h"
#include "TracePeNames.h"

QOR_TRACE_SOURCE("/tests/SimTool/TracePeNamesTest")

namespace {

using Tunnel::TunnelTable::TunnelId;

TunnelId const pe1(Tunnel::tunnelTypeLdp, 1);
TunnelId const pe2(Tunnel::tunnelTypeLdp, 2);
SimTool::TunnelNames const names = {{pe1, "pe1"}, {pe2, "pe2"}};
std::string const number1 = std::to_string(pe1.value());
std::string const number2 = std::to_string(pe2.value());

std::string decorated(std::string line) {
  SimTool::addPeNames(line, names);
  return line;
}

TEST(TracePeNamesTest, NamesFollowTheTunnelsTextFormsAndNothingElseChanges) {
  std::string const prefix = "1970-01-01T00:00:01.500000Z FennEvpnFloodSetFecSm 5 ";
  EXPECT_EQ(decorated(prefix + "tunnelId: " + number1 + " label: 1001"),
            prefix + "tunnelId: " + number1 + " (pe1) label: 1001");
  EXPECT_EQ(decorated(prefix + "{'tunnelId': " + number2 + ", 'intfId': 'Tunnel" + number1 + "'}"),
            prefix + "{'tunnelId': " + number2 + " (pe2), 'intfId': 'Tunnel" + number1 + "' (pe1)}");
  EXPECT_EQ(decorated(prefix + "at the end " + number1), prefix + "at the end " + number1 + " (pe1)");

  // A longer number, a tunnel without a name, one past the largest tunnel ID, and a
  // number in the prefix are left alone.
  for (std::string const& line : {prefix + "fecId: " + number1 + "7 hwId: 7" + number1,
                                  prefix + "tunnelId: " + std::to_string(pe2.value() + 1),
                                  prefix + "value 18446744073709551615 and 99999999999999999999999",
                                  std::to_string(pe1.value()) + " src 5 message"}) {
    EXPECT_EQ(decorated(line), line);
  }
}

TEST(TracePeNamesTest, TextLinesCarryTheNamesOnlyWhileInstalled) {
  char path[] = "/tmp/fenn-trace-pe-names-XXXXXX";
  int const fd = mkstemp(path);
  ASSERT_GE(fd, 0);
  close(fd);
  Qor::traceFileIs(path);
  Qor::traceLevelsIs("TracePeNamesTest/3");
  {
    SimTool::TracePeNames const installed(names);
    QTRACE(3, "with ", pe1);
  }
  QTRACE(3, "without ", pe1);
  Qor::traceLevelsIs("");
  Qor::traceFileIs("");
  std::ifstream in(path);
  std::string with, without;
  std::getline(in, with);
  std::getline(in, without);
  std::remove(path);
  EXPECT_TRUE(with.ends_with("with " + number1 + " (pe1)")) << with;
  EXPECT_TRUE(without.ends_with("without " + number1)) << without;
}

}  // namespace
