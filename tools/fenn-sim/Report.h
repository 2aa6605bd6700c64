// Readable tables and JSON of the simulated hardware state. Tunnels are shown by the PE
// names the scenario gave them.
#pragma once

#include <ostream>

#include "Scenario.h"

namespace SimTool {

// A table without rows reads "(none)"; with `omitted`, it is not printed and its title is
// added there instead.
void printTable(std::ostream& os, Table table, Sim::HardwareState const& state, Scenario const& scenario,
                std::vector<Qor::String>* omitted = nullptr);
// `extra`: more members of the document, name and JSON text (the summary, explain answers).
void printJson(std::ostream& os, Sim::HardwareState const& state, Scenario const& scenario,
               std::vector<std::pair<Qor::String, Qor::String>> const& extra = {});

// Host FEC chains: a host as `show hosts` and `expect hosts` put it ("l1", "l1 (waiting)",
// "l1 (no FEC)"), and where the vias of a host-chain FEC lead (PE names, or the object
// whose FEC a via chains to), in via order.
Qor::String hostText(Sim::HardwareState::Host const& host, Sim::HardwareState const& state,
                     Scenario const& scenario);
std::vector<Qor::String> viaTargets(Sim::HardwareState::HostFec const& fec, Sim::HardwareState const& state,
                                    Scenario const& scenario);

}  // namespace SimTool
