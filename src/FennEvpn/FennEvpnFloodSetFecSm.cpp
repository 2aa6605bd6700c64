#include "FennEvpn/FennEvpnFloodSetFecSm.h"

#include <utility>
#include <vector>

#include "FennEvpn/FennEvpn.h"
#include "FennEvpn/FennEvpnPreviousRunFecIds.h"
#include "FennEvpn/FennEvpnReportText.h"
#include "Qor/Assert.h"
#include "Qor/Trace.h"

QOR_TRACE_SOURCE("/src/FennEvpn/FennEvpnFloodSetFecSm")

namespace Fenn {

using Vasp::Fib::Fec;
using Vasp::Fib::FecId;

FecId indexToFecId(int64_t index) {
  QOR_ASSERT_TEXT(index >= 0, "index >= 0");
  return FecId(floodSetFecAdjType, static_cast<uint64_t>(index));
}

// VLAN flood sets are followed only once initialized. A flood set that leaves the input
// takes each destination it still holds with it, and so does a VLAN flood set that leaves:
// its reactors keep the entities alive, so their last contents are still readable.
// Processing only writes the state machine's own caches and outputs, never the input.
struct EvpnFloodSetFecSm::FloodSetHooks : FloodSetHookDefaults {
  using Sm = EvpnFloodSetFecSm;
  static constexpr Qor::TraceHandle& traceHandle = qorTraceHandle_;
  static constexpr char floodSetOutputTrace[] = "EvpnFloodSetFecSm::QorFloodSetOutput::";
  static constexpr char vlanFloodSetTrace[] = "EvpnFloodSetFecSm::QorVlanFloodSet::";
  static constexpr char floodSetTrace[] = "EvpnFloodSetFecSm::QorFloodSet::";
  static constexpr bool followsOnlyOnceInitialized = true;

  static void destSetChanged(Sm& sm, Bridging::VlanId vlanId, L2Rib::FloodSet const& floodSet,
                             L2Rib::Dest const& dest, bool inFloodSet) {
    sm.processMplsDest(vlanId, floodSet.macAddr(), dest, inFloodSet);
  }

  static void vlanFloodSetRemoved(QorVlanFloodSet& reactor) {
    QTRACE(8, vlanFloodSetTrace, "handleVlanFloodSetRemoved", " vlan: ", reactor.notifier()->vlanId());
    for (auto const& [macAddr, floodSet] : reactor.floodSets()) floodSetRemoved(*floodSet);
  }

  static void floodSetRemoved(QorFloodSet& reactor) {
    QTRACE(8, floodSetTrace, "handleFloodSetRemoved", " vlan: ", reactor.vlanId(),
           " mac: ", reactor.notifier()->macAddr());
    reactor.handleFloodSet(false);
  }
};

// Watches the hardware's status of one flood set's configurations.
class EvpnFloodSetFecSm::QorVlanFloodSetStatus
    : public Qor::ReactorOf<VlanFloodSetStatus, EvpnFloodSetFecSm> {
 public:
  using ReactorOf::ReactorOf;

  void onCreate() override { handleVlanFloodSetStatus(); }

  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id == VlanFloodSetStatus::mplsDestStatusAttr) {
      sm()->handleMplsDestStatus(notifier()->macVlanPair(), Qor::keyAs<MplsDestConfig>(key));
    }
  }

  // Also runs when the status has left the hardware report: its last entries then all
  // read as no longer programmed.
  void handleVlanFloodSetStatus() {
    QTRACE(8, "EvpnFloodSetFecSm::QorVlanFloodSetStatus::", "handleVlanFloodSetStatus",
           " pair: ", notifier()->macVlanPair());
    // A snapshot: what follows from one entry may reach the platform, which writes this status.
    for (auto const& config : notifier()->mplsDestStatus().keys()) {
      sm()->handleMplsDestStatus(notifier()->macVlanPair(), config);
    }
  }
};

