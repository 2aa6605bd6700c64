// The simulated switch: every state machine of the library, wired to its inputs, outputs,
// helpers and scheduler the way a forwarding agent wires them, with hardware models behind
// the helper interfaces. Switch.cpp is the one place that says who feeds whom; an agent
// integrator can copy it.
//
// Time is simulated: the scheduler runs on a manual clock that moves only in advance(),
// so a run is a pure function of its inputs (fault injection draws from seeded generators).
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "Bridging/Config.h"
#include "Bridging/MacVlanPair.h"
#include "Bridging/VlanStatusDir.h"
#include "Evpn/EvpnStatus.h"
#include "Fenn/FecIdToHwFecIdRequest.h"
#include "Fenn/FecIdToHwFecIdResponse.h"
#include "Fenn/FennCommonSmData.h"
#include "Fenn/LagCreatorConfigDir.h"
#include "FennEvpn/FennEvpnFloodSetFecSm.h"
#include "FennEvpn/FennEvpnFloodingEsiSm.h"
#include "FennEvpn/FennEvpnHwTunnelIdSm.h"
#include "FennEvpn/FennEvpnLagSm.h"
#include "FennEvpn/FennEvpnRemoteInfoFinderSm.h"
#include "FennEvpn/FennEvpnTunnelIdToHwTunnelIdMapping.h"
#include "FennEvpn/FennEvpnVlanFloodSetFilterSm.h"
#include "FennEvpn/FennEvpnVlanFloodSetSm.h"
#include "FennEvpn/FennEvpnVlanMembershipSm.h"
#include "FennEvpn/FennMacAddrFecRequestSm.h"
#include "Keel/ManualClock.h"
#include "Keel/Task.h"
#include "Keel/TaskScheduler.h"
#include "Keel/TimerWheel.h"
#include "L2Rib/FloodSetOutput.h"
#include "sim/FecResponder.h"
#include "sim/FloodSetProgrammer.h"
#include "sim/FloodingHardware.h"
#include "sim/HwTunnelIdPools.h"
// Access side: dot1q mappings and flood filters.
#include "Evpn/MplsConfig.h"
#include "FennEvpn/FennEvpnFloodFilterSm.h"
#include "FennEvpn/FennEvpnFloodingDot1qSm.h"

// ESI filtering at decapsulation.
#include "FennEvpn/FennEvpnEsiFilteringDecapSm.h"
#include "Mpls/LfibHwStatus.h"
#include "Mpls/LfibStatus.h"
#include "Mpls/LfibTrackingStatus.h"
#include "sim/EsiPortMaps.h"
#include "sim/LfibTracker.h"

// Ethernet segment tracking per remote TEP.
#include "FennEvpn/FennEvpnTepSegmentSm.h"
#include "Tunnel/TunnelEndpointStatus.h"

// Operator tools: explain and summaries.
#include "FennEvpn/FennEvpnExplain.h"
// Recording the inputs.
#include "FennEvpn/FennEvpnInputRecorder.h"

