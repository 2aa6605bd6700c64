#include "FennEvpn/FennMacAddrFecRequestSm.h"

#include <algorithm>
#include <array>
#include <optional>
#include <span>
#include <stdexcept>
#include <utility>

#include "FennEvpn/FennEvpnPreviousRunFecIds.h"
#include "FennEvpn/FennEvpnReportText.h"
#include "Qor/Assert.h"
#include "Qor/Toggle.h"
#include "Qor/Trace.h"

QOR_TRACE_SOURCE("/src/FennEvpn/FennMacAddrFecRequestSm")

namespace Fenn {

using Bridging::MacVlanPair;
using L2Rib::ObjTuple;
using Vasp::Fib::Fec;
using Vasp::Fib::FecId;

FecId idToFecId(int64_t id, uint8_t adjType) {
  QOR_ASSERT_TEXT(id >= 0, "id >= 0");
  return FecId(adjType, static_cast<uint64_t>(id));
}

// The four RIB tables: each changed key goes to its handler once initialized, and into
// the backlog before.
class FennMacAddrFecRequestSm::QorL2RibOutput
    : public Qor::ReactorOf<L2Rib::HostOutput, FennMacAddrFecRequestSm> {
 public:
  using ReactorOf::ReactorOf;
  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id != L2Rib::HostOutput::hostAttr) return;
    MacVlanPair const& macVlan = Qor::keyAs<MacVlanPair>(key);
    if (!sm()->initialized()) {
      sm()->hostBackLogQIs(macVlan);
      sm()->backLogQsDrainedIs(false);
      return;
    }
    sm()->hostBackLogQDel(macVlan);
    sm()->handleL2RibHost(macVlan);
  }
};

// Label, load-balance and destination tables share one shape: Attr is the table's
// collection, Id its key, handle the state machine's handler.
template <class Table, Qor::AttributeId attr, class Id, void (FennMacAddrFecRequestSm::*handle)(Id)>
class ObjTableReactor : public Qor::ReactorOf<Table, FennMacAddrFecRequestSm> {
 public:
  using Qor::ReactorOf<Table, FennMacAddrFecRequestSm>::ReactorOf;
  void onAttribute(Qor::AttributeId id, void const* key) override {
    if (id != attr) return;
    Id const objId = Qor::keyAs<Id>(key);
    FennMacAddrFecRequestSm* sm = this->sm();
    if (!sm->initialized()) {
      sm->objTupleBackLogQIs(objId.tuple());
      sm->backLogQsDrainedIs(false);
      return;
    }
    sm->objTupleBackLogQDel(objId.tuple());
    (sm->*handle)(objId);
  }
};

class FennMacAddrFecRequestSm::QorLabelTable
    : public ObjTableReactor<L2Rib::LabelOutput, L2Rib::LabelOutput::labelAttr, L2Rib::LabelId,
                             &FennMacAddrFecRequestSm::handleLabel> {
 public:
  using ObjTableReactor::ObjTableReactor;
};

class FennMacAddrFecRequestSm::QorLbTable
    : public ObjTableReactor<L2Rib::LoadBalanceOutput, L2Rib::LoadBalanceOutput::loadBalanceAttr,
                             L2Rib::LoadBalanceId, &FennMacAddrFecRequestSm::handleLb> {
 public:
  using ObjTableReactor::ObjTableReactor;
};

class FennMacAddrFecRequestSm::QorDestTable
    : public ObjTableReactor<L2Rib::DestOutput, L2Rib::DestOutput::destAttr, L2Rib::DestId,
                             &FennMacAddrFecRequestSm::handleDest> {
 public:
  using ObjTableReactor::ObjTableReactor;
};

// Before initialization nothing is requested, so there is nothing to hear about.
class FennMacAddrFecRequestSm::QorFecResponse
    : public Vasp::TableReactor<FecIdToHwFecIdResponse, FennMacAddrFecRequestSm> {
 public:
  using TableReactor::TableReactor;
  void notify(FecId const& fecId) override {
    if (sm()->initialized()) sm()->handleHwFecIdResponse(fecId);
  }
};

