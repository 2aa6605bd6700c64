// minimal-agent: wires two of libFennEvpn's state machines the way a forwarding agent does
// and drives them from a plain event loop.
//
//   control plane --> floodSetOutput --> EvpnRemoteInfoFinderSm --> remoteInfo
//   control plane --> evpnStatus ------+
//                     remoteInfo ------+--> EvpnHwTunnelIdSm --(helper)--> tunnel table
//
// The control plane is played by a script: a periodic timerfd stands in for the socket an
// agent reads its inputs from, and each tick applies the next change. A reader of the
// tunnel table prints what the library publishes.
#include <sys/timerfd.h>
#include <unistd.h>

#include <cstdint>
#include <functional>
#include <iostream>
#include <map>
#include <vector>

#include "EventLoop.h"
#include "Evpn/EvpnStatus.h"
#include "Fenn/FennCommonSmData.h"
#include "FennEvpn/FennEvpnHwTunnelIdSm.h"
#include "FennEvpn/FennEvpnRemoteInfo.h"
#include "FennEvpn/FennEvpnRemoteInfoFinderSm.h"
#include "FennEvpn/FennEvpnTunnelIdToHwTunnelIdMapping.h"
#include "FennEvpn/FennEvpnVersion.h"
#include "Keel/RealClock.h"
#include "Keel/TaskScheduler.h"
#include "L2Rib/FloodSetOutput.h"
#include "PrintingHwTunnelIdHelper.h"
#include "Qor/Entity.h"
#include "Qor/StateMachine.h"

namespace {

using Tunnel::TunnelTable::TunnelId;

// Prints every change of the published tunnel table, as another process reading it would
// see it. Its owner is no state machine (nullptr), so nothing mutes it.
class TunnelTablePrinter : public Fenn::TunnelIdToHwTunnelIdReactor<Qor::StateMachine> {
 public:
  explicit TunnelTablePrinter(Fenn::TunnelIdToHwTunnelIdMapping const* table)
      : Fenn::TunnelIdToHwTunnelIdReactor<Qor::StateMachine>(table, nullptr) {}

  void tunnelIdToHwTunnelIdNotify(TunnelId const& tunnelId) override {
    Fenn::TunnelIdToHwTunnelId const row = notifier()->tunnelIdToHwTunnelId(tunnelId);
    std::cout << "  table: tunnel " << tunnelId.index() << " -> ";
    if (notifier()->tunnelIdToHwTunnelIdHas(tunnelId)) {
      std::cout << Qor::enumName(row.hwTunnelId().type()) << "/" << row.hwTunnelId().id() << "\n";
    } else {
      std::cout << "(removed)\n";
    }
  }
};

TunnelId peTunnel(uint64_t index) { return TunnelId(Tunnel::tunnelTypeLdp, index); }

L2Rib::Dest toPe(uint64_t index) {
  return L2Rib::Dest::mpls(peTunnel(index), Ostra::MplsLabel(1000 + index));
}

}  // namespace

int main() {
  std::cout << "minimal-agent on libFennEvpn " << Fenn::libraryVersion() << "\n";

  // 1. The platform: a real clock and the scheduler every state machine runs its tasks on.
  auto const scheduler = Qor::Ptr<Keel::TaskScheduler>(new Keel::TaskScheduler(new Keel::RealClock));
  auto const commonSmData = Fenn::fennCommonSmDataFactory();

  // 2. Inputs, written by the control plane.
  auto const floodSetOutput = L2Rib::floodSetOutputFactory();
  auto const evpnStatus = Evpn::evpnStatusFactory();

  // 3. What the state machines publish: an entity between the two, and the shared tunnel
  //    table (this process writes it; a reader handle shows it as other processes see it).
  auto const remoteInfo = Fenn::evpnRemoteInfoFactory();
  auto const tunnelTable = Fenn::tunnelIdToHwTunnelIdMappingFactory();
  auto const tunnelTableReader = Fenn::tunnelIdToHwTunnelIdMappingReaderFactory();
  auto const printer = Qor::newReactor<TunnelTablePrinter>(tunnelTableReader.get());

  // 4. The hardware side: the agent's implementation of the helper interface.
  auto const helper = Qor::Ptr<PrintingHwTunnelIdHelper>(new PrintingHwTunnelIdHelper(4));

  // 5. The state machines, through their factories; then initialized, producers first, so
  //    each one's first full pass sees its inputs attached.
  auto remoteInfoFinderSm = Fenn::evpnRemoteInfoFinderSmFactory(floodSetOutput, remoteInfo);
  auto hwTunnelIdSm =
      Fenn::evpnHwTunnelIdSmFactory(helper, scheduler, commonSmData, evpnStatus, remoteInfo, tunnelTable);
  remoteInfoFinderSm->initializedIs(true);
  hwTunnelIdSm->initializedIs(true);

  // 6. The control plane's script.
  Bridging::VlanId const vlan(10);
  Ostra::EthAddr const bum = Ostra::EthAddr::broadcast();
  Ostra::IntfId const segment = Ostra::IntfId::portChannel(10);
  std::vector<std::pair<char const*, std::function<void()>>> const script = {
      {"VLAN 10 floods to PE 1 and PE 2",
       [&] {
         L2Rib::FloodSet* fs = floodSetOutput->vlanFloodSetIs(vlan)->floodSetIs(bum);
         fs->destSetIs(toPe(1));
         fs->destSetIs(toPe(2));
       }},
      {"PE 3 joins VLAN 10", [&] { floodSetOutput->vlanFloodSet(vlan)->floodSet(bum)->destSetIs(toPe(3)); }},
      {"Port-Channel10 is multihomed with PE 2, with a shared ESI label",
       [&] {
         Evpn::EthernetSegmentStatus* es = evpnStatus->ethernetSegmentStatusIs(segment);
         es->sharedEsiLabelIs(Evpn::SharedEsiLabel(Ostra::MplsLabel(500), true));
         Ostra::IntfId const tep = Ostra::IntfId::dynamicTunnel(peTunnel(2));
         es->remoteTepIs(tep);
         es->remoteEsiLabelIs(tep, Evpn::EncapTypeLabel::mpls(Ostra::MplsLabel(600)));
       }},
      {"PE 1 leaves VLAN 10 (its ID stays, as a zombie, until its pool runs dry)",
       [&] { floodSetOutput->vlanFloodSet(vlan)->floodSet(bum)->destSetDel(toPe(1)); }},
  };

  // 7. The event loop.
  EventLoop loop(scheduler);
  int const controlPlane = timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC);
  itimerspec const every50ms{{0, 50'000'000}, {0, 50'000'000}};
  timerfd_settime(controlPlane, 0, &every50ms, nullptr);
  size_t next = 0;
  loop.watch(controlPlane, [&] {
    uint64_t ticks;
    if (read(controlPlane, &ticks, sizeof ticks) != sizeof ticks) return;
    if (next < script.size()) {
      std::cout << "control plane: " << script[next].first << "\n";
      script[next++].second();
    } else if (scheduler->nextDueTime() == Keel::neverDue) {
      loop.stop();
    }
  });
  loop.run();
  close(controlPlane);

  // 8. Teardown, consumers first: releasing a state machine withdraws what it published
  //    (here: the tunnel table's rows, and the IDs go back through the helper).
  std::cout << "shutting down\n";
  hwTunnelIdSm = nullptr;
  remoteInfoFinderSm = nullptr;
  return 0;
}
