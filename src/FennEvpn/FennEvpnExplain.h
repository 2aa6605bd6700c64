// The operator tools' entry points: what an agent's command line calls to answer "is this
// key in hardware, and if not, why not?" and "how is each state machine doing?".
//
// The agent hands over the state machines it runs in a MachineSet (any of them may be
// null, for a feature it does not run); each answer asks the machines concerned, in the
// order a key's state flows through them, to add their steps (see Explanation). Nothing
// here keeps state of its own.
#pragma once

#include <vector>

#include "Bridging/VlanId.h"
#include "FennEvpn/FennEvpn.h"
#include "FennEvpn/FennEvpnExplanation.h"
#include "FennEvpn/FennEvpnExport.h"
#include "FennEvpn/FennEvpnSmSummary.h"
#include "L2Rib/Dest.h"
#include "Ostra/EthAddr.h"

namespace Fenn {

class EvpnRemoteInfoFinderSm;
class EvpnHwTunnelIdSm;
class EvpnFloodSetFecSm;
class EvpnVlanFloodSetSm;

struct MachineSet {
  EvpnRemoteInfoFinderSm const* remoteInfoFinder = nullptr;
  EvpnHwTunnelIdSm const* hwTunnelId = nullptr;
  EvpnFloodSetFecSm const* floodSetFec = nullptr;
  EvpnVlanFloodSetSm const* vlanFloodSet = nullptr;
};

// A destination of the flood set (VLAN, MAC): the layer-2 RIB's flood set, the tunnel's
// reference count and hardware tunnel ID, the via's FEC, the configuration written and the
// hardware's answer for it.
FENN_EVPN_EXPORT Explanation explainFloodSetDest(MachineSet const& machines, Bridging::VlanId vlanId,
                                                 Ostra::EthAddr macAddr, L2Rib::Dest const& dest,
                                                 Explanation::TunnelNamer tunnelNamer = {});
// A tunnel's hardware tunnel ID.
FENN_EVPN_EXPORT Explanation explainTunnel(MachineSet const& machines, TunnelId const& tunnelId,
                                           Explanation::TunnelNamer tunnelNamer = {});

// One summary per machine of the set, in the order of the set.
FENN_EVPN_EXPORT std::vector<SmSummary> summaries(MachineSet const& machines);

}  // namespace Fenn