FennMacAddrFecRequestSm::FennMacAddrFecRequestSm(
    Qor::Ptr<L2Rib::LabelOutput const> labelTable, Qor::Ptr<L2Rib::LoadBalanceOutput const> lbTable,
    Qor::Ptr<L2Rib::DestOutput const> destTable, Qor::Ptr<L2Rib::HostOutput const> l2RibOutput,
    Qor::Ptr<FecIdToHwFecIdResponse const> fecResponse, Qor::Ptr<FecIdToHwFecIdRequest> fecRequest,
    Qor::Ptr<ObjTupleToHwId> objTupleToHwIdMap, Qor::Ptr<Keel::TimerWheel> timerWheel,
    Qor::Ptr<Keel::TaskScheduler> scheduler)
    : labelTable_(std::move(labelTable)),
      lbTable_(std::move(lbTable)),
      destTable_(std::move(destTable)),
      l2RibOutput_(std::move(l2RibOutput)),
      fecResponse_(std::move(fecResponse)),
      fecRequest_(std::move(fecRequest)),
      objTupleToHwIdMap_(std::move(objTupleToHwIdMap)),
      timerWheel_(std::move(timerWheel)),
      scheduler_(std::move(scheduler)),
      // The file is read once per process; this state machine takes the value once.
      vxlan4WayL2Ecmp_(Qor::getToggleState(vxlan4WayL2EcmpToggle, fennToggleFile, true)) {
  QTRACE(8, "FennMacAddrFecRequestSm::", "FennMacAddrFecRequestSm", " vxlan4WayL2Ecmp: ", vxlan4WayL2Ecmp_);
  qorLabelTable_ = Qor::newReactor<QorLabelTable>(labelTable_.get(), this);
  qorLbTable_ = Qor::newReactor<QorLbTable>(lbTable_.get(), this);
  qorDestTable_ = Qor::newReactor<QorDestTable>(destTable_.get(), this);
  qorL2RibOutput_ = Qor::newReactor<QorL2RibOutput>(l2RibOutput_.get(), this);
  qorFecResponse_ = Qor::newReactor<QorFecResponse>(fecResponse_.get(), this);
}

FennMacAddrFecRequestSm::~FennMacAddrFecRequestSm() {
  // Reactors go first, so that withdrawing the outputs calls nothing back in here.
  qorFecResponse_.reset();
  qorL2RibOutput_.reset();
  qorDestTable_.reset();
  qorLbTable_.reset();
  qorLabelTable_.reset();
  timerWheel_->timerCancel(reviewTimer_);
  for (auto const& [tuple, fecId] : fecRequestCache()) {
    fecRequest_->rowDel(fecId);
    objTupleToHwIdMap_->hwIdDel(tuple);
  }
}

void FennMacAddrFecRequestSm::maxChainLengthIs(uint32_t length) {
  if (length == maxChainLength()) return;
  maxChainLength_.set(length);
  if (length < 2 || length > 3) {
    throw std::out_of_range("FennMacAddrFecRequestSm::maxChainLength < 2 or > 3 not allowed");
  }
}

// Replacing the allocator forgets the numbers in use: only start-up does it.
void FennMacAddrFecRequestSm::numAllocatorConfigIs(Keel::NumAllocatorConfig const& config) {
  QOR_ASSERT_TEXT(fecCache().empty(), "fecCache().empty()");
  numAllocatorConfig_ = config;
  numAllocator_ = Qor::Ptr<Keel::NumAllocator>(new Keel::NumAllocator(numAllocatorConfig_, timerWheel_));
}

Keel::NumAllocatorStatus FennMacAddrFecRequestSm::numAllocatorStatus() const {
  return numAllocator_ ? numAllocator_->status() : Keel::NumAllocatorStatus();
}

namespace {
struct PreviousRunTexts {
  static constexpr char keptUntilResponseGoes[] =
      "   fecId answered for a previous run, kept until its answer goes: ";
};
}  // namespace

void FennMacAddrFecRequestSm::handleInitialized() {
  QTRACE(8, "FennMacAddrFecRequestSm::", "handleInitialized");
  numAllocatorConfigIs(Keel::NumAllocatorConfig(fecIdRange(), fecIdHoldBack));
  // Requests the previous instance left are withdrawn, and IDs it left answered held.
  reservePreviousRunFecIds<PreviousRunTexts>(qorTraceHandle_, *fecRequest_, *fecResponse_, *this);
  reviewBacklog_ = Qor::Ptr<Keel::Task>(
      new Keel::Task(scheduler_, Keel::priorityNormal, "reviewTask", [this] { doReviewBacklog(); }));
  // The reactors' initial walks have put every label, load balance, destination and host
  // into the backlogs; the review works them off without holding the event loop.
  maybeScheduleBacklogReview();
}

