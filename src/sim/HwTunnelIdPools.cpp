#include "sim/HwTunnelIdPools.h"

namespace Sim {

Fenn::HwTunnelId HwTunnelIdPools::getHwTunnelId(Fenn::HwTunnelIdType type) {
  if (faults_.shouldFail()) {
    if (allocationFaultHandler_) allocationFaultHandler_();
    return Fenn::HwTunnelId();
  }
  Pool& p = pool(type);
  // Lowest free ID: the in-use set is ordered, so the first gap is the answer.
  uint32_t candidate = 1;
  for (uint32_t used : p.inUse) {
    if (used != candidate) break;
    ++candidate;
  }
  if (candidate > p.size) return Fenn::HwTunnelId();
  p.inUse.insert(candidate);
  return Fenn::HwTunnelId(type, candidate);
}

void HwTunnelIdPools::releaseHwTunnelId(Fenn::HwTunnelId const& id) {
  if (!id.valid() || pool(id.type()).inUse.erase(id.id()) == 0) ++badReleases_;
}

void HwTunnelIdPools::poolSizeIs(Fenn::HwTunnelIdType type, uint32_t size) { pool(type).size = size; }

uint32_t HwTunnelIdPools::freeCount(Fenn::HwTunnelIdType type) const {
  Pool const& p = pool(type);
  uint32_t usedInRange = 0;
  for (uint32_t id : p.inUse) usedInRange += id <= p.size;
  return p.size - usedInRange;
}

}  // namespace Sim
