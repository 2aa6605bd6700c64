// How the access-side flooding state machines program one entry of an access interface on
// its physical ports: a plain port on itself; a LAG on each of its current member ports,
// as EvpnLagMemberInfo lists them. A LAG without an entry there ("no lag configuration") or
// without members ("no lag members") has the entry removed from every port. Before a LAG's
// members are programmed, the entry's failed members are forgotten (each current member is
// tried again now) and members it is programmed on that have left the LAG, or that the
// machine marked for a forced re-program, are unprogrammed first.
//
// The machine supplies a Target for one entry (an ESI label of an interface, VLAN and
// tunnel; a dot1q mapping or a flood filter of an interface and VLAN):
//   static constexpr char traceClass[], function[]    trace prefix ("EvpnFloodingEsiSm::",
//                                                      "programEsi")
//   void programPort(Ostra::IntfId phy)               program the entry on one port
//   void unprogramAll()                               remove it from every port
//   void resetUnprogrammed()                          forget the failed members
//   void forEachProgrammedPort(F f) const             f(phy) for every programmed port
//   bool forceReprogram(Ostra::IntfId phy) const      marked for a forced re-program
//   void unprogramPort(Ostra::IntfId phy, bool stale, bool force)
//                                                     remove it from one port
// The walk writes nothing but through the target, so the member list it reads stays put.
#pragma once

#include <array>

#include "FennEvpn/FennEvpn.h"
#include "FennEvpn/FennEvpnLagMemberInfo.h"
#include "Ostra/IntfId.h"
#include "Qor/Trace.h"

namespace Fenn {

template <class Target>
void programOnPorts(Qor::TraceHandle& trace, Ostra::IntfId const& intf, EvpnLagMemberInfo const& lags,
                    Target& target) {
  if (!isLag(intf)) {
    target.programPort(intf);
    return;
  }
  if (!lags.lagToPortHas(intf)) {
    QTRACE_ON(trace, 5, Target::traceClass, Target::function, " ", "no lag configuration", " intfId ", intf);
    target.unprogramAll();
    return;
  }
  FennPortList const& ports = lags.lagToPort(intf);
  if (ports.empty()) {
    QTRACE_ON(trace, 5, Target::traceClass, Target::function, " ", "no lag members", " intfId ", intf);
    target.unprogramAll();
    return;
  }
  target.resetUnprogrammed();
  // Unprogramming changes the programmed ports, so they are collected first, a bounded
  // batch at a time: no allocation, however many there are.
  for (;;) {
    std::array<Ostra::IntfId, 16> batch;
    size_t n = 0;
    target.forEachProgrammedPort([&](Ostra::IntfId const& phy) {
      if (n < batch.size() && (!ports.portHas(phy) || target.forceReprogram(phy))) batch[n++] = phy;
    });
    for (size_t i = 0; i < n; ++i) {
      target.unprogramPort(batch[i], !ports.portHas(batch[i]), target.forceReprogram(batch[i]));
    }
    if (n < batch.size()) break;
  }
  for (auto const& phy : ports) target.programPort(phy);
}

}  // namespace Fenn
