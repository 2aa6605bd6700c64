// The simulated chip's per-VLAN flooding tables, behind the VLAN, VLAN-to-dot1q and non-DF
// operations of the flooding helper (FloodingHardware forwards them here):
// - the VLAN table: a VLAN and the dot1q tag its EVPN MPLS service carries;
// - the VLAN-to-dot1q mapping table, per (physical port, VLAN): the tag and the access
//   interface it was programmed for;
// - the non-DF port table, per (physical port, VLAN): the ports that drop flooded traffic
//   of the VLAN, and the access interface each was programmed for.
// Creates can be made to fail by fault injection. The tables hold what the chip holds, so
// a create of what the same access interface already has there, or a delete of what is
// not there (or with another tag than the one held), is a state machine bug: it changes
// nothing and is counted. A create on a (port, VLAN) that another access interface holds
// fails like a full table.
#pragma once

#include <cstdint>
#include <map>
#include <utility>

#include "Bridging/VlanId.h"
#include "Bridging/VlanIdOrNone.h"
#include "FennEvpn/FennEvpn.h"
#include "Ostra/IntfId.h"
#include "sim/FaultInjector.h"

namespace Sim {

class VlanFloodingTables {
 public:
  using PortVlan = std::pair<Ostra::IntfId, Bridging::VlanId>;  // (physical port, VLAN)
  struct Dot1qMapping {
    Ostra::IntfId parent;
    Bridging::VlanIdOrNone dot1q;
    bool operator==(Dot1qMapping const&) const = default;
  };

  Fenn::HwProgrammingStatus createVlan(Bridging::VlanId vlanId, Bridging::VlanIdOrNone dot1q);
  void deleteVlan(Bridging::VlanId vlanId, Bridging::VlanIdOrNone dot1q);
  Fenn::HwProgrammingStatus createNonDfPort(Ostra::IntfId parentIntfId, Ostra::IntfId memberIntfId,
                                            Bridging::VlanId vlanId);
  void deleteNonDfPort(Ostra::IntfId parentIntfId, Ostra::IntfId memberIntfId, Bridging::VlanId vlanId);
  Fenn::HwProgrammingStatus createVlanToDot1qMapping(Ostra::IntfId parentIntfId, Ostra::IntfId memberIntfId,
                                                     Bridging::VlanId vlanId, Bridging::VlanIdOrNone dot1q);
  void deleteVlanToDot1qMapping(Ostra::IntfId parentIntfId, Ostra::IntfId memberIntfId,
                                Bridging::VlanId vlanId, Bridging::VlanIdOrNone dot1q);

  std::map<Bridging::VlanId, Bridging::VlanIdOrNone> const& vlans() const noexcept { return vlans_; }
  std::map<PortVlan, Dot1qMapping> const& dot1qMappings() const noexcept { return dot1qMappings_; }
  // A non-DF port and the access interface it was programmed for.
  std::map<PortVlan, Ostra::IntfId> const& nonDfPorts() const noexcept { return nonDfPorts_; }

  FaultInjector& createVlanFaults() noexcept { return createVlanFaults_; }
  FaultInjector& createVlanToDot1qMappingFaults() noexcept { return createDot1qFaults_; }
  FaultInjector& createNonDfPortFaults() noexcept { return createNonDfFaults_; }

  // Creates of what the interface had and deletes of what was not there, since construction.
  uint64_t badOperationCount() const noexcept { return badOperations_; }
  // Successful creates and issued deletes, for benchmarks and tests.
  uint64_t createCount() const noexcept { return creates_; }
  uint64_t deleteCount() const noexcept { return deletes_; }

 private:
  template <class Table, class Value>
  Fenn::HwProgrammingStatus create(FaultInjector& faults, Table& table, typename Table::key_type const& key,
                                   Value const& value);
  template <class Table, class Value>
  void remove(Table& table, typename Table::key_type const& key, Value const& value);

  std::map<Bridging::VlanId, Bridging::VlanIdOrNone> vlans_;
  std::map<PortVlan, Dot1qMapping> dot1qMappings_;
  std::map<PortVlan, Ostra::IntfId> nonDfPorts_;
  FaultInjector createVlanFaults_;
  FaultInjector createDot1qFaults_;
  FaultInjector createNonDfFaults_;
  uint64_t badOperations_ = 0;
  uint64_t creates_ = 0;
  uint64_t deletes_ = 0;
};

}  // namespace Sim
