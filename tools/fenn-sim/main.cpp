// fenn-sim: runs the library on a simulated switch from a scenario file.
//
//   fenn-sim [--json] [--trace[=SPEC]] [--ringlog-dir DIR] [SCENARIO.yaml]
//
// With no scenario it runs the bundled example. Exit status: 0 when every expect holds,
// 1 when one failed (all mismatches are printed), 2 for bad usage or a bad scenario.
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>

#include "Qor/SysLog.h"
#include "Qor/Trace.h"
#include "Report.h"
#include "Ringlog/Ring.h"
#include "Runner.h"

namespace {

constexpr char const* usage =
    "usage: fenn-sim [--json] [--trace[=SPEC]] [--ringlog-dir DIR] [SCENARIO.yaml]\n"
    "  --json             print the final hardware state as JSON on stdout (the story goes to stderr)\n"
    "  --trace            trace every source at levels 0 to 5 (decisions and actions) to stderr\n"
    "  --trace=SPEC       trace as SPEC says, e.g. 'FennEvpnHwTunnelIdSm/0-8,*/1' (see docs/trace.md)\n"
    "  --ringlog-dir DIR  keep the binary ring log in a file under DIR (read it with fenn-ringlog)\n"
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

}  // namespace

int main(int argc, char** argv) {
  bool json = false;
  Qor::String const bundled = defaultScenario();
  Qor::String file = bundled;
  for (int i = 1; i < argc; ++i) {
    char const* a = argv[i];
    if (!std::strcmp(a, "--json")) {
      json = true;
    } else if (!std::strcmp(a, "--trace") || !std::strncmp(a, "--trace=", 8)) {
      try {
        Qor::traceLevelsIs(a[7] == '=' ? a + 8 : "*/0-5");
      } catch (Qor::ParseError const& e) {
        std::cerr << "fenn-sim: bad trace spec: " << e.what() << "\n";
        return 2;
      }
    } else if (!std::strcmp(a, "--ringlog-dir") && i + 1 < argc) {
      Ringlog::Config config = Ringlog::configuration();
      config.directory = argv[++i];
      Ringlog::configure(config);
    } else if (!std::strcmp(a, "--help") || !std::strcmp(a, "-h")) {
      std::cout << usage << bundled << "\n";
      return 0;
    } else if (a[0] == '-') {
      std::cerr << "fenn-sim: unknown option " << a << "\n" << usage << bundled << "\n";
      return 2;
    } else {
      file = a;
    }
  }
  // A simulated switch is a simulation: running the default hardware tunnel ID pool dry is
  // a state to watch here, not a reason to stop.
  setenv("SIMULATION_VMID", "fenn-sim", 0);
  // The simulator shows operators' messages inline instead of sending them to syslog.
  Qor::logSinkIs(
      [](Qor::LogMessage const& m) { std::cout << "  [syslog] " << m.name() << ": " << m.text() << "\n"; });
  try {
    SimTool::Scenario const scenario = SimTool::loadScenario(file);
    // With --json, standard output carries only the JSON; the story goes to standard error.
    SimTool::Runner runner(scenario, json ? std::cerr : std::cout);
    size_t const failures = runner.run();
    Sim::HardwareState const state = runner.simSwitch().state();
    if (json) {
      SimTool::printJson(std::cout, state, scenario);
    } else {
      std::cout << "\n== final hardware state ==\n";
      for (auto t :
           {SimTool::Table::tunnels, SimTool::Table::pools, SimTool::Table::fecs, SimTool::Table::floodSets,
            SimTool::Table::sysLog, SimTool::Table::esiPortMaps, SimTool::Table::unprogrammedRoutes}) {
        std::cout << "\n";
        SimTool::printTable(std::cout, t, state, scenario);
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
