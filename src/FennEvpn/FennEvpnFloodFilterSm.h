// FennEvpnFloodFilterSm installs the flood filter of EVPN multihoming: for every VLAN and
// access interface that the EVPN status lists in the VLAN's `floodFilter` (the interface
// is not the designated forwarder for the VLAN's flooded traffic), a non-DF port entry on
// every physical port of the interface, through the flooding helper; the entry goes when
// the filter is lifted, and a LAG follows its current members. A failed create is retried
// by the unprogrammed review.
//
// Releasing the machine lifts every filter it installed: a segment whose EVPN
// configuration is gone has no designated-forwarder election to filter by.
#pragma once

#include <memory>
#include <string_view>

#include "Bridging/VlanId.h"
#include "Evpn/EvpnStatus.h"
#include "FennEvpn/FennEvpn.h"
#include "FennEvpn/FennEvpnExplanation.h"
#include "FennEvpn/FennEvpnExport.h"
#include "FennEvpn/FennEvpnFloodingRecords.h"
#include "FennEvpn/FennEvpnFloodingSmHelper.h"
#include "FennEvpn/FennEvpnLagMemberInfo.h"
#include "FennEvpn/FennEvpnSmSummary.h"
#include "FennEvpn/FennEvpnUnprogrammedReview.h"
#include "FennEvpn/FennEvpnUnusableInput.h"
#include "Keel/TaskScheduler.h"
#include "Keel/TimerTask.h"
#include "Ostra/IntfId.h"
#include "Qor/Collection.h"
#include "Qor/StateMachine.h"

namespace Fenn {

class FennEvpnFloodFilterSm : public Qor::StateMachine, public UnusableInputCounter {
 public:
  static constexpr char traceClass[] = "FennEvpnFloodFilterSm::";

  FennEvpnFloodFilterSm(Qor::Ptr<FennHelper::EvpnFloodingSmHelper> helper,
                        Qor::Ptr<Keel::TaskScheduler> scheduler,
                        Qor::Ptr<EvpnLagMemberInfo const> evpnLagMemberInfo,
                        Qor::Ptr<Evpn::EvpnStatus const> evpnStatus);
  // Once initialized, deletes every non-DF port entry it programmed.
  ~FennEvpnFloodFilterSm() override;
  std::string_view fwkType() const override { return "Fenn::FennEvpnFloodFilterSm"; }

  FennHelper::EvpnFloodingSmHelper* floodingHelper() const noexcept { return helper_.get(); }
  Keel::TaskScheduler* scheduler() const noexcept { return scheduler_.get(); }
  EvpnLagMemberInfo const* evpnLagMemberInfo() const noexcept { return evpnLagMemberInfo_.get(); }
  Evpn::EvpnStatus const* evpnStatus() const noexcept { return evpnStatus_.get(); }

  // The (interface, VLAN) pairs with a filter wanted, in both directions.
  QOR_CHILDREN(intfVlanSet, Ostra::IntfId, IntfVlanSet)
  QOR_CHILDREN(vlanIntfSet, Bridging::VlanId, VlanIntfSet)
  // Per (interface, VLAN), the member ports the filter is programmed on or failed on.
  QOR_CHILDREN(programmedStatus, IntfVlanKey, IntfVlanStatus)
  // Pairs with a member whose programming failed, waiting for the review.
  QOR_SET(unprogrammedFilter, IntfVlanKey)
  QOR_SCALAR(defaultUnprogrammedRetryInterval, double, 5.0)

  // Created by handleInitialized.
  Keel::TimerTask* reviewUnprogrammed() const noexcept { return review_ ? review_->task() : nullptr; }

  // Brings the filter of one (interface, VLAN) in line with the EVPN status.
  void processIntfVlan(Ostra::IntfId const& intf, Bridging::VlanId vlan);

  // Operator answers: why an interface's flood filter for a VLAN is (not) on its ports,
  // and the summary (a filter is programmed once every member port holds it).
  FENN_EVPN_EXPORT void explainFloodFilter(IntfVlanKey const& key, Explanation& answer) const;
  FENN_EVPN_EXPORT SmSummary summary() const;

 protected:
  void handleInitialized() override;

 private:
  class QorEvpnLagMemberInfo;
  class QorEvpnStatus;
  class QorEvpnVlanFloodStatus;
  struct FilterTarget;
  using Review = UnprogrammedReview<FennEvpnFloodFilterSm, Qor::Set<IntfVlanKey>>;
  friend Review;

  void evpnVlanFloodStatusIs(Bridging::VlanId vlan);
  void evpnVlanFloodStatusDel(Bridging::VlanId vlan);
  void handleEvpnVlanFloodStatus(Bridging::VlanId vlan);
  void handleLagPort(Ostra::IntfId const& intf);
  void addIntfVlanMapping(Ostra::IntfId const& intf, Bridging::VlanId vlan);
  void deleteIntfVlanMapping(Ostra::IntfId const& intf, Bridging::VlanId vlan);
  void programFloodFilter(Ostra::IntfId const& intf, Bridging::VlanId vlan);
  void programFloodFilterHelper(Ostra::IntfId const& logIntf, Ostra::IntfId const& phyIntf,
                                Bridging::VlanId vlan);
  void unprogramFloodFilter(Ostra::IntfId const& intf, Bridging::VlanId vlan);
  void unprogramFloodFilterHelper(Ostra::IntfId const& logIntf, Ostra::IntfId const& phyIntf,
                                  Bridging::VlanId vlan);
  void maybeScheduleUnprogrammedReview(bool immediate) { review_->maybeSchedule(immediate); }
  void reviewUnprogrammedKey(IntfVlanKey const& key) { processIntfVlan(key.intfId(), key.vlanId()); }

  Qor::Ptr<FennHelper::EvpnFloodingSmHelper> helper_;
  Qor::Ptr<Keel::TaskScheduler> scheduler_;
  Qor::Ptr<EvpnLagMemberInfo const> evpnLagMemberInfo_;
  Qor::Ptr<Evpn::EvpnStatus const> evpnStatus_;
  std::unique_ptr<Review> review_;
  // Helper calls, their failures and when the last one failed.
  SmCounters counters_;
  std::unique_ptr<QorEvpnLagMemberInfo> qorEvpnLagMemberInfo_;
  std::unique_ptr<QorEvpnStatus> qorEvpnStatus_;
  Qor::ReactorMap<Bridging::VlanId, QorEvpnVlanFloodStatus> evpnVlanFloodStatus_;
};

FENN_EVPN_EXPORT Qor::Ptr<FennEvpnFloodFilterSm> fennEvpnFloodFilterSmFactory(
    Qor::Ptr<FennHelper::EvpnFloodingSmHelper> helper, Qor::Ptr<Keel::TaskScheduler> taskScheduler,
    Qor::Ptr<EvpnLagMemberInfo const> evpnLagMemberInfo, Qor::Ptr<Evpn::EvpnStatus const> evpnStatus);

}  // namespace Fenn