// Keeps one QorVlanFloodSetStatus per (VLAN, MAC) pair of the hardware's report.
class EvpnFloodSetFecSm::QorVlanFloodSetHwStatus
    : public Qor::ReactorOf<EvpnVlanFloodSetHwStatus, EvpnFloodSetFecSm> {
 public:
  using ReactorOf::ReactorOf;

  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id == EvpnVlanFloodSetHwStatus::statusAttr) handleStatus(Qor::keyAs<Bridging::MacVlanPair>(key));
  }

 private:
  void handleStatus(Bridging::MacVlanPair const& pair) {
    QTRACE(8, "EvpnFloodSetFecSm::QorVlanFloodSetHwStatus::", "handleStatus", " pair: ", pair);
    if (!sm()->initialized()) {
      QTRACE(8, " Not initialized!");
      return;
    }
    auto& reactors = sm()->vlanFloodSetStatus_;
    VlanFloodSetStatus const* status = notifier()->status(pair);
    // A status that left, or that a new one of the same pair replaced: its entries read
    // as no longer programmed (or as the new status has them) before its reactor goes.
    if (QorVlanFloodSetStatus* reactor = reactors.get(pair); reactor && reactor->notifier() != status) {
      reactor->handleVlanFloodSetStatus();
      reactors.del(pair);
    }
    if (status) reactors.add(pair, status, sm());
  }
};

class EvpnFloodSetFecSm::QorHwTunnelIdMapping : public TunnelIdToHwTunnelIdReactor<EvpnFloodSetFecSm> {
 public:
  using TunnelIdToHwTunnelIdReactor::TunnelIdToHwTunnelIdReactor;
  void tunnelIdToHwTunnelIdNotify(TunnelId const& tunnelId) override {
    if (sm()->initialized()) sm()->handleHwTunnelIdMapping(tunnelId);
  }
};

class EvpnFloodSetFecSm::QorMplsFloodSetFecResponse
    : public Vasp::TableReactor<FecIdToHwFecIdResponse, EvpnFloodSetFecSm> {
 public:
  using TableReactor::TableReactor;
  void notify(FecId const& fecId) override {
    if (sm()->initialized()) sm()->handleFecResponse(fecId);
  }
};

EvpnFloodSetFecSm::EvpnFloodSetFecSm(Qor::Ptr<L2Rib::FloodSetOutput const> floodSetOutput,
                                     Qor::Ptr<TunnelIdToHwTunnelIdMapping const> hwTunnelIdMapping,
                                     Qor::Ptr<EvpnVlanFloodSetHwStatus const> vlanFloodSetHwStatus,
                                     Qor::Ptr<FecIdToHwFecIdRequest> mplsFloodSetFecRequest,
                                     Qor::Ptr<FecIdToHwFecIdResponse const> mplsFloodSetFecResponse,
                                     Qor::Ptr<HwInfoMapping> hwInfoMapping,
                                     Qor::Ptr<Keel::TimerWheel> timerWheel)
    : floodSetOutput_(std::move(floodSetOutput)),
      hwTunnelIdMapping_(std::move(hwTunnelIdMapping)),
      vlanFloodSetHwStatus_(std::move(vlanFloodSetHwStatus)),
      mplsFloodSetFecRequest_(std::move(mplsFloodSetFecRequest)),
      mplsFloodSetFecResponse_(std::move(mplsFloodSetFecResponse)),
      hwInfoMapping_(std::move(hwInfoMapping)),
      timerWheel_(std::move(timerWheel)) {
  qorVlanFloodSetHwStatus_ = Qor::newReactor<QorVlanFloodSetHwStatus>(vlanFloodSetHwStatus_.get(), this);
  qorFloodSetOutput_ = Qor::newReactor<QorFloodSetOutput>(floodSetOutput_.get(), this);
  qorMplsFloodSetFecResponse_ =
      Qor::newReactor<QorMplsFloodSetFecResponse>(mplsFloodSetFecResponse_.get(), this);
  qorHwTunnelIdMapping_ = Qor::newReactor<QorHwTunnelIdMapping>(hwTunnelIdMapping_.get(), this);
}

EvpnFloodSetFecSm::~EvpnFloodSetFecSm() {
  // Reactors go first, so that withdrawing the outputs calls nothing back in here.
  qorHwTunnelIdMapping_.reset();
  qorMplsFloodSetFecResponse_.reset();
  qorFloodSetOutput_.reset();
  qorVlanFloodSetHwStatus_.reset();
  vlanFloodSetStatus_.delAll();
  for (auto const& [via, fecId] : mplsFloodSetViaCache()) {
    mplsFloodSetFecRequest_->rowDel(fecId);
    hwInfoMapping_->mappingDel(via);
  }
}

Keel::NumAllocatorStatus EvpnFloodSetFecSm::numAllocatorStatus() const {
  return numAllocator_ ? numAllocator_->status() : Keel::NumAllocatorStatus();
}

namespace {
struct PreviousRunTexts {
  static constexpr char keptUntilResponseGoes[] =
      "   fecId answered for a previous run, kept until its response goes: ";
};
}  // namespace

