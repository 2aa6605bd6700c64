#include "FennEvpn/FennEvpnVlanFloodSetSm.h"

#include "FennEvpn/FennEvpnReportText.h"
#include "Qor/Assert.h"
#include "Qor/Trace.h"

QOR_TRACE_SOURCE("/src/FennEvpn/FennEvpnVlanFloodSetSm")

namespace Fenn {

// The flood-set reactors exist from construction on but hand work to the state machine
// only once it is initialized; handleInitialized then processes every destination. A flood
// set or VLAN flood set that leaves still holds the destinations last seen in it (its
// reactor keeps it alive), which are then processed as removed.
struct EvpnVlanFloodSetSm::FloodSetHooks : FloodSetHookDefaults {
  using Sm = EvpnVlanFloodSetSm;
  static constexpr Qor::TraceHandle& traceHandle = qorTraceHandle_;
  static constexpr char floodSetOutputTrace[] = "EvpnVlanFloodSetSm::QorFloodSetOutput::";
  static constexpr char vlanFloodSetTrace[] = "EvpnVlanFloodSetSm::QorVlanFloodSet::";
  static constexpr char floodSetTrace[] = "EvpnVlanFloodSetSm::QorFloodSet::";

  static void destSetChanged(Sm& sm, Bridging::VlanId vlanId, L2Rib::FloodSet const& floodSet,
                             L2Rib::Dest const& dest, bool inFloodSet) {
    if (sm.initialized()) sm.processMplsDest(vlanId, floodSet.macAddr(), dest, inFloodSet);
  }

  static void vlanFloodSetRemoved(QorVlanFloodSet& reactor) {
    Sm& sm = *reactor.sm();
    if (!sm.initialized()) return;
    for (auto const& [macAddr, floodSet] : reactor.notifier()->floodSet())
      sm.processFloodSetDests(reactor.notifier()->vlanId(), *floodSet, false);
  }

  static void floodSetRemoved(QorFloodSet& reactor) {
    Sm& sm = *reactor.sm();
    if (sm.initialized()) sm.processFloodSetDests(reactor.vlanId(), *reactor.notifier(), false);
  }
};

class EvpnVlanFloodSetSm::QorHwTunnelIdMapping : public TunnelIdToHwTunnelIdReactor<EvpnVlanFloodSetSm> {
 public:
  using TunnelIdToHwTunnelIdReactor::TunnelIdToHwTunnelIdReactor;
  void tunnelIdToHwTunnelIdNotify(TunnelId const& tunnelId) override {
    if (sm()->initialized()) sm()->handleHwTunnelIdMapping(tunnelId);
  }
};

class EvpnVlanFloodSetSm::QorHwInfoMapping : public Qor::ReactorOf<HwInfoMapping, EvpnVlanFloodSetSm> {
 public:
  using ReactorOf::ReactorOf;
  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id == HwInfoMapping::mappingAttr && sm()->initialized()) {
      sm()->handleHwInfoMapping(Qor::keyAs<MplsFloodSetVia>(key));
    }
  }
};

// The hardware's answers for one flood set; only traced.
class EvpnVlanFloodSetSm::QorVlanFloodSetStatus
    : public Qor::ReactorOf<VlanFloodSetStatus, EvpnVlanFloodSetSm> {
 public:
  using ReactorOf::ReactorOf;

  void onCreate() override { handleVlanFloodSetStatus(); }

  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id == VlanFloodSetStatus::mplsDestStatusAttr) {
      sm()->handleMplsDestStatus(notifier()->macVlanPair(), Qor::keyAs<MplsDestConfig>(key));
    }
  }

 private:
  void handleVlanFloodSetStatus() {
    for (auto const& [config, status] : notifier()->mplsDestStatus()) {
      sm()->handleMplsDestStatus(notifier()->macVlanPair(), config);
    }
  }
};

class EvpnVlanFloodSetSm::QorVlanFloodSetHwStatus
    : public Qor::ReactorOf<EvpnVlanFloodSetHwStatus, EvpnVlanFloodSetSm> {
 public:
  using ReactorOf::ReactorOf;

  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id != EvpnVlanFloodSetHwStatus::statusAttr) return;
    auto const& pair = Qor::keyAs<Bridging::MacVlanPair>(key);
    if (VlanFloodSetStatus const* status = notifier()->status(pair)) {
      sm()->vlanFloodSetStatus_.add(pair, status, sm());
    } else {
      sm()->vlanFloodSetStatus_.del(pair);
    }
  }
};

