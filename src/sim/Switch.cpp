#include "sim/Switch.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "Qor/SysLog.h"
#include "Qor/Trace.h"

namespace Sim {

namespace {
// Infinite or undefined time never reaches the next due task: advance would loop forever.
void checkSeconds(char const* operation, double seconds) {
  if (!std::isfinite(seconds) || seconds < 0) {
    throw std::invalid_argument(Qor::String("Sim::Switch::") + operation + ": " + Qor::valueToStrep(seconds) +
                                " is not a finite number of seconds, 0 or more");
  }
}
constexpr std::string_view tunnelTable = Fenn::TunnelIdToHwTunnelIdMapping::defaultName;
constexpr char const* fecRequestTable = "mplsFloodSetFecRequest";
constexpr char const* fecResponseTable = "mplsFloodSetFecResponse";
constexpr char const* hostFecRequestTable = "macAddrFecRequest";
constexpr char const* hostFecResponseTable = "macAddrFecResponse";
}  // namespace

// Who feeds whom:
//
//   control plane --> floodSetOutput --> EvpnRemoteInfoFinderSm --> remoteInfo
//   control plane --> evpnStatus ---+
//                     remoteInfo ---+--> EvpnHwTunnelIdSm --(HwTunnelIdPools)--> tunnelIdToHwTunnelId
//   floodSetOutput --> VlanFloodSetFilterSm(MPLS) --> mplsFloodSetOutput
//   mplsFloodSetOutput + tunnelIdToHwTunnelId + floodSetHwStatus
//                     --> EvpnFloodSetFecSm --> fecRequest --(FecResponder)--> fecResponse
//                                          <-- fecResponse;  --> hwInfoMapping
//   mplsFloodSetOutput + tunnelIdToHwTunnelId + hwInfoMapping + floodSetHwStatus
//                     --> EvpnVlanFloodSetSm --> floodSetHwConfig --(FloodSetProgrammer)--> floodSetHwStatus
//
//   control plane --(LfibTracker)--> lfibStatus + lfibTrackingStatus (route-key backlog)
//                     --> EsiFilteringDecapSm --(EsiPortMaps)--> ESI port maps;  --> lfibHwStatus
//   control plane --> hostOutput + labelOutput + loadBalanceOutput + destOutput
//                     --> FennMacAddrFecRequestSm --> hostFecRequest --(FecResponder)--> hostFecResponse
//                                                <-- hostFecResponse;  --> objTupleToHwId
//
//   evpnStatus + tunnelEndpointStatus (tunnel RIB) --> FennEvpnTepSegmentSm
//                     (one FennEvpnSegmentSm per segment) --> evpnTepSegmentDir
//
// Every state machine is created first and marked initialized afterwards, producers before
// consumers, so that each one's first full pass sees its inputs attached.
Switch::Switch(HardwareConfig const& config, Qor::String const& tablePrefix, ControlPlane const& controlPlane)
    : clock_(new Keel::ManualClock),
      scheduler_(new Keel::TaskScheduler(clock_)),
      timerWheel_(new Keel::TimerWheel(scheduler_)),
      commonSmData_(Fenn::fennCommonSmDataFactory()),
      floodSetOutput_(controlPlane.floodSetOutput ? controlPlane.floodSetOutput
                                                  : L2Rib::floodSetOutputFactory()),
      evpnStatus_(controlPlane.evpnStatus ? controlPlane.evpnStatus : Evpn::evpnStatusFactory()),
      remoteInfo_(Fenn::evpnRemoteInfoFactory()),
      tunnelIdToHwTunnelId_(Fenn::tunnelIdToHwTunnelIdMappingFactory(tablePrefix + Qor::String(tunnelTable))),
      tunnelIdToHwTunnelIdReader_(
          Fenn::tunnelIdToHwTunnelIdMappingReaderFactory(tablePrefix + Qor::String(tunnelTable))),
      mplsFloodSetOutput_(L2Rib::floodSetOutputFactory()),
      fecRequest_(Fenn::fecIdToHwFecIdRequestFactory(tablePrefix + fecRequestTable, Vasp::Mode::writer)),
      fecRequestReader_(
          Fenn::fecIdToHwFecIdRequestFactory(tablePrefix + fecRequestTable, Vasp::Mode::reader)),
      fecResponse_(Fenn::fecIdToHwFecIdResponseFactory(tablePrefix + fecResponseTable, Vasp::Mode::writer)),
      fecResponseReader_(
          Fenn::fecIdToHwFecIdResponseFactory(tablePrefix + fecResponseTable, Vasp::Mode::reader)),
      hwInfoMapping_(Fenn::hwInfoMappingFactory()),
      floodSetHwConfig_(Fenn::evpnVlanFloodSetHwConfigFactory()),
      floodSetHwStatus_(Fenn::evpnVlanFloodSetHwStatusFactory()),
      hwTunnelIdPools_(new HwTunnelIdPools("simHwTunnelIdPools")),
      // ESI filtering at decapsulation.
      lfibStatus_(controlPlane.lfibStatus ? controlPlane.lfibStatus : Mpls::lfibStatusFactory()),
      lfibTrackingStatus_(Mpls::lfibTrackingStatusFactory()),
      lfibHwStatus_(Mpls::lfibHwStatusFactory()),
      lfibTracker_(lfibStatus_, lfibTrackingStatus_),
      esiPortMaps_(new EsiPortMaps("simEsiPortMaps")),
      // Ethernet segment tracking per remote TEP.
      tunnelEndpointStatus_(controlPlane.tunnelEndpointStatus
                                ? controlPlane.tunnelEndpointStatus
                                : ::Tunnel::TunnelTable::tunnelEndpointStatusFactory()),
      evpnTepSegmentDir_(Fenn::evpnTepSegmentDirFactory()) {
  hwTunnelIdPools_->poolSizeIs(Fenn::hwTunnelIdTypeDefault, config.defaultHwTunnelIds);
  hwTunnelIdPools_->poolSizeIs(Fenn::hwTunnelIdTypeSharedEs, config.sharedEsHwTunnelIds);
  // An allocation that failed for a transient hardware error (not an empty pool) is worth
  // another try. The request is a task, not a check made when the switch settles, so that
  // it is deferred work like any other: a recording's settle steps then run it in the
  // replay where it ran in the recorded switch, even when no other task ran with it.
  allocationRetry_ = Qor::Ptr<Keel::Task>(
      new Keel::Task(scheduler_, Keel::priorityNormal, "simHwTunnelIdAllocationRetry", [this] {
        if (hwTunnelIdSm_) hwTunnelIdSm_->maybeScheduleUnprogrammedReview(false);
      }));
  hwTunnelIdPools_->allocationFaultHandlerIs([this] { allocationRetry_->scheduleTask(); });
  fecResponder_ = Qor::Ptr<FecResponder>(new FecResponder(fecRequestReader_, fecResponse_, timerWheel_));
  fecResponder_->delayIs(config.fecResponseDelay);
  floodSetProgrammer_ =
      Qor::Ptr<FloodSetProgrammer>(new FloodSetProgrammer(floodSetHwConfig_, floodSetHwStatus_, timerWheel_));
  floodSetProgrammer_->capacityIs(config.floodSetCapacity);

  openAccessSide(config, controlPlane);
  // Host FEC chains: the same simulated chip answers a second pair of FEC tables.
  hostFecChainLength_ = config.hostFecChainLength;
  hostOutput_ = controlPlane.hostOutput ? controlPlane.hostOutput : L2Rib::hostOutputFactory();
  labelOutput_ = controlPlane.labelOutput ? controlPlane.labelOutput : L2Rib::labelOutputFactory();
  loadBalanceOutput_ =
      controlPlane.loadBalanceOutput ? controlPlane.loadBalanceOutput : L2Rib::loadBalanceOutputFactory();
  destOutput_ = controlPlane.destOutput ? controlPlane.destOutput : L2Rib::destOutputFactory();
  hostFecRequest_ = Fenn::fecIdToHwFecIdRequestFactory(tablePrefix + hostFecRequestTable, Vasp::Mode::writer);
  hostFecRequestReader_ =
      Fenn::fecIdToHwFecIdRequestFactory(tablePrefix + hostFecRequestTable, Vasp::Mode::reader);
  hostFecResponse_ =
      Fenn::fecIdToHwFecIdResponseFactory(tablePrefix + hostFecResponseTable, Vasp::Mode::writer);
  hostFecResponseReader_ =
      Fenn::fecIdToHwFecIdResponseFactory(tablePrefix + hostFecResponseTable, Vasp::Mode::reader);
  objTupleToHwId_ = Fenn::objTupleToHwIdFactory();
  hostFecResponder_ =
      Qor::Ptr<FecResponder>(new FecResponder(hostFecRequestReader_, hostFecResponse_, timerWheel_));
  hostFecResponder_->delayIs(config.fecResponseDelay);
  startStateMachines();
  settle();
}

// Consumers go before their producers, so no state machine reacts to the teardown of
// another one's output.
Switch::~Switch() {
  stopStateMachines();
  hostFecResponder_ = nullptr;
  floodSetProgrammer_ = nullptr;
  fecResponder_ = nullptr;
}

void Switch::startStateMachines() {
  remoteInfoFinderSm_ = Fenn::evpnRemoteInfoFinderSmFactory(floodSetOutput_, remoteInfo_);
  hwTunnelIdSm_ = Fenn::evpnHwTunnelIdSmFactory(hwTunnelIdPools_, scheduler_, commonSmData_, evpnStatus_,
                                                remoteInfo_, tunnelIdToHwTunnelId_);
  floodSetFilterSm_ =
      Fenn::vlanFloodSetFilterSmFactory(L2Rib::destTypeMpls_, floodSetOutput_, mplsFloodSetOutput_);
  floodSetFecSm_ =
      Fenn::evpnFloodSetFecSmFactory(mplsFloodSetOutput_, tunnelIdToHwTunnelIdReader_, floodSetHwStatus_,
                                     fecRequest_, fecResponseReader_, hwInfoMapping_, timerWheel_);
  vlanFloodSetSm_ = Fenn::evpnVlanFloodSetSmFactory(mplsFloodSetOutput_, tunnelIdToHwTunnelIdReader_,
                                                    hwInfoMapping_, floodSetHwConfig_, floodSetHwStatus_);

  remoteInfoFinderSm_->initializedIs(true);
  hwTunnelIdSm_->initializedIs(true);
  floodSetFilterSm_->initializedIs(true);
  floodSetFecSm_->initializedIs(true);
  vlanFloodSetSm_->initializedIs(true);

  // ESI filtering at decapsulation.
  esiFilteringDecapSm_ = Fenn::esiFilteringDecapSmFactory(esiPortMaps_, lfibStatus_, scheduler_,
                                                          lfibTrackingStatus_, lfibHwStatus_);
  esiFilteringDecapSm_->initializedIs(true);
  startAccessSide();

  // Ethernet segment tracking per remote TEP.
  tepSegmentSm_ = Fenn::fennEvpnTepSegmentSmFactory(evpnStatus_, tunnelEndpointStatus_, evpnTepSegmentDir_);
  tepSegmentSm_->initializedIs(true);
  hostFecStart();
}

void Switch::hostFecStart() {
  hostFecSm_ = Fenn::fennMacAddrFecRequestSmFactory(labelOutput_, loadBalanceOutput_, destOutput_,
                                                    hostOutput_, hostFecResponseReader_, hostFecRequest_,
                                                    objTupleToHwId_, timerWheel_, scheduler_);
  hostFecSm_->maxChainLengthIs(hostFecChainLength_);
  hostFecSm_->initializedIs(true);
}

void Switch::hostFecRestart() {
  hostFecSm_ = nullptr;
  settle();
  // The answers of the withdrawn requests may still stand: the new instance keeps their FEC
  // IDs out of use until the chip drops them.
  hostFecStart();
  settle();
}

void Switch::hostIs(Bridging::MacVlanPair const& macVlan, L2Rib::ObjTuple const& first) {
  hostOutput_->hostIs(macVlan, L2Rib::HostAndSource(first, L2Rib::hostSourceEvpn));
  settle();
}

void Switch::hostDel(Bridging::MacVlanPair const& macVlan) {
  hostOutput_->hostDel(macVlan);
  settle();
}

void Switch::labelIs(L2Rib::LabelId id, L2Rib::Label const& label) {
  labelOutput_->labelIs(id, label);
  settle();
}

void Switch::labelDel(L2Rib::LabelId id) {
  labelOutput_->labelDel(id);
  settle();
}

void Switch::loadBalanceIs(L2Rib::LoadBalanceId id, L2Rib::LoadBalance const& lb) {
  loadBalanceOutput_->loadBalanceIs(id, lb);
  settle();
}

void Switch::loadBalanceDel(L2Rib::LoadBalanceId id) {
  loadBalanceOutput_->loadBalanceDel(id);
  settle();
}

void Switch::chainDestIs(L2Rib::DestId id, L2Rib::Dest const& dest) {
  destOutput_->destIs(id, dest);
  settle();
}

void Switch::chainDestDel(L2Rib::DestId id) {
  destOutput_->destDel(id);
  settle();
}

void Switch::stopStateMachines() {
  tepSegmentSm_ = nullptr;
  esiFilteringDecapSm_ = nullptr;
  stopAccessSide();
  hostFecSm_ = nullptr;
  vlanFloodSetSm_ = nullptr;
  floodSetFecSm_ = nullptr;
  floodSetFilterSm_ = nullptr;
  hwTunnelIdSm_ = nullptr;
  remoteInfoFinderSm_ = nullptr;
}

// Released, each machine withdraws what it published and hands back what it holds from the
// helpers; the new ones compute everything again from the inputs, which stay as they are.
void Switch::restart() {
  stopStateMachines();
  settle();
  startStateMachines();
  settle();
}

void Switch::destIs(Bridging::VlanId vlan, Ostra::EthAddr mac, L2Rib::Dest const& dest) {
  floodSetOutput_->vlanFloodSetIs(vlan)->floodSetIs(mac)->destSetIs(dest);
  settle();
}

void Switch::destDel(Bridging::VlanId vlan, Ostra::EthAddr mac, L2Rib::Dest const& dest) {
  L2Rib::VlanFloodSet* vfs = floodSetOutput_->vlanFloodSet(vlan);
  L2Rib::FloodSet* fs = vfs ? vfs->floodSet(mac) : nullptr;
  if (fs) fs->destSetDel(dest);
  settle();
}

void Switch::floodSetDel(Bridging::VlanId vlan, Ostra::EthAddr mac) {
  if (L2Rib::VlanFloodSet* vfs = floodSetOutput_->vlanFloodSet(vlan)) {
    if (L2Rib::FloodSet* fs = vfs->floodSet(mac)) fs->destSetDelAll();
    vfs->floodSetDel(mac);
    if (vfs->floodSet().empty()) floodSetOutput_->vlanFloodSetDel(vlan);
  }
  settle();
}

void Switch::segmentIs(Ostra::IntfId intf, std::map<Ostra::IntfId, Ostra::MplsLabel> const& peers,
                       std::optional<Ostra::MplsLabel> sharedEsiLabel) {
  Evpn::EthernetSegmentStatus* es = evpnStatus_->ethernetSegmentStatusIs(intf);
  // The label setting goes first, as the control plane publishes it with the segment, so
  // new peers are allocated from the pool they belong to rather than moved there after.
  es->sharedEsiLabelIs(sharedEsiLabel ? Evpn::SharedEsiLabel(*sharedEsiLabel, true) : Evpn::SharedEsiLabel());
  for (auto const& tep : es->remoteEsiLabel().keys()) {
    if (!peers.count(tep)) {
      es->remoteEsiLabelDel(tep);
      es->remoteTepDel(tep);
    }
  }
  for (auto const& [tep, label] : peers) {
    es->remoteTepIs(tep);
    es->remoteEsiLabelIs(tep, Evpn::EncapTypeLabel::mpls(label));
  }
  settle();
}

void Switch::segmentDel(Ostra::IntfId intf) {
  evpnStatus_->ethernetSegmentStatusDel(intf);
  settle();
}

void Switch::tunnelEndpointIs(::Tunnel::TunnelTable::TunnelId tunnelId,
                              std::optional<Ostra::IpGenAddr> addr) {
  addr ? tunnelEndpointStatus_->tunnelEndpointIs(tunnelId, *addr)
       : void(tunnelEndpointStatus_->tunnelEndpointDel(tunnelId));
  settle();
}

void Switch::vlanToDot1qIs(Bridging::VlanId vlan, Bridging::VlanIdOrNone dot1q) {
  evpnStatus_->vlanToDot1qIs(vlan, dot1q);
  settle();
}

void Switch::vlanToDot1qDel(Bridging::VlanId vlan) {
  evpnStatus_->vlanToDot1qDel(vlan);
  settle();
}

void Switch::vlanServiceDot1qEnabledIs(bool enabled) {
  mplsConfig_->vlanServiceDot1qEnabledIs(enabled);
  settle();
}

void Switch::vlanFloodStatusIs(Bridging::VlanId vlan, std::vector<Ostra::IntfId> const& floodFilter) {
  Evpn::EvpnVlanFloodStatus* status = evpnStatus_->evpnVlanFloodStatusIs(vlan);
  for (auto const& intf : status->floodFilter().keys()) {
    if (std::find(floodFilter.begin(), floodFilter.end(), intf) == floodFilter.end())
      status->floodFilterDel(intf);
  }
  for (auto const& intf : floodFilter) status->floodFilterIs(intf);
  settle();
}

void Switch::vlanFloodStatusDel(Bridging::VlanId vlan) {
  evpnStatus_->evpnVlanFloodStatusDel(vlan);
  settle();
}

void Switch::hwTunnelIdPoolSizeIs(Fenn::HwTunnelIdType type, uint32_t size) {
  bool const grew = size > hwTunnelIdPools_->poolSize(type);
  hwTunnelIdPools_->poolSizeIs(type, size);
  recordHardware(type == Fenn::hwTunnelIdTypeDefault ? "defaultHwTunnelIds" : "sharedEsHwTunnelIds", size);
  // The hardware layer tells the allocator that IDs became available, as a platform that
  // grows a pool behind the helper would.
  if (grew) hwTunnelIdSm_->maybeScheduleUnprogrammedReview(true);
  settle();
}

void Switch::fecResponseDelayIs(double seconds) {
  checkSeconds("fecResponseDelayIs", seconds);
  fecResponder_->delayIs(seconds);
  hostFecResponder_->delayIs(seconds);
  recordHardware("fecResponseDelay", seconds);
}

void Switch::fecResponsesWithheldIs(bool withheld) {
  fecResponder_->withholdIs(withheld);
  hostFecResponder_->withholdIs(withheld);
  recordHardware("withholdFecResponses", withheld);
  settle();
}

void Switch::floodSetProgrammingPausedIs(bool paused) {
  floodSetProgrammer_->pausedIs(paused);
  recordHardware("floodSetProgrammingPaused", paused);
  settle();
}

void Switch::floodSetCapacityIs(uint32_t capacity) {
  floodSetProgrammer_->capacityIs(capacity);
  recordHardware("floodSetCapacity", capacity);
  settle();
}

FaultInjector& Switch::faults(FaultTarget target) {
  switch (target) {
    case FaultTarget::hwTunnelIdAllocation:
      return hwTunnelIdPools_->allocationFaults();
    case FaultTarget::fecResponse:
      return fecResponder_->answerFaults();
    case FaultTarget::hostFecResponse:
      return hostFecResponder_->answerFaults();
    case FaultTarget::floodSetProgramming:
      break;
    case FaultTarget::esiPortMapResourceFull:
      return esiPortMaps_->resourceFullFaults();
    case FaultTarget::esiPortMapTemporaryFailure:
      return esiPortMaps_->temporaryFailureFaults();
    case FaultTarget::createEsiData:
      return floodingHardware_->esiDataFaults();
    case FaultTarget::createVlan:
      return floodingHardware_->vlanTables().createVlanFaults();
    case FaultTarget::createVlanToDot1qMapping:
      return floodingHardware_->vlanTables().createVlanToDot1qMappingFaults();
    case FaultTarget::createNonDfPort:
      return floodingHardware_->vlanTables().createNonDfPortFaults();
  }
  return floodSetProgrammer_->programmingFaults();
}

void Switch::settle() {
  if (!settlesOnlyWhenAsked_) runScheduler();
}

void Switch::runScheduler() {
  scheduler_->runReady();
  // The switch is idle until the next input: lines traced to a file go out now.
  Qor::traceFlush();
}

void Switch::advance(double seconds) {
  checkSeconds("advance", seconds);
  // Step to each due time, so that reviews asked for on the way are not skipped.
  double const end = clock_->now() + seconds;
  while (true) {
    double const next = scheduler_->nextDueTime();
    if (next > end) break;
    scheduler_->runUntil(next);
    runScheduler();
  }
  scheduler_->runUntil(end);
  runScheduler();
}

double Switch::now() const { return clock_->now(); }

HardwareState Switch::state() const {
  HardwareState s;
  s.time = clock_->now();
  for (auto const& [tunnelId, row] : tunnelIdToHwTunnelId_->rows())
    s.tunnels.push_back({tunnelId, row.hwTunnelId()});
  std::sort(s.tunnels.begin(), s.tunnels.end(),
            [](auto const& a, auto const& b) { return a.tunnelId < b.tunnelId; });
  for (auto type : {Fenn::hwTunnelIdTypeDefault, Fenn::hwTunnelIdTypeSharedEs}) {
    s.pools.push_back(
        {type, hwTunnelIdPools_->poolSize(type), uint32_t(hwTunnelIdPools_->inUse(type).size())});
  }
  for (auto const& [fecId, fec] : fecRequest_->rows()) {
    HardwareState::Fec f{fecId, {}, {}, false, 0};
    if (!fec.empty()) {
      f.tunnelId = fec.via(Vasp::Fib::ViaIndex(0)).intfId().tunnelId();
      f.label = fec.via(Vasp::Fib::ViaIndex(0)).mplsLabel();
    }
    if (auto const* response = fecResponse_->rowFind(fecId)) {
      f.answered = true;
      f.hwFecId = response->hwFecId();
    }
    s.fecs.push_back(f);
  }
  std::sort(s.fecs.begin(), s.fecs.end(), [](auto const& a, auto const& b) { return a.fecId < b.fecId; });
  for (auto const& [pair, config] : floodSetHwConfig_->config()) {
    Fenn::VlanFloodSetStatus const* status = floodSetHwStatus_->status(pair);
    for (auto const& dest : config->mplsDestConfig()) {
      HardwareState::FloodSetEntry e{pair, dest, std::nullopt};
      if (status && status->mplsDestStatusHas(dest)) e.status = status->mplsDestStatus(dest);
      s.floodSets.push_back(e);
    }
  }
  std::sort(s.floodSets.begin(), s.floodSets.end(), [](auto const& a, auto const& b) {
    return std::tie(a.macVlanPair, a.config) < std::tie(b.macVlanPair, b.config);
  });
  for (Qor::LogMessage const* m : Qor::sysLogRecords()) s.sysLog.emplace_back(m->name());
  for (auto const& tunnelId : hwTunnelIdSm_->unprogrammedTunnel().keys()) {
    if (!tunnelIdToHwTunnelId_->tunnelIdToHwTunnelIdHas(tunnelId)) s.waitingTunnels.push_back(tunnelId);
  }
  std::sort(s.waitingTunnels.begin(), s.waitingTunnels.end());

  // ESI filtering at decapsulation.
  for (auto const& [intfId, label] : esiPortMaps_->maps()) s.esiPortMaps.push_back({intfId, label});
  for (auto const& [routeKey, info] : lfibHwStatus_->unprogrammedRoute()) {
    s.unprogrammedRoutes.push_back({routeKey.topLabel(), uint32_t(info.returnCode())});
  }
  std::sort(s.unprogrammedRoutes.begin(), s.unprogrammedRoutes.end(),
            [](auto const& a, auto const& b) { return a.topLabel < b.topLabel; });
  for (auto const& [lag, ports] : lagMemberInfo_->lagToPort()) {
    s.lagMembers.push_back({lag, std::vector<Ostra::IntfId>(ports.begin(), ports.end())});
  }
  std::sort(s.lagMembers.begin(), s.lagMembers.end(),
            [](auto const& a, auto const& b) { return a.lag < b.lag; });
  for (auto const& [vlan, info] : evpnVlanStatus_->vlanStatus()) {
    HardwareState::VlanMembers m{vlan, info->member().keys()};
    std::sort(m.intfs.begin(), m.intfs.end());
    s.vlanMembers.push_back(std::move(m));
  }
  std::sort(s.vlanMembers.begin(), s.vlanMembers.end(),
            [](auto const& a, auto const& b) { return a.vlan < b.vlan; });
  for (auto const& [key, e] : floodingHardware_->esiData()) {
    auto const& [port, vlan, tunnelId] = key;
    s.esiData.push_back(
        {port, vlan, tunnelId, e.parentIntfId, e.hwTunnelId, e.remoteEsiLabel, e.localEsiLabel});
  }

  // Ethernet segment tracking per remote TEP.
  for (auto const& [addr, entry] : evpnTepSegmentDir_->evpnTepSegment()) {
    HardwareState::TepSegments t{addr, entry->segmentSet().keys()};
    std::sort(t.segments.begin(), t.segments.end());
    s.tepSegments.push_back(std::move(t));
  }
  std::sort(s.tepSegments.begin(), s.tepSegments.end(),
            [](auto const& a, auto const& b) { return a.tepAddr < b.tepAddr; });
  // Host FEC chains.
  auto answer = [&](Vasp::Fib::FecId fecId, L2Rib::ObjTuple const& object) {
    std::pair<bool, uint64_t> published{objTupleToHwId_->hwIdHas(object), objTupleToHwId_->hwId(object)};
    return fecId.valid() && hostFecResponse_->rowHas(fecId) ? published : std::pair<bool, uint64_t>{};
  };
  for (auto const& [fecId, fec] : hostFecRequest_->rows()) {
    L2Rib::ObjTuple const object = hostFecSm_ ? hostFecSm_->fecRequestReverseMap(fecId) : L2Rib::ObjTuple();
    auto const [answered, hwFecId] = answer(fecId, object);
    s.hostFecs.push_back(
        {object, fecId, std::vector(fec.vias().begin(), fec.vias().end()), answered, hwFecId});
  }
  std::sort(s.hostFecs.begin(), s.hostFecs.end(),
            [](auto const& a, auto const& b) { return a.object < b.object; });
  for (auto const& [macVlan, host] : hostOutput_->host()) {
    L2Rib::ObjTuple const first = host.objTuple();
    Vasp::Fib::FecId const fecId = hostFecSm_ ? hostFecSm_->fecRequestCache(first) : Vasp::Fib::FecId();
    auto const [answered, hwFecId] = answer(fecId, first);
    s.hosts.push_back({macVlan, first, fecId, answered, hwFecId});
  }
  std::sort(s.hosts.begin(), s.hosts.end(), [](auto const& a, auto const& b) {
    return std::pair(a.macVlan.vlanId(), a.macVlan.macAddr()) <
           std::pair(b.macVlan.vlanId(), b.macVlan.macAddr());
  });

  // Access side: dot1q mappings and flood filters.
  for (auto const& [vlan, dot1q] : floodingHardware_->vlanTables().vlans()) s.vlans.push_back({vlan, dot1q});
  for (auto const& [portVlan, m] : floodingHardware_->vlanTables().dot1qMappings())
    s.dot1qMappings.push_back({portVlan.second, portVlan.first, m.parent, m.dot1q});
  for (auto const& [portVlan, parent] : floodingHardware_->vlanTables().nonDfPorts())
    s.nonDfPorts.push_back({portVlan.second, portVlan.first, parent});
  auto byVlanPort = [](auto const& a, auto const& b) {
    return std::tie(a.vlan, a.port) < std::tie(b.vlan, b.port);
  };
  std::sort(s.dot1qMappings.begin(), s.dot1qMappings.end(), byVlanPort);
  std::sort(s.nonDfPorts.begin(), s.nonDfPorts.end(), byVlanPort);
  return s;
}

}  // namespace Sim

