// EvpnFloodingDot1qSm programs the dot1q tag that a VLAN carries in EVPN MPLS service:
// once per VLAN (the flooding helper's createVlan), then a VLAN-to-dot1q mapping on every
// physical port of every access interface that is an EVPN member of the VLAN (each current
// member port of a LAG). The tag is the VLAN's entry in the EVPN status's `vlanToDot1q`;
// an entry that names no tag means the VLAN ID itself when the MPLS configuration enables
// dot1q for VLAN services, and no tag otherwise.
//
// Interface work is batched: a change only queues its (interface, VLAN) pair, and a review
// `defaultIntfVlanDelay` later processes the queue, so a burst of membership changes costs
// one review. Failed creates are retried by the unprogrammed review; a VLAN whose own
// creation failed waits there under the key with an empty interface. Releasing the
// machine removes every mapping and VLAN it programmed.
#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "Bridging/VlanId.h"
#include "Bridging/VlanIdOrNone.h"
#include "Evpn/EvpnStatus.h"
#include "Evpn/MplsConfig.h"
#include "FennEvpn/FennEvpn.h"
#include "FennEvpn/FennEvpnExplanation.h"
#include "FennEvpn/FennEvpnExport.h"
#include "FennEvpn/FennEvpnFloodingRecords.h"
#include "FennEvpn/FennEvpnFloodingSmHelper.h"
#include "FennEvpn/FennEvpnLagMemberInfo.h"
#include "FennEvpn/FennEvpnSmSummary.h"
#include "FennEvpn/FennEvpnUnprogrammedReview.h"
#include "FennEvpn/FennEvpnUnusableInput.h"
#include "FennEvpn/FennEvpnVlanStatus.h"
#include "Keel/TaskScheduler.h"
#include "Keel/TimerTask.h"
#include "Ostra/IntfId.h"
#include "Qor/Collection.h"
#include "Qor/StateMachine.h"

namespace Fenn {

class EvpnFloodingDot1qSm : public Qor::StateMachine, public UnusableInputCounter {
 public:
  static constexpr char traceClass[] = "EvpnFloodingDot1qSm::";

  EvpnFloodingDot1qSm(Qor::Ptr<FennHelper::EvpnFloodingSmHelper> helper,
                      Qor::Ptr<Keel::TaskScheduler> scheduler,
                      Qor::Ptr<EvpnLagMemberInfo const> evpnLagMemberInfo,
                      Qor::Ptr<EvpnVlanStatus const> evpnVlanStatus,
                      Qor::Ptr<Evpn::EvpnStatus const> evpnStatus,
                      Qor::Ptr<Evpn::MplsConfig const> mplsConfig);
  // Once initialized, deletes every mapping and VLAN it programmed.
  ~EvpnFloodingDot1qSm() override;
  std::string_view fwkType() const override { return "Fenn::EvpnFloodingDot1qSm"; }

  FennHelper::EvpnFloodingSmHelper* floodingHelper() const noexcept { return helper_.get(); }
  Keel::TaskScheduler* scheduler() const noexcept { return scheduler_.get(); }
  EvpnLagMemberInfo const* evpnLagMemberInfo() const noexcept { return evpnLagMemberInfo_.get(); }
  EvpnVlanStatus const* evpnVlanStatus() const noexcept { return evpnVlanStatus_.get(); }
  Evpn::EvpnStatus const* evpnStatus() const noexcept { return evpnStatus_.get(); }
  Evpn::MplsConfig const* mplsConfig() const noexcept { return mplsConfig_.get(); }

  QOR_SCALAR(defaultUnprogrammedRetryInterval, double, 5.0)
  // The (interface, VLAN) pairs handled, in both directions.
  QOR_CHILDREN(intfVlanSet, Ostra::IntfId, IntfVlanSet)
  QOR_CHILDREN(vlanIntfSet, Bridging::VlanId, VlanIntfSet)
  // The tag each VLAN was created with.
  QOR_MAP(programmedDot1q, Bridging::VlanId, Bridging::VlanIdOrNone)
  // The tag wanted for each (interface, VLAN), and the member ports it is programmed on.
  QOR_MAP(intfVlanDot1q, IntfVlanKey, Bridging::VlanIdOrNone)
  QOR_CHILDREN(dot1qStatus, IntfVlanKey, IntfVlanStatus)
  // Pairs with a port whose mapping failed, and VLANs whose creation failed (an empty
  // interface): what the unprogrammed review retries.
  QOR_SET(unprogrammedDot1q, IntfVlanKey)
  // Pairs waiting for the interface review, which runs defaultIntfVlanDelay after the
  // first of them was queued.
  QOR_SET(intfVlanQueue, IntfVlanKey)
  QOR_SCALAR(defaultIntfVlanDelay, double, 1.0)

  // Created by handleInitialized.
  Keel::TimerTask* reviewUnprogrammed() const noexcept { return review_ ? review_->task() : nullptr; }
  Keel::TimerTask* reviewIntfVlan() const noexcept { return reviewIntfVlan_.get(); }
  // Runs of the interface review since construction.
  uint64_t intfVlanReviewCount() const noexcept { return intfVlanReviewCount_; }

  // The VLAN's tag: its vlanToDot1q entry unless that names none; else the VLAN ID itself
  // when the MPLS configuration enables dot1q for VLAN services (VLAN 4095 cannot be a tag:
  // std::out_of_range "VlanIdOrNone::value > 4094 not allowed"); else none.
  Bridging::VlanIdOrNone dot1qTagForVlan(Bridging::VlanId vlan) const;