EvpnVlanFloodSetSm::EvpnVlanFloodSetSm(Qor::Ptr<L2Rib::FloodSetOutput const> floodSetOutput,
                                       Qor::Ptr<TunnelIdToHwTunnelIdMapping const> hwTunnelIdMapping,
                                       Qor::Ptr<HwInfoMapping const> hwInfoMapping,
                                       Qor::Ptr<EvpnVlanFloodSetHwConfig> vlanFloodSetHwConfig,
                                       Qor::Ptr<EvpnVlanFloodSetHwStatus const> vlanFloodSetHwStatus)
    : floodSetOutput_(std::move(floodSetOutput)),
      hwTunnelIdMapping_(std::move(hwTunnelIdMapping)),
      hwInfoMapping_(std::move(hwInfoMapping)),
      vlanFloodSetHwConfig_(std::move(vlanFloodSetHwConfig)),
      vlanFloodSetHwStatus_(std::move(vlanFloodSetHwStatus)) {
  qorFloodSetOutput_ = Qor::newReactor<QorFloodSetOutput>(floodSetOutput_.get(), this);
  qorHwTunnelIdMapping_ = Qor::newReactor<QorHwTunnelIdMapping>(hwTunnelIdMapping_.get(), this);
  qorHwInfoMapping_ = Qor::newReactor<QorHwInfoMapping>(hwInfoMapping_.get(), this);
  qorVlanFloodSetHwStatus_ = Qor::newReactor<QorVlanFloodSetHwStatus>(vlanFloodSetHwStatus_.get(), this);
}

EvpnVlanFloodSetSm::~EvpnVlanFloodSetSm() {
  // Silence the inputs first: clearing the output may echo back through the hardware
  // status, and nothing of this state machine should run while it is being torn down.
  qorFloodSetOutput_.reset();
  qorHwTunnelIdMapping_.reset();
  qorHwInfoMapping_.reset();
  qorVlanFloodSetHwStatus_.reset();
  vlanFloodSetStatus_.delAll();
  vlanFloodSetHwConfig_->configDelAll();
  configSharers_.clear();
}

void EvpnVlanFloodSetSm::handleInitialized() {
  QTRACE(8, "EvpnVlanFloodSetSm::", "handleInitialized");
  vlanFloodSetHwConfig_->configDelAll();
  configSharers_.clear();
  // The configuration written gets an entry per destination: sized for all of them at
  // once, instead of doubling (and moving every entry) on the way to a million.
  mplsDestHwConfigReserve(floodSetDestinationCount(*floodSetOutput_));
  // The via index gets an entry per via, and the vias the flood sets use are those the FEC
  // side has hardware information for once it has caught up (it initializes first): a
  // size known without walking the destinations, which saves the index's growth when it
  // holds. An index that needs more grows as usual.
  hwInfoMapKeyToFloodSetEntryReserve(hwInfoMapping_->mapping().size());
  // Processing writes only this state machine's own state and the output, never the
  // input, so the input can be walked directly.
  for (auto const& [vlanId, vlanFloodSet] : floodSetOutput_->vlanFloodSet()) {
    for (auto const& [macAddr, floodSet] : vlanFloodSet->floodSet())
      processFloodSetDests(vlanId, *floodSet, true);
  }
}

void EvpnVlanFloodSetSm::processFloodSetDests(Bridging::VlanId vlanId, L2Rib::FloodSet const& floodSet,
                                              bool inFloodSet) {
  for (auto const& dest : floodSet.destSet()) processMplsDest(vlanId, floodSet.macAddr(), dest, inFloodSet);
}

void EvpnVlanFloodSetSm::processMplsDest(Bridging::VlanId vlanId, Ostra::EthAddr const& macAddr,
                                         L2Rib::Dest const& dest, bool inFloodSet) {
  QTRACE(8, "EvpnVlanFloodSetSm::", "processMplsDest", " vlan: ", vlanId, " mac: ", macAddr, " dest: ", dest);
  QOR_ASSERT_TEXT(dest.destType() == L2Rib::destTypeMpls_, "dest.destType() == L2Rib::destTypeMpls_");
  VlanMacDest const d(vlanId, macAddr, dest);
  // A destination no via can be formed for (VLAN 4095 over a per-VLAN tunnel) is skipped.
  if (auto const error = skipUnusableInput([&] { floodSetVia(d); }, inFloodSet)) {
    QTRACE(1, "EvpnVlanFloodSetSm::", "processMplsDest", " skipped vlan: ", vlanId, " mac: ", macAddr,
           " dest: ", dest, " ", *error);
    return;
  }
  updateInternalMapping(d, inFloodSet);
  processMplsDestConfig(d, inFloodSet);
}

