#include "FennEvpn/FennEvpnVlanMembershipSm.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "Qor/Trace.h"

QOR_TRACE_SOURCE("/src/FennEvpn/FennEvpnVlanMembershipSm")

namespace Fenn {

class FennEvpnVlanMembershipSm::QorBridgingConfig
    : public Qor::ReactorOf<Bridging::Config, FennEvpnVlanMembershipSm> {
 public:
  using ReactorOf::ReactorOf;
  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id == Bridging::Config::vlanConfigAttr) sm()->handleVlanConfig(Qor::keyAs<Bridging::VlanId>(key));
  }
};

class FennEvpnVlanMembershipSm::QorVlanStatusDir
    : public Qor::ReactorOf<Bridging::VlanStatusDir, FennEvpnVlanMembershipSm> {
 public:
  using ReactorOf::ReactorOf;
  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id == Bridging::VlanStatusDir::vlanStatusAttr)
      sm()->handleVlanStatus(Qor::keyAs<Bridging::VlanId>(key));
  }
};

class FennEvpnVlanMembershipSm::QorEvpnStatus
    : public Qor::ReactorOf<Evpn::EvpnStatus, FennEvpnVlanMembershipSm> {
 public:
  using ReactorOf::ReactorOf;
  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id == Evpn::EvpnStatus::encapBumFilterAttr)
      sm()->handleEncapBumFilter(Qor::keyAs<Ostra::IntfId>(key));
  }
};

class FennEvpnVlanMembershipSm::QorVlanConfig
    : public Qor::ReactorOf<Bridging::VlanConfig, FennEvpnVlanMembershipSm> {
 public:
  using ReactorOf::ReactorOf;
  void onCreate() override { handleVlanConfig(); }
  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id == Bridging::VlanConfig::intfAttr) handleIntf(Qor::keyAs<Ostra::IntfId>(key));
  }
  void handleIntf(Ostra::IntfId const& intfId) {
    QTRACE(5, "FennEvpnVlanMembershipSm::QorVlanConfig::", "handleIntf", " vlanId ", vlanId(), " intfId ",
           intfId);
    sm()->processIntfVlan(intfId, vlanId());
  }
  // On creation and on deletion (the VLAN's configuration is then gone from the input).
  void handleVlanConfig() {
    QTRACE(5, "FennEvpnVlanMembershipSm::QorVlanConfig::", "handleVlanConfig", " vlanId ", vlanId());
    for (auto const& intfId : notifier()->intf().keys()) sm()->processIntfVlan(intfId, vlanId());
  }

 private:
  Bridging::VlanId vlanId() const { return notifier()->vlanId(); }
};

class FennEvpnVlanMembershipSm::QorVlanStatus
    : public Qor::ReactorOf<Bridging::VlanStatus, FennEvpnVlanMembershipSm> {
 public:
  using ReactorOf::ReactorOf;
  void onCreate() override { handleVlanStatus(); }
  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id == Bridging::VlanStatus::vlanPortStatusAttr) handleIntf(Qor::keyAs<Ostra::IntfId>(key));
  }
  void handleIntf(Ostra::IntfId const& intfId) {
    QTRACE(5, "FennEvpnVlanMembershipSm::QorVlanStatus::", "handleIntf", " vlanId ", vlanId(), " intfId ",
           intfId);
    sm()->processIntfVlan(intfId, vlanId());
  }
  void handleVlanStatus() {
    QTRACE(5, "FennEvpnVlanMembershipSm::QorVlanStatus::", "handleVlanStatus", " vlanId ", vlanId());
    for (auto const& intfId : notifier()->vlanPortStatus().keys()) sm()->processIntfVlan(intfId, vlanId());
  }

 private:
  Bridging::VlanId vlanId() const { return notifier()->vlanId(); }
};

