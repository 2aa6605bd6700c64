// The recording stand-in for the hardware tunnel ID allocator, for running
// EvpnHwTunnelIdSm without hardware. A harness creates one free-ID queue per pool it
// offers and fills it; getHwTunnelId hands IDs out in queue order and releaseHwTunnelId
// puts them back at the tail, so a released ID comes back only after every ID that was
// free before it. Every call is counted and its argument kept in notifying attributes,
// which tests watch or read.
#pragma once

#include <string_view>

#include "Fenn/HwTunnelId.h"
#include "Fenn/HwTunnelIdType.h"
#include "FennEvpn/FennEvpnExport.h"
#include "FennEvpn/FennEvpnHwTunnelIdQueue.h"
#include "FennEvpn/FennEvpnHwTunnelIdSmHelper.h"
#include "Qor/Attribute.h"
#include "Qor/Ptr.h"
#include "Qor/String.h"

namespace FennHelper {

class FENN_EVPN_EXPORT EvpnHwTunnelIdSmHelperStub : public EvpnHwTunnelIdSmHelper {
 public:
  explicit EvpnHwTunnelIdSmHelperStub(Qor::String name) : EvpnHwTunnelIdSmHelper(std::move(name)) {}

  std::string_view fwkType() const override { return "FennHelper::EvpnHwTunnelIdSmHelperStub"; }

  // The IDs still free, per pool. freeHwTunnelIdIs(type) creates a pool's queue (or
  // returns the existing one).
  QOR_CHILDREN(freeHwTunnelId, Fenn::HwTunnelIdType, HwTunnelIdQueue)
  FENN_HELPER_COUNTER(getHwTunnelIdCount)
  QOR_SCALAR(getHwTunnelIdHwTunnelIdType, Fenn::HwTunnelIdType, Fenn::hwTunnelIdTypeDefault)
  FENN_HELPER_COUNTER(releaseHwTunnelIdCount)
  QOR_SCALAR(releaseHwTunnelIdHwTunnelId, Fenn::HwTunnelId, Fenn::HwTunnelId())

  // The head of the pool's queue, or an invalid ID when it is empty. Asking for a pool
  // that has no queue is a set-up error and aborts.
  Fenn::HwTunnelId getHwTunnelId(Fenn::HwTunnelIdType type) override;
  // Enqueues `id` at the tail of the queue of its own pool (id.type()), which must exist.
  void releaseHwTunnelId(Fenn::HwTunnelId const& id) override;

 private:
  HwTunnelIdQueue* pool(Fenn::HwTunnelIdType type);
};

FENN_EVPN_EXPORT Qor::Ptr<EvpnHwTunnelIdSmHelperStub> evpnHwTunnelIdSmHelperStubFactory(Qor::String name);

}  // namespace FennHelper