void FennMacAddrFecRequestSm::maybeScheduleBacklogReview() {
  if (objTupleBackLogQ().empty() && hostBackLogQ().empty()) return;
  backLogQsDrainedIs(false);
  reviewBacklog_->scheduleTask();
}

void FennMacAddrFecRequestSm::doReviewBacklog() {
  QTRACE(8, "FennMacAddrFecRequestSm::", "doReviewBacklog", " objTuples: ", objTupleBackLogQ().size(),
         " hosts: ", hostBackLogQ().size());
  QOR_ASSERT_TEXT(initialized(), "initialized()");
  // Objects first: hosts then find their chains known.
  if (!drainBacklog(objTuplePass_) || !drainBacklog(hostPass_)) {
    QTRACE(5, "FennMacAddrFecRequestSm::", "doReviewBacklog", " yield");
    reviewTimer_ = timerWheel_->timerAfter(reviewInterval(), [this] {
      reviewTimer_ = Keel::TimerWheel::noTimer;
      reviewBacklog_->scheduleTask();
    });
    return;
  }
  reviewBacklog_->unscheduleTask();
  backLogQsDrainedIs(true);
}

// Returns false when the task must yield before the queue is empty.
template <class K>
bool FennMacAddrFecRequestSm::drainBacklog(BacklogPass<K>& pass) {
  auto& queue = [this]() -> auto& {
    if constexpr (std::is_same_v<K, ObjTuple>) {
      return objTupleBackLogQ();
    } else {
      return hostBackLogQ();
    }
  }
  ();
  while (!queue.empty()) {
    if (pass.next == pass.keys.size()) {
      pass.keys = queue.keys();
      pass.next = 0;
    }
    K const key = pass.keys[pass.next++];
    // Handled meanwhile by its own notification, or queued twice across passes.
    if (!queue.has(key)) continue;
    processBacklogEntry(key);
    reviewBacklog_->taskWorkCountInc(1);
    if (!queue.empty() && reviewBacklog_->taskShouldYield()) return false;
  }
  pass.keys.clear();
  pass.keys.shrink_to_fit();
  pass.next = 0;
  return true;
}

void FennMacAddrFecRequestSm::processBacklogEntry(MacVlanPair const& macVlan) {
  hostBackLogQDel(macVlan);
  handleL2RibHost(macVlan);
}

void FennMacAddrFecRequestSm::processBacklogEntry(ObjTuple const& tuple) {
  objTupleBackLogQDel(tuple);
  if (tuple.tableType() == L2Rib::tableTypeDest_) {
    handleDest(L2Rib::DestId(tuple.objId()));
  } else {
    processFirstLevelNextHop(tuple);
  }
}

// Hosts.

void FennMacAddrFecRequestSm::handleL2RibHost(MacVlanPair const& macVlan) {
  QTRACE(1, "FennMacAddrFecRequestSm:", "handleL2RibHost", " MacVlan:", macVlan, " Mac:", macVlan.macAddr(),
         " Vlan:", macVlan.vlanId());
  HostChange const change = updateMapsForHostTableChange(l2RibOutput_->host().find(macVlan), macVlan);
  // Only an object that gained its first host or lost its last one changes: every other
  // host move is a count. The new object goes first: when it is a label over the load
  // balance the host used directly, the load balance keeps its FEC ID instead of losing
  // and regaining it.
  if (change.newGainedFirstHost) processFirstLevelNextHop(change.newTuple);
  if (change.oldLostLastHost) processFirstLevelNextHop(change.oldTuple);
}

void FennMacAddrFecRequestSm::processFirstLevelNextHop(ObjTuple const& tuple) {
  switch (tuple.tableType()) {
    case L2Rib::tableTypeLabel_:
      handleLabel(L2Rib::LabelId(tuple.objId()));
      break;
    case L2Rib::tableTypeLoadBalance_:
      handleLb(L2Rib::LoadBalanceId(tuple.objId()));
      break;
    case L2Rib::tableTypeDest_:
    case L2Rib::tableTypeInvalid_:
      break;
  }
}