namespace Sim {

struct HardwareConfig {
  uint32_t defaultHwTunnelIds = 1024;
  uint32_t sharedEsHwTunnelIds = 64;
  double fecResponseDelay = 0.0;                // seconds; 0 answers inside the request's notification
  uint32_t floodSetCapacity = UINT32_MAX;       // programmed flood-set entries the chip holds
  bool updateSupportedOnCreateEsiData = false;  // createEsiData overwrites an installed entry
  uint32_t hostFecChainLength = 3;              // 3: the chip chains a label's FEC to a load balance's
};

// The control plane's side: what it writes. A switch opens its own unless it is given
// them, so that several switches can share one control plane (a switch built on inputs that
// are already final is the reference for one that followed every change).
struct ControlPlane {
  Qor::Ptr<L2Rib::FloodSetOutput> floodSetOutput;
  Qor::Ptr<Evpn::EvpnStatus> evpnStatus;
  // Access side.
  Qor::Ptr<Fenn::LagCreatorConfigDir> lagConfigDir = nullptr;
  Qor::Ptr<Bridging::Config> bridgingConfig = nullptr;
  Qor::Ptr<Bridging::VlanStatusDir> vlanStatusDir = nullptr;
  // Host FEC chains: the layer-2 RIB's hosts and the objects they resolve through.
  Qor::Ptr<L2Rib::HostOutput> hostOutput = nullptr;
  Qor::Ptr<L2Rib::LabelOutput> labelOutput = nullptr;
  Qor::Ptr<L2Rib::LoadBalanceOutput> loadBalanceOutput = nullptr;
  Qor::Ptr<L2Rib::DestOutput> destOutput = nullptr;
  Qor::Ptr<Evpn::MplsConfig> mplsConfig = nullptr;
  // The LFIB the platform writes (the decapsulation filter's input), and the tunnel RIB's
  // endpoints (the per-TEP segments' input).
  Qor::Ptr<Mpls::LfibStatus> lfibStatus = nullptr;
  Qor::Ptr<::Tunnel::TunnelTable::TunnelEndpointStatus> tunnelEndpointStatus = nullptr;
};

enum class FaultTarget {
  hwTunnelIdAllocation,
  fecResponse,
  floodSetProgramming,
  // ESI filtering at decapsulation: a port map answered with code 2, or with code 3.
  esiPortMapResourceFull,
  esiPortMapTemporaryFailure,
  // Access side: createEsiData reports notProgrammed.
  createEsiData,
  // Host FEC chains: a host-chain FEC fails to program.
  hostFecResponse,
  // Access side: dot1q mappings and flood filters.
  createVlan,
  createVlanToDot1qMapping,
  createNonDfPort,
};

// What the hardware models hold, in a canonical order, for show, expect, JSON and
// comparisons between runs.
struct HardwareState {
  struct TunnelRow {
    ::Tunnel::TunnelTable::TunnelId tunnelId;
    Fenn::HwTunnelId hwTunnelId;  // as published in the tunnel table
    bool operator==(TunnelRow const&) const = default;
  };
  struct Pool {
    Fenn::HwTunnelIdType type;
    uint32_t size;
    uint32_t inUse;
    bool operator==(Pool const&) const = default;
  };
  struct Fec {
    Vasp::Fib::FecId fecId;
    ::Tunnel::TunnelTable::TunnelId tunnelId;
    Ostra::MplsLabel label;
    bool answered;
    uint64_t hwFecId;
    bool operator==(Fec const&) const = default;
  };
  struct FloodSetEntry {
    Bridging::MacVlanPair macVlanPair;
    Fenn::MplsDestConfig config;
    std::optional<Fenn::HwProgrammingStatus> status;  // none until the hardware answered
    bool operator==(FloodSetEntry const&) const = default;
  };
  std::vector<TunnelRow> tunnels;
  std::vector<Pool> pools;
  std::vector<Fec> fecs;
  std::vector<FloodSetEntry> floodSets;
  std::vector<Qor::String> sysLog;  // message names, oldest first
  double time = 0;
  // Tunnels that need a hardware tunnel ID and have none (their pools are exhausted, or
  // allocation failed), in tunnel ID order; their flood-set entries do not forward.
  std::vector<::Tunnel::TunnelTable::TunnelId> waitingTunnels;

  // ESI filtering at decapsulation.
  struct EsiPortMap {
    Ostra::IntfId intfId;
    Ostra::MplsLabel label;
    bool operator==(EsiPortMap const&) const = default;
  };
  struct UnprogrammedRoute {
    Ostra::MplsLabel topLabel;
    uint32_t returnCode;
    bool operator==(UnprogrammedRoute const&) const = default;
  };
  std::vector<EsiPortMap> esiPortMaps;                // by interface
  std::vector<UnprogrammedRoute> unprogrammedRoutes;  // by top label

