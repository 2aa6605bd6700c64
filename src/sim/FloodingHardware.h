// Simulated access-side flooding hardware behind the flooding helper: the tables a chip
// keeps for split horizon and flooding control on physical ports. Today it holds the ESI
// data table, one entry per (physical port, VLAN, remote tunnel) with the access interface
// it was programmed for, the hardware tunnel ID and both ESI labels.
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
};

}  // namespace Sim
