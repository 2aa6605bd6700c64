// EvpnFloodingEsiSm programs the split-horizon data of every multihomed access interface
// (an Ethernet segment): for each VLAN of the segment and each remote TEP that the ESI
// label is sent to, the TEP's remote ESI label, the hardware tunnel ID of the tunnel to
// it and the segment's local ESI label, on every physical port of the interface (each
// current member of a LAG), through the flooding helper's createEsiData/deleteEsiData.
//
// The label goes to every remote of the segment when all of them have a hardware tunnel
// ID from the shared-ES pool, and otherwise only to the designated forwarder of the VLAN.
// A create that fails is retried by the unprogrammed review without limit; a create that
// reports an invalid hardware tunnel ID is fatal. Releasing the machine removes what it
// programmed.
//
// An input that is detached (evpnLagMemberInfoDel, evpnStatusDel, tunnelIdHwTunnelIdDel)
// stops being watched and reads as empty from then on: no segments, no hardware tunnel IDs,
// no LAG configuration. What depended on it is decided again at once, which removes the
// entries it made possible, exactly as emptying the input would have.
#pragma once

#include <memory>
#include <optional>
#include <string_view>

#include "Evpn/EvpnStatus.h"
#include "FennEvpn/FennEvpn.h"
#include "FennEvpn/FennEvpnExplanation.h"
#include "FennEvpn/FennEvpnExport.h"
#include "FennEvpn/FennEvpnFloodingRecords.h"
#include "FennEvpn/FennEvpnFloodingSmHelper.h"
#include "FennEvpn/FennEvpnLagMemberInfo.h"
#include "FennEvpn/FennEvpnSmSummary.h"
#include "FennEvpn/FennEvpnTunnelIdToHwTunnelIdMapping.h"
#include "FennEvpn/FennEvpnUnprogrammedReview.h"
#include "FennEvpn/FennEvpnUnusableInput.h"
#include "Keel/TaskScheduler.h"
#include "Qor/Collection.h"
#include "Qor/StateMachine.h"

namespace Fenn {

class EvpnFloodingEsiSm : public Qor::StateMachine, public UnusableInputCounter {
 public:
  static constexpr char traceClass[] = "EvpnFloodingEsiSm::";

  EvpnFloodingEsiSm(Qor::Ptr<FennHelper::EvpnFloodingSmHelper> helper,
                    Qor::Ptr<Keel::TaskScheduler> scheduler,
                    Qor::Ptr<EvpnLagMemberInfo const> evpnLagMemberInfo,
                    Qor::Ptr<Evpn::EvpnStatus const> evpnStatus,
                    Qor::Ptr<TunnelIdToHwTunnelIdMapping const> tunnelIdHwTunnelId);
  ~EvpnFloodingEsiSm() override;
  std::string_view fwkType() const override { return "Fenn::EvpnFloodingEsiSm"; }

  FennHelper::EvpnFloodingSmHelper* floodingHelper() const noexcept { return helper_.get(); }
  Keel::TaskScheduler* scheduler() const noexcept { return scheduler_.get(); }
  EvpnLagMemberInfo const* evpnLagMemberInfo() const noexcept { return evpnLagMemberInfo_.get(); }
  Evpn::EvpnStatus const* evpnStatus() const noexcept { return evpnStatus_.get(); }
  TunnelIdToHwTunnelIdMapping const* tunnelIdHwTunnelId() const noexcept { return tunnelIdHwTunnelId_.get(); }
  // Detach an input (see above); there is no re-attaching.
  FENN_EVPN_EXPORT void evpnLagMemberInfoDel();
  FENN_EVPN_EXPORT void evpnStatusDel();
  FENN_EVPN_EXPORT void tunnelIdHwTunnelIdDel();

  // The (interface, VLAN) pairs flooded with ESI data, both ways.
  QOR_CHILDREN(intfVlanSet, Ostra::IntfId, IntfVlanSet)
  QOR_CHILDREN(vlanIntfSet, Bridging::VlanId, VlanIntfSet)
  // The remote tunnels of each pair, and the reverse indexes a tunnel's change goes through.
  QOR_CHILDREN(intfVlanTunnelSet, IntfVlanKey, IntfVlanTunnelSet)
  QOR_CHILDREN(tunnelIntfVlanSet, TunnelId, TunnelIntfVlanSet)
  QOR_CHILDREN(intfTunnelVlanSet, IntfTunnelKey, IntfTunnelVlanSet)
  // What is wanted in hardware per (interface, VLAN, tunnel), and what is there per port.
  QOR_MAP(intfVlanTunnelEsiInfo, IntfVlanTunnelKey, EsiInfo)
  QOR_CHILDREN(esiStatus, IntfVlanTunnelKey, IntfVlanTunnelEsiStatus)
  // Keys with a port whose programming failed: exactly those whose esiStatus record has an
  // unprogrammed port.
  QOR_SET(unprogrammedEsi, IntfVlanTunnelKey)
  QOR_SCALAR(defaultUnprogrammedRetryInterval, double, 5.0)

  // Created by handleInitialized.
  Keel::TimerTask* reviewUnprogrammed() const noexcept { return review_ ? review_->task() : nullptr; }
  FENN_EVPN_EXPORT void maybeScheduleUnprogrammedReview(bool immediate);

  // Whether every remote of the segment has a published hardware tunnel ID of the shared-ES
  // pool (true for a segment without remotes).
  bool allRemotesHaveSharedEsHwTunnelId(Ostra::IntfId const& intfId) const;

