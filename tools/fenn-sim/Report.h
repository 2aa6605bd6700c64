// Readable tables and JSON of the simulated hardware state. Tunnels are shown by the PE
// names the scenario gave them.
#pragma once

#include <ostream>

#include "Scenario.h"

namespace SimTool {

void printTable(std::ostream& os, Table table, Sim::HardwareState const& state, Scenario const& scenario);
void printJson(std::ostream& os, Sim::HardwareState const& state, Scenario const& scenario);

}  // namespace SimTool
