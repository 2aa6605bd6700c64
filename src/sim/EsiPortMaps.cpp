#include "sim/EsiPortMaps.h"

namespace Sim {

Mpls::LfibHwProgrammingReturnCode EsiPortMaps::createEsiPortMap(Ostra::MplsLabel label,
                                                                Ostra::IntfId intfId) {
  if (auto it = maps_.find(intfId); it != maps_.end()) {
    return it->second == label ? Mpls::lfibHwProgrammed : Mpls::lfibHwConflict;
  }
  if (resourceFull_.shouldFail()) return Mpls::lfibHwResourceFull;
  if (temporaryFailure_.shouldFail()) return Mpls::lfibHwTemporaryFailure;
  maps_.emplace(intfId, label);
  return Mpls::lfibHwProgrammed;
}

Mpls::LfibHwProgrammingReturnCode EsiPortMaps::deleteEsiPortMap(Ostra::MplsLabel label,
                                                                Ostra::IntfId intfId) {
  auto it = maps_.find(intfId);
  if (it == maps_.end() || it->second != label) return Mpls::lfibHwNotApplicable;
  maps_.erase(it);
  return Mpls::lfibHwProgrammed;
}

}  // namespace Sim
