// FennMacAddrFecRequestSm gives the remote layer-2 hosts of the layer-2 RIB the FECs that
// the hardware forwards them through. A host points at the first object of a chain:
//   host -> label -> destination                     (chain length 2)
//   host -> label -> load balance -> destinations    (chain length 3)
//   host -> load balance -> destinations
//   host -> destination                              (only with FennEvpnVxlan4WayL2Ecmp on)
// Every label or load balance that some host points at directly (a first-level next hop)
// gets a FEC, and so does a load balance under such a label: the label's FEC then chains
// to the load balance's FEC by its FEC ID. A label's FEC has one via that pushes the label
// over the destination's tunnel (or over the load balance's FEC); a load balance's FEC has
// one via per destination, in ECMP order, over its tunnel. Destinations never get a FEC.
//
// The forward map holds, per object with a FEC, the lower objects its FEC was built from;
// the reverse map, per lower object, the objects built over it. A change deep in a chain
// therefore rebuilds exactly the FECs that depend on it. A FEC keeps its ID while it is
// requested, so a rebuilt FEC is an update in place and the FECs chained to it stand.
//
// A FEC ID goes back to the allocator once its request is withdrawn and the hardware's
// answer is gone; the allocator then holds it back for fecIdHoldBack seconds. A restarted
// instance starts with a fresh allocator, so it keeps the IDs its predecessor left answered
// out of use until their answers go (previousRunFecId).
//
// Nothing is done before initialization: notifications until then are kept in the
// backlogs (the reactors' initial walks included), which the review task "reviewTask"
// drains in slices once initialized, yielding to the event loop between slices.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "Bridging/MacVlanPair.h"
#include "Fenn/FecIdToHwFecIdRequest.h"
#include "Fenn/FecIdToHwFecIdResponse.h"
#include "FennEvpn/FennEvpnExplanation.h"
#include "FennEvpn/FennEvpnExport.h"
#include "FennEvpn/FennEvpnSmSummary.h"
#include "FennEvpn/FennEvpnUnusableInput.h"
#include "FennEvpn/FennObjTupleSet.h"
#include "FennEvpn/FennObjTupleToHwId.h"
#include "Keel/NumAllocator.h"
#include "Keel/Task.h"
#include "Keel/TimerWheel.h"
#include "L2Rib/ChainTables.h"
#include "Qor/Attribute.h"
#include "Qor/StateMachine.h"
#include "Vasp/FibFec.h"

namespace Fenn {

// The adjacency type of host-chain FECs, kept apart from the flood-set FECs (11).
inline constexpr uint8_t macAddrFecAdjType = 7;

// The FEC ID of number `id` of adjacency type `adjType`; asserts "id >= 0".
FENN_EVPN_EXPORT Vasp::Fib::FecId idToFecId(int64_t id, uint8_t adjType);

// The toggle that lets a host point straight at a destination.
inline constexpr char vxlan4WayL2EcmpToggle[] = "FennEvpnVxlan4WayL2Ecmp";
inline constexpr char fennToggleFile[] = "Fenn.json";

class FennMacAddrFecRequestSm : public Qor::StateMachine, public UnusableInputCounter {
 public:
  // A released FEC number waits this long before reuse, so that a late answer about its
  // previous FEC cannot be taken for the next one.
  static constexpr double fecIdHoldBack = 10.0;

  FennMacAddrFecRequestSm(Qor::Ptr<L2Rib::LabelOutput const> labelTable,
                          Qor::Ptr<L2Rib::LoadBalanceOutput const> lbTable,
                          Qor::Ptr<L2Rib::DestOutput const> destTable,
                          Qor::Ptr<L2Rib::HostOutput const> l2RibOutput,
                          Qor::Ptr<FecIdToHwFecIdResponse const> fecResponse,
                          Qor::Ptr<FecIdToHwFecIdRequest> fecRequest,
                          Qor::Ptr<ObjTupleToHwId> objTupleToHwIdMap, Qor::Ptr<Keel::TimerWheel> timerWheel,
                          Qor::Ptr<Keel::TaskScheduler> scheduler);
  // Withdraws every FEC request and hardware ID this state machine published.
  ~FennMacAddrFecRequestSm() override;
  std::string_view fwkType() const override { return "Fenn::FennMacAddrFecRequestSm"; }

