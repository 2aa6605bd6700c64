// Simulated decapsulation filter hardware: the ESI port maps (label, interface) that keep a
// packet arriving with a local segment's ESI label from being flooded back out of that
// segment. Like a chip, it holds one map per interface and answers a map that would
// contradict an installed one with code 1 (conflict), which the library must never
// provoke. Creates can be made to fail with code 2 (resources full) or 3 (temporary
// failure) by fault injection; a delete of a map that is not installed answers 4 (nothing
// to do).
#pragma once

#include <cstdint>
#include <map>

#include "FennEvpn/FennEvpnEsiFilteringDecapHelper.h"
#include "sim/FaultInjector.h"

namespace Sim {

class EsiPortMaps final : public FennHelper::EsiFilteringDecapHelper {
 public:
  explicit EsiPortMaps(Qor::String name) : EsiFilteringDecapHelper(std::move(name)) {}
  std::string_view fwkType() const override { return "Sim::EsiPortMaps"; }

  Mpls::LfibHwProgrammingReturnCode createEsiPortMap(Ostra::MplsLabel label, Ostra::IntfId intfId) override;
  Mpls::LfibHwProgrammingReturnCode deleteEsiPortMap(Ostra::MplsLabel label, Ostra::IntfId intfId) override;

  // Interface to the label of its installed map.
  std::map<Ostra::IntfId, Ostra::MplsLabel> const& maps() const noexcept { return maps_; }
  FaultInjector& resourceFullFaults() noexcept { return resourceFull_; }
  FaultInjector& temporaryFailureFaults() noexcept { return temporaryFailure_; }

 private:
  std::map<Ostra::IntfId, Ostra::MplsLabel> maps_;
  FaultInjector resourceFull_;
  FaultInjector temporaryFailure_;
};

}  // namespace Sim
