#include "FennEvpn/FennEvpnLagSm.h"

#include <utility>

#include "Qor/Trace.h"

QOR_TRACE_SOURCE("/src/FennEvpn/FennEvpnLagSm")

namespace Fenn {

class EvpnLagSm::QorLagConfigDir : public Qor::ReactorOf<LagCreatorConfigDir, EvpnLagSm> {
 public:
  using ReactorOf::ReactorOf;
  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id != LagCreatorConfigDir::lagConfigAttr) return;
    auto const& lagIntfId = Qor::keyAs<Ostra::IntfId>(key);
    notifier()->lagConfigHas(lagIntfId) ? sm()->lagConfigIs(lagIntfId) : sm()->lagConfigDel(lagIntfId);
  }
};

class EvpnLagSm::QorLagConfig : public Qor::ReactorOf<LagInfo, EvpnLagSm> {
 public:
  using ReactorOf::ReactorOf;
  // A new LAG is computed whole from its configuration, not member by member.
  void onCreate() override { sm()->handleLagConfig(notifier()->intfId(), true); }
  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id == LagInfo::memberAttr) {
      sm()->handleLagMemberConfigured(notifier()->intfId(), Qor::keyAs<Ostra::IntfId>(key));
    }
  }
};

EvpnLagSm::EvpnLagSm(Qor::Ptr<FennCommonSmData const> acsd, Qor::Ptr<LagCreatorConfigDir const> lagConfigDir,
                     Qor::Ptr<EvpnLagMemberInfo> evpnLagMemberInfo)
    : acsd_(std::move(acsd)),
      lagConfigDir_(std::move(lagConfigDir)),
      evpnLagMemberInfo_(std::move(evpnLagMemberInfo)) {
  qorLagConfigDir_ = Qor::newReactor<QorLagConfigDir>(lagConfigDir_.get(), this);
}

EvpnLagSm::~EvpnLagSm() {
  qorLagConfigDir_.reset();
  lagConfig_.delAll();
}

void EvpnLagSm::lagConfigIs(Ostra::IntfId const& lagIntfId) {
  QTRACE(8, "EvpnLagSm::", "lagConfigIs", " lagIntfId ", lagIntfId);
  lagConfig_.add(lagIntfId, lagConfigDir_->lagConfig(lagIntfId), this);
}

void EvpnLagSm::lagConfigDel(Ostra::IntfId const& lagIntfId) {
  QTRACE(8, "EvpnLagSm::", "lagConfigDel", " lagIntfId ", lagIntfId);
  if (lagConfig_.del(lagIntfId)) handleLagConfig(lagIntfId, false);
}

void EvpnLagSm::handleLagConfig(Ostra::IntfId const& lagIntfId, bool present) {
  QTRACE(5, "EvpnLagSm::", "handleLagConfig", " lagIntfId ", lagIntfId, " add ", present);
  if (!present) {
    evpnLagMemberInfo_->lagToPortDel(lagIntfId);
    return;
  }
  FennPortList ports;
  for (auto const& [memberIntfId, progType] : lagConfigDir_->lagConfig(lagIntfId)->member()) {
    processMemberIntf(lagIntfId, memberIntfId, ports, *this);
  }
  publishEvpnLagMemberInfo(lagIntfId, ports);
}

void EvpnLagSm::handleLagMemberConfigured(Ostra::IntfId const& lagIntfId, Ostra::IntfId const& memberIntfId) {
  QTRACE(5, "EvpnLagSm::", "handleLagMemberConfigured", " lagIntfId ", lagIntfId);
  FennPortList ports = evpnLagMemberInfo_->lagToPort(lagIntfId);
  processMemberIntf(lagIntfId, memberIntfId, ports, *this);
  publishEvpnLagMemberInfo(lagIntfId, ports);
}

void EvpnLagSm::publishEvpnLagMemberInfo(Ostra::IntfId const& lagIntfId, FennPortList const& ports) {
  if (ports.empty()) {
    QTRACE(5, "EvpnLagSm::", "publishEvpnLagMemberInfo", " deleting lagIntfId ", lagIntfId);
    evpnLagMemberInfo_->lagToPortDel(lagIntfId);
    return;
  }
  QTRACE(5, "EvpnLagSm::", "publishEvpnLagMemberInfo", " lagIntfId ", lagIntfId, " #ports ",
         ports.portCount());
  evpnLagMemberInfo_->lagToPortIs(lagIntfId, ports);
}

void processMemberIntf(Ostra::IntfId const& lagIntfId, Ostra::IntfId const& memberIntfId, FennPortList& ports,
                       EvpnLagSm const& sm) {
  // The directory, not the reactor map: a LAG's reactor is being created while its members
  // are first processed, and a deleted LAG has left the directory before its reactor goes.
  LagInfo const* info = sm.lagConfigDir()->lagConfig(lagIntfId);
  if (info && info->memberHas(memberIntfId)) {
    QTRACE(5, "EvpnLagSm::", "processMemberIntf", " lagIntfId ", lagIntfId, " adding member ", memberIntfId);
    ports.portIs(memberIntfId, true);
    return;
  }
  QTRACE(5, "EvpnLagSm::", "processMemberIntf", " lagIntfId ", lagIntfId, " deleting member ", memberIntfId);
  ports.portDel(memberIntfId);
}

SmSummary EvpnLagSm::summary() const {
  SmSummary s("EvpnLagSm", SmCounters(), unusableInputCount());
  uint64_t wanted = 0;
  uint64_t published = 0;
  for (auto const& [lagIntfId, info] : lagConfigDir_->lagConfig()) {
    if (info->member().empty()) continue;
    ++wanted;
    published += evpnLagMemberInfo_->lagToPortHas(lagIntfId);
  }
  s.entriesIs(wanted, published);
  return s;
}

Qor::Ptr<EvpnLagSm> evpnLagSmFactory(Qor::Ptr<FennCommonSmData const> const& acsd,
                                     Qor::Ptr<LagCreatorConfigDir const> const& lagConfigDir,
                                     Qor::Ptr<EvpnLagMemberInfo> const& evpnLagMemberInfo) {
  return Qor::Ptr<EvpnLagSm>(new EvpnLagSm(acsd, lagConfigDir, evpnLagMemberInfo));
}

}  // namespace Fenn
