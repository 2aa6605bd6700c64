// Simulated access-side flooding hardware behind the flooding helper: the tables a chip
// keeps for split horizon and flooding control on physical ports: the ESI data table, one
// entry per (physical port, VLAN, remote tunnel) with the access interface it was
// programmed for, the hardware tunnel ID and both ESI labels; and the VLAN, VLAN-to-dot1q
// mapping and non-DF port tables (VlanFloodingTables).
//
// It refuses what a chip would: a delete of an entry it does not hold, and a create over
// an entry it holds while updateSupportedOnCreateEsiData is false. Refusals change nothing
// and are counted, since they are state machine bugs the simulator reports. createEsiData
// can be made to fail by fault injection, as a chip out of table space would.
#pragma once

#include <cstdint>
#include <map>
#include <tuple>

#include "FennEvpn/FennEvpnFloodingSmHelper.h"
#include "sim/FaultInjector.h"
#include "sim/VlanFloodingTables.h"

namespace Sim {

class FloodingHardware final : public FennHelper::EvpnFloodingSmHelper {
 public:
  // (physical port, VLAN, tunnel), in that order.
  using EsiKey = std::tuple<Ostra::IntfId, Bridging::VlanId, Fenn::TunnelId>;
  struct EsiEntry {
    Ostra::IntfId parentIntfId;
    Fenn::HwTunnelId hwTunnelId;
    Ostra::MplsLabel remoteEsiLabel;
    Ostra::MplsLabel localEsiLabel;
    bool operator==(EsiEntry const&) const = default;
  };

  explicit FloodingHardware(Qor::String name) : EvpnFloodingSmHelper(std::move(name)) {}
  std::string_view fwkType() const override { return "Sim::FloodingHardware"; }

  Fenn::HwProgrammingStatus createEsiData(Ostra::IntfId parentIntfId, Ostra::IntfId memberIntfId,
                                          Bridging::VlanId vlanId, Fenn::TunnelId const& tunnelId,
                                          Fenn::HwTunnelId const& hwTunnelId, Ostra::MplsLabel remoteEsiLabel,
                                          Ostra::MplsLabel localEsiLabel) override;
  void deleteEsiData(Ostra::IntfId parentIntfId, Ostra::IntfId memberIntfId, Bridging::VlanId vlanId,
                     Fenn::TunnelId const& tunnelId, Fenn::HwTunnelId const& hwTunnelId) override;

  // The VLAN, VLAN-to-dot1q mapping and non-DF port tables.
  Fenn::HwProgrammingStatus createVlan(Bridging::VlanId vlanId, Bridging::VlanIdOrNone dot1q) override {
    return vlanTables_.createVlan(vlanId, dot1q);
  }
  void deleteVlan(Bridging::VlanId vlanId, Bridging::VlanIdOrNone dot1q) override {
    vlanTables_.deleteVlan(vlanId, dot1q);
  }
  Fenn::HwProgrammingStatus createNonDfPort(Ostra::IntfId parentIntfId, Ostra::IntfId memberIntfId,
                                            Bridging::VlanId vlanId) override {
    return vlanTables_.createNonDfPort(parentIntfId, memberIntfId, vlanId);
  }
  void deleteNonDfPort(Ostra::IntfId parentIntfId, Ostra::IntfId memberIntfId,
                       Bridging::VlanId vlanId) override {
    vlanTables_.deleteNonDfPort(parentIntfId, memberIntfId, vlanId);
  }
  Fenn::HwProgrammingStatus createVlanToDot1qMapping(Ostra::IntfId parentIntfId, Ostra::IntfId memberIntfId,
                                                     Bridging::VlanId vlanId,
                                                     Bridging::VlanIdOrNone dot1q) override {
    return vlanTables_.createVlanToDot1qMapping(parentIntfId, memberIntfId, vlanId, dot1q);
  }
  void deleteVlanToDot1qMapping(Ostra::IntfId parentIntfId, Ostra::IntfId memberIntfId,
                                Bridging::VlanId vlanId, Bridging::VlanIdOrNone dot1q) override {
    vlanTables_.deleteVlanToDot1qMapping(parentIntfId, memberIntfId, vlanId, dot1q);
  }
  VlanFloodingTables& vlanTables() noexcept { return vlanTables_; }
  VlanFloodingTables const& vlanTables() const noexcept { return vlanTables_; }

  std::map<EsiKey, EsiEntry> const& esiData() const noexcept { return esiData_; }
  FaultInjector& esiDataFaults() noexcept { return esiDataFaults_; }
  // Refused operations: deletes of absent entries, creates over present ones without update
  // support, deletes naming another access interface or hardware tunnel ID than the entry's.
  uint64_t badEsiDeleteCount() const noexcept { return badEsiDeletes_; }
  uint64_t badEsiCreateCount() const noexcept { return badEsiCreates_; }
  // Deletes carried out.
  uint64_t esiDeleteCount() const noexcept { return esiDeletes_; }

 private:
  std::map<EsiKey, EsiEntry> esiData_;
  FaultInjector esiDataFaults_;
  uint64_t badEsiDeletes_ = 0;
  uint64_t badEsiCreates_ = 0;
  uint64_t esiDeletes_ = 0;
  VlanFloodingTables vlanTables_;
};

}  // namespace Sim
