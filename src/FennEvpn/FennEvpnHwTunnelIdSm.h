// EvpnHwTunnelIdSm gives every MPLS tunnel that the forwarding plane needs a hardware
// tunnel ID and publishes the pairs in the tunnel-to-hardware-ID table. A tunnel needs an
// ID while it is a flooding destination (present in EvpnRemoteInfo) or while a local
// Ethernet segment sends its ESI label through it (a peer in the segment's remote ESI
// labels). Tunnels of segments with a shared ESI label take their ID from the shared-ES
// pool, falling back to the default pool; all others use the default pool.
//
// An ID that is no longer needed is not given back at once: its tunnel stays published as
// a zombie of the ID's pool, and a zombie is reclaimed only when that pool runs dry. A
// tunnel that finds its pools dry is kept as unprogrammed and retried by a review task,
// which runs whenever an ID may have become free. The shared-ES pool's exhaustion and
// recovery are reported in the system log; the default pool's exhaustion is fatal except
// in simulation (SIMULATION_VMID).
#pragma once

#include <array>
#include <memory>
#include <optional>
#include <string_view>

#include "Evpn/EvpnStatus.h"
#include "Fenn/FennCommonSmData.h"
#include "Fenn/HwTunnelId.h"
#include "Fenn/HwTunnelIdType.h"
#include "FennEvpn/FennEvpn.h"
#include "FennEvpn/FennEvpnExplanation.h"
#include "FennEvpn/FennEvpnExport.h"
#include "FennEvpn/FennEvpnFloodingRecords.h"
#include "FennEvpn/FennEvpnHwTunnelIdSmHelper.h"
#include "FennEvpn/FennEvpnRemoteInfo.h"
#include "FennEvpn/FennEvpnSmSummary.h"
#include "FennEvpn/FennEvpnTunnelIdToHwTunnelIdMapping.h"
#include "FennEvpn/FennEvpnUnusableInput.h"
#include "Keel/TaskScheduler.h"
#include "Keel/TimerTask.h"
#include "Qor/Collection.h"
#include "Qor/StateMachine.h"

namespace Fenn {

// A tunnel used by local Ethernet segments: which segments use it, and which of those have
// a valid shared ESI label, which puts the tunnel in the shared-ES pool.
class FENN_EVPN_EXPORT TunnelInfo : public Qor::Entity {
 public:
  explicit TunnelInfo(TunnelId tunnelId) : tunnelId_(tunnelId) {}
  std::string_view fwkType() const override { return "Fenn::TunnelInfo"; }
  TunnelId tunnelId() const noexcept { return tunnelId_; }

 private:
  TunnelId const tunnelId_;

 public:
  QOR_SET(intfId, Ostra::IntfId)
  QOR_SET(sharedEsiLabelConfiguredIntf, Ostra::IntfId)

  HwTunnelIdType hwTunnelIdType() const noexcept {
    return sharedEsiLabelConfiguredIntf().empty() ? hwTunnelIdTypeDefault : hwTunnelIdTypeSharedEs;
  }
};

// The tunnels of one pool whose ID is still published but no longer needed.
class FENN_EVPN_EXPORT TunnelIdSet : public Qor::Entity {
 public:
  explicit TunnelIdSet(HwTunnelIdType hwTunnelIdType) : hwTunnelIdType_(hwTunnelIdType) {}
  std::string_view fwkType() const override { return "Fenn::TunnelIdSet"; }
  HwTunnelIdType hwTunnelIdType() const noexcept { return hwTunnelIdType_; }

 private:
  HwTunnelIdType const hwTunnelIdType_;

 public:
  QOR_SET(tunnelId, TunnelId)
};

class EvpnHwTunnelIdSm : public Qor::StateMachine, public UnusableInputCounter {
 public:
  EvpnHwTunnelIdSm(Qor::Ptr<FennHelper::EvpnHwTunnelIdSmHelper> hwTunnelIdHelper,
                   Qor::Ptr<Keel::TaskScheduler> scheduler, Qor::Ptr<FennCommonSmData const> acsd,
                   Qor::Ptr<Evpn::EvpnStatus const> evpnStatus, Qor::Ptr<EvpnRemoteInfo const> remoteInfo,
                   Qor::Ptr<TunnelIdToHwTunnelIdMapping> tunnelIdHwTunnelId);
  // Once initialized, removes every row it published and gives the IDs back.
  ~EvpnHwTunnelIdSm() override;
  std::string_view fwkType() const override { return "Fenn::EvpnHwTunnelIdSm"; }