void EvpnFloodSetFecSm::handleInitialized() {
  QTRACE(8, "EvpnFloodSetFecSm::", "handleInitialized");
  numAllocatorConfig_ = Keel::NumAllocatorConfig(Keel::Range(fecIndexFirst, fecIndexLast), fecIndexHoldBack);
  numAllocator_ = Qor::Ptr<Keel::NumAllocator>(new Keel::NumAllocator(numAllocatorConfig_, timerWheel_));
  // Requests the previous instance left are withdrawn, and IDs it left answered held.
  reservePreviousRunFecIds<PreviousRunTexts>(qorTraceHandle_, *mplsFloodSetFecRequest_,
                                             *mplsFloodSetFecResponse_, *this);
  // The reactors ignored everything until now; show each of them its input's whole state.
  // The hardware status goes first, so that no via that is still programmed looks unused.
  qorVlanFloodSetHwStatus_->onCreate();
  qorFloodSetOutput_->onCreate();
  qorMplsFloodSetFecResponse_->onCreate();
  qorHwTunnelIdMapping_->onCreate();
}

// Whether a configuration of the pair other than `config` that is programmed goes through
// the same via. In one flood set a via is a tunnel and a label, and a configuration is
// hashed on those two alone, so the configurations of one via share a probe run of the
// status and only that run is read, not the whole flood set.
bool EvpnFloodSetFecSm::isViaProgrammedInPair(VlanFloodSetStatus const* status,
                                              MplsDestConfig const& config) {
  return status && status->mplsDestStatus().anyWithHashOf(config, [&](auto const& entry) {
    auto const& [other, programming] = entry;
    return programming == programmed && other.tunnelId() == config.tunnelId() &&
           other.label() == config.label() && other != config;
  });
}

void EvpnFloodSetFecSm::processMplsDest(Bridging::VlanId vlanId, Ostra::EthAddr macAddr,
                                        L2Rib::Dest const& dest, bool inFloodSet) {
  QTRACE(8, "EvpnFloodSetFecSm::", "processMplsDest", " vlan: ", vlanId, " mac: ", macAddr, " dest: ", dest);
  QOR_ASSERT_TEXT(dest.destType() == L2Rib::destTypeMpls_, "dest.destType() == L2Rib::destTypeMpls_");
  TunnelId const tunnelId = destMplsTunnelId(dest);
  if (tunnelId == TunnelId::invalid()) {
    QTRACE(1, "  Invalid tunnelId not supported ");
    return;
  }
  MplsFloodSetVia via;
  // A destination no via can be formed for (VLAN 4095 over a per-VLAN tunnel) is skipped.
  if (auto const error =
          skipUnusableInput([&] { via = floodSetVia(tunnelId, dest.mpls().label(), vlanId); }, inFloodSet)) {
    QTRACE(1, "EvpnFloodSetFecSm::", "processMplsDest", " skipped vlan: ", vlanId, " mac: ", macAddr,
           " dest: ", dest, " ", *error);
    return;
  }
  VlanMacDest const vlanMacDest(vlanId, macAddr, dest);
  // Whether a destination still uses the via follows from the index written here.
  bool viaUsed = inFloodSet;
  if (inFloodSet) {
    floodSetEntryCacheIs(via)->vlanMacDestSetIs(vlanMacDest);
  } else if (MplsFloodSetViaToVlanMacDestSet* entry = floodSetEntryCache(via)) {
    entry->vlanMacDestSetDel(vlanMacDest);
    viaUsed = !entry->vlanMacDestSet().empty();
    if (!viaUsed) floodSetEntryCacheDel(via);
  }
  processFecRequest(via, viaUsed);
}

void EvpnFloodSetFecSm::processFecRequest(MplsFloodSetVia const& via, bool viaUsed) {
  QTRACE(8, "EvpnFloodSetFecSm::", "processFecRequest", " (tunnelId: ", via.tunnelId(),
         " label: ", via.label(), " vlanId: ", via.vlanId(), ")");
  if (viaUsed) {
    createOrUpdateFecRequest(via);
  } else if (floodSetStatusCacheHas(via)) {
    QTRACE(1, "    wait for hardware to unprogram the floodSet");
  } else {
    removeFecRequest(via);
  }
}