  // Operator answers: why the ESI label of a peer is (not) on an interface's ports for a
  // VLAN, and the summary (an entry is programmed once every member port holds it).
  FENN_EVPN_EXPORT void explainEsi(IntfVlanTunnelKey const& key, Explanation& answer) const;
  FENN_EVPN_EXPORT SmSummary summary() const;

 protected:
  void handleInitialized() override;

 private:
  class QorEvpnStatus;
  class QorSegmentStatus;
  class QorTunnelIdHwTunnelId;
  class QorEvpnLagMemberInfo;
  struct EsiTarget;
  using Review = UnprogrammedReview<EvpnFloodingEsiSm, Qor::Set<IntfVlanTunnelKey>>;
  friend Review;
  friend struct EsiTarget;

  void segmentStatusIs(Ostra::IntfId const& intfId);
  void segmentStatusDel(Ostra::IntfId const& intfId);
  void segmentStatusDelAll();
  void handleSegmentStatus(Ostra::IntfId const& intfId);
  // A remote TEP whose interface names no tunnel is skipped as an unusable input: reported
  // here, as met by `function`, when it arrives.
  void reportUnusableTep(Ostra::IntfId const& intfId, Ostra::IntfId const& tepIntfId, char const* function);
  void handleSegmentVlan(Ostra::IntfId const& intfId, Bridging::VlanId vlanId);
  void handleSegmentVlans(Ostra::IntfId const& intfId);
  void handleLocalEsiLabel(Ostra::IntfId const& intfId);
  void handleTunnelIdMapping(TunnelId const& tunnelId);
  void handleLagPort(Ostra::IntfId const& intfId);

  void addIntfVlanMapping(Ostra::IntfId const& intfId, Bridging::VlanId vlanId);
  void deleteIntfVlanMapping(Ostra::IntfId const& intfId, Bridging::VlanId vlanId);
  void addOrUpdateIntfVlanTunnelMapping(Ostra::IntfId const& intfId, Bridging::VlanId vlanId,
                                        TunnelId const& tunnelId);
  void deleteIntfVlanTunnel(Ostra::IntfId const& intfId, Bridging::VlanId vlanId, TunnelId const& tunnelId);
  void deleteIntfVlanTunnelMapping(Ostra::IntfId const& intfId, Bridging::VlanId vlanId);
  void addOrUpdateIntfVlanTunnelLabelMapping(Ostra::IntfId const& intfId, Bridging::VlanId vlanId,
                                             TunnelId const& tunnelId, HwTunnelId const& hwTunnelId,
                                             Ostra::MplsLabel label);
  void deleteIntfVlanTunnelLabelMapping(Ostra::IntfId const& intfId, Bridging::VlanId vlanId,
                                        TunnelId const& tunnelId);

  void processIntfVlan(Ostra::IntfId const& intfId, Bridging::VlanId vlanId);
  void processIntfVlanTep(Ostra::IntfId const& intfId, Bridging::VlanId vlanId, TunnelId const& tunnelId,
                          Evpn::EncapTypeLabel const& encapTypeLabel);
  void programEsi(IntfVlanTunnelKey const& key, EsiInfo const& esiInfo);
  void programEsiHelper(IntfVlanTunnelKey const& key, Ostra::IntfId const& phyIntfId, EsiInfo const& esiInfo);
  void unprogramEsi(IntfVlanTunnelKey const& key);
  void unprogramEsiHelper(IntfVlanTunnelKey const& key, Ostra::IntfId const& phyIntfId);
  void reviewUnprogrammedKey(IntfVlanTunnelKey const& key);
  // The inputs as read, a detached one as empty.
  Evpn::EthernetSegmentStatus const* segmentOf(Ostra::IntfId const& intfId) const;
  Evpn::EncapTypeLabel localEsiLabelOf(Ostra::IntfId const& intfId) const;
  std::optional<HwTunnelId> publishedHwTunnelId(TunnelId const& tunnelId) const;
  EvpnLagMemberInfo const& lagMembers() const;

  Qor::Ptr<FennHelper::EvpnFloodingSmHelper> helper_;
  Qor::Ptr<Keel::TaskScheduler> scheduler_;
  Qor::Ptr<EvpnLagMemberInfo const> evpnLagMemberInfo_;
  Qor::Ptr<Evpn::EvpnStatus const> evpnStatus_;
  Qor::Ptr<TunnelIdToHwTunnelIdMapping const> tunnelIdHwTunnelId_;
  std::unique_ptr<Review> review_;
  // Helper calls, their failures and when the last one failed.
  SmCounters counters_;
  Qor::ReactorMap<Ostra::IntfId, QorSegmentStatus> segmentStatus_;
  std::unique_ptr<QorEvpnStatus> qorEvpnStatus_;
  std::unique_ptr<QorTunnelIdHwTunnelId> qorTunnelIdHwTunnelId_;
  std::unique_ptr<QorEvpnLagMemberInfo> qorEvpnLagMemberInfo_;
};

FENN_EVPN_EXPORT Qor::Ptr<EvpnFloodingEsiSm> evpnFloodingEsiSmFactory(
    Qor::Ptr<FennHelper::EvpnFloodingSmHelper> const& helper,
    Qor::Ptr<Keel::TaskScheduler> const& taskScheduler,
    Qor::Ptr<EvpnLagMemberInfo const> const& evpnLagMemberInfo,
    Qor::Ptr<Evpn::EvpnStatus const> const& evpnStatus,
    Qor::Ptr<TunnelIdToHwTunnelIdMapping const> const& tunnelIdHwTunnelId);

}  // namespace Fenn