  L2Rib::LabelOutput const* labelTable() const noexcept { return labelTable_.get(); }
  L2Rib::LoadBalanceOutput const* lbTable() const noexcept { return lbTable_.get(); }
  L2Rib::DestOutput const* destTable() const noexcept { return destTable_.get(); }
  L2Rib::HostOutput const* l2RibOutput() const noexcept { return l2RibOutput_.get(); }
  FecIdToHwFecIdResponse const* fecResponse() const noexcept { return fecResponse_.get(); }
  FecIdToHwFecIdRequest* fecRequest() const noexcept { return fecRequest_.get(); }
  ObjTupleToHwId* objTupleToHwIdMap() const noexcept { return objTupleToHwIdMap_.get(); }
  Keel::Task const* reviewBacklog() const noexcept { return reviewBacklog_.get(); }
  // The allocator exists from initialization on.
  Keel::NumAllocator const* numAllocator() const noexcept { return numAllocator_.get(); }
  Keel::NumAllocatorConfig const& numAllocatorConfig() const noexcept { return numAllocatorConfig_; }
  FENN_EVPN_EXPORT Keel::NumAllocatorStatus numAllocatorStatus() const;
  // The toggle's value, read when this state machine was built.
  bool vxlan4WayL2EcmpEnabled() const noexcept { return vxlan4WayL2Ecmp_; }

  // 2 (labels over destinations only) or 3 (labels over load balances too); set it before
  // initialization. The value is stored before it is checked: a value out of range stays
  // stored and raises std::out_of_range.
  QOR_ATTRIBUTE_ID(maxChainLength);
  uint32_t maxChainLength() const noexcept { return maxChainLength_.get(); }
  FENN_EVPN_EXPORT void maxChainLengthIs(uint32_t length);
  // The numbers FEC IDs are made from, by default the whole 32-bit range; the platform
  // narrows it before initialization when its FEC tables are smaller.
  QOR_SCALAR(fecIdRange, Keel::Range, Keel::Range(0, 0xFFFFFFFF))
  // Seconds between two slices of a backlog review that had to yield.
  QOR_SCALAR(reviewInterval, double, 0.0)
  // False from the moment something waits in a backlog until the review has drained both.
  QOR_SCALAR(backLogQsDrained, bool, true)

  // The first object each host points at.
  QOR_MAP(macVlanToObjTupleCache, Bridging::MacVlanPair, L2Rib::ObjTuple)
  // Objects whose FEC is tracked: first-level next hops, and load balances under one.
  QOR_SET(objTupleCache, L2Rib::ObjTuple)
  // How many hosts point at each object directly.
  QOR_COUNTER(isFirstLevelNextHop, L2Rib::ObjTuple, uint32_t)
  QOR_CHILDREN(nextHopForwardMap, L2Rib::ObjTuple, ObjTupleSet)
  QOR_CHILDREN(nextHopReverseMap, L2Rib::ObjTuple, ObjTupleSet)
  // Each requested object's FEC ID, and its inverse.
  QOR_MAP(fecRequestCache, L2Rib::ObjTuple, Vasp::Fib::FecId)
  QOR_MAP(fecRequestReverseMap, Vasp::Fib::FecId, L2Rib::ObjTuple)
  // Every FEC ID taken from the allocator and not yet given back: the requested ones, and
  // withdrawn ones whose answer the hardware has not removed yet.
  QOR_SET(fecCache, Vasp::Fib::FecId)
  // FEC IDs that a previous instance left an answer for: kept out of use until the answer
  // goes. True once the allocator handed the number out and it is held here.
  QOR_MAP(previousRunFecId, Vasp::Fib::FecId, bool)
  // Notifications waiting for the review task.
  QOR_SET(hostBackLogQ, Bridging::MacVlanPair)
  QOR_SET(objTupleBackLogQ, L2Rib::ObjTuple)