void EvpnFloodSetFecSm::createOrUpdateFecRequest(MplsFloodSetVia const& via) {
  QTRACE(8, "EvpnFloodSetFecSm::", "createOrUpdateFecRequest", " (tunnelId: ", via.tunnelId(),
         " label: ", via.label(), " vlanId: ", via.vlanId(), ")");
  FecId const fecId = getOrAllocateFecId(via);
  // A FEC is built from its ID and its via alone, so a standing request is already what
  // it would be rewritten to (and its caches are in place): every further destination of
  // a via costs two lookups instead of a FEC built and compared.
  if (!mplsFloodSetFecRequest_->rowHas(fecId)) {
    Fec fec = buildFec(fecId, via);
    updateCachesForFecId(fecId, via, true);
    updateTunnelInfoCache(via, true);
    mplsFloodSetFecRequest_->rowIs(std::move(fec));
    ++counters_.helperCalls;
  }
  // The request does not depend on the hardware tunnel ID: it is looked up for the trace
  // only, and only when the trace is on.
  QTRACE(2, "     mplsFloodSetFecRequest created or updated: (tunnelId: ", via.tunnelId(),
         " label: ", via.label(),
         " hwTunnelId:", hwTunnelIdMapping_->tunnelIdToHwTunnelId(via.tunnelId()).hwTunnelId(),
         " fecId: ", fecId, ")");
}

void EvpnFloodSetFecSm::removeFecRequest(MplsFloodSetVia const& via) {
  QTRACE(8, "EvpnFloodSetFecSm::", "removeFecRequest", " (tunnelId: ", via.tunnelId(),
         " label: ", via.label(), " vlanId: ", via.vlanId(), ")");
  FecId const* cached = mplsFloodSetViaCache().find(via);
  if (!cached) {
    QTRACE(1, "     fecId not found, fecRequest already removed");
    return;
  }
  FecId const fecId = *cached;
  mplsFloodSetFecRequest_->rowDel(fecId);
  ++counters_.helperCalls;
  maybeDeleteFecId(fecId);
  updateTunnelInfoCache(via, false);
  QTRACE(2, "     mplsFloodSetFecRequest removed: (tunnelId: ", via.tunnelId(), " label: ", via.label(),
         " fecId: ", fecId, ")");
}

// An ID stays allocated while the hardware may still answer for it, and while a request
// with it is out: releasing it earlier would let the allocator hand it to another via.
void EvpnFloodSetFecSm::maybeDeleteFecId(FecId fecId) {
  QTRACE(8, "EvpnFloodSetFecSm::", "maybeDeleteFecId", " fecId: ", fecId);
  // Removing a request can bring the response's removal back in here before the removal
  // returns: the ID may already be released. Nothing below writes the cache before the via
  // is copied out of it.
  MplsFloodSetVia const* cachedVia = fecIdCache().find(fecId);
  if (!cachedVia) return;
  if (hasFecResponse(fecId)) {
    QTRACE(5, "   keeping fecId until its response is removed: ", fecId);
    return;
  }
  if (mplsFloodSetFecRequest_->rowHas(fecId)) {
    QTRACE(5, "   keeping fecId while it is requested: ", fecId);
    return;
  }
  QTRACE(5, "   Deleting fecId: ", fecId);
  MplsFloodSetVia const via = *cachedVia;
  updateCachesForFecId(fecId, via, false);
  numAllocator_->releaseNumber(static_cast<Keel::NumAllocator::Number>(fecId.index()));
}

FecId EvpnFloodSetFecSm::getOrAllocateFecId(MplsFloodSetVia const& via) {
  FecId const cached = mplsFloodSetViaCache(via);
  if (cached.valid()) return cached;
  Keel::NumAllocator::Number index = numAllocator_->getNumber();
  // A number whose ID a previous instance still has a response for is held until it goes.
  while (index != numAllocator_->invalidNumber() && previousRunFecIdHas(indexToFecId(index))) {
    QTRACE(5, "   fecId still answered for a previous run, skipped: ", indexToFecId(index));
    previousRunFecIdIs(indexToFecId(index), true);
    index = numAllocator_->getNumber();
  }
  QOR_ASSERT_TEXT(index != numAllocator()->invalidNumber() && "FecId range exhausted, Not possible",
                  "index != numAllocator()->invalidNumber() && \"FecId range exhausted, Not possible\"");
  FecId const fecId = indexToFecId(index);
  QTRACE(5, "   allocated fecId: ", fecId, " for tunnelId: ", via.tunnelId(), " label: ", via.label(),
         " vlanId: ", via.vlanId());
  return fecId;
}

