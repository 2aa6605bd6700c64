// EvpnFloodSetFecSm gives every MPLS flooding via (tunnel, label and, for VLAN-carrying
// tunnels, the VLAN) that the MPLS-only flood sets use a FEC of its own: it allocates a
// FEC ID, writes the FEC request, and publishes the hardware's answer in HwInfoMapping,
// which is what lets EvpnVlanFloodSetSm configure the via's destinations.
//
// A via's life: requested (some flood-set destination uses it: FEC ID allocated, request
// written), answered (response present: HwInfoMapping entry written), draining (no
// destination uses it, but the hardware still reports a flood-set configuration with it
// programmed: the request stays), removed (request deleted), released (response gone too:
// the FEC index goes back to the allocator, which holds it back for a while before
// reuse). A FEC ID is never reused while a response for it exists.
//
// The reactors are created with the state machine but act only once it is initialized;
// handleInitialized then walks every input as if it had all just appeared.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "Bridging/MacVlanPair.h"
#include "Bridging/VlanId.h"
#include "Fenn/FecIdToHwFecIdRequest.h"
#include "Fenn/FecIdToHwFecIdResponse.h"
#include "FennEvpn/FennEvpnExplanation.h"
#include "FennEvpn/FennEvpnExport.h"
#include "FennEvpn/FennEvpnFloodSetReactors.h"
#include "FennEvpn/FennEvpnSmSummary.h"
#include "FennEvpn/FennEvpnTunnelIdToHwTunnelIdMapping.h"
#include "FennEvpn/FennEvpnUnusableInput.h"
#include "FennEvpn/FennEvpnVlanFloodSet.h"
#include "FennEvpn/FennEvpnVlanFloodSetHw.h"
#include "FennEvpn/FennEvpnVlanFloodSetIndex.h"
#include "Keel/NumAllocator.h"
#include "Keel/TimerWheel.h"
#include "L2Rib/FloodSetOutput.h"
#include "Ostra/EthAddr.h"
#include "Qor/Attribute.h"
#include "Qor/StateMachine.h"
#include "Vasp/FibFec.h"

namespace Fenn {

// The adjacency type of flood-set FECs, kept apart from every other client's FEC IDs.
inline constexpr uint8_t floodSetFecAdjType = 11;

// The FEC ID of flood-set FEC index `index`; asserts "index >= 0".
FENN_EVPN_EXPORT Vasp::Fib::FecId indexToFecId(int64_t index);

class EvpnFloodSetFecSm : public Qor::StateMachine, public UnusableInputCounter {
 public:
  // FEC indexes: the whole 32-bit range; a released index waits this long before reuse, so
  // that a late answer about its previous FEC cannot be taken for the next one.
  static constexpr uint64_t fecIndexFirst = 0;
  static constexpr uint64_t fecIndexLast = 0xFFFFFFFF;
  static constexpr double fecIndexHoldBack = 10.0;

  EvpnFloodSetFecSm(Qor::Ptr<L2Rib::FloodSetOutput const> floodSetOutput,
                    Qor::Ptr<TunnelIdToHwTunnelIdMapping const> hwTunnelIdMapping,
                    Qor::Ptr<EvpnVlanFloodSetHwStatus const> vlanFloodSetHwStatus,
                    Qor::Ptr<FecIdToHwFecIdRequest> mplsFloodSetFecRequest,
                    Qor::Ptr<FecIdToHwFecIdResponse const> mplsFloodSetFecResponse,
                    Qor::Ptr<HwInfoMapping> hwInfoMapping, Qor::Ptr<Keel::TimerWheel> timerWheel);
  // Withdraws every FEC request and HwInfoMapping entry this state machine published.
  ~EvpnFloodSetFecSm() override;
  std::string_view fwkType() const override { return "Fenn::EvpnFloodSetFecSm"; }

  L2Rib::FloodSetOutput const* floodSetOutput() const noexcept { return floodSetOutput_.get(); }
  TunnelIdToHwTunnelIdMapping const* hwTunnelIdMapping() const noexcept { return hwTunnelIdMapping_.get(); }
  EvpnVlanFloodSetHwStatus const* vlanFloodSetHwStatus() const noexcept {
    return vlanFloodSetHwStatus_.get();
  }
  FecIdToHwFecIdRequest* mplsFloodSetFecRequest() const noexcept { return mplsFloodSetFecRequest_.get(); }
  FecIdToHwFecIdResponse const* mplsFloodSetFecResponse() const noexcept {
    return mplsFloodSetFecResponse_.get();
  }
  HwInfoMapping* hwInfoMapping() const noexcept { return hwInfoMapping_.get(); }
  Keel::TimerWheel* timerWheel() const noexcept { return timerWheel_.get(); }
  // The allocator exists from initialization on.
  Keel::NumAllocator const* numAllocator() const noexcept { return numAllocator_.get(); }
  Keel::NumAllocatorConfig const& numAllocatorConfig() const noexcept { return numAllocatorConfig_; }
  FENN_EVPN_EXPORT Keel::NumAllocatorStatus numAllocatorStatus() const;