  // Access side.
  struct LagMembers {
    Ostra::IntfId lag;
    std::vector<Ostra::IntfId> ports;
    bool operator==(LagMembers const&) const = default;
  };
  struct VlanMembers {
    Bridging::VlanId vlan;
    std::vector<Ostra::IntfId> intfs;
    bool operator==(VlanMembers const&) const = default;
  };
  struct EsiEntry {
    Ostra::IntfId port;
    Bridging::VlanId vlan;
    ::Tunnel::TunnelTable::TunnelId tunnelId;
    Ostra::IntfId parentIntf;
    Fenn::HwTunnelId hwTunnelId;
    Ostra::MplsLabel remoteEsiLabel;
    Ostra::MplsLabel localEsiLabel;
    bool operator==(EsiEntry const&) const = default;
  };
  std::vector<LagMembers> lagMembers;    // as EvpnLagMemberInfo publishes them
  std::vector<VlanMembers> vlanMembers;  // as EvpnVlanStatus publishes them
  std::vector<EsiEntry> esiData;         // the ESI data table, by (port, VLAN, tunnel)

  // Ethernet segment tracking per remote TEP.
  struct TepSegments {
    Ostra::IpGenAddr tepAddr;
    std::vector<Ostra::IntfId> segments;  // in interface order
    bool operator==(TepSegments const&) const = default;
  };
  std::vector<TepSegments> tepSegments;  // by address
  // Host FEC chains.
  struct HostFec {
    L2Rib::ObjTuple object;
    Vasp::Fib::FecId fecId;
    std::vector<Vasp::Fib::Via> vias;
    bool answered;
    uint64_t hwFecId;  // as published in ObjTupleToHwId
    bool operator==(HostFec const&) const = default;
  };
  struct Host {
    Bridging::MacVlanPair macVlan;
    L2Rib::ObjTuple first;   // the object the host points at
    Vasp::Fib::FecId fecId;  // that object's FEC, 0 when it has none
    bool answered;
    uint64_t hwFecId;
    bool operator==(Host const&) const = default;
  };
  std::vector<HostFec> hostFecs;
  std::vector<Host> hosts;

  // Access side: dot1q mappings and flood filters, ordered by VLAN, then port.
  struct Vlan {
    Bridging::VlanId vlan;
    Bridging::VlanIdOrNone dot1q;
    bool operator==(Vlan const&) const = default;
  };
  struct Dot1qMapping {
    Bridging::VlanId vlan;
    Ostra::IntfId port;
    Ostra::IntfId parent;  // the access interface it was programmed for
    Bridging::VlanIdOrNone dot1q;
    bool operator==(Dot1qMapping const&) const = default;
  };
  struct NonDfPort {
    Bridging::VlanId vlan;
    Ostra::IntfId port;
    Ostra::IntfId parent;
    bool operator==(NonDfPort const&) const = default;
  };
  std::vector<Vlan> vlans;
  std::vector<Dot1qMapping> dot1qMappings;
  std::vector<NonDfPort> nonDfPorts;
};

class Switch {
 public:
  // Shared tables are opened under their usual names, prefixed by `tablePrefix`, so several
  // simulated switches can live in one process.
  explicit Switch(HardwareConfig const& config, Qor::String const& tablePrefix = "",
                  ControlPlane const& controlPlane = {});
  ~Switch();
  Switch(Switch const&) = delete;
  Switch& operator=(Switch const&) = delete;

  // Control plane: the layer-2 RIB's flood sets.
  void destIs(Bridging::VlanId vlan, Ostra::EthAddr mac, L2Rib::Dest const& dest);
  void destDel(Bridging::VlanId vlan, Ostra::EthAddr mac, L2Rib::Dest const& dest);
  // Empties the flood set (as the RIB does) and removes it, and its VLAN flood set when empty.
  void floodSetDel(Bridging::VlanId vlan, Ostra::EthAddr mac);
  // Removes the flood set while its destinations are still in it, as a RIB that drops a
  // whole flood set at once does; its VLAN flood set goes too when it was the last.
  void floodSetDelWithDests(Bridging::VlanId vlan, Ostra::EthAddr mac);

  // Control plane: EVPN status. A segment's peers are TEP interfaces with their ESI labels.
  void segmentIs(Ostra::IntfId intf, std::map<Ostra::IntfId, Ostra::MplsLabel> const& peers,
                 std::optional<Ostra::MplsLabel> sharedEsiLabel);
  void segmentDel(Ostra::IntfId intf);