FennMacAddrFecRequestSm::HostChange FennMacAddrFecRequestSm::updateMapsForHostTableChange(
    L2Rib::HostAndSource const* host, MacVlanPair const& macVlan) {
  HostChange change;
  change.oldTuple = macVlanToObjTupleCache(macVlan);
  change.newTuple = host ? host->objTuple() : ObjTuple();
  if (change.newTuple.tableType() == L2Rib::tableTypeDest_) {
    // A host straight on a destination is forwarded by the destination itself (4-way
    // layer-2 ECMP over VXLAN); without the feature the RIB must not produce one.
    QOR_ASSERT_TEXT(vxlan4WayL2EcmpEnabled(), "vxlan4WayL2EcmpEnabled()");
  }
  if (change.newTuple == change.oldTuple) return HostChange();
  if (change.oldTuple.tableType() != L2Rib::tableTypeInvalid_) {
    change.oldLostLastHost = isFirstLevelNextHopDec(change.oldTuple) == 0;
    if (change.oldLostLastHost) isFirstLevelNextHopDel(change.oldTuple);
    macVlanToObjTupleCacheDel(macVlan);
  }
  if (change.newTuple.tableType() != L2Rib::tableTypeInvalid_) {
    change.newGainedFirstHost = isFirstLevelNextHopInc(change.newTuple) == 1;
    macVlanToObjTupleCacheIs(macVlan, change.newTuple);
  }
  return change;
}

// Labels.

void FennMacAddrFecRequestSm::handleLabel(L2Rib::LabelId labelId) {
  QTRACE(1, "FennMacAddrFecRequestSm:", "handleLabel", " LabelId:", labelId);
  ObjTuple const tuple = labelId.tuple();
  L2Rib::Label const* found = labelTable_->label().find(labelId);
  std::optional<L2Rib::Label> const label = found ? std::optional(*found) : std::nullopt;
  NextChange const next = updateMapsForLabelTableChange(label ? &*label : nullptr, labelId, tuple);
  // A load balance the label now uses needs its FEC before the label's FEC can chain to it.
  bool const changed = next.oldNext != next.newNext;
  if (changed && next.newNext.tableType() == L2Rib::tableTypeLoadBalance_) {
    handleLb(L2Rib::LoadBalanceId(next.newNext.objId()));
  }
  rebuildFec(tuple);
  // One it no longer uses may have lost its last user.
  if (changed && next.oldNext.tableType() == L2Rib::tableTypeLoadBalance_) {
    handleLb(L2Rib::LoadBalanceId(next.oldNext.objId()));
  }
}

FennMacAddrFecRequestSm::NextChange FennMacAddrFecRequestSm::updateMapsForLabelTableChange(
    L2Rib::Label const* label, L2Rib::LabelId labelId, ObjTuple const& tuple) {
  QTRACE(8, "FennMacAddrFecRequestSm::", "updateMapsForLabelTableChange", " LabelId:", labelId);
  bool const inUse = isInUse(tuple);
  trackedIs(tuple, inUse);
  NextChange change;
  if (inUse && label) {
    change.newNext = label->next();
    QOR_ASSERT_TEXT(change.newNext.tableType() != L2Rib::tableTypeLabel_,
                    "label.next().tableType() != L2Rib::tableTypeLabel_");
    if (maxChainLength() == 2) {
      QOR_ASSERT_TEXT(change.newNext.tableType() == L2Rib::tableTypeDest_,
                      "label.next().tableType() == L2Rib::tableTypeDest_");
    } else if (change.newNext.tableType() != L2Rib::tableTypeLoadBalance_ &&
               change.newNext.tableType() != L2Rib::tableTypeDest_) {
      change.newNext = ObjTuple();
    }
  }
  ObjTupleSet const* objTupleSetForward = nextHopForwardMap(tuple);
  if (objTupleSetForward) {
    QOR_ASSERT_TEXT(objTupleSetForward->objTuples() == 1 || objTupleSetForward->objTuples() == 0,
                    "objTupleSetForward->objTuples() == 1 || objTupleSetForward->objTuples() == 0");
    change.oldNext = *objTupleSetForward->objTuple().begin();
  }
  if (change.oldNext == change.newNext) return change;
  bool const hasNext = change.newNext.tableType() != L2Rib::tableTypeInvalid_;
  forwardSetIs(tuple, std::span(&change.newNext, hasNext ? 1 : 0));
  return change;
}

// Load balances.

void FennMacAddrFecRequestSm::handleLb(L2Rib::LoadBalanceId lbId) {
  QTRACE(1, "FennMacAddrFecRequestSm:", "handleLb", " LbId:", lbId);
  ObjTuple const tuple = lbId.tuple();
  L2Rib::LoadBalance const* found = lbTable_->loadBalance().find(lbId);
  std::optional<L2Rib::LoadBalance> const lb = found ? std::optional(*found) : std::nullopt;
  updateMapsForLbTableChange(lb ? &*lb : nullptr, lbId, tuple);
  // Labels over it change only when it gains or loses its FEC: its FEC ID stays.
  if (rebuildFec(tuple)) handleDependants(tuple);
}