// ---- Access side ----
//
//   control plane --> lagConfigDir --> EvpnLagSm --> lagMemberInfo
//   control plane --> bridgingConfig + vlanStatusDir + evpnStatus
//                     --> FennEvpnVlanMembershipSm --> evpnVlanStatus
//   lagMemberInfo + evpnStatus + tunnelIdToHwTunnelId
//                     --> EvpnFloodingEsiSm --(FloodingHardware)--> ESI data per port
//   lagMemberInfo + evpnVlanStatus + evpnStatus (vlanToDot1q) + mplsConfig
//                     --> EvpnFloodingDot1qSm --(FloodingHardware)--> VLANs, VLAN-to-dot1q mappings
//   lagMemberInfo + evpnStatus (VLAN flood statuses)
//                     --> FennEvpnFloodFilterSm --(FloodingHardware)--> non-DF ports
namespace Sim {

void Switch::openAccessSide(HardwareConfig const& config, ControlPlane const& controlPlane) {
  lagConfigDir_ = controlPlane.lagConfigDir ? controlPlane.lagConfigDir : Fenn::lagCreatorConfigDirFactory();
  bridgingConfig_ = controlPlane.bridgingConfig ? controlPlane.bridgingConfig : Bridging::configFactory();
  vlanStatusDir_ = controlPlane.vlanStatusDir ? controlPlane.vlanStatusDir : Bridging::vlanStatusDirFactory();
  lagMemberInfo_ = Fenn::evpnLagMemberInfoFactory();
  evpnVlanStatus_ = Fenn::evpnVlanStatusFactory();
  floodingHardware_ = Qor::Ptr<FloodingHardware>(new FloodingHardware("simFloodingHardware"));
  floodingHardware_->updateSupportedOnCreateEsiDataIs(config.updateSupportedOnCreateEsiData);
  // Dot1q mappings and flood filters.
  mplsConfig_ = controlPlane.mplsConfig ? controlPlane.mplsConfig : Evpn::mplsConfigFactory();
}

void Switch::startAccessSide() {
  lagSm_ = Fenn::evpnLagSmFactory(commonSmData_, lagConfigDir_, lagMemberInfo_);
  vlanMembershipSm_ =
      Fenn::fennEvpnVlanMembershipSmFactory(bridgingConfig_, vlanStatusDir_, evpnStatus_, evpnVlanStatus_);
  floodingEsiSm_ = Fenn::evpnFloodingEsiSmFactory(floodingHardware_, scheduler_, lagMemberInfo_, evpnStatus_,
                                                  tunnelIdToHwTunnelIdReader_);
  // Dot1q mappings and flood filters.
  floodingDot1qSm_ = Fenn::evpnFloodingDot1qSmFactory(floodingHardware_, scheduler_, lagMemberInfo_,
                                                      evpnVlanStatus_, evpnStatus_, mplsConfig_);
  floodFilterSm_ =
      Fenn::fennEvpnFloodFilterSmFactory(floodingHardware_, scheduler_, lagMemberInfo_, evpnStatus_);
  lagSm_->initializedIs(true);
  vlanMembershipSm_->initializedIs(true);
  floodingEsiSm_->initializedIs(true);
  floodingDot1qSm_->initializedIs(true);
  floodFilterSm_->initializedIs(true);
}

void Switch::stopAccessSide() {
  floodFilterSm_ = nullptr;
  floodingDot1qSm_ = nullptr;
  floodingEsiSm_ = nullptr;
  vlanMembershipSm_ = nullptr;
  lagSm_ = nullptr;
}

ControlPlane Switch::controlPlane() const {
  ControlPlane c{floodSetOutput_, evpnStatus_, lagConfigDir_, bridgingConfig_, vlanStatusDir_};
  c.mplsConfig = mplsConfig_;
  c.hostOutput = hostOutput_;
  c.labelOutput = labelOutput_;
  c.loadBalanceOutput = loadBalanceOutput_;
  c.destOutput = destOutput_;
  c.lfibStatus = lfibStatus_;
  c.tunnelEndpointStatus = tunnelEndpointStatus_;
  return c;
}

namespace {
// Makes a collection's keys exactly `wanted`: removes the others, then writes each wanted one.
template <class K, class Del, class Set>
void replaceKeys(std::vector<K> const& present, std::vector<K> const& wanted, Del del, Set set) {
  for (auto const& k : present) {
    if (std::find(wanted.begin(), wanted.end(), k) == wanted.end()) del(k);
  }
  for (auto const& k : wanted) set(k);
}
}  // namespace

void Switch::lagIs(Ostra::IntfId lag, std::vector<Ostra::IntfId> const& members) {
  Fenn::LagInfo* info = lagConfigDir_->lagConfigIs(lag);
  replaceKeys(
      info->member().keys(), members, [&](auto const& port) { info->memberDel(port); },
      [&](auto const& port) { info->memberIs(port, Hardware::Lag::portProgTypeRxTx); });
  settle();
}

void Switch::lagDel(Ostra::IntfId lag) {
  lagConfigDir_->lagConfigDel(lag);
  settle();
}

void Switch::vlanConfigIs(Bridging::VlanId vlan, std::vector<Ostra::IntfId> const& intfs) {
  Bridging::VlanConfig* config = bridgingConfig_->vlanConfigIs(vlan);
  replaceKeys(
      config->intf().keys(), intfs, [&](auto const& intf) { config->intfDel(intf); },
      [&](auto const& intf) { config->intfIs(intf, Bridging::VlanPortConfig(true)); });
  settle();
}

void Switch::vlanConfigDel(Bridging::VlanId vlan) {
  bridgingConfig_->vlanConfigDel(vlan);
  settle();
}

void Switch::vlanStatusIs(Bridging::VlanId vlan, std::vector<Ostra::IntfId> const& intfs) {
  Bridging::VlanStatus* status = vlanStatusDir_->vlanStatusIs(vlan);
  replaceKeys(
      status->vlanPortStatus().keys(), intfs, [&](auto const& intf) { status->vlanPortStatusDel(intf); },
      [&](auto const& intf) { status->vlanPortStatusIs(intf, Bridging::VlanPortStatus(true)); });
  settle();
}

void Switch::vlanStatusDel(Bridging::VlanId vlan) {
  vlanStatusDir_->vlanStatusDel(vlan);
  settle();
}

void Switch::encapBumFilterIs(std::vector<Ostra::IntfId> const& intfs) {
  replaceKeys(
      evpnStatus_->encapBumFilter().keys(), intfs,
      [&](auto const& intf) { evpnStatus_->encapBumFilterDel(intf); },
      [&](auto const& intf) { evpnStatus_->encapBumFilterIs(intf); });
  settle();
}

void Switch::segmentVlansIs(Ostra::IntfId intf, std::vector<Bridging::VlanId> const& vlans,
                            std::map<Bridging::VlanId, Ostra::IntfId> const& designatedForwarders) {
  Evpn::EthernetSegmentStatus* es = evpnStatus_->ethernetSegmentStatusIs(intf);
  std::vector<Bridging::VlanId> dfVlans;
  for (auto const& [vlan, tep] : designatedForwarders) dfVlans.push_back(vlan);
  replaceKeys(
      es->designatedForwarderTep().keys(), dfVlans,
      [&](auto const& vlan) { es->designatedForwarderTepDel(vlan); },
      [&](auto const& vlan) { es->designatedForwarderTepIs(vlan, designatedForwarders.at(vlan)); });
  replaceKeys(
      es->configuredVlan().keys(), vlans, [&](auto const& vlan) { es->configuredVlanDel(vlan); },
      [&](auto const& vlan) { es->configuredVlanIs(vlan); });
  settle();
}

void Switch::localEsiLabelIs(Ostra::IntfId intf, std::optional<Ostra::MplsLabel> label) {
  if (label) {
    evpnStatus_->localEsiLabelIs(intf, Evpn::EncapTypeLabel::mpls(*label));
  } else {
    evpnStatus_->localEsiLabelDel(intf);
  }
  settle();
}

void Switch::updateSupportedOnCreateEsiDataIs(bool supported) {
  floodingHardware_->updateSupportedOnCreateEsiDataIs(supported);
  recordHardware("updateSupportedOnCreateEsiData", supported);
}

// Scenario controls over the library's own state.

void Switch::floodSetDelWithDests(Bridging::VlanId vlan, Ostra::EthAddr mac) {
  if (L2Rib::VlanFloodSet* vfs = floodSetOutput_->vlanFloodSet(vlan)) {
    vfs->floodSetDel(mac);
    if (vfs->floodSet().empty()) floodSetOutput_->vlanFloodSetDel(vlan);
  }
  settle();
}

std::vector<Qor::StateMachine*> Switch::stateMachines() const {
  std::vector<Qor::StateMachine*> all = {remoteInfoFinderSm_.get(),
                                         hwTunnelIdSm_.get(),
                                         floodSetFilterSm_.get(),
                                         floodSetFecSm_.get(),
                                         vlanFloodSetSm_.get(),
                                         esiFilteringDecapSm_.get(),
                                         lagSm_.get(),
                                         vlanMembershipSm_.get(),
                                         floodingEsiSm_.get(),
                                         floodingDot1qSm_.get(),
                                         floodFilterSm_.get(),
                                         tepSegmentSm_.get(),
                                         hostFecSm_.get()};
  std::erase(all, nullptr);
  return all;
}

void Switch::reinitialize(Qor::StateMachine& sm) {
  sm.initializedIs(false);
  settle();
  sm.initializedIs(true);
  settle();
}

// ---- Operator tools ----

Fenn::MachineSet Switch::machines() const {
  Fenn::MachineSet m;
  m.remoteInfoFinder = remoteInfoFinderSm_.get();
  m.hwTunnelId = hwTunnelIdSm_.get();
  m.floodSetFec = floodSetFecSm_.get();
  m.vlanFloodSet = vlanFloodSetSm_.get();
  m.floodingEsi = floodingEsiSm_.get();
  m.floodingDot1q = floodingDot1qSm_.get();
  m.floodFilter = floodFilterSm_.get();
  m.hostFec = hostFecSm_.get();
  m.esiFilteringDecap = esiFilteringDecapSm_.get();
  m.floodSetFilter = floodSetFilterSm_.get();
  m.lag = lagSm_.get();
  m.vlanMembership = vlanMembershipSm_.get();
  m.tepSegment = tepSegmentSm_.get();
  return m;
}

}  // namespace Sim

