// The scenario reader: any bytes either load as a scenario or are refused with a
// ScenarioError (file:line:column and what was wrong). Any other exception or a sanitizer
// report is a finding. The bundled scenarios (scenarios/) seed it.
#include <cstdint>
#include <sstream>
#include <string>

#include "Scenario.h"

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  std::istringstream in(std::string(reinterpret_cast<char const*>(data), size));
  try {
    SimTool::loadScenario("fuzz.yaml", in);
  } catch (SimTool::ScenarioError const&) {
  }
  return 0;
}