void FennMacAddrFecRequestSm::updateMapsForLbTableChange(L2Rib::LoadBalance const* lb,
                                                         L2Rib::LoadBalanceId lbId, ObjTuple const& tuple) {
  QTRACE(8, "FennMacAddrFecRequestSm::", "updateMapsForLbTableChange", " LbId:", lbId);
  bool const inUse = isInUse(tuple);
  trackedIs(tuple, inUse);
  if (!inUse || !lb) {
    forwardSetIs(tuple, {});
    return;
  }
  for (auto iter = lb->next().begin(); iter != lb->next().end(); ++iter) {
    QOR_ASSERT_TEXT(iter->tableType() != L2Rib::tableTypeLoadBalance_,
                    "iter->tableType() != L2Rib::tableTypeLoadBalance_");
    QOR_ASSERT_TEXT(iter->tableType() == L2Rib::tableTypeDest_, "iter->tableType() == L2Rib::tableTypeDest_");
  }
  forwardSetIs(tuple, lb->next());
}

// Destinations.

void FennMacAddrFecRequestSm::handleDest(L2Rib::DestId destId) {
  QTRACE(1, "FennMacAddrFecRequestSm:", "handleDest", " DestId:", destId);
  ObjTuple const tuple = destId.tuple();
  updateMapsForDestTableChange(destTable_->dest().find(destId), destId, tuple);
  handleDependants(tuple);
}

// A destination is a leaf: it keeps no maps of its own, it is only checked.
void FennMacAddrFecRequestSm::updateMapsForDestTableChange(L2Rib::Dest const* dest, L2Rib::DestId destId,
                                                           ObjTuple const& tuple) {
  QTRACE(8, "FennMacAddrFecRequestSm::", "updateMapsForDestTableChange", " DestId:", destId,
         " tuple: ", tuple);
  if (dest) {
    QOR_ASSERT_TEXT(dest->destType() == L2Rib::destTypeTunnel_, "dest.destType() == L2Rib::destTypeTunnel_");
  }
}

// Dependency maps.

bool FennMacAddrFecRequestSm::isInUse(ObjTuple const& tuple) const {
  if (isFirstLevelNextHop(tuple) > 0) return true;
  ObjTupleSet const* users = nextHopReverseMap(tuple);
  return tuple.tableType() == L2Rib::tableTypeLoadBalance_ && users && !users->objTuple().empty();
}

void FennMacAddrFecRequestSm::trackedIs(ObjTuple const& tuple, bool tracked) {
  tracked ? objTupleCacheIs(tuple) : void(objTupleCacheDel(tuple));
}

void FennMacAddrFecRequestSm::forwardSetIs(ObjTuple const& tuple, std::span<ObjTuple const> members) {
  auto isMember = [&](ObjTuple const& t) {
    return std::find(members.begin(), members.end(), t) != members.end();
  };
  if (ObjTupleSet* forward = nextHopForwardMap(tuple)) {
    for (ObjTuple const& old : forward->objTuple().keys()) {
      if (isMember(old)) continue;
      forward->objTupleDel(old);
      ObjTupleSet* reverse = nextHopReverseMap(old);
      reverse->objTupleDel(tuple);
      if (reverse->objTuple().empty()) nextHopReverseMapDel(old);
    }
  }
  if (members.empty()) {
    nextHopForwardMapDel(tuple);
    return;
  }
  ObjTupleSet* forward = nextHopForwardMapIs(tuple);
  for (ObjTuple const& member : members) {
    forward->objTupleIs(member);
    nextHopReverseMapIs(member)->objTupleIs(tuple);
  }
}

void FennMacAddrFecRequestSm::handleDependants(ObjTuple const& tuple) {
  QTRACE(8, "FennMacAddrFecRequestSm::", "handleDependants", " ObjTuple:", tuple);
  ObjTupleSet const* users = nextHopReverseMap(tuple);
  if (!users) return;
  for (ObjTuple const& user : users->objTuple().keys()) {
    ObjTupleSet const* forwardMapIter = nextHopForwardMap(user);
    QOR_ASSERT_TEXT(forwardMapIter && forwardMapIter->isMemberOf(tuple),
                    "forwardMapIter.isMemberOf( iter.key() )");
    // A load balance that gains or loses its FEC takes the labels over it along.
    if (rebuildFec(user) && user.tableType() == L2Rib::tableTypeLoadBalance_) handleDependants(user);
  }
}

