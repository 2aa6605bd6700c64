// The whole flood-set path wired as an agent wires it, for the end-to-end tests and the
// flood-set benchmark: layer-2 RIB flood sets -> remote tunnel counts -> hardware tunnel
// IDs (recording stub pools) -> MPLS-only flood sets -> FEC requests (answered by the
// simulated FEC responder) -> HwInfoMapping -> flood-set configuration (programmed by the
// simulated flood-set programmer) -> flood-set status.
//
// The RIB flood sets and the EVPN status are inputs, so several paths can be built on the
// same inputs (a fresh path is the reference for one that saw every change). Each path has
// its own clock and scheduler; `name` keeps its shared tables apart from another path's.
#pragma once

#include <cstdint>
#include <string>

#include "Fenn/FecIdToHwFecIdRequest.h"
#include "Fenn/FecIdToHwFecIdResponse.h"
#include "Fenn/FennCommonSmData.h"
#include "FennEvpn/FennEvpnFloodSetFecSm.h"
#include "FennEvpn/FennEvpnHwTunnelIdSm.h"
#include "FennEvpn/FennEvpnHwTunnelIdSmHelperStub.h"
#include "FennEvpn/FennEvpnRemoteInfoFinderSm.h"
#include "FennEvpn/FennEvpnVlanFloodSetFilterSm.h"
#include "FennEvpn/FennEvpnVlanFloodSetSm.h"
#include "Keel/ManualClock.h"
#include "Keel/TaskScheduler.h"
#include "Keel/TimerWheel.h"
#include "sim/FecResponder.h"
#include "sim/FloodSetProgrammer.h"

namespace FloodSetPathTest {

struct PoolSizes {
  uint32_t defaultPool = 64;
  uint32_t sharedEsPool = 8;
};

class FloodSetPath {
 public:
  FloodSetPath(std::string const& name, Qor::Ptr<L2Rib::FloodSetOutput const> l2Rib,
               Qor::Ptr<Evpn::EvpnStatus const> evpnStatus, PoolSizes pools = {})
      : l2Rib(std::move(l2Rib)),
        evpnStatus(std::move(evpnStatus)),
        hwTunnelIdMapping(Fenn::tunnelIdToHwTunnelIdMappingFactory(name + "HwTid")),
        request(Fenn::fecIdToHwFecIdRequestFactory(name + "FecRequest", Vasp::Mode::writer)),
        response(Fenn::fecIdToHwFecIdResponseFactory(name + "FecResponse", Vasp::Mode::reader)) {
    fillPool(Fenn::hwTunnelIdTypeDefault, pools.defaultPool);
    fillPool(Fenn::hwTunnelIdTypeSharedEs, pools.sharedEsPool);
    responder = Qor::Ptr<Sim::FecResponder>(new Sim::FecResponder(
        Fenn::fecIdToHwFecIdRequestFactory(name + "FecRequest", Vasp::Mode::reader),
        Fenn::fecIdToHwFecIdResponseFactory(name + "FecResponse", Vasp::Mode::writer), wheel));
    programmer = Sim::floodSetProgrammerFactory(hwConfig, hwStatus);
    remoteInfoFinder = Fenn::evpnRemoteInfoFinderSmFactory(this->l2Rib, remoteInfo);
    hwTunnelIdSm = Fenn::evpnHwTunnelIdSmFactory(hwTunnelIdStub, scheduler, Fenn::fennCommonSmDataFactory(),
                                                 this->evpnStatus, remoteInfo, hwTunnelIdMapping);
    filterSm = Fenn::vlanFloodSetFilterSmFactory(L2Rib::destTypeMpls_, this->l2Rib, mplsFloodSets);
    fecSm = Fenn::evpnFloodSetFecSmFactory(
        mplsFloodSets, reader(name), hwStatus, request,
        Fenn::fecIdToHwFecIdResponseFactory(name + "FecResponse", Vasp::Mode::reader), hwInfo, wheel);
    vlanFloodSetSm = Fenn::evpnVlanFloodSetSmFactory(mplsFloodSets, reader(name), hwInfo, hwConfig, hwStatus);
    hwTunnelIdSm->initializedIs(true);
    filterSm->initializedIs(true);
    fecSm->initializedIs(true);
    vlanFloodSetSm->initializedIs(true);
  }

  // Tears down in the agent's order: the library first, then the simulated hardware.
  ~FloodSetPath() {
    vlanFloodSetSm = nullptr;
    fecSm = nullptr;
    filterSm = nullptr;
    hwTunnelIdSm = nullptr;
    remoteInfoFinder = nullptr;
    programmer = nullptr;
    responder = nullptr;
  }

  // Runs the scheduler until nothing is pending within `seconds`.
  void runFor(double seconds) { scheduler->advanceBy(seconds); }

  Qor::Ptr<Keel::ManualClock> clock{new Keel::ManualClock};
  Qor::Ptr<Keel::TaskScheduler> scheduler{new Keel::TaskScheduler(clock)};
  Qor::Ptr<Keel::TimerWheel> wheel{new Keel::TimerWheel(scheduler)};

  Qor::Ptr<L2Rib::FloodSetOutput const> l2Rib;
  Qor::Ptr<Evpn::EvpnStatus const> evpnStatus;
  Qor::Ptr<FennHelper::EvpnHwTunnelIdSmHelperStub> hwTunnelIdStub =
      FennHelper::evpnHwTunnelIdSmHelperStubFactory("hwTunnelIdStub");
  Qor::Ptr<Fenn::EvpnRemoteInfo> remoteInfo = Fenn::evpnRemoteInfoFactory();
  Qor::Ptr<L2Rib::FloodSetOutput> mplsFloodSets = L2Rib::floodSetOutputFactory();
  Qor::Ptr<Fenn::TunnelIdToHwTunnelIdMapping> hwTunnelIdMapping;
  Qor::Ptr<Fenn::FecIdToHwFecIdRequest> request;
  Qor::Ptr<Fenn::FecIdToHwFecIdResponse> response;
  Qor::Ptr<Fenn::HwInfoMapping> hwInfo = Fenn::hwInfoMappingFactory();
  Qor::Ptr<Fenn::EvpnVlanFloodSetHwConfig> hwConfig = Fenn::evpnVlanFloodSetHwConfigFactory();
  Qor::Ptr<Fenn::EvpnVlanFloodSetHwStatus> hwStatus = Fenn::evpnVlanFloodSetHwStatusFactory();

  Qor::Ptr<Sim::FecResponder> responder;
  Qor::Ptr<Sim::FloodSetProgrammer> programmer;
  Qor::Ptr<Fenn::EvpnRemoteInfoFinderSm> remoteInfoFinder;
  Qor::Ptr<Fenn::EvpnHwTunnelIdSm> hwTunnelIdSm;
  Qor::Ptr<Fenn::VlanFloodSetFilterSm> filterSm;
  Qor::Ptr<Fenn::EvpnFloodSetFecSm> fecSm;
  Qor::Ptr<Fenn::EvpnVlanFloodSetSm> vlanFloodSetSm;

 private:
  void fillPool(Fenn::HwTunnelIdType type, uint32_t size) {
    auto* queue = hwTunnelIdStub->freeHwTunnelIdIs(type);
    for (uint32_t id = 1; id <= size; ++id) queue->hwTunnelIdEnq(Fenn::HwTunnelId(type, id));
  }
  static Qor::Ptr<Fenn::TunnelIdToHwTunnelIdMapping const> reader(std::string const& name) {
    return Fenn::tunnelIdToHwTunnelIdMappingReaderFactory(name + "HwTid");
  }
};

}  // namespace FloodSetPathTest