  FennHelper::EvpnHwTunnelIdSmHelper* hwTunnelIdHelper() const noexcept { return hwTunnelIdHelper_.get(); }
  Keel::TaskScheduler* scheduler() const noexcept { return scheduler_.get(); }
  FennCommonSmData const* acsd() const noexcept { return acsd_.get(); }
  Evpn::EvpnStatus const* evpnStatus() const noexcept { return evpnStatus_.get(); }
  EvpnRemoteInfo const* remoteInfo() const noexcept { return remoteInfo_.get(); }
  TunnelIdToHwTunnelIdMapping* tunnelIdHwTunnelId() const noexcept { return tunnelIdHwTunnelId_.get(); }

  // The tunnels used by local Ethernet segments.
  QOR_CHILDREN(tunnelInfo, TunnelId, TunnelInfo)
  // Per segment interface, the tunnels it uses.
  QOR_CHILDREN(intfTunnelSet, Ostra::IntfId, IntfTunnelSet)
  // Per pool, the zombies: filed under the pool of their published ID.
  QOR_CHILDREN(zombieTunnelId, HwTunnelIdType, TunnelIdSet)

  // Whether a pool is known to be exhausted (false for a pool never recorded).
  QOR_ATTRIBUTE_ID(hwTunnelIdOverflow);
  bool hwTunnelIdOverflow(HwTunnelIdType type) const { return hwTunnelIdOverflow_.get(type); }
  bool hwTunnelIdOverflowHas(HwTunnelIdType type) const { return hwTunnelIdOverflow_.has(type); }

  // Tunnels that need an ID and could not get one, and tunnels waiting to move to the pool
  // they now need, or to the shared-ES pool they fell back from (they keep their published
  // ID meanwhile).
  QOR_ATTRIBUTE_ID(unprogrammedTunnel);
  bool unprogrammedTunnelHas(TunnelId const& tunnelId) const { return unprogrammedTunnel_.has(tunnelId); }
  auto const& unprogrammedTunnel() const noexcept { return unprogrammedTunnel_; }

  // Where a review that had to yield resumes, in tunnel ID order.
  QOR_SCALAR(bookmark, TunnelId, TunnelId())
  QOR_SCALAR(defaultUnprogrammedRetryInterval, double, 5.0)

  // Created by handleInitialized.
  Keel::TimerTask* reviewUnprogrammed() const noexcept { return reviewUnprogrammed_.get(); }

  // Asks for a review of the unprogrammed tunnels, at once or after
  // defaultUnprogrammedRetryInterval; nothing when none is unprogrammed. The machine asks
  // at once whenever it frees an ID; a platform that adds IDs to a pool behind the helper's
  // back asks too, since nothing else tells the machine.
  FENN_EVPN_EXPORT void maybeScheduleUnprogrammedReview(bool immediate);

  // Operator answers: why a tunnel has (or has no) hardware tunnel ID, and the summary.
  FENN_EVPN_EXPORT void explainHwTunnelId(TunnelId const& tunnelId, Explanation& answer) const;
  FENN_EVPN_EXPORT SmSummary summary() const;

 protected:
  void handleInitialized() override;

 private:
  class QorEvpnStatus;
  class QorSegmentStatus;
  class QorRemoteInfo;