Fec EvpnFloodSetFecSm::buildFec(FecId fecId, MplsFloodSetVia const& via) const {
  Vasp::Fib::Via fibVia;
  fibVia.intfIdIs(via.tunnelId().intfId());
  fibVia.labelAndActionIs(Ostra::MplsLabelAndAction(Ostra::MplsLabel::none(), Ostra::mplsActionNone));
  fibVia.mplsLabelIs(via.label());
  fibVia.weightIs(1);
  fibVia.backupIs(false);
  Fec fec(fecId);
  fec.viaIs(Vasp::Fib::ViaIndex(0), fibVia);
  return fec;
}

void EvpnFloodSetFecSm::updateCachesForFecId(FecId fecId, MplsFloodSetVia const& via, bool add) {
  if (add) {
    fecIdCacheIs(fecId, via);
    mplsFloodSetViaCacheIs(via, fecId);
  } else {
    fecIdCacheDel(fecId);
    mplsFloodSetViaCacheDel(via);
  }
}

void EvpnFloodSetFecSm::updateTunnelInfoCache(MplsFloodSetVia const& via, bool add) {
  if (add) {
    tunnelInfoCacheIs(via.tunnelId())->mplsFloodSetViaSetIs(via);
  } else if (TunnelIdToMplsFloodSetVia* entry = tunnelInfoCache(via.tunnelId())) {
    entry->mplsFloodSetViaSetDel(via);
    if (entry->mplsFloodSetViaSet().empty()) tunnelInfoCacheDel(via.tunnelId());
  }
}

// Any row counts, even one without an interface: the hardware may still speak of the ID.
bool EvpnFloodSetFecSm::hasFecResponse(FecId fecId) const { return mplsFloodSetFecResponse_->rowHas(fecId); }

void EvpnFloodSetFecSm::handleFecResponse(FecId fecId) {
  QTRACE(8, "EvpnFloodSetFecSm::", "handleFecResponse", " fecId: ", fecId);
  // Each cache is read once: nothing below writes it before the value is copied.
  MplsFloodSetVia const* cachedVia = fecIdCache().find(fecId);
  if (!cachedVia) {
    bool const* held = previousRunFecId().find(fecId);
    if (held && !hasFecResponse(fecId)) {
      QTRACE(5, "   response of a previous run gone, fecId free: ", fecId);
      if (*held) numAllocator_->releaseNumber(static_cast<Keel::NumAllocator::Number>(fecId.index()));
      previousRunFecIdDel(fecId);
      return;
    }
    QTRACE(1, " got stale response for FecId:", fecId);
    return;
  }
  // Copies: publishing reaches the configuration side and the platform synchronously.
  MplsFloodSetVia const via = *cachedVia;
  FecToHwFecId const response = mplsFloodSetFecResponse_->row(fecId);
  if (!response.intfId().empty()) {
    hwInfoMapping_->mappingIs(via, MplsDestHwInfo(response.hwFecId(), response.intfId()));
    QTRACE(1, " add or update hwInfo for tunnelId: ", via.tunnelId(), " label: ", via.label(),
           " vlanId: ", via.vlanId(), " hwId: ", response.hwFecId(), " l2IntfId: ", response.intfId());
    return;
  }
  if (hwInfoMapping_->mappingDel(via)) {
    QTRACE(1, " delete hwInfo for tunnelId: ", via.tunnelId(), " label: ", via.label(),
           " vlanId: ", via.vlanId());
  }
  maybeDeleteFecId(fecId);
}

void EvpnFloodSetFecSm::handleHwTunnelIdMapping(TunnelId tunnelId) {
  QTRACE(8, "EvpnFloodSetFecSm::", "handleHwTunnelIdMapping", " tunnelId: ", tunnelId);
  TunnelIdToMplsFloodSetVia const* entry = tunnelInfoCache(tunnelId);
  if (!entry) {
    QTRACE(1, " no fecRequest associated with this tunnel ");
    return;
  }
  for (auto const& via : entry->mplsFloodSetViaSet().keys())
    processFecRequest(via, floodSetEntryCacheHas(via));
}

