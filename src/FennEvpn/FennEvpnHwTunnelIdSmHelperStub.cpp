#include "FennEvpn/FennEvpnHwTunnelIdSmHelperStub.h"

#include "Qor/Enum.h"

namespace FennHelper {

Fenn::HwTunnelId EvpnHwTunnelIdSmHelperStub::getHwTunnelId(Fenn::HwTunnelIdType type) {
  getHwTunnelIdCountInc();
  getHwTunnelIdHwTunnelIdTypeIs(type);
  return pool(type)->hwTunnelIdDeq();
}

void EvpnHwTunnelIdSmHelperStub::releaseHwTunnelId(Fenn::HwTunnelId const& id) {
  releaseHwTunnelIdCountInc();
  releaseHwTunnelIdHwTunnelIdIs(id);
  pool(id.type())->hwTunnelIdEnq(id);
}

HwTunnelIdQueue* EvpnHwTunnelIdSmHelperStub::pool(Fenn::HwTunnelIdType type) {
  HwTunnelIdQueue* queue = freeHwTunnelId(type);
  if (queue == nullptr) {
    fennAssert("EvpnHwTunnelIdSmHelperStub has no free hardware tunnel ID queue for " +
               Qor::String(Qor::enumName(type)) + ": create it with freeHwTunnelIdIs");
  }
  return queue;
}

Qor::Ptr<EvpnHwTunnelIdSmHelperStub> evpnHwTunnelIdSmHelperStubFactory(Qor::String name) {
  return Qor::Ptr<EvpnHwTunnelIdSmHelperStub>(new EvpnHwTunnelIdSmHelperStub(std::move(name)));
}

}  // namespace FennHelper