FennEvpnVlanMembershipSm::FennEvpnVlanMembershipSm(Qor::Ptr<Bridging::Config const> bridgingConfig,
                                                   Qor::Ptr<Bridging::VlanStatusDir const> vlanStatusDir,
                                                   Qor::Ptr<Evpn::EvpnStatus const> evpnStatus,
                                                   Qor::Ptr<EvpnVlanStatus> evpnVlanStatus)
    : bridgingConfig_(std::move(bridgingConfig)),
      vlanStatusDir_(std::move(vlanStatusDir)),
      evpnStatus_(std::move(evpnStatus)),
      evpnVlanStatus_(std::move(evpnVlanStatus)) {
  qorBridgingConfig_ = Qor::newReactor<QorBridgingConfig>(bridgingConfig_.get(), this);
  qorVlanStatusDir_ = Qor::newReactor<QorVlanStatusDir>(vlanStatusDir_.get(), this);
  qorEvpnStatus_ = Qor::newReactor<QorEvpnStatus>(evpnStatus_.get(), this);
}

FennEvpnVlanMembershipSm::~FennEvpnVlanMembershipSm() {
  qorEvpnStatus_.reset();
  qorVlanStatusDir_.reset();
  qorBridgingConfig_.reset();
  vlanStatus_.delAll();
  vlanConfig_.delAll();
}

void FennEvpnVlanMembershipSm::handleVlanConfig(Bridging::VlanId vlanId) {
  QTRACE(8, "FennEvpnVlanMembershipSm::", "handleVlanConfig", " vlanId ", vlanId);
  if (Bridging::VlanConfig const* config = bridgingConfig_->vlanConfig(vlanId)) {
    vlanConfig_.add(vlanId, config, this);
  } else if (QorVlanConfig* reactor = vlanConfig_.get(vlanId)) {
    // The configuration has left the input: the retiring reactor's walk removes its members.
    reactor->handleVlanConfig();
    vlanConfig_.del(vlanId);
  }
}

void FennEvpnVlanMembershipSm::handleVlanStatus(Bridging::VlanId vlanId) {
  QTRACE(8, "FennEvpnVlanMembershipSm::", "handleVlanStatus", " vlanId ", vlanId);
  if (Bridging::VlanStatus const* status = vlanStatusDir_->vlanStatus(vlanId)) {
    vlanStatus_.add(vlanId, status, this);
  } else if (QorVlanStatus* reactor = vlanStatus_.get(vlanId)) {
    reactor->handleVlanStatus();
    vlanStatus_.del(vlanId);
  }
}

void FennEvpnVlanMembershipSm::handleEncapBumFilter(Ostra::IntfId const& intfId) {
  QTRACE(5, "FennEvpnVlanMembershipSm::", "handleEncapBumFilter", " intfId ", intfId, " add ",
         evpnStatus_->encapBumFilterHas(intfId));
  // The filter switches the interface between following its configuration and following
  // its operational state, so both kinds of VLAN are decided again.
  std::vector<Bridging::VlanId> vlans;
  if (IntfVlanSet const* set = intfVlanConfigSet(intfId)) vlans = set->vlanId().keys();
  if (IntfVlanSet const* set = intfVlanStatusSet(intfId)) {
    std::vector<Bridging::VlanId> const more = set->vlanId().keys();
    vlans.insert(vlans.end(), more.begin(), more.end());
  }
  std::sort(vlans.begin(), vlans.end());
  vlans.erase(std::unique(vlans.begin(), vlans.end()), vlans.end());
  for (auto const vlanId : vlans) processIntfVlan(intfId, vlanId);
}

