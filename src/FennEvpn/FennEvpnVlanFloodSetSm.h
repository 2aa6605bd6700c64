// EvpnVlanFloodSetSm turns every MPLS destination of the (MPLS-only) flood sets into one
// MplsDestConfig in EvpnVlanFloodSetHwConfig, under the flood set's VLAN and MAC. A
// destination is configured once its via has hardware information in HwInfoMapping; its
// configuration carries the tunnel's hardware tunnel ID from the tunnel-to-hardware-ID
// table (the default ID until the table has one). Any change of an input rewrites the
// affected configurations at once: a changed configuration is removed and the new one
// inserted. Nothing is retried; a destination that is not ready simply waits for the
// notification that makes it ready. The hardware status is only traced.
//
// Its indexes (tunnel -> destinations, via -> destinations, destination -> configuration
// written) are attributes of the state machine, readable for diagnostics.
#pragma once

#include <memory>
#include <string_view>

#include "Bridging/MacVlanPair.h"
#include "Bridging/VlanId.h"
#include "FennEvpn/FennEvpnExplanation.h"
#include "FennEvpn/FennEvpnExport.h"
#include "FennEvpn/FennEvpnFloodSetReactors.h"
#include "FennEvpn/FennEvpnSmSummary.h"
#include "FennEvpn/FennEvpnTunnelIdToHwTunnelIdMapping.h"
#include "FennEvpn/FennEvpnUnusableInput.h"
#include "FennEvpn/FennEvpnVlanFloodSet.h"
#include "FennEvpn/FennEvpnVlanFloodSetHw.h"
#include "FennEvpn/FennEvpnVlanFloodSetIndex.h"
#include "L2Rib/FloodSetOutput.h"
#include "Ostra/EthAddr.h"
#include "Qor/Collection.h"
#include "Qor/StateMachine.h"

namespace Fenn {

class EvpnVlanFloodSetSm : public Qor::StateMachine, public UnusableInputCounter {
 public:
  EvpnVlanFloodSetSm(Qor::Ptr<L2Rib::FloodSetOutput const> floodSetOutput,
                     Qor::Ptr<TunnelIdToHwTunnelIdMapping const> hwTunnelIdMapping,
                     Qor::Ptr<HwInfoMapping const> hwInfoMapping,
                     Qor::Ptr<EvpnVlanFloodSetHwConfig> vlanFloodSetHwConfig,
                     Qor::Ptr<EvpnVlanFloodSetHwStatus const> vlanFloodSetHwStatus);
  // Removes every configuration it wrote.
  ~EvpnVlanFloodSetSm() override;
  std::string_view fwkType() const override { return "Fenn::EvpnVlanFloodSetSm"; }

  L2Rib::FloodSetOutput const* floodSetOutput() const noexcept { return floodSetOutput_.get(); }
  TunnelIdToHwTunnelIdMapping const* hwTunnelIdMapping() const noexcept { return hwTunnelIdMapping_.get(); }
  HwInfoMapping const* hwInfoMapping() const noexcept { return hwInfoMapping_.get(); }
  EvpnVlanFloodSetHwConfig* vlanFloodSetHwConfig() const noexcept { return vlanFloodSetHwConfig_.get(); }
  EvpnVlanFloodSetHwStatus const* vlanFloodSetHwStatus() const noexcept {
    return vlanFloodSetHwStatus_.get();
  }

  QOR_CHILDREN(tunnelToFloodSetEntry, TunnelId, TunnelVlanMacDestSet)
  QOR_MAP(mplsDestHwConfig, VlanMacDest, MplsDestConfig)
  QOR_CHILDREN(hwInfoMapKeyToFloodSetEntry, MplsFloodSetVia, MplsFloodSetViaToVlanMacDestSet)

  // Operator answers: a destination's configuration and what the hardware says of it, and
  // the summary (an entry is programmed once the hardware reports it so).
  FENN_EVPN_EXPORT void explainDest(VlanMacDest const& d, Explanation& answer) const;
  FENN_EVPN_EXPORT SmSummary summary() const;

 protected:
  void handleInitialized() override;

