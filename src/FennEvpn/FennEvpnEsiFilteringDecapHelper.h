// The interface through which EsiFilteringDecapSm programs split-horizon filtering at MPLS
// decapsulation: an ESI port map (label, interface) tells the hardware that packets arriving
// with that ESI label must not be flooded out of that interface. The platform's hardware
// layer subclasses it.
//
// Both operations answer an Mpls::LfibHwProgrammingReturnCode: 0 programmed; 1 conflict
// (never expected by the caller, which keeps conflicting maps from the hardware itself);
// 2 or 3 not programmed for now (the caller retries); higher values need no action.
//
// The base operations are placeholders for an agent without a hardware layer: they abort
// with "Unimplemented <operation>" unless "FENN_NOOP_AGENT" is set, and then answer
// lfibHwTemporaryFailure for a create, so that nothing is taken for programmed, and
// lfibHwNotApplicable for a delete.
#pragma once

#include <string_view>

#include "Fenn/FennBaseHelper.h"
#include "FennEvpn/FennEvpnExport.h"
#include "Mpls/LfibHwProgrammingReturnCode.h"
#include "Ostra/IntfId.h"
#include "Ostra/MplsLabel.h"
#include "Qor/String.h"

namespace FennHelper {

class FENN_EVPN_EXPORT EsiFilteringDecapHelper : public Fenn::FennBaseHelper {
 public:
  explicit EsiFilteringDecapHelper(Qor::String name) : FennBaseHelper(std::move(name)) {}

  std::string_view fwkType() const override { return "FennHelper::EsiFilteringDecapHelper"; }

  virtual Mpls::LfibHwProgrammingReturnCode createEsiPortMap(Ostra::MplsLabel label, Ostra::IntfId intfId);
  virtual Mpls::LfibHwProgrammingReturnCode deleteEsiPortMap(Ostra::MplsLabel label, Ostra::IntfId intfId);
};

}  // namespace FennHelper
