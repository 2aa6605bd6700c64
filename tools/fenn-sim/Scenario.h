// A scenario: the simulated hardware, named remote PEs, and the steps of a story. Loading
// reads and checks the whole file before anything runs, so a bad scenario stops with
// "file:line:column: what was wrong" and never half-way through.
#pragma once

#include <istream>
#include <map>
#include <optional>
#include <stdexcept>
#include <variant>
#include <vector>

#include "sim/Switch.h"

namespace SimTool {

struct Location {
  Qor::String file;
  int line = 0;
  int column = 0;
};

// Simulated time ends here (about 31 years): far beyond any review or retry interval, and
// small enough that a double still resolves a microsecond. A scenario whose advance steps
// add up to more is rejected; so is any number of seconds above it.
inline constexpr double maxSimulatedSeconds = 1e9;

class ScenarioError : public std::runtime_error {
 public:
  ScenarioError(Location const& at, Qor::String const& what);
};

// A flood-set destination in scenario terms.
struct DestStep {
  bool add;
  Bridging::VlanId vlan;
  Ostra::EthAddr mac;
  L2Rib::Dest dest;
};
struct FloodSetDelStep {
  Bridging::VlanId vlan;
  Ostra::EthAddr mac;
  bool withDests = false;  // remove it with its destinations still in it
};
struct SegmentStep {
  Ostra::IntfId intf;
  std::map<Ostra::IntfId, Ostra::MplsLabel> peers;
  std::optional<Ostra::MplsLabel> sharedEsiLabel;
};
struct SegmentDelStep {
  Ostra::IntfId intf;
};
struct FaultStep {
  Sim::FaultTarget target;
  uint32_t failNext = 0;
  double failFraction = 0;
  uint64_t seed = 1;
  bool clear = false;
};
struct HardwareStep {
  std::optional<uint32_t> defaultHwTunnelIds;
  std::optional<uint32_t> sharedEsHwTunnelIds;
  std::optional<double> fecResponseDelay;
  std::optional<bool> withholdFecResponses;
  std::optional<uint32_t> floodSetCapacity;
  std::optional<bool> updateSupportedOnCreateEsiData;
  std::optional<bool> floodSetProgrammingPaused;
  std::optional<uint32_t> hostFecChainLength;  // a start-up setting
};
// Access side: dot1q mappings and flood filters. No dot1q: the VLAN leaves vlanToDot1q;
// no flood filter list: the VLAN's flood status goes.
struct VlanToDot1qStep {
  Bridging::VlanId vlan;
  std::optional<Bridging::VlanIdOrNone> dot1q;
};
struct MplsConfigStep {
  bool vlanServiceDot1q;
};
struct VlanFloodStatusStep {
  Bridging::VlanId vlan;
  std::optional<std::vector<Ostra::IntfId>> floodFilter;
};
struct AdvanceStep {
  double seconds;
};
// The library restarts: every state machine is released and created again on the inputs.
struct RestartStep {};
struct SayStep {
  Qor::String text;
};

// ESI filtering at decapsulation: one change to the LFIB, written as the platform writes it
// (every route it touches goes into the route-key backlog).
struct LfibStep {
  enum class Kind { route, routeDel, viaSet, viaSetDel, filterVia, filterViaDel, backlog };
  Kind kind;
  Mpls::RouteKey routeKey;        // route, routeDel, backlog
  Mpls::LfibViaSetKey viaSetKey;  // route, viaSet, viaSetDel
  Mpls::LfibViaKey viaKey;        // viaSet, filterVia, filterViaDel
  Ostra::IntfId intf;             // filterVia
};

// Ethernet segment tracking per remote TEP: the tunnel RIB's endpoint of a PE's tunnel.
struct TunnelEndpointStep {
  Tunnel::TunnelTable::TunnelId tunnelId;
  std::optional<Ostra::IpGenAddr> addr;  // none: the endpoint is withdrawn
};
// Access side: one change to the LAG configuration, the bridging configuration or VLAN
// status, or the EVPN status of the access interfaces; lists replace what was there.
struct AccessStep {
  enum class Kind {
    lag,             // intf's members are `intfs`
    lagDel,          // intf
    vlanConfig,      // vlan's configured interfaces are `intfs`
    vlanConfigDel,   // vlan
    vlanStatus,      // vlan's operational interfaces are `intfs`
    vlanStatusDel,   // vlan
    encapBumFilter,  // the filtering interfaces are `intfs`
    segmentVlans,    // intf's configured VLANs are `vlans`, its DF per VLAN `df`
    localEsiLabel,   // intf's local ESI label is `label` (none removes it)
  };
  Kind kind;
  Ostra::IntfId intf;
  Bridging::VlanId vlan;
  std::vector<Ostra::IntfId> intfs;
  std::vector<Bridging::VlanId> vlans;
  std::map<Bridging::VlanId, Ostra::IntfId> df;
  std::optional<Ostra::MplsLabel> label;
};
// Host FEC chains: hosts of the layer-2 RIB and the named objects they resolve through.
struct HostStep {
  bool add;
  Bridging::MacVlanPair macVlan;
  L2Rib::ObjTuple first;
};
struct ChainObjectStep {
  bool add;
  L2Rib::ObjTuple object;
  Ostra::MplsLabel label;                // a label's
  std::vector<L2Rib::ObjTuple> next;     // a label's one, a load balance's up to 16
  Tunnel::TunnelTable::TunnelId tunnel;  // a destination's
};
struct ToggleStep {
  bool vxlan4WayL2Ecmp;
};

// Operator tools: a key whose hardware state is explained, and the state it should be in.
struct ExplainQuery {
  enum class Kind { dest, tunnel, esi, dot1q, floodFilter, host, object, route };
  Kind kind = Kind::dest;
  Bridging::VlanId vlan{};
  Ostra::EthAddr mac;                    // dest, host
  L2Rib::Dest dest;                      // dest
  Tunnel::TunnelTable::TunnelId tunnel;  // tunnel, esi
  Ostra::IntfId intf;                    // esi, dot1q, floodFilter
  L2Rib::ObjTuple object;                // object
  Mpls::RouteKey route;                  // route
};
struct ExplainStep {
  ExplainQuery query;
  std::optional<Fenn::ExplainStatus> state;  // checked like an expect when given
};

enum class Table {
  tunnels,
  pools,
  fecs,
  floodSets,
  sysLog,
  // ESI filtering at decapsulation.
  esiPortMaps,
  unprogrammedRoutes,
  // Access side.
  lagMembers,
  evpnVlanMembers,
  esiData,
  // Ethernet segment tracking per remote TEP.
  tepSegments,
  // Host FEC chains.
  hosts,
  hostFecs,
  // Access side: dot1q mappings and flood filters.
  vlans,
  dot1qMappings,
  nonDfPorts,
  // Operator tools: the per-machine counters.
  summary,
};
struct ShowStep {
  std::vector<Table> tables;
};

// The library's own state, which `expect` checks and `print` shows in text form.
enum class LibraryTable {
  refCounts,      // flood-set destinations per remote tunnel, PE: count
  fecs,           // every FEC request, PE label: answered or waiting
  hwInfo,         // every HwInfoMapping entry, PE label: hardware ID
  waiting,        // tunnels waiting for a hardware tunnel ID
  zombies,        // tunnels whose published ID is no longer needed, kept until reused or freed
  notProgrammed,  // flood-set entries the hardware reports notProgrammed, VLAN MAC: [PEs]
};
struct PrintStep {
  std::vector<LibraryTable> tables;
};
// Sets a state machine's `initialized` false and then true.
struct ReinitializeStep {
  Qor::String stateMachine;
};

// One expected fact, checked against the hardware state; `at` is where it was written.
struct Expectation {
  enum class Kind {
    tunnelPool,       // tunnel `name` published with an ID of `pool` (or not published)
    tunnelCount,      // number of published tunnels
    floodSet,         // programmed MPLS destinations of (vlan, mac), as tunnel names
    floodSetEntries,  // number of programmed flood-set entries
    fecRequests,      // number of FEC requests
    fecAnswered,      // number of answered FEC requests
    poolInUse,        // IDs of `pool` in use in the hardware
    sysLog,           // system log message names, oldest first
    // ESI filtering at decapsulation; `names` holds "<left>: <right>" rows, sorted.
    esiPortMaps,         // every installed port map, interface: label
    unprogrammedRoutes,  // every listed route, top label: return code
    // Access side; `names` holds "<left>: <right>" rows, sorted.
    lagMembers,       // every LAG with members, LAG: [ports]
    evpnVlanMembers,  // every VLAN with EVPN members, VLAN: [interfaces]
    esiData,          // every (port, VLAN) with ESI data, port VLAN: [PEs]
    esiEntries,       // number of ESI data entries
    // Ethernet segment tracking per remote TEP.
    tepSegments,  // every TEP entry, address: [segment interfaces]
    // The library's own state (`table`); `names` holds its rows, sorted.
    library,
    hostFecRequests,  // number of host-chain FEC requests
    hostFecAnswered,  // number of answered host-chain FEC requests
    host,             // a host's first object and its FEC's state, as `hosts` shows it
    hostFec,          // where the vias of object `name`'s FEC lead, in via order (or none)
    // Access side: dot1q mappings and flood filters.
    vlanDot1q,          // `name`: the tag of `vlan` in the VLAN table, "none" or "absent"
    vlanCount,          // VLANs in the VLAN table
    dot1qMappings,      // the mappings of `vlan`, as sorted "port=tag" names
    dot1qMappingCount,  // mappings in all
    nonDfPorts,         // the non-DF ports of `vlan`, sorted
    nonDfPortCount,     // non-DF ports in all
  };
  Kind kind;
  Location at;
  Qor::String name;
  std::optional<Fenn::HwTunnelIdType> pool;
  Bridging::MacVlanPair floodSet;  // or the host
  std::vector<Qor::String> names;
  uint64_t count = 0;
  LibraryTable table = LibraryTable::refCounts;
  Bridging::VlanId vlan{};
};
struct ExpectStep {
  std::vector<Expectation> expectations;
};

// Recorded scenarios: runs the scheduler where the recorded agent's ran (see `settle` below).
struct SettleStep {};

using Step =
    std::variant<SayStep, DestStep, FloodSetDelStep, SegmentStep, SegmentDelStep, FaultStep, HardwareStep,
                 AdvanceStep, ShowStep, ExpectStep, LfibStep, AccessStep, TunnelEndpointStep, PrintStep,
                 ReinitializeStep, HostStep, ChainObjectStep, ToggleStep, VlanToDot1qStep, MplsConfigStep,
                 VlanFloodStatusStep, RestartStep, ExplainStep, SettleStep>;

struct Scenario {
  Qor::String file;
  Qor::String name;
  Qor::String story;
  Sim::HardwareConfig hardware;
  // Remote PEs by name, and the tunnel that reaches each; a tunnel has one name.
  std::map<Qor::String, Tunnel::TunnelTable::TunnelId> tunnels;
  // Their addresses (the tunnel RIB's endpoints), where the scenario gives one.
  std::map<Qor::String, Ostra::IpGenAddr> tunnelAddresses;
  std::map<Tunnel::TunnelTable::TunnelId, Qor::String> names;
  std::vector<std::pair<Location, Step>> steps;