  // Brings one (interface, VLAN) in line with the inputs now, queued or not.
  void processIntfVlan(Ostra::IntfId const& intf, Bridging::VlanId vlan);
  void maybeScheduleIntfVlanReview(Ostra::IntfId const& intf, Bridging::VlanId vlan);

  // Operator answers: why an interface's VLAN-to-dot1q mapping is (not) on its ports, and
  // the summary (a mapping is programmed once every member port holds it).
  FENN_EVPN_EXPORT void explainDot1q(IntfVlanKey const& key, Explanation& answer) const;
  FENN_EVPN_EXPORT SmSummary summary() const;

 protected:
  void handleInitialized() override;

 private:
  class QorEvpnLagMemberInfo;
  class QorEvpnVlanStatus;
  class QorVlanStatus;
  class QorEvpnStatus;
  class QorEvpnMplsConfig;
  struct Dot1qTarget;
  using Review = UnprogrammedReview<EvpnFloodingDot1qSm, Qor::Set<IntfVlanKey>>;
  friend Review;

  void vlanStatusIs(Bridging::VlanId vlan);
  void vlanStatusDel(Bridging::VlanId vlan);
  void handleVlanStatus(Bridging::VlanId vlan);
  void handleMember(Bridging::VlanId vlan, Ostra::IntfId const& intf);
  void handleVlanDot1q(Bridging::VlanId vlan);
  void handleVlanServiceDot1qEnabled();
  // Queues every interface of the VLAN, after a change of the VLAN as a whole.
  void queueVlanIntfs(Bridging::VlanId vlan);
  // handleVlanDot1q for every VLAN of vlanToDot1q; a VLAN without a possible tag throws
  // its range error only after every other VLAN was handled.
  void handleEveryVlanDot1q();
  void handleLagPort(Ostra::IntfId const& lagIntf);
  void doReviewIntfVlan();
  void reviewUnprogrammedKey(IntfVlanKey const& key);
  void maybeScheduleUnprogrammedReview(bool immediate) { review_->maybeSchedule(immediate); }

  void addIntfVlanMapping(Ostra::IntfId const& intf, Bridging::VlanId vlan);
  void deleteIntfVlanMapping(Ostra::IntfId const& intf, Bridging::VlanId vlan);
  void addOrUpdateIntfVlanDot1qMapping(Ostra::IntfId const& intf, Bridging::VlanId vlan,
                                       Bridging::VlanIdOrNone dot1q);
  void deleteIntfVlanDot1qMapping(Ostra::IntfId const& intf, Bridging::VlanId vlan);
  void programDot1q(Ostra::IntfId const& intf, Bridging::VlanId vlan, Bridging::VlanIdOrNone dot1q);
  void programDot1qHelper(Ostra::IntfId const& logicalIntf, Ostra::IntfId const& phyIntf,
                          Bridging::VlanId vlan, Bridging::VlanIdOrNone dot1q);
  void unprogramDot1q(Ostra::IntfId const& intf, Bridging::VlanId vlan, Bridging::VlanIdOrNone dot1q);
  void unprogramDot1qHelper(Ostra::IntfId const& logicalIntf, Ostra::IntfId const& phyIntf,
                            Bridging::VlanId vlan, Bridging::VlanIdOrNone dot1q);

  Qor::Ptr<FennHelper::EvpnFloodingSmHelper> helper_;
  Qor::Ptr<Keel::TaskScheduler> scheduler_;
  Qor::Ptr<EvpnLagMemberInfo const> evpnLagMemberInfo_;
  Qor::Ptr<EvpnVlanStatus const> evpnVlanStatus_;
  Qor::Ptr<Evpn::EvpnStatus const> evpnStatus_;
  Qor::Ptr<Evpn::MplsConfig const> mplsConfig_;
  std::unique_ptr<Review> review_;
  // Helper calls, their failures and when the last one failed.
  SmCounters counters_;
  Qor::Ptr<Keel::TimerTask> reviewIntfVlan_;
  std::vector<IntfVlanKey> intfVlanBatch_;  // the queue as the review's current pass found it
  size_t intfVlanNext_ = 0;                 // the pass's next pair
  uint64_t intfVlanReviewCount_ = 0;
  std::unique_ptr<QorEvpnLagMemberInfo> qorEvpnLagMemberInfo_;
  std::unique_ptr<QorEvpnVlanStatus> qorEvpnVlanStatus_;
  Qor::ReactorMap<Bridging::VlanId, QorVlanStatus> vlanStatus_;
  std::unique_ptr<QorEvpnStatus> qorEvpnStatus_;
  std::unique_ptr<QorEvpnMplsConfig> qorEvpnMplsConfig_;
};

FENN_EVPN_EXPORT Qor::Ptr<EvpnFloodingDot1qSm> evpnFloodingDot1qSmFactory(
    Qor::Ptr<FennHelper::EvpnFloodingSmHelper> helper, Qor::Ptr<Keel::TaskScheduler> taskScheduler,
    Qor::Ptr<EvpnLagMemberInfo const> evpnLagMemberInfo, Qor::Ptr<EvpnVlanStatus const> evpnVlanStatus,
    Qor::Ptr<Evpn::EvpnStatus const> evpnStatus, Qor::Ptr<Evpn::MplsConfig const> mplsConfig);

}  // namespace Fenn