void EvpnVlanFloodSetSm::updateInternalMapping(VlanMacDest const& d, bool inFloodSet) {
  TunnelId const tunnelId = destMplsTunnelId(d.dest());
  MplsFloodSetVia const via = floodSetVia(tunnelId, d.dest().mpls().label(), d.vlanId());
  if (inFloodSet) {
    QTRACE(1, "   add entry to internal mappings");
    tunnelToFloodSetEntryIs(tunnelId)->vlanMacDestSetIs(d);
    hwInfoMapKeyToFloodSetEntryIs(via)->vlanMacDestSetIs(d);
    return;
  }
  QTRACE(1, "   remove entry from internal mappings");
  if (TunnelVlanMacDestSet* entry = tunnelToFloodSetEntry(tunnelId)) {
    entry->vlanMacDestSetDel(d);
    if (entry->vlanMacDestSet().empty()) tunnelToFloodSetEntryDel(tunnelId);
  }
  if (MplsFloodSetViaToVlanMacDestSet* entry = hwInfoMapKeyToFloodSetEntry(via)) {
    entry->vlanMacDestSetDel(d);
    if (entry->vlanMacDestSet().empty()) hwInfoMapKeyToFloodSetEntryDel(via);
  }
}

void EvpnVlanFloodSetSm::processMplsDestConfig(VlanMacDest const& d, bool inFloodSet) {
  QTRACE(8, "EvpnVlanFloodSetSm::", "processMplsDestConfig", " vlan: ", d.vlanId(), " mac: ", d.macAddr(),
         " dest: ", d.dest());
  // A destination that has left loses its configuration whatever its via's hardware
  // information: the lookup then feeds only the trace line, so it is made only when the
  // line is on (one probe of a table with an entry per via saved per destination removed).
  if (inFloodSet || qorTraceHandle_.enabled(1)) {
    MplsFloodSetVia const via = floodSetVia(d);
    bool const hwInfoReady = hwInfoMapping_->mappingHas(via);
    if (hwInfoReady && inFloodSet) {
      addOrUpdateMplsDestHwConfig(d);
      return;
    }
    if (!hwInfoReady)
      QTRACE(1, "   hwId not ready for dest, tunnelId: ", via.tunnelId(), " label: ", via.label());
  }
  deleteMplsDestHwConfig(d);
}

MplsDestConfig EvpnVlanFloodSetSm::createMplsDestConfig(VlanMacDest const& d) const {
  TunnelId const tunnelId = destMplsTunnelId(d.dest());
  QOR_ASSERT_TEXT(tunnelId != Tunnel::TunnelTable::TunnelId::invalid(),
                  "tunnelId != Tunnel::TunnelTable::TunnelId::invalid()");
  Ostra::MplsLabel const label = d.dest().mpls().label();
  // The in-process table is never corrupt; a missing row gives the default (invalid) ID.
  HwTunnelId const hwTunnelId = hwTunnelIdMapping_->tunnelIdToHwTunnelId(tunnelId).hwTunnelId();
  MplsFloodSetVia const key = floodSetVia(tunnelId, label, d.vlanId());
  MplsDestHwInfo const* hwInfo = hwInfoMapping_->mapping().find(key);
  QOR_ASSERT_TEXT(hwInfo != nullptr, "hwInfoMapping()->mappingHas( key )");
  return MplsDestConfig(tunnelId, label, hwTunnelId, hwInfo->hwIdForTunnelProgramming(), hwInfo->l2IntfId());
}

// The configuration is recorded before the output is written, so that anything the write
// sets off (the platform answering, the FEC side reacting) already sees it.
void EvpnVlanFloodSetSm::addOrUpdateMplsDestHwConfig(VlanMacDest const& d) {
  MplsDestConfig const config = createMplsDestConfig(d);
  Bridging::MacVlanPair const pair(d.macAddr(), d.vlanId());
  if (MplsDestConfig const* written = mplsDestHwConfig().find(d)) {
    MplsDestConfig const old = *written;
    if (old == config) {
      QTRACE(1, "   no change in hardware config, skip ", config);
      return;
    }
    QTRACE(1, "   update hardware config, existing: ( tunnelId: ", old.tunnelId(), " label: ", old.label(),
           " hwTunnelId: ", old.hwTunnelId(), " hwId: ", old.hwIdForTunnelProgramming(),
           " l2IntfId: ", old.l2IntfId(), " ), new: ( tunnelId: ", config.tunnelId(),
           " label: ", config.label(), " hwTunnelId: ", config.hwTunnelId(),
           " hwId: ", config.hwIdForTunnelProgramming(), " l2IntfId: ", config.l2IntfId(), " )");
    mplsDestHwConfigIs(d, config);
    Qor::Ptr<VlanFloodSetConfig> const out(vlanFloodSetHwConfig_->configIs(pair));
    releaseConfigElement(*out, pair, old);
    claimConfigElement(*out, pair, config);
    return;
  }
  QTRACE(1, "   add hardware config: tunnelId: ", config.tunnelId(), " label: ", config.label(),
         " hwTunnelId: ", config.hwTunnelId(), " hwId: ", config.hwIdForTunnelProgramming(),
         " l2IntfId: ", config.l2IntfId(), " vlanId: ", d.vlanId());
  mplsDestHwConfigIs(d, config);
  claimConfigElement(*vlanFloodSetHwConfig_->configIs(pair), pair, config);
}

