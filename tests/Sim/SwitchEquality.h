// Whether a switch that lived through a run holds, in every hardware model, what a switch
// built afresh on the run's final inputs holds: the promise that incremental processing,
// fault recovery and restarts end where a full recompute starts.
//
// Compared up to the numbers the hardware and the library chose (hardware tunnel IDs, FEC
// IDs, hardware FEC IDs), and up to zombies: a tunnel no input needs any more keeps its
// published ID until its pool runs dry, by design, so zombies are left out of the tunnels
// and the pool usage (a zombie that an input needs is a difference, since the reference
// holds that tunnel live). Within each switch, every number a model holds must be the one
// currently published for it (nothing stale). On the switch that lived through the run, no
// helper may have been asked to release or delete what it did not hold.
//
// Both switches must have settled past every review and every FEC answer, with their pools
// large enough for every tunnel the inputs need: with a pool short, which tunnel waits or
// falls back to the other pool depends on the order of events.
#pragma once

#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "Qor/Strep.h"
#include "sim/Switch.h"

namespace SimTest {

namespace equality {

// One row of a model as text: the fields separated by spaces.
template <class... T>
std::string row(T const&... fields) {
  std::ostringstream out;
  ((out << ' ' << Qor::valueToStrep(fields)), ...);
  return out.str().substr(1);
}

using Rows = std::multiset<std::string>;

// Every model of one switch, as rows without the chosen numbers; the checks that need no
// reference (numbers that are stale) are added to `problems`.
inline std::map<std::string, Rows> models(Sim::Switch const& sw, std::vector<std::string>& problems,
                                          std::string const& who) {
  Sim::HardwareState const s = sw.state();
  std::map<std::string, Rows> m;
  auto stale = [&](std::string const& what) { problems.push_back(who + ": " + what); };

  std::set<Tunnel::TunnelTable::TunnelId> zombies;
  std::map<Fenn::HwTunnelIdType, uint32_t> zombiesPerPool;
  for (auto const& [type, set] : sw.hwTunnelIdSm()->zombieTunnelId()) {
    for (auto const& t : set->tunnelId().keys()) {
      zombies.insert(t);
      ++zombiesPerPool[type];
    }
  }
  std::map<Tunnel::TunnelTable::TunnelId, Fenn::HwTunnelId> published;
  for (auto const& t : s.tunnels) {
    published[t.tunnelId] = t.hwTunnelId;
    if (!zombies.count(t.tunnelId)) m["tunnels (tunnel, pool)"].insert(row(t.tunnelId, t.hwTunnelId.type()));
  }
  for (auto const& p : s.pools)
    m["pools (pool, size, live IDs in use)"].insert(row(p.type, p.size, p.inUse - zombiesPerPool[p.type]));
  for (auto const& t : s.waitingTunnels) m["waiting tunnels"].insert(row(t));
  for (auto const& t : sw.hwTunnelIdSm()->unprogrammedTunnel().keys()) {
    if (published.count(t)) m["tunnels waiting to change pools"].insert(row(t));
  }

  std::map<std::pair<Tunnel::TunnelTable::TunnelId, uint32_t>, std::set<uint64_t>> answered;
  for (auto const& f : s.fecs) {
    m["flood-set FECs (tunnel, label, answered)"].insert(row(f.tunnelId, f.label, f.answered));
    if (f.answered) answered[{f.tunnelId, f.label.value()}].insert(f.hwFecId);
  }
  for (auto const& f : s.floodSets) {
    auto const& c = f.config;
    m["flood-set entries (VLAN, MAC, tunnel, label, interface, status)"].insert(
        row(f.macVlanPair.vlanId(), f.macVlanPair.macAddr(), c.tunnelId(), c.label(), c.l2IntfId(),
            f.status ? Qor::valueToStrep(*f.status) : std::string("unanswered")));
    auto const p = published.find(c.tunnelId());
    if (p == published.end() || p->second != c.hwTunnelId())
      stale("flood-set entry " + row(f.macVlanPair, c) + " names a hardware tunnel ID not published");
    if (!answered[{c.tunnelId(), c.label().value()}].count(c.hwIdForTunnelProgramming()))
      stale("flood-set entry " + row(f.macVlanPair, c) + " names a hardware FEC ID no answer holds");
  }

  for (auto const& e : s.esiPortMaps) m["ESI port maps"].insert(row(e.intfId, e.label));
  for (auto const& r : s.unprogrammedRoutes)
    m["unprogrammed LFIB routes"].insert(row(r.topLabel, r.returnCode));
  for (auto const& l : s.lagMembers) {
    for (auto const& p : l.ports) m["LAG members"].insert(row(l.lag, p));
  }
  for (auto const& v : s.vlanMembers) {
    for (auto const& i : v.intfs) m["VLAN members"].insert(row(v.vlan, i));
  }
  for (auto const& e : s.esiData) {
    m["ESI data (port, VLAN, tunnel, parent, remote label, local label)"].insert(
        row(e.port, e.vlan, e.tunnelId, e.parentIntf, e.remoteEsiLabel, e.localEsiLabel));
    auto const p = published.find(e.tunnelId);
    if (p == published.end() || p->second != e.hwTunnelId)
      stale("ESI data " + row(e.port, e.vlan, e.tunnelId) + " holds a hardware tunnel ID not published");
  }
  for (auto const& t : s.tepSegments) {
    for (auto const& i : t.segments) m["TEP segments"].insert(row(t.tepAddr, i));
  }

  // Host FECs: a via that chains to another FEC names that FEC's object instead of its ID.
  std::map<Vasp::Fib::FecId, L2Rib::ObjTuple> objectOf;
  for (auto const& f : s.hostFecs) objectOf[f.fecId] = f.object;
  for (auto const& f : s.hostFecs) {
    std::string vias;
    for (auto const& v : f.vias) {
      std::string const next = v.fecId().valid() ? Qor::valueToStrep(objectOf[v.fecId()]) : std::string("-");
      vias += " [" + row(v.intfId(), next, v.labelAndAction(), v.mplsLabel(), v.weight(), v.backup()) + "]";
    }
    m["host FECs (object, answered, vias)"].insert(row(f.object, f.answered) + vias);
  }
  for (auto const& h : s.hosts)
    m["hosts (host, object, answered)"].insert(row(h.macVlan, h.first, h.answered));

  for (auto const& v : s.vlans) m["VLANs (VLAN, dot1q)"].insert(row(v.vlan, v.dot1q));
  for (auto const& d : s.dot1qMappings)
    m["VLAN-to-dot1q mappings (VLAN, port, parent, dot1q)"].insert(row(d.vlan, d.port, d.parent, d.dot1q));
  for (auto const& n : s.nonDfPorts)
    m["non-DF ports (VLAN, port, parent)"].insert(row(n.vlan, n.port, n.parent));
  return m;
}

inline std::string join(std::vector<std::string> const& rows) {
  std::string out;
  for (auto const& r : rows) out += "\n    " + r;
  return out;
}

}  // namespace equality

// What differs between `sw`, which lived through a run, and `reference`, built on the same
// final inputs, one line per model that differs or per stale number or bad request; empty
// when they match.
inline std::vector<std::string> hardwareDifferences(Sim::Switch const& sw, Sim::Switch const& reference) {
  std::vector<std::string> out;
  auto const actual = equality::models(sw, out, "switch");
  auto const expected = equality::models(reference, out, "reference");
  std::set<std::string> names;
  for (auto const& [name, rows] : actual) names.insert(name);
  for (auto const& [name, rows] : expected) names.insert(name);
  for (auto const& name : names) {
    equality::Rows const none;
    auto const a = actual.count(name) ? actual.at(name) : none;
    auto const e = expected.count(name) ? expected.at(name) : none;
    if (a == e) continue;
    std::vector<std::string> extra, missing;
    std::set_difference(a.begin(), a.end(), e.begin(), e.end(), std::back_inserter(extra));
    std::set_difference(e.begin(), e.end(), a.begin(), a.end(), std::back_inserter(missing));
    out.push_back(name + ": only in the switch:" + equality::join(extra) +
                  "\n  only in the reference:" + equality::join(missing));
  }
  auto bad = [&](uint64_t count, char const* what) {
    if (count) out.push_back(std::to_string(count) + " " + what);
  };
  bad(sw.hwTunnelIdBadReleases(), "hardware tunnel IDs released that were not held");
  bad(sw.floodingHardware().badEsiDeleteCount(), "ESI data deleted that was not installed");
  bad(sw.floodingHardware().badEsiCreateCount(), "ESI data created over installed data");
  bad(sw.vlanFloodingTables().badOperationCount(),
      "VLAN, dot1q mapping or non-DF port operations on what was not there, or already was");
  return out;
}

}  // namespace SimTest