// FECs.

bool FennMacAddrFecRequestSm::rebuildFec(ObjTuple const& tuple) {
  bool const had = fecRequestCacheHas(tuple);
  Fec fec;
  if (objTupleCacheHas(tuple)) {
    if (tuple.tableType() == L2Rib::tableTypeLabel_) {
      L2Rib::LabelId const id(tuple.objId());
      if (L2Rib::Label const* label = labelTable_->label().find(id))
        fec = buildFecForLabel(*label, id, tuple);
    } else if (tuple.tableType() == L2Rib::tableTypeLoadBalance_) {
      L2Rib::LoadBalanceId const id(tuple.objId());
      if (L2Rib::LoadBalance const* lb = lbTable_->loadBalance().find(id))
        fec = buildFecForLb(*lb, id, tuple);
    }
  }
  fec.empty() ? deleteFec(tuple) : addFec(fec, tuple);
  return had != fecRequestCacheHas(tuple);
}

bool FennMacAddrFecRequestSm::destVia(ObjTuple const& destTuple, Vasp::Fib::Via& via) const {
  L2Rib::Dest const* dest = destTable_->dest().find(L2Rib::DestId(destTuple.objId()));
  if (!dest || dest->tunnel() == Tunnel::TunnelTable::TunnelId::invalid()) return false;
  via.intfIdIs(dest->tunnel().intfId());
  return true;
}

// The label is pushed over the destination's tunnel, or over the load balance's FEC; the
// via carries it as its service label too, as flood-set vias do.
Fec FennMacAddrFecRequestSm::buildFecForLabel(L2Rib::Label const& label, L2Rib::LabelId labelId,
                                              ObjTuple const& tuple) {
  QTRACE(8, "FennMacAddrFecRequestSm::", "buildFecForLabel", " LabelId:", labelId, " label: ", label);
  Vasp::Fib::Via via;
  ObjTuple const next = label.next();
  if (next.tableType() == L2Rib::tableTypeDest_) {
    if (!destVia(next, via)) return Fec();
  } else {
    FecId const* lower = fecRequestCache().find(next);
    if (!lower) return Fec();
    via.fecIdIs(*lower);
  }
  via.labelAndActionIs(Ostra::MplsLabelAndAction(label.label(), Ostra::mplsActionPush));
  via.mplsLabelIs(label.label());
  Fec fec(getFecId(tuple));
  fec.viaIs(Vasp::Fib::ViaIndex(0), via);
  return fec;
}

// One via per destination that is known, in ECMP order; the labels go on above.
Fec FennMacAddrFecRequestSm::buildFecForLb(L2Rib::LoadBalance const& lb, L2Rib::LoadBalanceId lbId,
                                           ObjTuple const& tuple) {
  QTRACE(8, "FennMacAddrFecRequestSm::", "buildFecForLb", " LbId:", lbId, " lb: ", lb);
  std::array<Vasp::Fib::Via, Vasp::Fib::ViaIndex::max + 1> vias;
  size_t count = 0;
  for (ObjTuple const& next : lb.next()) {
    if (destVia(next, vias[count])) ++count;
  }
  if (count == 0) return Fec();
  Fec fec(getFecId(tuple));
  for (size_t i = 0; i < count; ++i) fec.viaIs(Vasp::Fib::ViaIndex(i), vias[i]);
  return fec;
}

void FennMacAddrFecRequestSm::addFec(Fec const& fec, ObjTuple const& tuple) {
  maybeUpdateFecRequest(fec, tuple, false);
}

void FennMacAddrFecRequestSm::deleteFec(ObjTuple const& tuple) { maybeUpdateFecRequest(Fec(), tuple, true); }

void FennMacAddrFecRequestSm::maybeUpdateFecRequest(Fec const& fec, ObjTuple const& tuple, bool isDelete) {
  if (!isDelete) {
    FecId const fecId = fec.fecId();
    if (!fecRequestCacheHas(tuple)) {
      // In place before the request goes out: the hardware may answer synchronously.
      fecRequestCacheIs(tuple, fecId);
      fecRequestReverseMapIs(fecId, tuple);
      fecCacheIs(fecId);
    }
    if (Fec const* standing = fecRequest_->rowFind(fecId); standing && *standing == fec) return;
    QTRACE(1, "Making Fec request:", " Fec", fec, " ObjTuple", tuple, " isDelete:", isDelete);
    fecRequest_->rowIs(fec);
    ++counters_.helperCalls;
    return;
  }
  FecId const* cached = fecRequestCache().find(tuple);
  if (!cached) return;
  FecId const fecId = *cached;
  QTRACE(1, "Deleting Fec request:", " Fec", fecId, " ObjTuple", tuple, " isDelete:", isDelete);
  fecRequestCacheDel(tuple);
  fecRequestReverseMapDel(fecId);
  objTupleToHwIdMap_->hwIdDel(tuple);
  fecRequest_->rowDel(fecId);
  ++counters_.helperCalls;
  maybeReleaseFecId(fecId);
}