  // Control plane, access side: the VLAN-to-dot1q mapping of VLAN services, the MPLS
  // configuration's dot1q flag, and the flood filter of each VLAN (the access interfaces
  // that are not its designated forwarder). The filter list replaces the previous one.
  void vlanToDot1qIs(Bridging::VlanId vlan, Bridging::VlanIdOrNone dot1q);
  void vlanToDot1qDel(Bridging::VlanId vlan);
  void vlanServiceDot1qEnabledIs(bool enabled);
  void vlanFloodStatusIs(Bridging::VlanId vlan, std::vector<Ostra::IntfId> const& floodFilter);
  void vlanFloodStatusDel(Bridging::VlanId vlan);

  // Hardware.
  void hwTunnelIdPoolSizeIs(Fenn::HwTunnelIdType type, uint32_t size);
  void fecResponseDelayIs(double seconds);
  bool fecResponsesWithheld() const { return fecResponder_->withhold(); }
  void fecResponsesWithheldIs(bool withheld);
  // Paused, the hardware only remembers configuration changes; unpausing programs them.
  bool floodSetProgrammingPaused() const { return floodSetProgrammer_->paused(); }
  void floodSetProgrammingPausedIs(bool paused);
  void floodSetCapacityIs(uint32_t capacity);
  FaultInjector& faults(FaultTarget target);

  // Time: runs what is ready now, or moves the clock forward running what falls due.
  // advance and fecResponseDelayIs throw std::invalid_argument for a negative, infinite or
  // undefined number of seconds.
  void settle();
  void advance(double seconds);
  double now() const;

  // Control plane: the layer-2 RIB's host chains.
  void hostIs(Bridging::MacVlanPair const& macVlan, L2Rib::ObjTuple const& first);
  void hostDel(Bridging::MacVlanPair const& macVlan);
  void labelIs(L2Rib::LabelId id, L2Rib::Label const& label);
  void labelDel(L2Rib::LabelId id);
  void loadBalanceIs(L2Rib::LoadBalanceId id, L2Rib::LoadBalance const& lb);
  void loadBalanceDel(L2Rib::LoadBalanceId id);
  void chainDestIs(L2Rib::DestId id, L2Rib::Dest const& dest);
  void chainDestDel(L2Rib::DestId id);
  // Stops the host FEC state machine (it withdraws its requests) and starts a new one, as
  // an agent restart does: a new one reads the feature toggle again.
  void hostFecRestart();

  // Restarts the library as an agent restart does: every state machine is released and
  // created again on the current inputs, then the switch settles. The hardware models, the
  // tables between machines and hardware, pending faults and the clock are kept.
  void restart();

  HardwareState state() const;
  uint64_t hwTunnelIdBadReleases() const { return hwTunnelIdPools_->badReleaseCount(); }

