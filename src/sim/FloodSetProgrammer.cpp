#include "sim/FloodSetProgrammer.h"

#include <vector>

namespace Sim {

using Bridging::MacVlanPair;
using Fenn::MplsDestConfig;

class FloodSetProgrammer::QorVlanFloodSetConfig
    : public Qor::ReactorOf<Fenn::VlanFloodSetConfig, FloodSetProgrammer> {
 public:
  using ReactorOf::ReactorOf;
  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id == Fenn::VlanFloodSetConfig::mplsDestConfigAttr) {
      sm()->handleMplsDestConfig(notifier()->macVlanPair(), Qor::keyAs<MplsDestConfig>(key));
    }
  }
};

class FloodSetProgrammer::QorEvpnVlanFloodSetHwConfig
    : public Qor::ReactorOf<Fenn::EvpnVlanFloodSetHwConfig, FloodSetProgrammer> {
 public:
  using ReactorOf::ReactorOf;
  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id != Fenn::EvpnVlanFloodSetHwConfig::configAttr) return;
    auto const& pair = Qor::keyAs<MacVlanPair>(key);
    if (Fenn::VlanFloodSetConfig const* config = notifier()->config(pair)) {
      sm()->vlanFloodSetConfig_.add(pair, config, sm());
    } else {
      sm()->vlanFloodSetConfig_.del(pair);
      sm()->handleVlanFloodSetConfigGone(pair);
    }
  }
};

FloodSetProgrammer::FloodSetProgrammer(Qor::Ptr<Fenn::EvpnVlanFloodSetHwConfig const> config,
                                       Qor::Ptr<Fenn::EvpnVlanFloodSetHwStatus> status,
                                       Qor::Ptr<Keel::TimerWheel> timerWheel)
    : config_(std::move(config)), status_(std::move(status)), timerWheel_(std::move(timerWheel)) {
  qorEvpnVlanFloodSetHwConfig_ = Qor::newReactor<QorEvpnVlanFloodSetHwConfig>(config_.get(), this);
}

FloodSetProgrammer::~FloodSetProgrammer() {
  if (retryTimer_) timerWheel_->timerCancel(*retryTimer_);
  qorEvpnVlanFloodSetHwConfig_.reset();
  vlanFloodSetConfig_.delAll();
  status_->statusDelAll();
}

void FloodSetProgrammer::pausedIs(bool paused) {
  paused_ = paused;
  if (paused) return;
  std::vector<MacVlanPair> const held(held_.begin(), held_.end());
  held_.clear();
  for (auto const& pair : held) syncPair(pair);
}

void FloodSetProgrammer::handleMplsDestConfig(MacVlanPair const& pair, MplsDestConfig const& config) {
  if (paused_) {
    held_.insert(pair);
    return;
  }
  syncEntry(pair, config);
}

void FloodSetProgrammer::handleVlanFloodSetConfigGone(MacVlanPair const& pair) {
  if (paused_) {
    held_.insert(pair);
    return;
  }
  syncPair(pair);
}

void FloodSetProgrammer::syncEntry(MacVlanPair const& pair, MplsDestConfig const& config) {
  Fenn::VlanFloodSetConfig const* wanted = config_->config(pair);
  // Writing status sets off the state machines that read it, and they may reconfigure this
  // same flood set before the write returns: hold on to the status entity across writes.
  Qor::Ptr<Fenn::VlanFloodSetStatus> status(status_->status(pair));
  // The entry's status is read once: nothing is written before its last use.
  Fenn::HwProgrammingStatus const* current = status ? status->mplsDestStatus().find(config) : nullptr;
  if (wanted && wanted->mplsDestConfigHas(config)) {
    if (current && *current == Fenn::programmed) return;
    // Without a hardware tunnel ID the chip has no tunnel to send the copy into: the entry
    // takes no room and does not forward. A valid ID comes as a new configuration.
    if (!config.hwTunnelId().valid()) {
      if (!status) status = Qor::Ptr<Fenn::VlanFloodSetStatus>(status_->statusIs(pair));
      status->mplsDestStatusIs(config, Fenn::invalidHwId);
      return;
    }
    bool const ok = programmedCount_ < capacity_ && !faults_.shouldFail();
    Fenn::HwProgrammingStatus const result = ok ? Fenn::programmed : Fenn::notProgrammed;
    if (ok) {
      ++programmedCount_;
    } else {
      scheduleRetry(pair);
    }
    if (!status) status = Qor::Ptr<Fenn::VlanFloodSetStatus>(status_->statusIs(pair));
    status->mplsDestStatusIs(config, result);
    return;
  }
  if (!current) return;
  if (*current == Fenn::programmed) --programmedCount_;
  status->mplsDestStatusDel(config);
  if (status->mplsDestStatus().empty() && status_->status(pair) == status.get()) status_->statusDel(pair);
}

void FloodSetProgrammer::syncPair(MacVlanPair const& pair) {
  // Entries that lost their configuration first, then one attempt per configured entry.
  if (Fenn::VlanFloodSetStatus const* status = status_->status(pair)) {
    for (auto const& config : status->mplsDestStatus().keys()) {
      Fenn::VlanFloodSetConfig const* wanted = config_->config(pair);
      if (!wanted || !wanted->mplsDestConfigHas(config)) syncEntry(pair, config);
    }
  }
  if (Fenn::VlanFloodSetConfig const* config = config_->config(pair)) {
    for (auto const& entry : config->mplsDestConfig().keys()) syncEntry(pair, entry);
  }
}

void FloodSetProgrammer::scheduleRetry(MacVlanPair const& pair) {
  if (!timerWheel_) return;
  retry_.insert(pair);
  if (!retryTimer_) retryTimer_ = timerWheel_->timerAfter(retryInterval_, [this] { doRetry(); });
}

void FloodSetProgrammer::doRetry() {
  retryTimer_.reset();
  std::vector<MacVlanPair> const pairs(retry_.begin(), retry_.end());
  retry_.clear();
  for (auto const& pair : pairs) {
    if (paused_) {
      held_.insert(pair);
    } else {
      syncPair(pair);
    }
  }
}

Qor::Ptr<FloodSetProgrammer> floodSetProgrammerFactory(Qor::Ptr<Fenn::EvpnVlanFloodSetHwConfig const> config,
                                                       Qor::Ptr<Fenn::EvpnVlanFloodSetHwStatus> status,
                                                       Qor::Ptr<Keel::TimerWheel> timerWheel) {
  return Qor::Ptr<FloodSetProgrammer>(
      new FloodSetProgrammer(std::move(config), std::move(status), std::move(timerWheel)));
}

}  // namespace Sim
