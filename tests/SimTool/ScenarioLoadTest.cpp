// Scenario files a user gets wrong: each is refused before anything runs, with the place
// (file:line:column, or the file alone when the whole file is at fault) and the reason.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "Scenario.h"

namespace {

class ScenarioLoadTest : public ::testing::Test {
 protected:
  std::filesystem::path const dir_ =
      std::filesystem::temp_directory_path() / ("fenn-scenario-load-" + std::to_string(getpid()));
  void SetUp() override { std::filesystem::create_directories(dir_); }
  void TearDown() override { std::filesystem::remove_all(dir_); }

  // The error loading `text` gives, with the file's path cut to "s.yaml"; "" when it loads.
  std::string error(std::string const& text) const {
    std::ofstream(dir_ / "s.yaml") << text;
    return errorOf(dir_ / "s.yaml");
  }
  std::string errorOf(std::filesystem::path const& file) const {
    try {
      SimTool::loadScenario(file.string());
    } catch (SimTool::ScenarioError const& e) {
      std::string what = e.what();
      std::string const prefix = dir_.string() + "/";
      return what.starts_with(prefix) ? what.substr(prefix.size()) : what;
    }
    return "";
  }
};

TEST_F(ScenarioLoadTest, NumbersMustBeFiniteAndTimeBounded) {
  struct Case {
    char const* text;
    char const* error;
  };
  Case const cases[] = {
      {"steps:\n  - advance: inf\n", "s.yaml:2:14: bad advance 'inf' (expected seconds, from 0 to 1e9)"},
      {"steps:\n  - advance: infinity\n", "s.yaml:2:14: bad advance 'infinity'"},
      {"steps:\n  - advance: nan\n", "s.yaml:2:14: bad advance 'nan'"},
      {"steps:\n  - advance: -1\n", "s.yaml:2:14: bad advance '-1'"},
      {"steps:\n  - advance: 1e308\n", "s.yaml:2:14: bad advance '1e308'"},
      {"hardware: { fecResponseDelay: nan }\nsteps: []\n", "s.yaml:1:31: bad fecResponseDelay 'nan'"},
      {"steps:\n  - hardware: { fecResponseDelay: -inf }\n", "s.yaml:2:35: bad fecResponseDelay '-inf'"},
      {"steps:\n  - fault: { target: fecResponse, failFraction: nan }\n",
       "s.yaml:2:49: bad failFraction 'nan'"},
      // Each advance is allowed; together they run past the end of simulated time.
      {"steps:\n  - advance: 6e8\n  - advance: 6e8\n",
       "s.yaml:3:14: advance 6e8 takes simulated time past 1e9 seconds"},
  };
  for (auto const& c : cases) {
    EXPECT_EQ(error(c.text).substr(0, std::string(c.error).size()), c.error) << c.text;
  }
  EXPECT_EQ(error("steps:\n  - advance: 1e9\n  - advance: 0\n"), "");
}

TEST_F(ScenarioLoadTest, BadFilesAreRefused) {
  struct Case {
    char const* text;
    char const* error;
  };
  Case const cases[] = {
      {"steps: []\nname: a\nname: b\n", "s.yaml:3:1: duplicate key 'name' (first at line 2)"},
      {"tunnels:\n  pe1: { index: 1 }\n  pe1: { index: 2 }\nsteps: []\n",
       "s.yaml:3:3: duplicate key 'pe1' (first at line 2)"},
      {"tunnels:\n  pe1: { index: 1, index: 2 }\nsteps: []\n", "s.yaml:2:20: duplicate key 'index'"},
      {"tunnels: { pe1: { index: 1 } }\nsteps:\n  - expect:\n      floodSets: { 10 broadcast: [pe1] }\n"
       "      floodSets: { 10 broadcast: [] }\n",
       "s.yaml:5:7: duplicate key 'floodSets' (first at line 4)"},
      {"tunnels:\n  pe1: { index: 1 }\n  pe2: { type: tunnelTypeLdp, index: 1 }\nsteps: []\n",
       "s.yaml:3:3: PE 'pe2' has the tunnel of PE 'pe1'"},
      {"tunnels: { pe1: { index: 1 } }\nsteps:\n  - expect: { fecs: { pe1 1001: done } }\n",
       "s.yaml:3:33: expected answered or waiting"},
      {"tunnels: { pe1: { index: 1 } }\nsteps:\n  - expect: { hwInfo: { pe2 1001: 7 } }\n",
       "s.yaml:3:25: unknown tunnel 'pe2'"},
      {"steps:\n  - print: [refCounts, fec]\n", "s.yaml:2:24: unknown table 'fec'"},
      {"", "s.yaml: the file is empty (a scenario needs at least 'steps')"},
      {"# only a comment\n", "s.yaml: the file is empty"},
  };
  for (auto const& c : cases) {
    EXPECT_EQ(error(c.text).substr(0, std::string(c.error).size()), c.error) << c.text;
  }
  EXPECT_EQ(errorOf(dir_), dir_.string() + ": is a directory, not a scenario file");
  EXPECT_EQ(errorOf(dir_ / "missing.yaml"), "missing.yaml: cannot read the file: No such file or directory");
}

}  // namespace
