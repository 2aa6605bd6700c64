// VlanFloodSetFilterSm mirrors a layer-2 RIB flood-set output into a second one that keeps
// only the destinations of one destination type (the agent uses it to give the MPLS
// flood-set state machines MPLS destinations only). The output holds no empty VLAN flood
// set and no empty flood set: what is there has at least one destination of that type.
// The output is both the result and the memory of this state machine; it keeps nothing
// else. Nothing is written until it is initialized, which reconciles the whole input.
#pragma once

#include <memory>
#include <string_view>

#include "Bridging/VlanId.h"
#include "FennEvpn/FennEvpnExport.h"
#include "FennEvpn/FennEvpnFloodSetReactors.h"
#include "FennEvpn/FennEvpnSmSummary.h"
#include "FennEvpn/FennEvpnUnusableInput.h"
#include "L2Rib/DestType.h"
#include "L2Rib/FloodSetOutput.h"
#include "Ostra/EthAddr.h"
#include "Qor/StateMachine.h"

namespace Fenn {

class VlanFloodSetFilterSm : public Qor::StateMachine, public UnusableInputCounter {
 public:
  VlanFloodSetFilterSm(L2Rib::DestType destType, Qor::Ptr<L2Rib::FloodSetOutput const> inFloodSetOutput,
                       Qor::Ptr<L2Rib::FloodSetOutput> outFloodSetOutput);
  // Removes every flood set it published; the output's source stays.
  ~VlanFloodSetFilterSm() override;
  std::string_view fwkType() const override { return "Fenn::VlanFloodSetFilterSm"; }

  L2Rib::DestType destType() const noexcept { return destType_; }
  L2Rib::FloodSetOutput const* inFloodSetOutput() const noexcept { return inFloodSetOutput_.get(); }
  L2Rib::FloodSetOutput* outFloodSetOutput() const noexcept { return outFloodSetOutput_.get(); }

  // Operator summary: one entry per input destination of the type, mirrored when the
  // output holds it (nothing to program: no helper, no pool).
  FENN_EVPN_EXPORT SmSummary summary() const;

 protected:
  void handleInitialized() override;

 private:
  // What an input change means here: defined with the handlers.
  struct FloodSetHooks;
  using QorInFloodSetOutput = FloodSetReactors<FloodSetHooks>::QorFloodSetOutput;
  using QorVlanFloodSet = FloodSetReactors<FloodSetHooks>::QorVlanFloodSet;
  using QorFloodSet = FloodSetReactors<FloodSetHooks>::QorFloodSet;

  void handleSource();
  void processVlanFloodSet(Bridging::VlanId vlanId);
  void processFloodSet(Bridging::VlanId vlanId, Ostra::EthAddr const& macAddr);
  // `floodSet`: the input's flood set; `present`: whether it holds the destination.
  void processDest(Bridging::VlanId vlanId, L2Rib::FloodSet const& floodSet, L2Rib::Dest const& dest,
                   bool present);
  // `inFloodSet`: the input's flood set, which holds `dest`; `outFloodSet`: the output's
  // flood set of the VLAN and MAC when the caller has it already (it is then not looked up,
  // and its type is already copied). Returns the output's flood set.
  L2Rib::FloodSet* addDest(Bridging::VlanId vlanId, Ostra::EthAddr const& macAddr,
                           L2Rib::FloodSet const& inFloodSet, L2Rib::Dest const& dest,
                           L2Rib::FloodSet* outFloodSet = nullptr);
  void deleteDest(Bridging::VlanId vlanId, Ostra::EthAddr const& macAddr, L2Rib::Dest const& dest);

  L2Rib::DestType destType_;
  Qor::Ptr<L2Rib::FloodSetOutput const> inFloodSetOutput_;
  Qor::Ptr<L2Rib::FloodSetOutput> outFloodSetOutput_;
  std::unique_ptr<QorInFloodSetOutput> qorInFloodSetOutput_;
};

FENN_EVPN_EXPORT Qor::Ptr<VlanFloodSetFilterSm> vlanFloodSetFilterSmFactory(
    L2Rib::DestType destType, Qor::Ptr<L2Rib::FloodSetOutput const> inFloodSetOutput,
    Qor::Ptr<L2Rib::FloodSetOutput> outFloodSetOutput);

}  // namespace Fenn