  // What the library publishes and keeps, as it stands, for tests and benchmarks.
  Fenn::EvpnRemoteInfo const* remoteInfo() const { return remoteInfo_.get(); }
  Fenn::EvpnHwTunnelIdSm const* hwTunnelIdSm() const { return hwTunnelIdSm_.get(); }
  // Every state machine, for steps that address one by its type name.
  std::vector<Qor::StateMachine*> stateMachines() const;
  // Sets `initialized` false and then true, settling after each, as an agent that
  // re-initializes one state machine does.
  void reinitialize(Qor::StateMachine& sm);
  Fenn::TunnelIdToHwTunnelIdMapping const* tunnelIdToHwTunnelId() const {
    return tunnelIdToHwTunnelId_.get();
  }
  Fenn::FecIdToHwFecIdRequest const* fecRequest() const { return fecRequest_.get(); }
  Fenn::FecIdToHwFecIdResponse const* fecResponse() const { return fecResponse_.get(); }
  Fenn::HwInfoMapping const* hwInfoMapping() const { return hwInfoMapping_.get(); }
  Fenn::EvpnVlanFloodSetHwConfig const* floodSetHwConfig() const { return floodSetHwConfig_.get(); }
  Fenn::EvpnVlanFloodSetHwStatus const* floodSetHwStatus() const { return floodSetHwStatus_.get(); }
  Fenn::EvpnFloodSetFecSm const* floodSetFecSm() const { return floodSetFecSm_.get(); }
  Fenn::EvpnRemoteInfoFinderSm const* remoteInfoFinderSm() const { return remoteInfoFinderSm_.get(); }
  Fenn::EvpnVlanFloodSetSm const* vlanFloodSetSm() const { return vlanFloodSetSm_.get(); }
  Fenn::FecIdToHwFecIdRequest const* hostFecRequest() const { return hostFecRequest_.get(); }
  Fenn::FecIdToHwFecIdResponse const* hostFecResponse() const { return hostFecResponse_.get(); }
  Fenn::ObjTupleToHwId const* objTupleToHwId() const { return objTupleToHwId_.get(); }
  Fenn::FennMacAddrFecRequestSm const* hostFecSm() const { return hostFecSm_.get(); }
  // Access side: dot1q mappings and flood filters.
  VlanFloodingTables const& vlanFloodingTables() const { return floodingHardware_->vlanTables(); }
  Fenn::FennEvpnFloodFilterSm const* floodFilterSm() const { return floodFilterSm_.get(); }
  Fenn::EvpnFloodingDot1qSm const* floodingDot1qSm() const { return floodingDot1qSm_.get(); }

  // ESI filtering at decapsulation. The control plane writes the LFIB through lfib(); the
  // changes take effect at the next settle() or advance().
  LfibTracker& lfib() { return lfibTracker_; }
  Mpls::LfibHwStatus const* lfibHwStatus() const { return lfibHwStatus_.get(); }
  EsiPortMaps const& esiPortMaps() const { return *esiPortMaps_; }
  Fenn::EsiFilteringDecapSm const* esiFilteringDecapSm() const { return esiFilteringDecapSm_.get(); }

  // ---- Access side: LAGs, VLAN membership, ESI labels ----
  // Control plane: a LAG's member ports (replacing the previous ones; an empty list leaves
  // the LAG configured without members), and the LAG's removal.
  void lagIs(Ostra::IntfId lag, std::vector<Ostra::IntfId> const& members);
  void lagDel(Ostra::IntfId lag);
  // Bridging: the interfaces configured in a VLAN, and those operationally in it (each
  // replacing the previous list), and the removal of the VLAN's configuration or status.
  void vlanConfigIs(Bridging::VlanId vlan, std::vector<Ostra::IntfId> const& intfs);
  void vlanConfigDel(Bridging::VlanId vlan);
  void vlanStatusIs(Bridging::VlanId vlan, std::vector<Ostra::IntfId> const& intfs);
  void vlanStatusDel(Bridging::VlanId vlan);
  // EVPN status: the interfaces that filter encapsulated BUM traffic (replacing the set);
  // a segment's configured VLANs and designated forwarder TEP per VLAN (replacing both);
  // the local ESI label of an access interface (none removes it).
  void encapBumFilterIs(std::vector<Ostra::IntfId> const& intfs);
  void segmentVlansIs(Ostra::IntfId intf, std::vector<Bridging::VlanId> const& vlans,
                      std::map<Bridging::VlanId, Ostra::IntfId> const& designatedForwarders);
  void localEsiLabelIs(Ostra::IntfId intf, std::optional<Ostra::MplsLabel> label);
  // Hardware.
  void updateSupportedOnCreateEsiDataIs(bool supported);
  FloodingHardware const& floodingHardware() const { return *floodingHardware_; }
  // What the access side publishes and holds.
  Fenn::EvpnLagMemberInfo const* lagMemberInfo() const { return lagMemberInfo_.get(); }
  Fenn::EvpnVlanStatus const* evpnVlanStatus() const { return evpnVlanStatus_.get(); }
  Fenn::EvpnFloodingEsiSm const* floodingEsiSm() const { return floodingEsiSm_.get(); }
  // The control plane this switch reads, to build other machines on the same inputs.
  ControlPlane controlPlane() const;

