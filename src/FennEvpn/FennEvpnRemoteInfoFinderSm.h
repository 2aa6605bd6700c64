// EvpnRemoteInfoFinderSm counts, per remote tunnel, how many (VLAN, MAC flood set,
// destination) entries of the layer-2 RIB's flood sets lead to it (an SR-TE destination
// whose own tunnel is not its policy's tunnel leads to both), and keeps those counts
// in EvpnRemoteInfo. Counts follow notifications one step at a time (an add notification
// for a destination present in its flood set counts up, a removal counts down); they are
// never recomputed from the input. Its reactors walk the input when they are created, so
// a state machine built on a populated input counts everything already there.
#pragma once

#include <memory>
#include <string_view>

#include "Bridging/VlanId.h"
#include "FennEvpn/FennEvpnExplanation.h"
#include "FennEvpn/FennEvpnExport.h"
#include "FennEvpn/FennEvpnFloodSetReactors.h"
#include "FennEvpn/FennEvpnRemoteInfo.h"
#include "FennEvpn/FennEvpnSmSummary.h"
#include "FennEvpn/FennEvpnUnusableInput.h"
#include "L2Rib/FloodSetOutput.h"
#include "Ostra/EthAddr.h"
#include "Qor/StateMachine.h"

namespace Fenn {

class EvpnRemoteInfoFinderSm : public Qor::StateMachine, public UnusableInputCounter {
 public:
  EvpnRemoteInfoFinderSm(Qor::Ptr<L2Rib::FloodSetOutput const> floodSetOutput,
                         Qor::Ptr<EvpnRemoteInfo> remoteInfo);
  ~EvpnRemoteInfoFinderSm() override;
  std::string_view fwkType() const override { return "Fenn::EvpnRemoteInfoFinderSm"; }

  L2Rib::FloodSetOutput const* floodSetOutput() const noexcept { return floodSetOutput_.get(); }
  EvpnRemoteInfo* remoteInfo() const noexcept { return remoteInfo_.get(); }

  // Flood-set entries of SR-TE destinations whose own tunnel is not their policy's tunnel:
  // both tunnels are counted for them (see processMplsDest). Counted like the references.
  QOR_SCALAR(inconsistentSrTeDestCount, uint32_t, 0)

  // Operator answers: whether the layer-2 RIB's flood set holds the destination and what
  // its tunnel is counted at; the summary (one entry per remote tunnel, nothing to program).
  FENN_EVPN_EXPORT void explainDest(Bridging::VlanId vlanId, Ostra::EthAddr macAddr, L2Rib::Dest const& dest,
                                    Explanation& answer) const;
  FENN_EVPN_EXPORT SmSummary summary() const;

 private:
  // What a flood-set change means here: defined with the handlers.
  struct FloodSetHooks;
  using QorFloodSetOutput = FloodSetReactors<FloodSetHooks>::QorFloodSetOutput;
  using QorVlanFloodSet = FloodSetReactors<FloodSetHooks>::QorVlanFloodSet;
  using QorFloodSet = FloodSetReactors<FloodSetHooks>::QorFloodSet;

  // The one place where counts change.
  // `present`: whether the input holds the destination.
  void processMplsDest(Bridging::VlanId vlanId, Ostra::EthAddr macAddr, L2Rib::Dest const& dest,
                       bool present);
  void countRemoteTunnel(Tunnel::TunnelTable::TunnelId const& tunnelId, bool present);

  Qor::Ptr<L2Rib::FloodSetOutput const> floodSetOutput_;
  Qor::Ptr<EvpnRemoteInfo> remoteInfo_;
  std::unique_ptr<QorFloodSetOutput> qorFloodSetOutput_;
};

FENN_EVPN_EXPORT Qor::Ptr<EvpnRemoteInfoFinderSm> evpnRemoteInfoFinderSmFactory(
    Qor::Ptr<L2Rib::FloodSetOutput const> floodSetOutput, Qor::Ptr<EvpnRemoteInfo> remoteInfo);

}  // namespace Fenn