void EvpnVlanFloodSetSm::deleteMplsDestHwConfig(VlanMacDest const& d) {
  MplsDestConfig const* written = mplsDestHwConfig().find(d);
  if (!written) return;
  MplsDestConfig const old = *written;
  QTRACE(1, "   remove hardware config: tunnelId: ", old.tunnelId(), " label: ", old.label(),
         " hwTunnelId: ", old.hwTunnelId(), " hwId: ", old.hwIdForTunnelProgramming(),
         " l2IntfId: ", old.l2IntfId(), " vlanId: ", d.vlanId());
  mplsDestHwConfigDel(d);
  Bridging::MacVlanPair const pair(d.macAddr(), d.vlanId());
  VlanFloodSetConfig* out = vlanFloodSetHwConfig_->config(pair);
  if (!out) return;
  releaseConfigElement(*out, pair, old);
  if (out->mplsDestConfig().empty()) vlanFloodSetHwConfig_->configDel(pair);
}

void EvpnVlanFloodSetSm::claimConfigElement(VlanFloodSetConfig& out, Bridging::MacVlanPair const& pair,
                                            MplsDestConfig const& config) {
  if (!out.mplsDestConfigHas(config)) {
    out.mplsDestConfigIs(config);
    ++counters_.helperCalls;
    return;
  }
  QTRACE(1, "   hardware config shared with another destination: ", config);
  ++configSharers_.try_emplace(PairConfig{pair, config}, 0u).first->second;
}

void EvpnVlanFloodSetSm::releaseConfigElement(VlanFloodSetConfig& out, Bridging::MacVlanPair const& pair,
                                              MplsDestConfig const& config) {
  auto const sharers = configSharers_.find(PairConfig{pair, config});
  if (sharers == configSharers_.end()) {
    out.mplsDestConfigDel(config);
    ++counters_.helperCalls;
    return;
  }
  QTRACE(1, "   hardware config still used by another destination: ", config);
  if (--sharers->second == 0) configSharers_.erase(sharers);
}

void EvpnVlanFloodSetSm::handleHwTunnelIdMapping(TunnelId const& tunnelId) {
  QTRACE(8, "EvpnVlanFloodSetSm::", "handleHwTunnelIdMapping", " tunnelId: ", tunnelId);
  TunnelVlanMacDestSet const* entry = tunnelToFloodSetEntry(tunnelId);
  if (!entry) {
    QTRACE(1, " no dests associated with this tunnel ");
    return;
  }
  // processMplsDestConfig never changes the indexes, so the set can be walked directly.
  for (auto const& d : entry->vlanMacDestSet()) processMplsDestConfig(d, isDestInFloodSet(d));
}

void EvpnVlanFloodSetSm::handleHwInfoMapping(MplsFloodSetVia const& via) {
  QTRACE(8, "EvpnVlanFloodSetSm::", "handleHwInfoMapping", " ( ", via.tunnelId(), ", ", via.label(), ", ",
         via.vlanId(), " )");
  MplsFloodSetViaToVlanMacDestSet const* entry = hwInfoMapKeyToFloodSetEntry(via);
  if (!entry) {
    QTRACE(1, " hwId is not ready ");
    return;
  }
  for (auto const& d : entry->vlanMacDestSet()) processMplsDestConfig(d, isDestInFloodSet(d));
}

void EvpnVlanFloodSetSm::handleMplsDestStatus(Bridging::MacVlanPair const& pair,
                                              MplsDestConfig const& config) const {
  QTRACE(8, "EvpnVlanFloodSetSm::", "handleMplsDestStatus", " vlan: ", pair.vlanId(),
         " mac: ", pair.macAddr(), " tunnelId: ", config.tunnelId(), " label: ", config.label());
  // The status lookup feeds only the trace line, so it happens only when the line is on.
  QTRACE(1, isMplsDestConfigProgrammed(pair, config) ? "  config is programmed in hardware"
                                                     : "  config is not programmed in hardware");
}