  // Ethernet segment tracking per remote TEP. The tunnel RIB's endpoint of a tunnel (its PE's
  // address), or none.
  void tunnelEndpointIs(::Tunnel::TunnelTable::TunnelId tunnelId, std::optional<Ostra::IpGenAddr> addr);
  Fenn::EvpnTepSegmentDir const* evpnTepSegmentDir() const { return evpnTepSegmentDir_.get(); }
  Fenn::FennEvpnTepSegmentSm const* tepSegmentSm() const { return tepSegmentSm_.get(); }

  // ---- Operator tools ----
  // Every state machine, as explain and the summaries take them.
  Fenn::MachineSet machines() const;
  // ---- Recording the inputs ----
  // Attaches a recorder to every input the control plane writes, as an agent attaches one,
  // and tells it the hardware settings; the hardware setters tell it each change from then
  // on. Fault injection is the hardware's behaviour, not a setting, and is not recorded.
  // Throws std::runtime_error when the file cannot be written.
  Fenn::EvpnInputRecorder& record(Fenn::RecordingFiles const& files);
  Fenn::EvpnInputRecorder* recorder() const { return recorder_.get(); }
  void recordingStop() { recorder_ = nullptr; }
  // Replaying a recording: input changes no longer run the scheduler; runScheduler() and
  // advance() do, where the recorded agent's scheduler ran.
  void settlesOnlyWhenAskedIs(bool v) { settlesOnlyWhenAsked_ = v; }
  void runScheduler();

 private:
  template <class T>
  void recordHardware(char const* setting, T value) {
    if (recorder_) recorder_->hardwareIs(setting, value);
  }
  Qor::Ptr<Fenn::EvpnInputRecorder> recorder_;
  bool settlesOnlyWhenAsked_ = false;

  // Creates every state machine on the inputs and marks them initialized; releases them.
  void startStateMachines();
  void stopStateMachines();
  // Platform.
  Qor::Ptr<Keel::ManualClock> clock_;
  Qor::Ptr<Keel::TaskScheduler> scheduler_;
  Qor::Ptr<Keel::TimerWheel> timerWheel_;
  Qor::Ptr<Fenn::FennCommonSmData> commonSmData_;
  // Inputs the control plane writes.
  Qor::Ptr<L2Rib::FloodSetOutput> floodSetOutput_;
  Qor::Ptr<Evpn::EvpnStatus> evpnStatus_;
  // Entities and tables between state machines and hardware.
  Qor::Ptr<Fenn::EvpnRemoteInfo> remoteInfo_;
  Qor::Ptr<Fenn::TunnelIdToHwTunnelIdMapping> tunnelIdToHwTunnelId_;
  Qor::Ptr<Fenn::TunnelIdToHwTunnelIdMapping> tunnelIdToHwTunnelIdReader_;
  Qor::Ptr<L2Rib::FloodSetOutput> mplsFloodSetOutput_;
  Qor::Ptr<Fenn::FecIdToHwFecIdRequest> fecRequest_;
  Qor::Ptr<Fenn::FecIdToHwFecIdRequest> fecRequestReader_;
  Qor::Ptr<Fenn::FecIdToHwFecIdResponse> fecResponse_;
  Qor::Ptr<Fenn::FecIdToHwFecIdResponse> fecResponseReader_;
  Qor::Ptr<Fenn::HwInfoMapping> hwInfoMapping_;
  Qor::Ptr<Fenn::EvpnVlanFloodSetHwConfig> floodSetHwConfig_;
  Qor::Ptr<Fenn::EvpnVlanFloodSetHwStatus> floodSetHwStatus_;
  // Hardware models.
  Qor::Ptr<HwTunnelIdPools> hwTunnelIdPools_;
  Qor::Ptr<FecResponder> fecResponder_;
  Qor::Ptr<FloodSetProgrammer> floodSetProgrammer_;
  // The library's state machines, in the order they are created.
  Qor::Ptr<Fenn::EvpnRemoteInfoFinderSm> remoteInfoFinderSm_;
  Qor::Ptr<Fenn::EvpnHwTunnelIdSm> hwTunnelIdSm_;
  Qor::Ptr<Fenn::VlanFloodSetFilterSm> floodSetFilterSm_;
  Qor::Ptr<Fenn::EvpnFloodSetFecSm> floodSetFecSm_;
  Qor::Ptr<Fenn::EvpnVlanFloodSetSm> vlanFloodSetSm_;
  // The hardware layer's answer to a failed allocation: a review of the tunnels without an
  // ID after the retry interval, asked for at the scheduler's next run.
  Qor::Ptr<Keel::Task> allocationRetry_;

