// Simulated hardware tunnel ID allocator: one pool per HwTunnelIdType with a fixed number
// of IDs (1..size), handed out lowest-free-first so runs are reproducible. It keeps what it
// has handed out, so the simulator can show it and check that nothing is lost or handed
// out twice. getHwTunnelId can be made to fail by fault injection, as a chip whose
// allocation call errors would.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <set>

#include "FennEvpn/FennEvpnHwTunnelIdSmHelper.h"
#include "sim/FaultInjector.h"

namespace Sim {

class HwTunnelIdPools final : public FennHelper::EvpnHwTunnelIdSmHelper {
 public:
  static constexpr size_t poolCount = 2;  // hwTunnelIdTypeDefault, hwTunnelIdTypeSharedEs

  explicit HwTunnelIdPools(Qor::String name) : EvpnHwTunnelIdSmHelper(std::move(name)) {}
  std::string_view fwkType() const override { return "Sim::HwTunnelIdPools"; }

  Fenn::HwTunnelId getHwTunnelId(Fenn::HwTunnelIdType type) override;
  void releaseHwTunnelId(Fenn::HwTunnelId const& id) override;
  uint32_t hwTunnelIdPoolSize(Fenn::HwTunnelIdType type) const override { return poolSize(type); }

  // Resizes a pool. Shrinking below the IDs in use keeps those until they are released.
  void poolSizeIs(Fenn::HwTunnelIdType type, uint32_t size);
  uint32_t poolSize(Fenn::HwTunnelIdType type) const { return pool(type).size; }
  uint32_t freeCount(Fenn::HwTunnelIdType type) const;
  std::set<uint32_t> const& inUse(Fenn::HwTunnelIdType type) const { return pool(type).inUse; }

  FaultInjector& allocationFaults() noexcept { return faults_; }
  // Called when an allocation fails for a transient error (an injected fault, not an empty
  // pool), as the hardware layer's error path reports it. It must only defer work: it runs
  // inside the state machine's allocation call.
  void allocationFaultHandlerIs(std::function<void()> handler) {
    allocationFaultHandler_ = std::move(handler);
  }
  // Releases of IDs not handed out: a state machine bug the simulator reports.
  uint64_t badReleaseCount() const noexcept { return badReleases_; }

 private:
  struct Pool {
    uint32_t size = 0;
    std::set<uint32_t> inUse;
  };
  Pool& pool(Fenn::HwTunnelIdType type) { return pools_.at(type); }
  Pool const& pool(Fenn::HwTunnelIdType type) const { return pools_.at(type); }

  std::array<Pool, poolCount> pools_;
  FaultInjector faults_;
  std::function<void()> allocationFaultHandler_;
  uint64_t badReleases_ = 0;
};

}  // namespace Sim