  // The PE name of a tunnel, or its number when it has none.
  Qor::String tunnelName(Tunnel::TunnelTable::TunnelId tunnelId) const;

  // Host FEC chains: objects by name (each name declares its table and gets the next id).
  std::map<Qor::String, L2Rib::ObjTuple> chainObjects;
  Qor::String objectName(L2Rib::ObjTuple const& object) const;

  // `settle: explicit` (recordings): input steps do not run the scheduler; `settle` and
  // `advance` steps do.
  bool settlesOnlyWhenAsked = false;
};

// A dot1q tag as scenarios write it: its number, or "none".
Qor::String dot1qName(Bridging::VlanIdOrNone dot1q);

// Throws ScenarioError.
Scenario loadScenario(Qor::String const& file);
// Reads the scenario from `in`; errors name `file`.
Scenario loadScenario(Qor::String const& file, std::istream& in);
// A key as the explain step writes it, in YAML ("{ tunnel: pe1 }"), naming the scenario's
// PEs; what `--explain` takes. Throws ScenarioError located in `where`.
ExplainQuery explainQuery(Scenario const& scenario, Qor::String const& where, Qor::String const& text);

// Lists as the access-side expectations and checks write them: "[a, b]", interfaces in
// interface order.
Qor::String joinedNames(std::vector<Qor::String> const& names);
Qor::String intfNames(std::vector<Ostra::IntfId> const& intfs);
// A flood set as scenarios write it: "10 broadcast", "10 01:00:5e:00:00:01".
Qor::String floodSetText(Bridging::MacVlanPair const& pair);

}  // namespace SimTool