  // The flood-set destinations that use each via.
  QOR_CHILDREN(floodSetEntryCache, MplsFloodSetVia, MplsFloodSetViaToVlanMacDestSet)
  // The (VLAN, MAC) pairs whose configuration with each via the hardware reports programmed.
  QOR_CHILDREN(floodSetStatusCache, MplsFloodSetVia, MplsFloodSetViaToFloodSetStatus)
  // The vias with a FEC request, per tunnel.
  QOR_CHILDREN(tunnelInfoCache, TunnelId, TunnelIdToMplsFloodSetVia)
  // Each via's FEC ID and its inverse; changed together, only by updateCachesForFecId.
  QOR_MAP(mplsFloodSetViaCache, MplsFloodSetVia, Vasp::Fib::FecId)
  QOR_MAP(fecIdCache, Vasp::Fib::FecId, MplsFloodSetVia)
  // FEC IDs that a previous instance left a response for: kept out of use until the
  // response goes. True once the allocator handed the number out and it is held here.
  QOR_MAP(previousRunFecId, Vasp::Fib::FecId, bool)

  // Operator answers: the FEC of a flooding via, and the summary.
  FENN_EVPN_EXPORT void explainVia(MplsFloodSetVia const& via, Explanation& answer) const;
  FENN_EVPN_EXPORT SmSummary summary() const;

 protected:
  void handleInitialized() override;

 private:
  // What a flood-set change means here: defined with the handlers.
  struct FloodSetHooks;
  using QorFloodSetOutput = FloodSetReactors<FloodSetHooks>::QorFloodSetOutput;
  using QorVlanFloodSet = FloodSetReactors<FloodSetHooks>::QorVlanFloodSet;
  using QorFloodSet = FloodSetReactors<FloodSetHooks>::QorFloodSet;
  class QorVlanFloodSetStatus;
  class QorVlanFloodSetHwStatus;
  class QorHwTunnelIdMapping;
  class QorMplsFloodSetFecResponse;

  // `inFloodSet`: whether the input holds the destination.
  void processMplsDest(Bridging::VlanId vlanId, Ostra::EthAddr macAddr, L2Rib::Dest const& dest,
                       bool inFloodSet);
  // `viaUsed`: whether a flood-set destination uses the via (floodSetEntryCacheHas).
  void processFecRequest(MplsFloodSetVia const& via, bool viaUsed);
  void createOrUpdateFecRequest(MplsFloodSetVia const& via);
  void removeFecRequest(MplsFloodSetVia const& via);
  void maybeDeleteFecId(Vasp::Fib::FecId fecId);
  Vasp::Fib::FecId getOrAllocateFecId(MplsFloodSetVia const& via);
  Vasp::Fib::Fec buildFec(Vasp::Fib::FecId fecId, MplsFloodSetVia const& via) const;
  void updateCachesForFecId(Vasp::Fib::FecId fecId, MplsFloodSetVia const& via, bool add);
  void updateTunnelInfoCache(MplsFloodSetVia const& via, bool add);
  void handleFecResponse(Vasp::Fib::FecId fecId);
  // Sizes the per-via indexes and outputs for the flood sets' vias before the first walk.
  bool hasFecResponse(Vasp::Fib::FecId fecId) const;
  void handleHwTunnelIdMapping(TunnelId tunnelId);
  void handleMplsDestStatus(Bridging::MacVlanPair const& pair, MplsDestConfig const& config);
  static bool isViaProgrammedInPair(VlanFloodSetStatus const* status, MplsDestConfig const& config);

  Qor::Ptr<L2Rib::FloodSetOutput const> floodSetOutput_;
  Qor::Ptr<TunnelIdToHwTunnelIdMapping const> hwTunnelIdMapping_;
  Qor::Ptr<EvpnVlanFloodSetHwStatus const> vlanFloodSetHwStatus_;
  Qor::Ptr<FecIdToHwFecIdRequest> mplsFloodSetFecRequest_;
  Qor::Ptr<FecIdToHwFecIdResponse const> mplsFloodSetFecResponse_;
  Qor::Ptr<HwInfoMapping> hwInfoMapping_;
  Qor::Ptr<Keel::TimerWheel> timerWheel_;
  Keel::NumAllocatorConfig numAllocatorConfig_;
  Qor::Ptr<Keel::NumAllocator> numAllocator_;
  // Request writes and withdrawals; the hardware answers through the response table.
  SmCounters counters_;

  Qor::ReactorMap<Bridging::MacVlanPair, QorVlanFloodSetStatus> vlanFloodSetStatus_;
  std::unique_ptr<QorVlanFloodSetHwStatus> qorVlanFloodSetHwStatus_;
  std::unique_ptr<QorFloodSetOutput> qorFloodSetOutput_;
  std::unique_ptr<QorMplsFloodSetFecResponse> qorMplsFloodSetFecResponse_;
  std::unique_ptr<QorHwTunnelIdMapping> qorHwTunnelIdMapping_;
};

FENN_EVPN_EXPORT Qor::Ptr<EvpnFloodSetFecSm> evpnFloodSetFecSmFactory(
    Qor::Ptr<L2Rib::FloodSetOutput const> floodSetOutput,
    Qor::Ptr<TunnelIdToHwTunnelIdMapping const> hwTunnelIdMapping,
    Qor::Ptr<EvpnVlanFloodSetHwStatus const> vlanFloodSetHwStatus,
    Qor::Ptr<FecIdToHwFecIdRequest> mplsFloodSetFecRequest,
    Qor::Ptr<FecIdToHwFecIdResponse const> mplsFloodSetFecResponse, Qor::Ptr<HwInfoMapping> hwInfoMapping,
    Qor::Ptr<Keel::TimerWheel> timerWheel);

}  // namespace Fenn