 private:
  // What a flood-set change means here: defined with the handlers.
  struct FloodSetHooks;
  using QorFloodSetOutput = FloodSetReactors<FloodSetHooks>::QorFloodSetOutput;
  using QorVlanFloodSet = FloodSetReactors<FloodSetHooks>::QorVlanFloodSet;
  using QorFloodSet = FloodSetReactors<FloodSetHooks>::QorFloodSet;
  class QorHwTunnelIdMapping;
  class QorHwInfoMapping;
  class QorVlanFloodSetStatus;
  class QorVlanFloodSetHwStatus;

  // Every destination of a flood set (present or just removed) goes through here;
  // `inFloodSet`: whether the input holds it.
  void processMplsDest(Bridging::VlanId vlanId, Ostra::EthAddr const& macAddr, L2Rib::Dest const& dest,
                       bool inFloodSet);
  void processFloodSetDests(Bridging::VlanId vlanId, L2Rib::FloodSet const& floodSet, bool inFloodSet);
  void updateInternalMapping(VlanMacDest const& d, bool inFloodSet);
  // `inFloodSet`: whether the input holds the destination.
  void processMplsDestConfig(VlanMacDest const& d, bool inFloodSet);
  MplsDestConfig createMplsDestConfig(VlanMacDest const& d) const;
  void addOrUpdateMplsDestHwConfig(VlanMacDest const& d);
  void deleteMplsDestHwConfig(VlanMacDest const& d);
  // Two destinations of one flood set can yield one configuration (a destination steered
  // into an SR-TE policy and a plain one over the policy's tunnel, with one label): the
  // element is written for the first and removed with the last of them.
  void claimConfigElement(VlanFloodSetConfig& out, Bridging::MacVlanPair const& pair,
                          MplsDestConfig const& config);
  void releaseConfigElement(VlanFloodSetConfig& out, Bridging::MacVlanPair const& pair,
                            MplsDestConfig const& config);
  void handleHwTunnelIdMapping(TunnelId const& tunnelId);
  void handleHwInfoMapping(MplsFloodSetVia const& via);
  void handleMplsDestStatus(Bridging::MacVlanPair const& pair, MplsDestConfig const& config) const;
  bool isDestInFloodSet(VlanMacDest const& d) const;
  bool isMplsDestConfigProgrammed(Bridging::MacVlanPair const& pair, MplsDestConfig const& config) const;

  Qor::Ptr<L2Rib::FloodSetOutput const> floodSetOutput_;
  Qor::Ptr<TunnelIdToHwTunnelIdMapping const> hwTunnelIdMapping_;
  Qor::Ptr<HwInfoMapping const> hwInfoMapping_;
  Qor::Ptr<EvpnVlanFloodSetHwConfig> vlanFloodSetHwConfig_;
  Qor::Ptr<EvpnVlanFloodSetHwStatus const> vlanFloodSetHwStatus_;

  // One configuration element of one flood set.
  struct PairConfig {
    Bridging::MacVlanPair pair;
    MplsDestConfig config;
    bool operator==(PairConfig const&) const = default;
    uint32_t hash(uint32_t seed) const noexcept { return config.hash(Qor::hashOf(pair, seed)); }
  };
  // Per element that more than one destination yields, how many beyond the first; empty
  // unless such destinations exist, so the common path pays one lookup in an empty table.
  Qor::HashMap<PairConfig, uint32_t> configSharers_;
  // Configuration elements written and removed.
  SmCounters counters_;

  Qor::ReactorMap<Bridging::MacVlanPair, QorVlanFloodSetStatus> vlanFloodSetStatus_;
  std::unique_ptr<QorFloodSetOutput> qorFloodSetOutput_;
  std::unique_ptr<QorHwTunnelIdMapping> qorHwTunnelIdMapping_;
  std::unique_ptr<QorHwInfoMapping> qorHwInfoMapping_;
  std::unique_ptr<QorVlanFloodSetHwStatus> qorVlanFloodSetHwStatus_;
};

FENN_EVPN_EXPORT Qor::Ptr<EvpnVlanFloodSetSm> evpnVlanFloodSetSmFactory(
    Qor::Ptr<L2Rib::FloodSetOutput const> floodSetOutput,
    Qor::Ptr<TunnelIdToHwTunnelIdMapping const> hwTunnelIdMapping,
    Qor::Ptr<HwInfoMapping const> hwInfoMapping, Qor::Ptr<EvpnVlanFloodSetHwConfig> vlanFloodSetHwConfig,
    Qor::Ptr<EvpnVlanFloodSetHwStatus const> vlanFloodSetHwStatus);

}  // namespace Fenn