  // Operator answers: why a host's first object, or any chain object, has (or has no)
  // answered FEC, and the summary (an entry is a tracked object; programmed once answered).
  FENN_EVPN_EXPORT void explainHost(Bridging::MacVlanPair const& macVlan, Explanation& answer) const;
  FENN_EVPN_EXPORT void explainObject(L2Rib::ObjTuple const& tuple, Explanation& answer) const;
  FENN_EVPN_EXPORT SmSummary summary() const;

 protected:
  void handleInitialized() override;

 private:
  class QorLabelTable;
  class QorLbTable;
  class QorDestTable;
  class QorL2RibOutput;
  class QorFecResponse;
  // One pass over a backlog: a snapshot walked with a cursor, so that slices cost what
  // they process however large the queue was.
  template <class K>
  struct BacklogPass {
    std::vector<K> keys;
    size_t next = 0;
  };

  void numAllocatorConfigIs(Keel::NumAllocatorConfig const& config);
  void handleL2RibHost(Bridging::MacVlanPair const& macVlan);
  void handleLabel(L2Rib::LabelId labelId);
  void handleLb(L2Rib::LoadBalanceId lbId);
  void handleDest(L2Rib::DestId destId);
  void handleHwFecIdResponse(Vasp::Fib::FecId fecId);
  void handleDependants(L2Rib::ObjTuple const& tuple);
  void doReviewBacklog();
  template <class K>
  bool drainBacklog(BacklogPass<K>& pass);
  void processBacklogEntry(Bridging::MacVlanPair const& macVlan);
  void processBacklogEntry(L2Rib::ObjTuple const& tuple);
  void maybeScheduleBacklogReview();

  // What a host change did to the first-level counts.
  struct HostChange {
    L2Rib::ObjTuple oldTuple;
    L2Rib::ObjTuple newTuple;
    bool oldLostLastHost = false;
    bool newGainedFirstHost = false;
  };
  HostChange updateMapsForHostTableChange(L2Rib::HostAndSource const* host,
                                          Bridging::MacVlanPair const& macVlan);
  // Re-evaluates a label or load balance whose hosts changed.
  void processFirstLevelNextHop(L2Rib::ObjTuple const& tuple);
  // The lower object a label used before and uses now (equal when nothing changed).
  struct NextChange {
    L2Rib::ObjTuple oldNext;
    L2Rib::ObjTuple newNext;
  };
  NextChange updateMapsForLabelTableChange(L2Rib::Label const* label, L2Rib::LabelId labelId,
                                           L2Rib::ObjTuple const& tuple);
  void updateMapsForLbTableChange(L2Rib::LoadBalance const* lb, L2Rib::LoadBalanceId lbId,
                                  L2Rib::ObjTuple const& tuple);
  void updateMapsForDestTableChange(L2Rib::Dest const* dest, L2Rib::DestId destId,
                                    L2Rib::ObjTuple const& tuple);
  // Whether the object needs a FEC: hosts point at it, or a label with a FEC is built over it.
  bool isInUse(L2Rib::ObjTuple const& tuple) const;
  void trackedIs(L2Rib::ObjTuple const& tuple, bool tracked);
  // Makes the forward set of `tuple` hold `members` (at most 16), reverse sets in step.
  void forwardSetIs(L2Rib::ObjTuple const& tuple, std::span<L2Rib::ObjTuple const> members);