  // ESI filtering at decapsulation.
  Qor::Ptr<Mpls::LfibStatus> lfibStatus_;
  Qor::Ptr<Mpls::LfibTrackingStatus> lfibTrackingStatus_;
  Qor::Ptr<Mpls::LfibHwStatus> lfibHwStatus_;
  LfibTracker lfibTracker_;
  Qor::Ptr<EsiPortMaps> esiPortMaps_;
  Qor::Ptr<Fenn::EsiFilteringDecapSm> esiFilteringDecapSm_;

  // ---- Access side ----
  void openAccessSide(HardwareConfig const& config, ControlPlane const& controlPlane);
  void startAccessSide();
  void stopAccessSide();
  Qor::Ptr<Fenn::LagCreatorConfigDir> lagConfigDir_;
  Qor::Ptr<Bridging::Config> bridgingConfig_;
  Qor::Ptr<Bridging::VlanStatusDir> vlanStatusDir_;
  Qor::Ptr<Fenn::EvpnLagMemberInfo> lagMemberInfo_;
  Qor::Ptr<Fenn::EvpnVlanStatus> evpnVlanStatus_;
  Qor::Ptr<FloodingHardware> floodingHardware_;
  Qor::Ptr<Fenn::EvpnLagSm> lagSm_;
  Qor::Ptr<Fenn::FennEvpnVlanMembershipSm> vlanMembershipSm_;
  Qor::Ptr<Fenn::EvpnFloodingEsiSm> floodingEsiSm_;
  Qor::Ptr<Evpn::MplsConfig> mplsConfig_;
  Qor::Ptr<Fenn::EvpnFloodingDot1qSm> floodingDot1qSm_;
  Qor::Ptr<Fenn::FennEvpnFloodFilterSm> floodFilterSm_;

  // Ethernet segment tracking per remote TEP.
  Qor::Ptr<::Tunnel::TunnelTable::TunnelEndpointStatus> tunnelEndpointStatus_;
  Qor::Ptr<Fenn::EvpnTepSegmentDir> evpnTepSegmentDir_;
  Qor::Ptr<Fenn::FennEvpnTepSegmentSm> tepSegmentSm_;
  // Host FEC chains: the RIB's tables, the FEC tables with their own responder on the
  // same simulated chip, and the state machine.
  void hostFecStart();
  uint32_t hostFecChainLength_;
  Qor::Ptr<L2Rib::HostOutput> hostOutput_;
  Qor::Ptr<L2Rib::LabelOutput> labelOutput_;
  Qor::Ptr<L2Rib::LoadBalanceOutput> loadBalanceOutput_;
  Qor::Ptr<L2Rib::DestOutput> destOutput_;
  Qor::Ptr<Fenn::FecIdToHwFecIdRequest> hostFecRequest_;
  Qor::Ptr<Fenn::FecIdToHwFecIdRequest> hostFecRequestReader_;
  Qor::Ptr<Fenn::FecIdToHwFecIdResponse> hostFecResponse_;
  Qor::Ptr<Fenn::FecIdToHwFecIdResponse> hostFecResponseReader_;
  Qor::Ptr<Fenn::ObjTupleToHwId> objTupleToHwId_;
  Qor::Ptr<FecResponder> hostFecResponder_;
  Qor::Ptr<Fenn::FennMacAddrFecRequestSm> hostFecSm_;
};

}  // namespace Sim
