#include "sim/VlanFloodingTables.h"

namespace Sim {

namespace {
Ostra::IntfId parentOf(Bridging::VlanIdOrNone) { return {}; }
Ostra::IntfId parentOf(Ostra::IntfId parent) { return parent; }
Ostra::IntfId parentOf(VlanFloodingTables::Dot1qMapping const& m) { return m.parent; }
}  // namespace

template <class Table, class Value>
Fenn::HwProgrammingStatus VlanFloodingTables::create(FaultInjector& faults, Table& table,
                                                     typename Table::key_type const& key,
                                                     Value const& value) {
  if (faults.shouldFail()) return Fenn::notProgrammed;
  auto const [it, inserted] = table.emplace(key, value);
  if (!inserted) {
    // Another access interface's entry on the port (a member that moved between LAGs
    // before its old LAG let go of it) is refused like any full table; the same
    // interface's entry twice is a bug.
    if (parentOf(it->second) == parentOf(value)) ++badOperations_;
    return Fenn::notProgrammed;
  }
  ++creates_;
  return Fenn::programmed;
}

template <class Table, class Value>
void VlanFloodingTables::remove(Table& table, typename Table::key_type const& key, Value const& value) {
  ++deletes_;
  auto it = table.find(key);
  if (it == table.end() || !(it->second == value)) {
    ++badOperations_;
    return;
  }
  table.erase(it);
}

Fenn::HwProgrammingStatus VlanFloodingTables::createVlan(Bridging::VlanId vlanId,
                                                         Bridging::VlanIdOrNone dot1q) {
  return create(createVlanFaults_, vlans_, vlanId, dot1q);
}

void VlanFloodingTables::deleteVlan(Bridging::VlanId vlanId, Bridging::VlanIdOrNone dot1q) {
  remove(vlans_, vlanId, dot1q);
}

Fenn::HwProgrammingStatus VlanFloodingTables::createNonDfPort(Ostra::IntfId parentIntfId,
                                                              Ostra::IntfId memberIntfId,
                                                              Bridging::VlanId vlanId) {
  return create(createNonDfFaults_, nonDfPorts_, PortVlan(memberIntfId, vlanId), parentIntfId);
}

void VlanFloodingTables::deleteNonDfPort(Ostra::IntfId parentIntfId, Ostra::IntfId memberIntfId,
                                         Bridging::VlanId vlanId) {
  remove(nonDfPorts_, PortVlan(memberIntfId, vlanId), parentIntfId);
}

Fenn::HwProgrammingStatus VlanFloodingTables::createVlanToDot1qMapping(Ostra::IntfId parentIntfId,
                                                                       Ostra::IntfId memberIntfId,
                                                                       Bridging::VlanId vlanId,
                                                                       Bridging::VlanIdOrNone dot1q) {
  return create(createDot1qFaults_, dot1qMappings_, PortVlan(memberIntfId, vlanId),
                Dot1qMapping{parentIntfId, dot1q});
}

void VlanFloodingTables::deleteVlanToDot1qMapping(Ostra::IntfId parentIntfId, Ostra::IntfId memberIntfId,
                                                  Bridging::VlanId vlanId, Bridging::VlanIdOrNone dot1q) {
  remove(dot1qMappings_, PortVlan(memberIntfId, vlanId), Dot1qMapping{parentIntfId, dot1q});
}

}  // namespace Sim
