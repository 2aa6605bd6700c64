#include "FennEvpn/FennEvpnExplain.h"

#include "FennEvpn/FennEvpnEsiFilteringDecapSm.h"
#include "FennEvpn/FennEvpnFloodFilterSm.h"
#include "FennEvpn/FennEvpnFloodSetFecSm.h"
#include "FennEvpn/FennEvpnFloodingDot1qSm.h"
#include "FennEvpn/FennEvpnFloodingEsiSm.h"
#include "FennEvpn/FennEvpnHwTunnelIdSm.h"
#include "FennEvpn/FennEvpnLagSm.h"
#include "FennEvpn/FennEvpnRemoteInfoFinderSm.h"
#include "FennEvpn/FennEvpnTepSegmentSm.h"
#include "FennEvpn/FennEvpnVlanFloodSetFilterSm.h"
#include "FennEvpn/FennEvpnVlanFloodSetSm.h"
#include "FennEvpn/FennEvpnVlanMembershipSm.h"
#include "FennEvpn/FennMacAddrFecRequestSm.h"
#include "Qor/Strep.h"

namespace Fenn {

namespace {

// Asks one machine for its part, or says that it is not running.
template <class Sm, class F>
void ask(Explanation& answer, char const* machine, Sm const* sm, F&& part) {
  if (sm) {
    part(*sm);
  } else {
    answer.stepIs(machine, "running", "no: the agent did not start it", ExplainStatus::missingInput);
  }
}

Qor::String macText(Ostra::EthAddr const& mac) {
  Qor::String const text = Qor::valueToStrep(mac);
  return text.size() > 2 ? text.substr(1, text.size() - 2) : text;
}

}  // namespace

Explanation explainFloodSetDest(MachineSet const& machines, Bridging::VlanId vlanId, Ostra::EthAddr macAddr,
                                L2Rib::Dest const& dest, Explanation::Names names) {
  Explanation answer(std::move(names));
  bool const mpls = dest.destType() == L2Rib::destTypeMpls_;
  Qor::String key = "flood-set destination vlan " + Qor::valueToStrep(vlanId) + " mac " + macText(macAddr);
  if (mpls) {
    key += " tunnel " + answer.tunnelName(destMplsTunnelId(dest)) + " label " +
           Qor::valueToStrep(dest.mpls().label());
  } else {
    key += ' ';
    key += Qor::valueToStrep(dest);
  }
  answer.keyIs(key);
  ask(answer, "EvpnRemoteInfoFinderSm", machines.remoteInfoFinder,
      [&](auto const& sm) { sm.explainDest(vlanId, macAddr, dest, answer); });
  if (!mpls) return answer;
  TunnelId const tunnelId = destMplsTunnelId(dest);
  ask(answer, "EvpnHwTunnelIdSm", machines.hwTunnelId,
      [&](auto const& sm) { sm.explainHwTunnelId(tunnelId, answer); });
  VlanMacDest const d(vlanId, macAddr, dest);
  ask(answer, "EvpnFloodSetFecSm", machines.floodSetFec,
      [&](auto const& sm) { sm.explainVia(floodSetVia(d), answer); });
  ask(answer, "EvpnVlanFloodSetSm", machines.vlanFloodSet,
      [&](auto const& sm) { sm.explainDest(d, answer); });
  return answer;
}

Explanation explainTunnel(MachineSet const& machines, TunnelId const& tunnelId, Explanation::Names names) {
  Explanation answer(std::move(names));
  answer.keyIs("tunnel " + answer.tunnelName(tunnelId));
  ask(answer, "EvpnHwTunnelIdSm", machines.hwTunnelId,
      [&](auto const& sm) { sm.explainHwTunnelId(tunnelId, answer); });
  return answer;
}

Explanation explainEsi(MachineSet const& machines, IntfVlanTunnelKey const& key, Explanation::Names names) {
  Explanation answer(std::move(names));
  answer.keyIs("ESI label interface " + key.intfId().name() + " vlan " + Qor::valueToStrep(key.vlanId()) +
               " tunnel " + answer.tunnelName(key.tunnelId()));
  ask(answer, "EvpnHwTunnelIdSm", machines.hwTunnelId,
      [&](auto const& sm) { sm.explainHwTunnelId(key.tunnelId(), answer); });
  ask(answer, "EvpnFloodingEsiSm", machines.floodingEsi, [&](auto const& sm) { sm.explainEsi(key, answer); });
  return answer;
}

Explanation explainDot1q(MachineSet const& machines, IntfVlanKey const& key, Explanation::Names names) {
  Explanation answer(std::move(names));
  answer.keyIs("dot1q mapping interface " + key.intfId().name() + " vlan " + Qor::valueToStrep(key.vlanId()));
  ask(answer, "EvpnFloodingDot1qSm", machines.floodingDot1q,
      [&](auto const& sm) { sm.explainDot1q(key, answer); });
  return answer;
}

Explanation explainFloodFilter(MachineSet const& machines, IntfVlanKey const& key, Explanation::Names names) {
  Explanation answer(std::move(names));
  answer.keyIs("flood filter interface " + key.intfId().name() + " vlan " + Qor::valueToStrep(key.vlanId()));
  ask(answer, "FennEvpnFloodFilterSm", machines.floodFilter,
      [&](auto const& sm) { sm.explainFloodFilter(key, answer); });
  return answer;
}

Explanation explainHost(MachineSet const& machines, Bridging::MacVlanPair const& macVlan,
                        Explanation::Names names) {
  Explanation answer(std::move(names));
  answer.keyIs("host vlan " + Qor::valueToStrep(macVlan.vlanId()) + " mac " + macText(macVlan.macAddr()));
  ask(answer, "FennMacAddrFecRequestSm", machines.hostFec,
      [&](auto const& sm) { sm.explainHost(macVlan, answer); });
  return answer;
}

Explanation explainObject(MachineSet const& machines, L2Rib::ObjTuple const& tuple,
                          Explanation::Names names) {
  Explanation answer(std::move(names));
  answer.keyIs("chain object " + answer.objectName(tuple));
  ask(answer, "FennMacAddrFecRequestSm", machines.hostFec,
      [&](auto const& sm) { sm.explainObject(tuple, answer); });
  return answer;
}

Explanation explainFilterRoute(MachineSet const& machines, Mpls::RouteKey const& routeKey,
                               Explanation::Names names) {
  Explanation answer(std::move(names));
  answer.keyIs("MPLS filter route label " + Qor::valueToStrep(routeKey.topLabel()));
  ask(answer, "EsiFilteringDecapSm", machines.esiFilteringDecap,
      [&](auto const& sm) { sm.explainRoute(routeKey, answer); });
  return answer;
}

std::vector<SmSummary> summaries(MachineSet const& machines) {
  std::vector<SmSummary> out;
  auto const add = [&out](auto const* sm) {
    if (sm) out.push_back(sm->summary());
  };
  add(machines.remoteInfoFinder);
  add(machines.hwTunnelId);
  add(machines.floodSetFilter);
  add(machines.floodSetFec);
  add(machines.vlanFloodSet);
  add(machines.lag);
  add(machines.vlanMembership);
  add(machines.floodingEsi);
  add(machines.floodingDot1q);
  add(machines.floodFilter);
  add(machines.tepSegment);
  add(machines.hostFec);
  add(machines.esiFilteringDecap);
  return out;
}

}  // namespace Fenn
