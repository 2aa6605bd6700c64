// fenn-sim: runs the library on a simulated switch from a scenario file.
//
//   fenn-sim [--json] [--trace[=SPEC]] [--ringlog-dir DIR] [--explain KEY]... [--record FILE] [SCENARIO.yaml]
//
// With no scenario it runs the bundled example. Exit status: 0 when every expect holds,
// 1 when one failed (all mismatches are printed), 2 for bad usage or a bad scenario.
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <sstream>

#include "Qor/SysLog.h"
#include "Qor/Trace.h"
#include "Report.h"
#include "Ringlog/Clock.h"
#include "Ringlog/Ring.h"
#include "Runner.h"
#include "TracePeNames.h"

namespace {

constexpr char const* usage =
    "usage: fenn-sim [--json] [--trace[=SPEC]] [--ringlog-dir DIR] [--explain KEY]... [--record FILE] [SCENARIO.yaml]\n"
    "  --json             print the final hardware state as JSON on stdout (the story goes to stderr)\n"
    "  --trace            trace every source at levels 0 to 5 (decisions and actions) to stderr\n"
    "  --trace=SPEC       trace as SPEC says, e.g. 'FennEvpnHwTunnelIdSm/0-8,*/1' (see docs/trace.md)\n"
    "  --ringlog-dir DIR  keep the binary ring log in a file under DIR, created if missing (read it\n"
    "                     with fenn-ringlog); without trace levels it records levels 0 to 8\n"
    "  --explain KEY      at the end, explain why KEY is or is not in hardware; KEY as the explain\n"
    "                     step writes it, e.g. '{ tunnel: pe1 }' (see docs/operator-tools.md)\n"
    "  --record FILE      record the library's inputs as a scenario into FILE (docs/recording.md)\n"
    "  --version          print the version\n"
    "With no scenario, runs ";

// The bundled example: next to an installed fenn-sim (share/fenn/scenarios), else in the
// source tree this binary was built from.
Qor::String defaultScenario() {
  std::error_code ec;
  std::filesystem::path const exe = std::filesystem::read_symlink("/proc/self/exe", ec);
  std::filesystem::path const installed = exe.parent_path() / FENN_SCENARIO_INSTALL_DIR;
  Qor::String const dir = !ec && std::filesystem::is_directory(installed, ec)
                              ? Qor::String(installed.lexically_normal().string())
                              : Qor::String(FENN_SCENARIO_DIR);
  return dir + "/vlan-flooding-three-pes.yaml";
}

constexpr char const* defaultTrace = "*/0-5";
constexpr char const* defaultRinglogLevels = "*/0-8";

// Trace lines and ring-log records carry simulated time, so a trace reads against the story.
Sim::Switch const* clockSwitch = nullptr;
int64_t simulatedNow() noexcept { return clockSwitch ? static_cast<int64_t>(clockSwitch->now() * 1e9) : 0; }

// Why `dir` cannot hold the ring log, or empty when it can.
Qor::String unusableDirectory(Qor::String const& dir) {
  std::error_code ec;
  if (!std::filesystem::exists(dir, ec)) return "it does not exist";
  if (!std::filesystem::is_directory(dir, ec)) return "it is not a directory";
  if (::access(dir.c_str(), W_OK | X_OK) != 0)
    return Qor::String("it is not writable: ") + std::strerror(errno);
  return "";
}

// A pattern that matches no source is almost always a typing error; say so, with the names.
void warnUnmatchedPatterns(std::string_view where, std::string_view spec) {
  std::vector<Qor::String> const sources = Qor::traceSourceNames();
  std::vector<Qor::String> const unmatched = Qor::TraceLevels(spec).unmatchedPatterns(sources);
  if (unmatched.empty()) return;
  std::cerr << "fenn-sim: " << where << ": no trace source matches";
  for (auto const& p : unmatched) std::cerr << " '" << p << "'";
  std::cerr << "; the sources are:";
  for (auto const& s : sources) std::cerr << " " << s;
  std::cerr << "\n";
}

}  // namespace