FecId FennMacAddrFecRequestSm::getFecId(ObjTuple const& tuple) {
  // A FEC keeps its ID while it is requested: a rebuild updates it in place.
  if (FecId const* cached = fecRequestCache().find(tuple)) return *cached;
  Keel::NumAllocator::Number id = numAllocator_->getNumber();
  // A number whose ID a previous instance still has an answer for is held until it goes.
  while (id != Keel::NumAllocator::invalidNumber() && previousRunFecIdHas(idToFecId(id, macAddrFecAdjType))) {
    QTRACE(5, "   fecId still answered for a previous run, skipped: ", idToFecId(id, macAddrFecAdjType));
    previousRunFecIdIs(idToFecId(id, macAddrFecAdjType), true);
    id = numAllocator_->getNumber();
  }
  QOR_ASSERT_TEXT(id != Keel::NumAllocator::invalidNumber(), "FecId range exhausted, Not possible");
  FecId const fecId = idToFecId(id, macAddrFecAdjType);
  QTRACE(5, "   allocated fecId: ", fecId, " for ObjTuple: ", tuple);
  return fecId;
}

void FennMacAddrFecRequestSm::maybeReleaseFecId(FecId fecId) {
  if (!fecCacheHas(fecId) || fecRequestReverseMapHas(fecId) || fecResponse_->rowHas(fecId)) return;
  QTRACE(1, "Deleting FecId:", fecId);
  fecCacheDel(fecId);
  numAllocator_->releaseNumber(static_cast<Keel::NumAllocator::Number>(fecId.index()));
}

// Responses.

void FennMacAddrFecRequestSm::handleHwFecIdResponse(FecId fecId) {
  QTRACE(1, "FennMacAddrFecRequestSm:", "handleHwFecIdResponse", " FecId:", fecId);
  FecToHwFecId const* response = fecResponse_->rowFind(fecId);
  ObjTuple const* found = fecRequestReverseMap().find(fecId);
  if (!response) {
    if (found) {
      objTupleToHwIdMap_->hwIdDel(ObjTuple(*found));
    } else if (fecCacheHas(fecId)) {
      maybeReleaseFecId(fecId);
    } else if (previousRunFecIdHas(fecId)) {
      QTRACE(5, "   answer of a previous run gone, fecId free: ", fecId);
      if (previousRunFecId(fecId))
        numAllocator_->releaseNumber(static_cast<Keel::NumAllocator::Number>(fecId.index()));
      previousRunFecIdDel(fecId);
    } else {
      QTRACE(1, "Stale response deletion for FecId:", fecId);
    }
    return;
  }
  if (!found) {
    QTRACE(1, "Got stale response for FecId:", fecId);
    return;
  }
  ObjTuple const tuple = *found;
  // A row without an interface is no answer.
  if (response->intfId().empty()) {
    objTupleToHwIdMap_->hwIdDel(tuple);
  } else {
    objTupleToHwIdMap_->hwIdIs(tuple, response->hwFecId());
  }
}

Qor::Ptr<FennMacAddrFecRequestSm> fennMacAddrFecRequestSmFactory(
    Qor::Ptr<L2Rib::LabelOutput const> labelTable, Qor::Ptr<L2Rib::LoadBalanceOutput const> lbTable,
    Qor::Ptr<L2Rib::DestOutput const> destTable, Qor::Ptr<L2Rib::HostOutput const> l2RibOutput,
    Qor::Ptr<FecIdToHwFecIdResponse const> fecResponse, Qor::Ptr<FecIdToHwFecIdRequest> fecRequest,
    Qor::Ptr<ObjTupleToHwId> objTupleToHwIdMap, Qor::Ptr<Keel::TimerWheel> timerWheel,
    Qor::Ptr<Keel::TaskScheduler> scheduler) {
  return Qor::Ptr<FennMacAddrFecRequestSm>(
      new FennMacAddrFecRequestSm(std::move(labelTable), std::move(lbTable), std::move(destTable),
                                  std::move(l2RibOutput), std::move(fecResponse), std::move(fecRequest),
                                  std::move(objTupleToHwIdMap), std::move(timerWheel), std::move(scheduler)));
}

