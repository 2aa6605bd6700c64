// EvpnLagSm publishes, from the platform's LAG configuration, the member ports of every
// LAG in EvpnLagMemberInfo. A LAG's first appearance (and the machine's construction)
// publishes its members from the configuration; a change of one member is applied to the
// list last published; a LAG whose configuration goes away, or whose last member leaves,
// is removed. The machine keeps no state beyond one reactor per configured LAG.
//
// The output outlives the machine: destroying the machine leaves what it published (the
// owner clears it with lagToPortDelAll when the feature goes).
#pragma once

#include <memory>
#include <string_view>

#include "Fenn/FennCommonSmData.h"
#include "Fenn/FennPortList.h"
#include "Fenn/LagCreatorConfigDir.h"
#include "FennEvpn/FennEvpnExport.h"
#include "FennEvpn/FennEvpnLagMemberInfo.h"
#include "FennEvpn/FennEvpnSmSummary.h"
#include "FennEvpn/FennEvpnUnusableInput.h"
#include "Qor/Collection.h"
#include "Qor/StateMachine.h"

namespace Fenn {

class EvpnLagSm : public Qor::StateMachine, public UnusableInputCounter {
 public:
  EvpnLagSm(Qor::Ptr<FennCommonSmData const> acsd, Qor::Ptr<LagCreatorConfigDir const> lagConfigDir,
            Qor::Ptr<EvpnLagMemberInfo> evpnLagMemberInfo);
  ~EvpnLagSm() override;
  std::string_view fwkType() const override { return "Fenn::EvpnLagSm"; }

  FennCommonSmData const* acsd() const noexcept { return acsd_.get(); }
  LagCreatorConfigDir const* lagConfigDir() const noexcept { return lagConfigDir_.get(); }
  EvpnLagMemberInfo* evpnLagMemberInfo() const noexcept { return evpnLagMemberInfo_.get(); }

  // Writes one LAG's result: the list when it has ports, the removal of its entry when not.
  void publishEvpnLagMemberInfo(Ostra::IntfId const& lagIntfId, FennPortList const& ports);

  // Operator summary: one entry per configured LAG with members, published when its member
  // list is (nothing to program: no helper, no pool).
  FENN_EVPN_EXPORT SmSummary summary() const;

 private:
  class QorLagConfigDir;
  class QorLagConfig;

  void lagConfigIs(Ostra::IntfId const& lagIntfId);
  void lagConfigDel(Ostra::IntfId const& lagIntfId);
  void handleLagConfig(Ostra::IntfId const& lagIntfId, bool present);
  void handleLagMemberConfigured(Ostra::IntfId const& lagIntfId, Ostra::IntfId const& memberIntfId);

  Qor::Ptr<FennCommonSmData const> acsd_;
  Qor::Ptr<LagCreatorConfigDir const> lagConfigDir_;
  Qor::Ptr<EvpnLagMemberInfo> evpnLagMemberInfo_;
  Qor::ReactorMap<Ostra::IntfId, QorLagConfig> lagConfig_;
  std::unique_ptr<QorLagConfigDir> qorLagConfigDir_;
};

// Brings one member's presence in `ports` in line with the LAG's configuration in `sm`: a
// member of a configured LAG is added, anything else removed. (The machine is passed by
// reference: it calls this from its constructor, before anyone holds a pointer to it.)
FENN_EVPN_EXPORT void processMemberIntf(Ostra::IntfId const& lagIntfId, Ostra::IntfId const& memberIntfId,
                                        FennPortList& ports, EvpnLagSm const& sm);

FENN_EVPN_EXPORT Qor::Ptr<EvpnLagSm> evpnLagSmFactory(Qor::Ptr<FennCommonSmData const> const& acsd,
                                                      Qor::Ptr<LagCreatorConfigDir const> const& lagConfigDir,
                                                      Qor::Ptr<EvpnLagMemberInfo> const& evpnLagMemberInfo);

}  // namespace Fenn