bool EvpnVlanFloodSetSm::isDestInFloodSet(VlanMacDest const& d) const {
  L2Rib::VlanFloodSet const* vlanFloodSet = floodSetOutput_->vlanFloodSet(d.vlanId());
  L2Rib::FloodSet const* floodSet = vlanFloodSet ? vlanFloodSet->floodSet(d.macAddr()) : nullptr;
  return floodSet && floodSet->destSetHas(d.dest());
}

bool EvpnVlanFloodSetSm::isMplsDestConfigProgrammed(Bridging::MacVlanPair const& pair,
                                                    MplsDestConfig const& config) const {
  VlanFloodSetStatus const* status = vlanFloodSetHwStatus_->status(pair);
  return status && status->mplsDestStatusHas(config) && status->mplsDestStatus(config) == programmed;
}

// ---- Operator answers ----

void EvpnVlanFloodSetSm::explainDest(VlanMacDest const& d, Explanation& answer) const {
  constexpr char machine[] = "EvpnVlanFloodSetSm";
  if (!answer.initializedStep(machine, initialized())) return;
  MplsDestConfig const* config = mplsDestHwConfig().find(d);
  if (!config) {
    bool const wanted = isDestInFloodSet(d);
    answer.stepIs(
        machine, "flood-set configuration",
        wanted ? "not written: the via has no hardware information yet" : "none: not in the MPLS flood set",
        wanted ? ExplainStatus::waitingForHardware : ExplainStatus::missingInput);
    return;
  }
  HwTunnelId const hwTunnelId = config->hwTunnelId();
  Qor::String value =
      "hardware tunnel ID " + (hwTunnelId.valid() ? std::to_string(hwTunnelId.id()) : Qor::String("none")) +
      ", hardware FEC " + hexText(config->hwIdForTunnelProgramming()) + " on " + config->l2IntfId().name();
  if (!hwTunnelId.valid()) {
    answer.stepIs(machine, "flood-set configuration",
                  value + ": without a tunnel ID the chip cannot forward it",
                  ExplainStatus::waitingForHardware);
  } else {
    answer.stepIs(machine, "flood-set configuration", value);
  }
  Bridging::MacVlanPair const pair(d.macAddr(), d.vlanId());
  VlanFloodSetStatus const* status = vlanFloodSetHwStatus_->status(pair);
  HwProgrammingStatus const* programming = status ? status->mplsDestStatus().find(*config) : nullptr;
  if (!programming) {
    answer.stepIs(machine, "in hardware", "no answer from the hardware yet",
                  ExplainStatus::waitingForHardware);
  } else if (*programming != programmed) {
    answer.stepIs(machine, "in hardware", Qor::valueToStrep(*programming) + ": the platform retries it",
                  ExplainStatus::failed);
  } else {
    answer.stepIs(machine, "in hardware", "programmed");
  }
}

SmSummary EvpnVlanFloodSetSm::summary() const {
  SmSummary s("EvpnVlanFloodSetSm", counters_, unusableInputCount());
  uint64_t wanted = 0;
  uint64_t programmedCount = 0;
  for (auto const& [tunnelId, entry] : tunnelToFloodSetEntry()) wanted += entry->vlanMacDestSet().size();
  for (auto const& [d, config] : mplsDestHwConfig()) {
    programmedCount += config.hwTunnelId().valid() &&
                       isMplsDestConfigProgrammed(Bridging::MacVlanPair(d.macAddr(), d.vlanId()), config);
  }
  s.entriesIs(wanted, programmedCount);
  return s;
}

Qor::Ptr<EvpnVlanFloodSetSm> evpnVlanFloodSetSmFactory(
    Qor::Ptr<L2Rib::FloodSetOutput const> floodSetOutput,
    Qor::Ptr<TunnelIdToHwTunnelIdMapping const> hwTunnelIdMapping,
    Qor::Ptr<HwInfoMapping const> hwInfoMapping, Qor::Ptr<EvpnVlanFloodSetHwConfig> vlanFloodSetHwConfig,
    Qor::Ptr<EvpnVlanFloodSetHwStatus const> vlanFloodSetHwStatus) {
  return Qor::Ptr<EvpnVlanFloodSetSm>(new EvpnVlanFloodSetSm(
      std::move(floodSetOutput), std::move(hwTunnelIdMapping), std::move(hwInfoMapping),
      std::move(vlanFloodSetHwConfig), std::move(vlanFloodSetHwStatus)));
}

}  // namespace Fenn
