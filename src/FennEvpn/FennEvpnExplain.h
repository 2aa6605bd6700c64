// The operator tools' entry points: what an agent's command line calls to answer "is this
// key in hardware, and if not, why not?" and "how is each state machine doing?".
//
// The agent hands over the state machines it runs in a MachineSet (any of them may be
// null, for a feature it does not run); each answer asks the machines concerned, in the
// order a key's state flows through them, to add their steps (see Explanation). Nothing
// here keeps state of its own.
#pragma once

#include <vector>

#include "Bridging/MacVlanPair.h"
#include "Bridging/VlanId.h"
#include "FennEvpn/FennEvpn.h"
#include "FennEvpn/FennEvpnExplanation.h"
#include "FennEvpn/FennEvpnExport.h"
#include "FennEvpn/FennEvpnSmSummary.h"
#include "L2Rib/Dest.h"
#include "L2Rib/ObjTuple.h"
#include "Mpls/RouteKey.h"
#include "Ostra/EthAddr.h"

namespace Fenn {

class EvpnRemoteInfoFinderSm;
class VlanFloodSetFilterSm;
class EvpnHwTunnelIdSm;
class EvpnFloodSetFecSm;
class EvpnVlanFloodSetSm;
class EvpnFloodingEsiSm;
class EvpnFloodingDot1qSm;
class FennEvpnFloodFilterSm;
class EvpnLagSm;
class FennEvpnVlanMembershipSm;
class FennEvpnTepSegmentSm;
class FennMacAddrFecRequestSm;
class EsiFilteringDecapSm;

struct MachineSet {
  EvpnRemoteInfoFinderSm const* remoteInfoFinder = nullptr;
  EvpnHwTunnelIdSm const* hwTunnelId = nullptr;
  EvpnFloodSetFecSm const* floodSetFec = nullptr;
  EvpnVlanFloodSetSm const* vlanFloodSet = nullptr;
  EvpnFloodingEsiSm const* floodingEsi = nullptr;
  EvpnFloodingDot1qSm const* floodingDot1q = nullptr;
  FennEvpnFloodFilterSm const* floodFilter = nullptr;
  FennMacAddrFecRequestSm const* hostFec = nullptr;
  EsiFilteringDecapSm const* esiFilteringDecap = nullptr;
  // Machines that only derive tables for the others: no key of theirs is explained, but
  // they have a summary.
  VlanFloodSetFilterSm const* floodSetFilter = nullptr;
  EvpnLagSm const* lag = nullptr;
  FennEvpnVlanMembershipSm const* vlanMembership = nullptr;
  FennEvpnTepSegmentSm const* tepSegment = nullptr;
};

// A destination of the flood set (VLAN, MAC): the layer-2 RIB's flood set, the tunnel's
// reference count and hardware tunnel ID, the via's FEC, the configuration written and the
// hardware's answer for it.
FENN_EVPN_EXPORT Explanation explainFloodSetDest(MachineSet const& machines, Bridging::VlanId vlanId,
                                                 Ostra::EthAddr macAddr, L2Rib::Dest const& dest,
                                                 Explanation::Names names = {});
// A tunnel's hardware tunnel ID.
FENN_EVPN_EXPORT Explanation explainTunnel(MachineSet const& machines, TunnelId const& tunnelId,
                                           Explanation::Names names = {});

// The ESI label of the peer behind `tunnel` on an access interface's ports for a VLAN: the
// tunnel's hardware tunnel ID, the segment's inputs, and the member ports.
FENN_EVPN_EXPORT Explanation explainEsi(MachineSet const& machines, IntfVlanTunnelKey const& key,
                                        Explanation::Names names = {});
// An access interface's VLAN-to-dot1q mapping for a VLAN.
FENN_EVPN_EXPORT Explanation explainDot1q(MachineSet const& machines, IntfVlanKey const& key,
                                          Explanation::Names names = {});
// An access interface's flood filter (non-DF port entries) for a VLAN.
FENN_EVPN_EXPORT Explanation explainFloodFilter(MachineSet const& machines, IntfVlanKey const& key,
                                                Explanation::Names names = {});
// A layer-2 host's FEC: the first object it points at, and that object's FEC.
FENN_EVPN_EXPORT Explanation explainHost(MachineSet const& machines, Bridging::MacVlanPair const& macVlan,
                                         Explanation::Names names = {});
// A chain object's FEC (a label or a load balance).
FENN_EVPN_EXPORT Explanation explainObject(MachineSet const& machines, L2Rib::ObjTuple const& tuple,
                                           Explanation::Names names = {});
// An MPLS route's ESI port map (decapsulation filter).
FENN_EVPN_EXPORT Explanation explainFilterRoute(MachineSet const& machines, Mpls::RouteKey const& routeKey,
                                                Explanation::Names names = {});

// One summary per machine of the set, in the order the flood set's and then the access
// side's state flows through them.
FENN_EVPN_EXPORT std::vector<SmSummary> summaries(MachineSet const& machines);

}  // namespace Fenn
