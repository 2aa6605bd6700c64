#include "FennEvpn/FennEvpnEsiFilteringDecapHelper.h"

namespace FennHelper {

Mpls::LfibHwProgrammingReturnCode EsiFilteringDecapHelper::createEsiPortMap(Ostra::MplsLabel, Ostra::IntfId) {
  unimplemented("createEsiPortMap");
  return Mpls::lfibHwTemporaryFailure;
}

Mpls::LfibHwProgrammingReturnCode EsiFilteringDecapHelper::deleteEsiPortMap(Ostra::MplsLabel, Ostra::IntfId) {
  unimplemented("deleteEsiPortMap");
  return Mpls::lfibHwNotApplicable;
}

}  // namespace FennHelper