  // Builds and writes, or withdraws, the FEC of `tuple`; returns whether the tuple gained
  // or lost its FEC request.
  bool rebuildFec(L2Rib::ObjTuple const& tuple);
  Vasp::Fib::Fec buildFecForLabel(L2Rib::Label const& label, L2Rib::LabelId labelId,
                                  L2Rib::ObjTuple const& tuple);
  Vasp::Fib::Fec buildFecForLb(L2Rib::LoadBalance const& lb, L2Rib::LoadBalanceId lbId,
                               L2Rib::ObjTuple const& tuple);
  // The via over a destination's tunnel, or nothing when the destination is unknown.
  bool destVia(L2Rib::ObjTuple const& destTuple, Vasp::Fib::Via& via) const;
  void addFec(Vasp::Fib::Fec const& fec, L2Rib::ObjTuple const& tuple);
  void deleteFec(L2Rib::ObjTuple const& tuple);
  void maybeUpdateFecRequest(Vasp::Fib::Fec const& fec, L2Rib::ObjTuple const& tuple, bool isDelete);
  Vasp::Fib::FecId getFecId(L2Rib::ObjTuple const& tuple);
  // Gives a withdrawn FEC ID back once the hardware's answer for it is gone too.
  void maybeReleaseFecId(Vasp::Fib::FecId fecId);

  Qor::Ptr<L2Rib::LabelOutput const> labelTable_;
  Qor::Ptr<L2Rib::LoadBalanceOutput const> lbTable_;
  Qor::Ptr<L2Rib::DestOutput const> destTable_;
  Qor::Ptr<L2Rib::HostOutput const> l2RibOutput_;
  Qor::Ptr<FecIdToHwFecIdResponse const> fecResponse_;
  Qor::Ptr<FecIdToHwFecIdRequest> fecRequest_;
  Qor::Ptr<ObjTupleToHwId> objTupleToHwIdMap_;
  Qor::Ptr<Keel::TimerWheel> timerWheel_;
  Qor::Ptr<Keel::TaskScheduler> scheduler_;
  bool const vxlan4WayL2Ecmp_;
  Qor::Scalar<uint32_t> maxChainLength_{this, maxChainLengthAttr, 2};
  Keel::NumAllocatorConfig numAllocatorConfig_;
  Qor::Ptr<Keel::NumAllocator> numAllocator_;
  // FEC request writes and withdrawals.
  SmCounters counters_;
  // Whether the object is in its table of the layer-2 RIB.
  bool objectPresent(L2Rib::ObjTuple const& tuple) const;
  Qor::Ptr<Keel::Task> reviewBacklog_;
  Keel::TimerWheel::TimerId reviewTimer_ = Keel::TimerWheel::noTimer;
  BacklogPass<L2Rib::ObjTuple> objTuplePass_;
  BacklogPass<Bridging::MacVlanPair> hostPass_;

  std::unique_ptr<QorLabelTable> qorLabelTable_;
  std::unique_ptr<QorLbTable> qorLbTable_;
  std::unique_ptr<QorDestTable> qorDestTable_;
  std::unique_ptr<QorL2RibOutput> qorL2RibOutput_;
  std::unique_ptr<QorFecResponse> qorFecResponse_;
};

FENN_EVPN_EXPORT Qor::Ptr<FennMacAddrFecRequestSm> fennMacAddrFecRequestSmFactory(
    Qor::Ptr<L2Rib::LabelOutput const> labelTable, Qor::Ptr<L2Rib::LoadBalanceOutput const> lbTable,
    Qor::Ptr<L2Rib::DestOutput const> destTable, Qor::Ptr<L2Rib::HostOutput const> l2RibOutput,
    Qor::Ptr<FecIdToHwFecIdResponse const> fecResponse, Qor::Ptr<FecIdToHwFecIdRequest> fecRequest,
    Qor::Ptr<ObjTupleToHwId> objTupleToHwIdMap, Qor::Ptr<Keel::TimerWheel> timerWheel,
    Qor::Ptr<Keel::TaskScheduler> scheduler);

}  // namespace Fenn
