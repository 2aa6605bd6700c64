// The simulated hardware's flood-set programming: it watches EvpnVlanFloodSetHwConfig and
// answers every configured MPLS destination in EvpnVlanFloodSetHwStatus, under the same
// VLAN and MAC. An entry is reported `programmed` while fewer than `capacity` entries are
// programmed, `notProgrammed` beyond that (it stays so until its configuration is written
// again); an entry whose configuration goes loses its status, and a flood set with no
// status left is removed. An entry without a valid hardware tunnel ID is `invalidHwId`:
// like a real chip, the hardware cannot forward into a tunnel it has no ID for.
//
// Timing is the test's to choose: unpaused, status follows configuration synchronously,
// inside the configuration's notification. Paused, changes are only remembered (per VLAN
// and MAC); pausedIs(false) brings every remembered flood set's status in line with its
// configuration as it stands then.
#pragma once

#include <cstddef>
#include <limits>
#include <memory>
#include <optional>
#include <string_view>

#include "FennEvpn/FennEvpnVlanFloodSetHw.h"
#include "Keel/TimerWheel.h"
#include "Qor/Collection.h"
#include "Qor/StateMachine.h"
#include "sim/FaultInjector.h"

namespace Sim {

class FloodSetProgrammer : public Qor::StateMachine {
 public:
  static constexpr size_t unlimited = std::numeric_limits<size_t>::max();

  FloodSetProgrammer(Qor::Ptr<Fenn::EvpnVlanFloodSetHwConfig const> config,
                     Qor::Ptr<Fenn::EvpnVlanFloodSetHwStatus> status,
                     Qor::Ptr<Keel::TimerWheel> timerWheel = nullptr);
  // Removes every status it wrote, as hardware that goes away programs nothing.
  ~FloodSetProgrammer() override;
  std::string_view fwkType() const override { return "Sim::FloodSetProgrammer"; }

  size_t capacity() const noexcept { return capacity_; }
  // Applies to entries programmed from now on; entries already programmed stay so.
  void capacityIs(size_t capacity) noexcept { capacity_ = capacity; }
  bool paused() const noexcept { return paused_; }
  void pausedIs(bool paused);

  double retryInterval() const noexcept { return retryInterval_; }
  void retryIntervalIs(double seconds) noexcept { retryInterval_ = seconds; }
  FaultInjector& programmingFaults() noexcept { return faults_; }

  size_t programmedCount() const noexcept { return programmedCount_; }
  // Flood sets with changes remembered while paused.
  size_t heldCount() const noexcept { return held_.size(); }

 private:
  class QorVlanFloodSetConfig;
  class QorEvpnVlanFloodSetHwConfig;

  void handleMplsDestConfig(Bridging::MacVlanPair const& pair, Fenn::MplsDestConfig const& config);
  void handleVlanFloodSetConfigGone(Bridging::MacVlanPair const& pair);
  // Make the status of one entry, or of a whole flood set, follow its configuration.
  void syncEntry(Bridging::MacVlanPair const& pair, Fenn::MplsDestConfig const& config);
  void syncPair(Bridging::MacVlanPair const& pair);
  void scheduleRetry(Bridging::MacVlanPair const& pair);
  void doRetry();

  Qor::Ptr<Fenn::EvpnVlanFloodSetHwConfig const> config_;
  Qor::Ptr<Fenn::EvpnVlanFloodSetHwStatus> status_;
  size_t capacity_ = unlimited;
  size_t programmedCount_ = 0;
  bool paused_ = false;
  Qor::HashSet<Bridging::MacVlanPair> held_;
  Qor::Ptr<Keel::TimerWheel> timerWheel_;
  double retryInterval_ = 1.0;
  FaultInjector faults_;
  Qor::HashSet<Bridging::MacVlanPair> retry_;
  std::optional<Keel::TimerWheel::TimerId> retryTimer_;
  Qor::ReactorMap<Bridging::MacVlanPair, QorVlanFloodSetConfig> vlanFloodSetConfig_;
  std::unique_ptr<QorEvpnVlanFloodSetHwConfig> qorEvpnVlanFloodSetHwConfig_;
};

Qor::Ptr<FloodSetProgrammer> floodSetProgrammerFactory(Qor::Ptr<Fenn::EvpnVlanFloodSetHwConfig const> config,
                                                       Qor::Ptr<Fenn::EvpnVlanFloodSetHwStatus> status,
                                                       Qor::Ptr<Keel::TimerWheel> timerWheel = nullptr);

}  // namespace Sim