int main(int argc, char** argv) {
  bool json = false;
  Qor::String const bundled = defaultScenario();
  Qor::String file = bundled;
  bool fileGiven = false;
  std::optional<Qor::String> traceSpec;
  std::optional<Qor::String> ringlogDir;
  std::vector<Qor::String> explainKeys;
  std::optional<Fenn::RecordingFiles> record;
  for (int i = 1; i < argc; ++i) {
    char const* a = argv[i];
    if (!std::strcmp(a, "--json")) {
      json = true;
    } else if (!std::strcmp(a, "--trace") || !std::strncmp(a, "--trace=", 8)) {
      traceSpec = a[7] == '=' ? a + 8 : defaultTrace;
      try {
        Qor::traceLevelsIs(*traceSpec);
      } catch (Qor::ParseError const& e) {
        std::cerr << "fenn-sim: bad trace spec: " << e.what() << "\n";
        return 2;
      }
    } else if (!std::strcmp(a, "--ringlog-dir")) {
      if (i + 1 == argc) {
        std::cerr << "fenn-sim: --ringlog-dir needs a directory\n" << usage << bundled << "\n";
        return 2;
      }
      ringlogDir = argv[++i];
    } else if (!std::strcmp(a, "--explain")) {
      if (i + 1 == argc) {
        std::cerr << "fenn-sim: --explain needs a key\n" << usage << bundled << "\n";
        return 2;
      }
      explainKeys.push_back(argv[++i]);
    } else if (!std::strcmp(a, "--record")) {
      if (i + 1 == argc) {
        std::cerr << "fenn-sim: --record needs a file\n" << usage << bundled << "\n";
        return 2;
      }
      record = Fenn::RecordingFiles{argv[++i]};
    } else if (!std::strcmp(a, "--help") || !std::strcmp(a, "-h")) {
      std::cout << usage << bundled << "\n";
      return 0;
    } else if (!std::strcmp(a, "--version")) {
      std::cout << "fenn-sim " FENN_VERSION "\n";
      return 0;
    } else if (a[0] == '-') {
      std::cerr << "fenn-sim: unknown option " << a << "\n" << usage << bundled << "\n";
      return 2;
    } else if (fileGiven) {
      std::cerr << "fenn-sim: one scenario at a time (got " << file << " and " << a << ")\n";
      return 2;
    } else {
      file = a;
      fileGiven = true;
    }
  }
  if (traceSpec) warnUnmatchedPatterns("--trace", *traceSpec);
  for (char const* variable : {"FENN_TRACE", "FENN_RINGLOG_LEVELS"}) {
    // A malformed setting was already reported when the library read it.
    if (char const* spec = std::getenv(variable)) {
      try {
        warnUnmatchedPatterns(variable, spec);
      } catch (Qor::ParseError const&) {
      }
    }
  }

  // The ring log: a directory that was asked for is created, or the run stops; one that
  // comes from the environment and cannot be used is reported, and the log stays in memory.
  Ringlog::Config ringlog = Ringlog::configuration();
  if (ringlogDir) {
    std::error_code ec;
    std::filesystem::create_directories(*ringlogDir, ec);
    Qor::String const why = unusableDirectory(*ringlogDir);
    if (!why.empty()) {
      std::cerr << "fenn-sim: --ringlog-dir " << *ringlogDir << ": " << why << "\n";
      return 2;
    }
    ringlog.directory = *ringlogDir;
  } else if (!ringlog.directory.empty()) {
    Qor::String const why = unusableDirectory(ringlog.directory);
    if (!why.empty()) {
      std::cerr << "fenn-sim: FENN_RINGLOG_DIR=" << ringlog.directory << " cannot hold the ring log (" << why
                << "); it stays in memory\n";
      ringlog.directory.clear();
    }
  }
  Ringlog::configure(ringlog);
  if (!ringlog.directory.empty()) {
    // A ring log with no level on would leave an empty file: record the usual levels.
    if (!traceSpec && !std::getenv("FENN_TRACE") && !std::getenv("FENN_RINGLOG_LEVELS"))
      Qor::ringlogLevelsIs(defaultRinglogLevels);
    Ringlog::image();  // creates the file now, so its name is known before anything runs
    if (!Ringlog::filePath().empty()) std::cerr << "fenn-sim: ring log in " << Ringlog::filePath() << "\n";
  }

  // A simulated switch is a simulation: running the default hardware tunnel ID pool dry is
  // a state to watch here, not a reason to stop.
  setenv("SIMULATION_VMID", "fenn-sim", 0);
  // With --json, standard output carries only the JSON; the story, and the operators'
  // messages shown inline instead of going to syslog, go to standard error.
  std::ostream& story = json ? std::cerr : std::cout;
  Qor::logSinkIs(
      [&story](Qor::LogMessage const& m) { story << "  [syslog] " << m.name() << ": " << m.text() << "\n"; });
  try {
    SimTool::Scenario const scenario = SimTool::loadScenario(file);
    SimTool::TracePeNames const peNames(scenario.names);
    std::vector<SimTool::ExplainQuery> explainQueries;
    for (auto const& key : explainKeys)
      explainQueries.push_back(SimTool::explainQuery(scenario, "--explain", key));
    std::unique_ptr<SimTool::Runner> runnerPtr;
    try {
      runnerPtr = std::make_unique<SimTool::Runner>(scenario, story, record ? &*record : nullptr);
    } catch (SimTool::ScenarioError const&) {
      throw;
    } catch (std::runtime_error const& e) {
      std::cerr << "fenn-sim: --record: " << e.what() << "\n";
      return 2;
    }
    SimTool::Runner& runner = *runnerPtr;
    clockSwitch = &runner.simSwitch();
    Ringlog::clockIs(simulatedNow);
    size_t const failures = runner.run();
    Sim::HardwareState const state = runner.simSwitch().state();
    Ringlog::clockIs(nullptr);
    clockSwitch = nullptr;
    // Operator tools: the machines' counters, and the answers asked for.
    std::vector<Fenn::Explanation> answers;
    for (auto const& q : explainQueries) answers.push_back(runner.explain(q));
    std::vector<Fenn::SmSummary> const summaries = Fenn::summaries(runner.simSwitch().machines());
    if (json) {
      Qor::String explained = "[";
      for (size_t i = 0; i < answers.size(); ++i) explained += (i ? ", " : "") + answers[i].json();
      SimTool::printJson(std::cout, state, scenario,
                         {{"summary", Fenn::summaryJson(summaries)}, {"explain", explained + "]"}});
    } else {
      std::cout << "\n== final hardware state ==\n";
      // The tables that have rows; the empty ones are named in one line.
      std::vector<Qor::String> empty;
      for (auto t : {SimTool::Table::tunnels, SimTool::Table::pools, SimTool::Table::fecs,
                     SimTool::Table::floodSets, SimTool::Table::sysLog, SimTool::Table::esiPortMaps,
                     SimTool::Table::unprogrammedRoutes, SimTool::Table::lagMembers,
                     SimTool::Table::evpnVlanMembers, SimTool::Table::esiData, SimTool::Table::tepSegments,
                     // Access side: dot1q mappings and flood filters.
                     SimTool::Table::vlans, SimTool::Table::dot1qMappings, SimTool::Table::nonDfPorts,
                     SimTool::Table::hosts, SimTool::Table::hostFecs}) {
        std::ostringstream table;
        SimTool::printTable(table, t, state, scenario, &empty);
        if (!table.str().empty()) std::cout << "\n" << table.str();
      }
      if (!empty.empty()) {
        std::cout << "\nEmpty:";
        for (size_t i = 0; i < empty.size(); ++i) std::cout << (i ? ", " : " ") << empty[i];
        std::cout << "\n";
      }
      // Operator tools.
      std::cout << "\nsummary\n" << Fenn::summaryTable(summaries);
      for (auto const& answer : answers) std::cout << "\nexplain " << answer.text();
    }
    if (!Ringlog::filePath().empty()) std::cerr << "fenn-sim: ring log in " << Ringlog::filePath() << "\n";
    if (Fenn::EvpnInputRecorder* recorder = runner.simSwitch().recorder()) {
      recorder->flush();
      if (!recorder->error().empty()) {
        std::cerr << "fenn-sim: --record: " << recorder->error() << "\n";
        return 2;
      }
    }
    if (failures) {
      std::cerr << "fenn-sim: " << failures << " expectation(s) failed\n";
      return 1;
    }
    return 0;
  } catch (SimTool::ScenarioError const& e) {
    std::cerr << e.what() << "\n";
    return 2;
  }
}