  void handleEthernetSegmentStatus(Ostra::IntfId const& esIntfId);
  void handleRemoteTunnelId(TunnelId const& tunnelId);
  // Brings the segment's tunnels in line with its remote ESI labels; a segment that is gone
  // has none.
  void processSegmentStatus(Ostra::IntfId const& esIntfId);
  // The tunnel behind a peer's TEP interface; a TEP interface that names no tunnel is
  // skipped as an unusable input, reported as met by `function`.
  std::optional<TunnelId> tunnelOfTep(Ostra::IntfId const& tepIntfId, char const* function);
  void programHwTunnelId(Ostra::IntfId const& esIntfId, TunnelId const& tunnelId);
  void unProgramHwTunnelId(Ostra::IntfId const& esIntfId, TunnelId const& tunnelId);
  void publishHwTunnelId(TunnelId const& tunnelId);
  void maybeReprogramHwTunnelId(TunnelId const& tunnelId);
  // A tunnel no longer needed: its published ID becomes a zombie, or it stops waiting.
  void retireTunnel(TunnelId const& tunnelId);
  HwTunnelId getHwTunnelId(HwTunnelIdType type, bool attemptZombieRelease);
  // The helper's operations, counted.
  HwTunnelId allocateHwTunnelId(HwTunnelIdType type);
  void releaseHwTunnelId(HwTunnelId const& hwTunnelId);
  bool releaseOneZombieTunnelId(HwTunnelIdType type);
  void hwTunnelIdOverflowIs(HwTunnelIdType type, bool overflow);
  void handleHwTunnelIdOverflow(HwTunnelIdType type);
  void unprogrammedTunnelIs(TunnelId const& tunnelId);
  void unprogrammedTunnelDel(TunnelId const& tunnelId);
  void handleUnprogrammedTunnel(TunnelId const& tunnelId);
  bool unprogrammedTunnelWithoutId() const;
  void reviewUnprogrammedIs(Qor::Ptr<Keel::TaskScheduler> const& scheduler, Keel::Priority priority,
                            Qor::String const& taskName);
  void doReviewUnprogrammed();

  // The pool a tunnel needs now.
  HwTunnelIdType hwTunnelIdTypeOf(TunnelId const& tunnelId) const;
  bool sharedEsiLabelValid(Ostra::IntfId const& esIntfId) const;
  // "the default pool is full (1024 of 1024, 3 zombies waiting for reclaim)".
  Qor::String poolText(HwTunnelIdType type) const;
  // Published IDs of the pool, counted in the table.
  uint64_t publishedCount(HwTunnelIdType type) const;

  Qor::Ptr<FennHelper::EvpnHwTunnelIdSmHelper> hwTunnelIdHelper_;
  Qor::Ptr<Keel::TaskScheduler> scheduler_;
  Qor::Ptr<FennCommonSmData const> acsd_;
  Qor::Ptr<Evpn::EvpnStatus const> evpnStatus_;
  Qor::Ptr<EvpnRemoteInfo const> remoteInfo_;
  Qor::Ptr<TunnelIdToHwTunnelIdMapping> tunnelIdHwTunnelId_;
  Qor::ValueMap<HwTunnelIdType, bool> hwTunnelIdOverflow_{this, hwTunnelIdOverflowAttr};
  Qor::Set<TunnelId> unprogrammedTunnel_{this, unprogrammedTunnelAttr};
  Qor::Ptr<Keel::TimerTask> reviewUnprogrammed_;
  // Whether a review was asked for since the current walk began.
  bool reviewAsked_ = false;
  SmCounters counters_;
  // IDs held per pool (published or zombie), and the most held at once.
  std::array<uint64_t, 2> held_{};
  std::array<uint64_t, 2> highWater_{};
  std::unique_ptr<QorEvpnStatus> qorEvpnStatus_;
  std::unique_ptr<QorRemoteInfo> qorRemoteInfo_;
  Qor::ReactorMap<Ostra::IntfId, QorSegmentStatus> segmentStatus_;
};

FENN_EVPN_EXPORT Qor::Ptr<EvpnHwTunnelIdSm> evpnHwTunnelIdSmFactory(
    Qor::Ptr<FennHelper::EvpnHwTunnelIdSmHelper> hwTunnelIdHelper,
    Qor::Ptr<Keel::TaskScheduler> taskScheduler, Qor::Ptr<FennCommonSmData const> acsd,
    Qor::Ptr<Evpn::EvpnStatus const> evpnStatus, Qor::Ptr<EvpnRemoteInfo const> remoteInfo,
    Qor::Ptr<TunnelIdToHwTunnelIdMapping> tunnelIdHwTunnelId);

}  // namespace Fenn