// ---- Operator answers ----

bool FennMacAddrFecRequestSm::objectPresent(ObjTuple const& tuple) const {
  switch (tuple.tableType()) {
    case L2Rib::tableTypeLabel_:
      return labelTable_->labelHas(L2Rib::LabelId(tuple.objId()));
    case L2Rib::tableTypeLoadBalance_:
      return lbTable_->loadBalanceHas(L2Rib::LoadBalanceId(tuple.objId()));
    case L2Rib::tableTypeDest_:
      return destTable_->destHas(L2Rib::DestId(tuple.objId()));
    case L2Rib::tableTypeInvalid_:
      break;
  }
  return false;
}

void FennMacAddrFecRequestSm::explainHost(Bridging::MacVlanPair const& macVlan, Explanation& answer) const {
  constexpr char machine[] = "FennMacAddrFecRequestSm";
  L2Rib::HostAndSource const* host = l2RibOutput_->host().find(macVlan);
  if (!host) {
    answer.stepIs(machine, "layer-2 RIB host", "none", ExplainStatus::missingInput);
    return;
  }
  answer.stepIs(machine, "layer-2 RIB host", "points at " + answer.objectName(host->objTuple()));
  if (hostBackLogQHas(macVlan)) {
    answer.stepIs(machine, "host backlog", "queued for the backlog review",
                  ExplainStatus::waitingForHardware);
    return;
  }
  explainObject(host->objTuple(), answer);
}

void FennMacAddrFecRequestSm::explainObject(ObjTuple const& tuple, Explanation& answer) const {
  constexpr char machine[] = "FennMacAddrFecRequestSm";
  Qor::String const name = answer.objectName(tuple);
  if (!answer.initializedStep(machine, initialized())) return;
  if (!objectPresent(tuple)) {
    answer.stepIs(machine, name, "not in the layer-2 RIB", ExplainStatus::missingInput);
    return;
  }
  if (tuple.tableType() == L2Rib::tableTypeDest_) {
    answer.stepIs(machine, name, "a destination: forwarded over its tunnel, with no FEC of its own");
    return;
  }
  if (objTupleBackLogQHas(tuple)) {
    answer.stepIs(machine, name, "queued for the backlog review", ExplainStatus::waitingForHardware);
    return;
  }
  if (!objTupleCacheHas(tuple)) {
    answer.stepIs(machine, name, "no FEC wanted: no host points at it and no label with a FEC leads to it",
                  ExplainStatus::missingInput);
    return;
  }
  FecId const* fecId = fecRequestCache().find(tuple);
  if (!fecId) {
    Qor::String missing;
    if (ObjTupleSet const* lower = nextHopForwardMap(tuple)) {
      for (auto const& next : lower->objTuple()) {
        // Appended in two steps: g++ 12 warns (-Wrestrict) on " " + a temporary string.
        if (!objectPresent(next)) missing.append(" ").append(answer.objectName(next));
      }
    }
    answer.stepIs(
        machine, name,
        "no FEC: its chain is incomplete" + (missing.empty() ? Qor::String() : " (missing:" + missing + ")"),
        ExplainStatus::missingInput);
    return;
  }
  answer.stepIs(machine, name, "FEC ID " + hexText(fecId->value()) + " requested");
  if (uint64_t const* hwId = objTupleToHwIdMap_->hwId().find(tuple)) {
    answer.stepIs(machine, "FEC answer", "hardware FEC " + hexText(*hwId));
  } else {
    answer.stepIs(machine, "FEC answer", "none yet: the hardware has not answered",
                  ExplainStatus::waitingForHardware);
  }
}

SmSummary FennMacAddrFecRequestSm::summary() const {
  SmSummary s("FennMacAddrFecRequestSm", counters_, unusableInputCount());
  uint64_t answered = 0;
  for (auto const& tuple : objTupleCache()) answered += objTupleToHwIdMap_->hwIdHas(tuple);
  s.entriesIs(objTupleCache().size(), answered);
  s.fecIdsIs(numAllocatorStatus(), fecIdRange().last() - fecIdRange().first() + 1,
             numAllocator_ ? numAllocator_->inUseHighWater() : 0);
  return s;
}
}  // namespace Fenn