void FennEvpnVlanMembershipSm::processIntfVlan(Ostra::IntfId const& intfId, Bridging::VlanId vlanId) {
  QTRACE(5, "FennEvpnVlanMembershipSm::", "processIntfVlan", " vlanId ", vlanId, " intfId ", intfId);
  Bridging::VlanConfig const* config = bridgingConfig_->vlanConfig(vlanId);
  Bridging::VlanStatus const* status = vlanStatusDir_->vlanStatus(vlanId);
  bool const configured = config && config->intfHas(intfId);
  bool const operational = status && status->vlanPortStatusHas(intfId);
  bool const member = evpnStatus_->encapBumFilterHas(intfId) ? configured : operational;
  if (member) {
    addIntfToEvpnVlanStatus(intfId, vlanId);
  } else {
    removeIntfVlanFromEvpnVlanStatus(intfId, vlanId);
  }
  if (configured) {
    intfVlanConfigSetIs(intfId)->vlanIdIs(vlanId);
  } else if (IntfVlanSet* set = intfVlanConfigSet(intfId)) {
    set->vlanIdDel(vlanId);
    if (set->vlanId().empty()) intfVlanConfigSetDel(intfId);
  }
  if (operational) {
    intfVlanStatusSetIs(intfId)->vlanIdIs(vlanId);
  } else if (IntfVlanSet* set = intfVlanStatusSet(intfId)) {
    set->vlanIdDel(vlanId);
    if (set->vlanId().empty()) intfVlanStatusSetDel(intfId);
  }
}

void FennEvpnVlanMembershipSm::addIntfToEvpnVlanStatus(Ostra::IntfId const& intfId, Bridging::VlanId vlanId) {
  QTRACE(9, "FennEvpnVlanMembershipSm::", "addIntfToEvpnVlanStatus", " vlanId ", vlanId, " intfId ", intfId);
  evpnVlanStatus_->vlanStatusIs(vlanId)->memberIs(intfId);
}

void FennEvpnVlanMembershipSm::removeIntfVlanFromEvpnVlanStatus(Ostra::IntfId const& intfId,
                                                                Bridging::VlanId vlanId) {
  QTRACE(9, "FennEvpnVlanMembershipSm::", "removeIntfVlanFromEvpnVlanStatus", " vlanId ", vlanId, " intfId ",
         intfId);
  EvpnVlanMemberInfo* info = evpnVlanStatus_->vlanStatus(vlanId);
  if (!info) return;
  info->memberDel(intfId);
  if (info->member().empty()) evpnVlanStatus_->vlanStatusDel(vlanId);
}

SmSummary FennEvpnVlanMembershipSm::summary() const {
  SmSummary s("FennEvpnVlanMembershipSm", SmCounters(), unusableInputCount());
  uint64_t wanted = 0;
  uint64_t published = 0;
  auto const count = [&](Bridging::VlanId vlanId, Ostra::IntfId const& intfId) {
    ++wanted;
    EvpnVlanMemberInfo const* info = evpnVlanStatus_->vlanStatus(vlanId);
    published += info && info->memberHas(intfId);
  };
  // An interface that filters BUM traffic follows its configuration, any other its
  // operational state (processIntfVlan): each member is counted once, from one input.
  for (auto const& [vlanId, config] : bridgingConfig_->vlanConfig()) {
    for (auto const& [intfId, port] : config->intf()) {
      if (evpnStatus_->encapBumFilterHas(intfId)) count(vlanId, intfId);
    }
  }
  for (auto const& [vlanId, status] : vlanStatusDir_->vlanStatus()) {
    for (auto const& [intfId, port] : status->vlanPortStatus()) {
      if (!evpnStatus_->encapBumFilterHas(intfId)) count(vlanId, intfId);
    }
  }
  s.entriesIs(wanted, published);
  return s;
}

Qor::Ptr<FennEvpnVlanMembershipSm> fennEvpnVlanMembershipSmFactory(
    Qor::Ptr<Bridging::Config const> const& bridgingConfig,
    Qor::Ptr<Bridging::VlanStatusDir const> const& vlanStatusDir,
    Qor::Ptr<Evpn::EvpnStatus const> const& evpnStatus, Qor::Ptr<EvpnVlanStatus> const& evpnVlanStatus) {
  return Qor::Ptr<FennEvpnVlanMembershipSm>(
      new FennEvpnVlanMembershipSm(bridgingConfig, vlanStatusDir, evpnStatus, evpnVlanStatus));
}

}  // namespace Fenn