// ---- Recording the inputs ----
namespace Sim {

Fenn::EvpnInputRecorder& Switch::record(Fenn::RecordingFiles const& files) {
  recorder_ = nullptr;
  Fenn::RecordedInputs inputs{floodSetOutput_, evpnStatus_,  lagConfigDir_,      bridgingConfig_,
                              vlanStatusDir_,  mplsConfig_,  lfibStatus_,        tunnelEndpointStatus_,
                              hostOutput_,     labelOutput_, loadBalanceOutput_, destOutput_};
  recorder_ = Fenn::evpnInputRecorderFactory(std::move(inputs), scheduler_, files);
  for (auto type : {Fenn::hwTunnelIdTypeDefault, Fenn::hwTunnelIdTypeSharedEs}) {
    recordHardware(type == Fenn::hwTunnelIdTypeDefault ? "defaultHwTunnelIds" : "sharedEsHwTunnelIds",
                   hwTunnelIdPools_->poolSize(type));
  }
  recordHardware("fecResponseDelay", fecResponder_->delay());
  recordHardware("floodSetCapacity", uint32_t(std::min<size_t>(floodSetProgrammer_->capacity(), UINT32_MAX)));
  recordHardware("updateSupportedOnCreateEsiData", floodingHardware_->updateSupportedOnCreateEsiData());
  if (fecResponder_->withhold()) recordHardware("withholdFecResponses", true);
  if (floodSetProgrammer_->paused()) recordHardware("floodSetProgrammingPaused", true);
  return *recorder_;
}

}  // namespace Sim
