// The recording stand-in for the decapsulation ESI filtering helper, for running
// EsiFilteringDecapSm without hardware. It keeps the arguments of the latest call of each
// operation and a call counter; a create returns a settable code (programmed unless set
// otherwise), a delete always answers programmed. A call sets the recorded arguments, then
// increments the counter, so a watcher that reacts to the counter finds the call recorded.
#pragma once

#include <string_view>

#include "FennEvpn/FennEvpnEsiFilteringDecapHelper.h"
#include "FennEvpn/FennEvpnExport.h"
#include "Qor/Attribute.h"
#include "Qor/Ptr.h"

namespace FennHelper {

class FENN_EVPN_EXPORT EsiFilteringDecapHelperStub : public EsiFilteringDecapHelper {
 public:
  explicit EsiFilteringDecapHelperStub(Qor::String name) : EsiFilteringDecapHelper(std::move(name)) {}

  std::string_view fwkType() const override { return "FennHelper::EsiFilteringDecapHelperStub"; }

  QOR_SCALAR(createEsiPortMapLabel, Ostra::MplsLabel, Ostra::MplsLabel())
  QOR_SCALAR(createEsiPortMapIntfId, Ostra::IntfId, Ostra::IntfId())
  FENN_HELPER_COUNTER(createEsiPortMapCount)
  QOR_SCALAR(createEsiPortMapRc, Mpls::LfibHwProgrammingReturnCode, Mpls::lfibHwProgrammed)

  QOR_SCALAR(deleteEsiPortMapLabel, Ostra::MplsLabel, Ostra::MplsLabel())
  QOR_SCALAR(deleteEsiPortMapIntfId, Ostra::IntfId, Ostra::IntfId())
  FENN_HELPER_COUNTER(deleteEsiPortMapCount)

  Mpls::LfibHwProgrammingReturnCode createEsiPortMap(Ostra::MplsLabel label, Ostra::IntfId intfId) override;
  Mpls::LfibHwProgrammingReturnCode deleteEsiPortMap(Ostra::MplsLabel label, Ostra::IntfId intfId) override;
};

FENN_EVPN_EXPORT Qor::Ptr<EsiFilteringDecapHelperStub> esiFilteringDecapHelperStubFactory(Qor::String name);

}  // namespace FennHelper