void EvpnFloodSetFecSm::handleMplsDestStatus(Bridging::MacVlanPair const& pair,
                                             MplsDestConfig const& config) {
  QTRACE(8, "EvpnFloodSetFecSm::", "handleMplsDestStatus", " vlan: ", pair.vlanId(), " mac: ", pair.macAddr(),
         " tunnelId: ", config.tunnelId(), " label: ", config.label());
  MplsFloodSetVia via;
  // The hardware's word on a configuration no via can be formed for is skipped. The status
  // is read once: nothing below writes it before the last use of `programming`.
  VlanFloodSetStatus const* status = vlanFloodSetHwStatus_->status(pair);
  HwProgrammingStatus const* programming = status ? status->mplsDestStatus().find(config) : nullptr;
  if (auto const error =
          skipUnusableInput([&] { via = floodSetVia(config.tunnelId(), config.label(), pair.vlanId()); },
                            programming != nullptr)) {
    QTRACE(1, "EvpnFloodSetFecSm::", "handleMplsDestStatus", " skipped vlan: ", pair.vlanId(),
           " mac: ", pair.macAddr(), " config: ", config, " ", *error);
    return;
  }
  if (programming && *programming == programmed) {
    floodSetStatusCacheIs(via)->statusIs(pair);
    return;
  }
  // Another destination of the same flood set may share the via and still be programmed.
  if (isViaProgrammedInPair(status, config)) return;
  if (MplsFloodSetViaToFloodSetStatus* entry = floodSetStatusCache(via)) {
    entry->statusDel(pair);
    if (entry->status().empty()) floodSetStatusCacheDel(via);
  }
  QTRACE(1, "  config is removed from hardware");
  processFecRequest(via, floodSetEntryCacheHas(via));
}

// ---- Operator answers ----

void EvpnFloodSetFecSm::explainVia(MplsFloodSetVia const& via, Explanation& answer) const {
  constexpr char machine[] = "EvpnFloodSetFecSm";
  if (!answer.initializedStep(machine, initialized())) return;
  FecId const* fecId = mplsFloodSetViaCache().find(via);
  if (!fecId || !mplsFloodSetFecRequest_->rowHas(*fecId)) {
    answer.stepIs(machine, "FEC request", "none: no MPLS flood-set destination uses the via",
                  ExplainStatus::missingInput);
    return;
  }
  Qor::String request = "FEC ID " + hexText(fecId->value());
  if (!floodSetEntryCacheHas(via)) request += ", draining: unused, kept while the hardware still reports it";
  answer.stepIs(machine, "FEC request", request);
  if (!mplsFloodSetFecResponse_->rowHas(*fecId)) {
    answer.stepIs(machine, "FEC answer", "none yet: the hardware has not answered",
                  ExplainStatus::waitingForHardware);
    return;
  }
  FecToHwFecId const response = mplsFloodSetFecResponse_->row(*fecId);
  if (response.intfId().empty()) {
    answer.stepIs(machine, "FEC answer",
                  "hardware FEC " + hexText(response.hwFecId()) + " without an interface",
                  ExplainStatus::waitingForHardware);
    return;
  }
  answer.stepIs(machine, "FEC answer",
                "hardware FEC " + hexText(response.hwFecId()) + " on " + response.intfId().name());
}

SmSummary EvpnFloodSetFecSm::summary() const {
  SmSummary s("EvpnFloodSetFecSm", counters_, unusableInputCount());
  uint64_t answered = 0;
  for (auto const& [via, entry] : floodSetEntryCache()) answered += hwInfoMapping_->mappingHas(via);
  s.entriesIs(floodSetEntryCache().size(), answered);
  s.fecIdsIs(numAllocatorStatus(), fecIndexLast - fecIndexFirst + 1,
             numAllocator_ ? numAllocator_->inUseHighWater() : 0);
  return s;
}

Qor::Ptr<EvpnFloodSetFecSm> evpnFloodSetFecSmFactory(
    Qor::Ptr<L2Rib::FloodSetOutput const> floodSetOutput,
    Qor::Ptr<TunnelIdToHwTunnelIdMapping const> hwTunnelIdMapping,
    Qor::Ptr<EvpnVlanFloodSetHwStatus const> vlanFloodSetHwStatus,
    Qor::Ptr<FecIdToHwFecIdRequest> mplsFloodSetFecRequest,
    Qor::Ptr<FecIdToHwFecIdResponse const> mplsFloodSetFecResponse, Qor::Ptr<HwInfoMapping> hwInfoMapping,
    Qor::Ptr<Keel::TimerWheel> timerWheel) {
  return Qor::Ptr<EvpnFloodSetFecSm>(new EvpnFloodSetFecSm(
      std::move(floodSetOutput), std::move(hwTunnelIdMapping), std::move(vlanFloodSetHwStatus),
      std::move(mplsFloodSetFecRequest), std::move(mplsFloodSetFecResponse), std::move(hwInfoMapping),
      std::move(timerWheel)));
}

}  // namespace Fenn
