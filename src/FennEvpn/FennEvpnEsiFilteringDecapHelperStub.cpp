#include "FennEvpn/FennEvpnEsiFilteringDecapHelperStub.h"

namespace FennHelper {

Mpls::LfibHwProgrammingReturnCode EsiFilteringDecapHelperStub::createEsiPortMap(Ostra::MplsLabel label,
                                                                                Ostra::IntfId intfId) {
  createEsiPortMapLabelIs(label);
  createEsiPortMapIntfIdIs(intfId);
  createEsiPortMapCountInc();
  return createEsiPortMapRc();
}

Mpls::LfibHwProgrammingReturnCode EsiFilteringDecapHelperStub::deleteEsiPortMap(Ostra::MplsLabel label,
                                                                                Ostra::IntfId intfId) {
  deleteEsiPortMapLabelIs(label);
  deleteEsiPortMapIntfIdIs(intfId);
  deleteEsiPortMapCountInc();
  return Mpls::lfibHwProgrammed;
}

Qor::Ptr<EsiFilteringDecapHelperStub> esiFilteringDecapHelperStubFactory(Qor::String name) {
  return Qor::Ptr<EsiFilteringDecapHelperStub>(new EsiFilteringDecapHelperStub(std::move(name)));
}

}  // namespace FennHelper
