#include "FennEvpn/FennEvpnExplain.h"

#include "FennEvpn/FennEvpnFloodSetFecSm.h"
#include "FennEvpn/FennEvpnHwTunnelIdSm.h"
#include "FennEvpn/FennEvpnRemoteInfoFinderSm.h"
#include "FennEvpn/FennEvpnVlanFloodSetSm.h"
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
                                L2Rib::Dest const& dest, Explanation::TunnelNamer tunnelNamer) {
  Explanation answer(std::move(tunnelNamer));
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

Explanation explainTunnel(MachineSet const& machines, TunnelId const& tunnelId,
                          Explanation::TunnelNamer tunnelNamer) {
  Explanation answer(std::move(tunnelNamer));
  answer.keyIs("tunnel " + answer.tunnelName(tunnelId));
  ask(answer, "EvpnHwTunnelIdSm", machines.hwTunnelId,
      [&](auto const& sm) { sm.explainHwTunnelId(tunnelId, answer); });
  return answer;
}

std::vector<SmSummary> summaries(MachineSet const& machines) {
  std::vector<SmSummary> out;
  auto const add = [&out](auto const* sm) {
    if (sm) out.push_back(sm->summary());
  };
  add(machines.remoteInfoFinder);
  add(machines.hwTunnelId);
  add(machines.floodSetFec);
  add(machines.vlanFloodSet);
  return out;
}

}  // namespace Fenn
