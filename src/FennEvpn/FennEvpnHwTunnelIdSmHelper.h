// The interface through which EvpnHwTunnelIdSm gets hardware tunnel IDs: the platform's
// hardware layer subclasses it with its real allocator. The base operations exist so that
// an agent without that layer still runs: with "FENN_NOOP_AGENT" set, allocation always
// fails softly (an invalid ID) and release does nothing; without it, they abort.
#pragma once

#include <cstdint>
#include <string_view>

#include "Fenn/FennBaseHelper.h"
#include "Fenn/HwTunnelId.h"
#include "Fenn/HwTunnelIdType.h"
#include "FennEvpn/FennEvpnExport.h"
#include "Qor/String.h"

namespace FennHelper {

class FENN_EVPN_EXPORT EvpnHwTunnelIdSmHelper : public Fenn::FennBaseHelper {
 public:
  explicit EvpnHwTunnelIdSmHelper(Qor::String name) : FennBaseHelper(std::move(name)) {}

  std::string_view fwkType() const override { return "FennHelper::EvpnHwTunnelIdSmHelper"; }

  // A free ID of the pool `type`, now owned by the caller; an invalid ID when the pool is
  // exhausted.
  virtual Fenn::HwTunnelId getHwTunnelId(Fenn::HwTunnelIdType type);
  // Gives an ID obtained from getHwTunnelId back to its pool.
  virtual void releaseHwTunnelId(Fenn::HwTunnelId const& id);
  // How many IDs the pool `type` holds in all, when the platform knows it (0 when it does
  // not): operator answers say "full (1024 of 1024)" with it.
  virtual uint32_t hwTunnelIdPoolSize(Fenn::HwTunnelIdType type) const;
};

}  // namespace FennHelper
