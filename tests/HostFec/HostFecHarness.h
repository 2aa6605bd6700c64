// What the host FEC tests share: the layer-2 RIB's chain tables, the request and response
// tables, a manual-clock scheduler, and FennMacAddrFecRequestSm over them. The tests write
// the RIB tables and the responses directly.
#pragma once

#include <cstdint>

#include "FennEvpn/FennMacAddrFecRequestSm.h"
#include "Keel/ManualClock.h"
#include "Keel/TaskScheduler.h"

namespace HostFecTest {

using L2Rib::ObjTuple;
using Vasp::Fib::FecId;

inline ObjTuple D(uint32_t id) { return L2Rib::DestId(id).tuple(); }
inline ObjTuple L(uint32_t id) { return L2Rib::LabelId(id).tuple(); }
inline ObjTuple B(uint32_t id) { return L2Rib::LoadBalanceId(id).tuple(); }
inline Tunnel::TunnelTable::TunnelId tunnel(uint64_t index) {
  return Tunnel::TunnelTable::TunnelId(Tunnel::tunnelTypeLdp, index);
}
inline Bridging::MacVlanPair macVlan(uint64_t host) {
  return Bridging::MacVlanPair(Ostra::EthAddr(0x020000000000 + host), Bridging::VlanId(10));
}

struct Harness {
  explicit Harness(char const* prefix)
      : request(Fenn::fecIdToHwFecIdRequestFactory(Qor::String(prefix) + "Request", Vasp::Mode::writer)),
        response(Fenn::fecIdToHwFecIdResponseFactory(Qor::String(prefix) + "Response", Vasp::Mode::writer)),
        responseReader(
            Fenn::fecIdToHwFecIdResponseFactory(Qor::String(prefix) + "Response", Vasp::Mode::reader)) {}
  ~Harness() { sm = nullptr; }

  // Builds the state machine; `initialize` also starts it and works off its backlog.
  void build(uint32_t maxChainLength = 3, bool initialize = true) {
    sm = Fenn::fennMacAddrFecRequestSmFactory(labels, lbs, dests, hosts, responseReader, request, hwIds,
                                              wheel, scheduler);
    sm->maxChainLengthIs(maxChainLength);
    if (!initialize) return;
    sm->initializedIs(true);
    scheduler->runReady();
  }

  // The shortest chain: a started machine with host 1 over label 1 (1000) over destination 1
  // (tunnel 11).
  void hostOverLabel() {
    build(2);
    dest(1, 11);
    label(1, 1000, D(1));
    host(1, L(1));
  }

  void dest(uint32_t id, uint64_t tunnelIndex) {
    dests->destIs(L2Rib::DestId(id),
                  L2Rib::Dest::vxlan(Ostra::IpGenAddr("10.0.0.1"), 10000 + id, tunnel(tunnelIndex)));
  }
  void label(uint32_t id, uint32_t mplsLabel, ObjTuple next) {
    labels->labelIs(L2Rib::LabelId(id), L2Rib::Label(Ostra::MplsLabel(mplsLabel), next));
  }
  void lb(uint32_t id, std::initializer_list<ObjTuple> next) {
    lbs->loadBalanceIs(L2Rib::LoadBalanceId(id), L2Rib::LoadBalance(next));
  }
  void host(uint64_t id, ObjTuple first) {
    hosts->hostIs(macVlan(id), L2Rib::HostAndSource(first, L2Rib::hostSourceEvpn));
  }
  void answer(FecId fecId, uint64_t hwFecId) {
    response->rowIs(Fenn::FecToHwFecId(fecId, hwFecId, Ostra::IntfId("Ethernet7")));
  }

  FecId fecIdOf(ObjTuple tuple) const { return sm->fecRequestCache(tuple); }
  Vasp::Fib::Fec fecOf(ObjTuple tuple) const { return request->row(fecIdOf(tuple)); }

  Qor::Ptr<Keel::ManualClock> clock{new Keel::ManualClock};
  Qor::Ptr<Keel::TaskScheduler> scheduler{new Keel::TaskScheduler(clock)};
  Qor::Ptr<Keel::TimerWheel> wheel{new Keel::TimerWheel(scheduler)};
  Qor::Ptr<L2Rib::LabelOutput> labels = L2Rib::labelOutputFactory();
  Qor::Ptr<L2Rib::LoadBalanceOutput> lbs = L2Rib::loadBalanceOutputFactory();
  Qor::Ptr<L2Rib::DestOutput> dests = L2Rib::destOutputFactory();
  Qor::Ptr<L2Rib::HostOutput> hosts = L2Rib::hostOutputFactory();
  Qor::Ptr<Fenn::FecIdToHwFecIdRequest> request;
  Qor::Ptr<Fenn::FecIdToHwFecIdResponse> response;
  Qor::Ptr<Fenn::FecIdToHwFecIdResponse> responseReader;
  Qor::Ptr<Fenn::ObjTupleToHwId> hwIds = Fenn::objTupleToHwIdFactory();
  Qor::Ptr<Fenn::FennMacAddrFecRequestSm> sm;
};

}  // namespace HostFecTest
