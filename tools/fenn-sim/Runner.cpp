#include "Runner.h"

#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <map>

#include "FennEvpn/FennEvpnReportText.h"
#include "Qor/Toggle.h"
#include "Report.h"

namespace SimTool {

namespace {
Qor::String joined(std::vector<Qor::String> const& names) {
  Qor::String out = "[";
  for (size_t i = 0; i < names.size(); ++i) out += (i ? ", " : "") + names[i];
  return out + "]";
}
}  // namespace

Runner::Runner(Scenario const& scenario, std::ostream& out, Fenn::RecordingFiles const* record)
    : scenario_(scenario), out_(out), switch_(std::make_unique<Sim::Switch>(scenario.hardware)) {
  if (record) switch_->record(*record);
  // The tunnel RIB knows the PEs' addresses from the start.
  for (auto const& [name, addr] : scenario.tunnelAddresses)
    switch_->tunnelEndpointIs(scenario.tunnels.at(name), addr);
  switch_->settlesOnlyWhenAskedIs(scenario.settlesOnlyWhenAsked);
}

Runner::~Runner() {
  if (toggleDir_.empty()) return;
  unlink((toggleDir_ + "/" + Fenn::fennToggleFile).c_str());
  rmdir(toggleDir_.c_str());
}

size_t Runner::run() {
  if (!scenario_.name.empty()) out_ << "== " << scenario_.name << " ==\n";
  if (!scenario_.story.empty()) out_ << scenario_.story << (scenario_.story.back() == '\n' ? "" : "\n");
  for (auto const& [at, step] : scenario_.steps) {
    at_ = &at;
    std::visit([this](auto const& s) { apply(s); }, step);
  }
  return failures_;
}

void Runner::apply(SayStep const& s) { out_ << "\n# " << s.text << "\n"; }

void Runner::apply(DestStep const& s) {
  s.add ? switch_->destIs(s.vlan, s.mac, s.dest) : switch_->destDel(s.vlan, s.mac, s.dest);
}

void Runner::apply(FloodSetDelStep const& s) {
  s.withDests ? switch_->floodSetDelWithDests(s.vlan, s.mac) : switch_->floodSetDel(s.vlan, s.mac);
}

void Runner::apply(SegmentStep const& s) { switch_->segmentIs(s.intf, s.peers, s.sharedEsiLabel); }

void Runner::apply(SegmentDelStep const& s) { switch_->segmentDel(s.intf); }

void Runner::apply(FaultStep const& s) {
  Sim::FaultInjector& f = switch_->faults(s.target);
  if (s.clear) f.clear();
  if (s.failNext) f.failNextIs(s.failNext);
  if (s.failFraction > 0) f.failFractionIs(s.failFraction, s.seed);
}

void Runner::apply(HardwareStep const& s) {
  if (s.defaultHwTunnelIds) switch_->hwTunnelIdPoolSizeIs(Fenn::hwTunnelIdTypeDefault, *s.defaultHwTunnelIds);
  if (s.sharedEsHwTunnelIds)
    switch_->hwTunnelIdPoolSizeIs(Fenn::hwTunnelIdTypeSharedEs, *s.sharedEsHwTunnelIds);
  if (s.fecResponseDelay) switch_->fecResponseDelayIs(*s.fecResponseDelay);
  if (s.withholdFecResponses) switch_->fecResponsesWithheldIs(*s.withholdFecResponses);
  if (s.floodSetCapacity) switch_->floodSetCapacityIs(*s.floodSetCapacity);
  if (s.floodSetProgrammingPaused) switch_->floodSetProgrammingPausedIs(*s.floodSetProgrammingPaused);
  if (s.updateSupportedOnCreateEsiData)
    switch_->updateSupportedOnCreateEsiDataIs(*s.updateSupportedOnCreateEsiData);
}

void Runner::apply(AdvanceStep const& s) {
  switch_->advance(s.seconds);
  out_ << "  (time is now " << switch_->now() << " s)\n";
}

void Runner::apply(ShowStep const& s) {
  Sim::HardwareState const state = switch_->state();
  for (Table t : s.tables) {
    out_ << "\n";
    if (t == Table::summary) {
      out_ << "summary (t=" << Fenn::secondsText(switch_->now()) << " s)\n"
           << Fenn::summaryTable(Fenn::summaries(switch_->machines()));
      continue;
    }
    printTable(out_, t, state, scenario_);
  }
}

void Runner::apply(ExpectStep const& s) {
  Sim::HardwareState const state = switch_->state();
  size_t const before = failures_;
  for (auto const& e : s.expectations) {
    Qor::String const mismatch = check(e, state);
    if (mismatch.empty()) continue;
    ++failures_;
    out_ << e.at.file << ":" << e.at.line << ":" << e.at.column << ": expect " << e.name << " failed\n"
         << mismatch;
  }
  if (failures_ == before) {
    out_ << at_->file << ":" << at_->line << ":" << at_->column << ": expect passed ("
         << s.expectations.size() << (s.expectations.size() == 1 ? " check)\n" : " checks)\n");
  }
}

// ESI filtering at decapsulation.
void Runner::apply(LfibStep const& s) {
  Sim::LfibTracker& lfib = switch_->lfib();
  switch (s.kind) {
    case LfibStep::Kind::route:
      lfib.routeIs(s.routeKey, s.viaSetKey);
      break;
    case LfibStep::Kind::routeDel:
      lfib.routeDel(s.routeKey);
      break;
    case LfibStep::Kind::viaSet:
      lfib.viaSetIs(s.viaSetKey, s.viaKey);
      break;
    case LfibStep::Kind::viaSetDel:
      lfib.viaSetDel(s.viaSetKey);
      break;
    case LfibStep::Kind::filterVia:
      lfib.filterViaIs(s.viaKey, s.intf);
      break;
    case LfibStep::Kind::filterViaDel:
      lfib.filterViaDel(s.viaKey);
      break;
    case LfibStep::Kind::backlog:
      lfib.backlogIs(s.routeKey);
      break;
  }
  switch_->settle();
}

// Ethernet segment tracking per remote TEP.
void Runner::apply(TunnelEndpointStep const& s) { switch_->tunnelEndpointIs(s.tunnelId, s.addr); }
void Runner::apply(HostStep const& s) {
  s.add ? switch_->hostIs(s.macVlan, s.first) : switch_->hostDel(s.macVlan);
}

void Runner::apply(ChainObjectStep const& s) {
  uint32_t const id = s.object.objId();
  switch (s.object.tableType()) {
    case L2Rib::tableTypeLabel_:
      s.add ? switch_->labelIs(L2Rib::LabelId(id), L2Rib::Label(s.label, s.next.at(0)))
            : switch_->labelDel(L2Rib::LabelId(id));
      break;
    case L2Rib::tableTypeLoadBalance_: {
      L2Rib::LoadBalance lb;
      for (size_t i = 0; i < s.next.size(); ++i) lb.nextIs(L2Rib::EcmpIndex(i), s.next[i]);
      s.add ? switch_->loadBalanceIs(L2Rib::LoadBalanceId(id), lb)
            : switch_->loadBalanceDel(L2Rib::LoadBalanceId(id));
      break;
    }
    case L2Rib::tableTypeDest_:
      s.add ? switch_->chainDestIs(L2Rib::DestId(id), L2Rib::Dest::vxlan(Ostra::IpGenAddr(), 0, s.tunnel))
            : switch_->chainDestDel(L2Rib::DestId(id));
      break;
    case L2Rib::tableTypeInvalid_:
      break;
  }
}

// The toggle file is read once per process, as in an agent: the simulator writes it, makes
// the process forget what it read, and restarts the host FEC state machine, which reads it.
void Runner::apply(ToggleStep const& s) {
  if (toggleDir_.empty()) {
    char dir[] = "/tmp/fenn-sim-togglesXXXXXX";
    if (!mkdtemp(dir)) throw std::runtime_error("fenn-sim: cannot create a directory for the toggle file");
    toggleDir_ = dir;
  }
  std::ofstream(toggleDir_ + "/" + Fenn::fennToggleFile)
      << "{\"" << Fenn::vxlan4WayL2EcmpToggle << "\": " << (s.vxlan4WayL2Ecmp ? "true" : "false") << "}\n";
  setenv("FENN_TOGGLE_DIR", toggleDir_.c_str(), 1);
  Qor::toggleCacheDelAll();
  switch_->hostFecRestart();
  out_ << "  (" << Fenn::vxlan4WayL2EcmpToggle << " is " << (s.vxlan4WayL2Ecmp ? "on" : "off")
       << "; the host FEC state machine restarted)\n";
}

// The library's own state -------------------------------------------------------------

namespace {
// "Fenn::EvpnFloodSetFecSm" is addressed as "EvpnFloodSetFecSm".
std::string_view shortName(Qor::StateMachine const& sm) {
  std::string_view name = sm.fwkType();
  auto const colons = name.rfind("::");
  return colons == std::string_view::npos ? name : name.substr(colons + 2);
}
}  // namespace

void Runner::apply(ReinitializeStep const& s) {
  Qor::String known;
  for (Qor::StateMachine* sm : switch_->stateMachines()) {
    if (shortName(*sm) == s.stateMachine) {
      switch_->reinitialize(*sm);
      return;
    }
    known += (known.empty() ? "" : ", ") + Qor::String(shortName(*sm));
  }
  throw ScenarioError(*at_,
                      "unknown state machine '" + s.stateMachine + "' (expected one of: " + known + ")");
}

std::vector<Qor::String> Runner::libraryRows(LibraryTable table, Sim::HardwareState const& state) const {
  std::vector<Qor::String> rows;
  auto via = [&](Tunnel::TunnelTable::TunnelId tunnelId, Ostra::MplsLabel label) {
    return scenario_.tunnelName(tunnelId) + " " + std::to_string(label.value());
  };
  switch (table) {
    case LibraryTable::refCounts:
      for (auto const& [tunnelId, count] : switch_->remoteInfo()->remoteTunnelId())
        rows.push_back(scenario_.tunnelName(tunnelId) + ": " + std::to_string(count));
      break;
    case LibraryTable::fecs:
      for (auto const& f : state.fecs)
        rows.push_back(via(f.tunnelId, f.label) + ": " + (f.answered ? "answered" : "waiting"));
      break;
    case LibraryTable::hwInfo:
      for (auto const& [v, info] : switch_->hwInfoMapping()->mapping())
        rows.push_back(via(v.tunnelId(), v.label()) + ": " + std::to_string(info.hwIdForTunnelProgramming()));
      break;
    case LibraryTable::waiting:
      for (auto const& tunnelId : switch_->hwTunnelIdSm()->unprogrammedTunnel().keys())
        rows.push_back(scenario_.tunnelName(tunnelId));
      break;
    case LibraryTable::zombies:
      for (auto const& [type, set] : switch_->hwTunnelIdSm()->zombieTunnelId()) {
        for (auto const& tunnelId : set->tunnelId().keys()) rows.push_back(scenario_.tunnelName(tunnelId));
      }
      break;
    case LibraryTable::notProgrammed: {
      std::map<Qor::String, std::vector<Qor::String>> perFloodSet;
      for (auto const& f : state.floodSets) {
        if (f.status == Fenn::notProgrammed)
          perFloodSet[floodSetText(f.macVlanPair)].push_back(scenario_.tunnelName(f.config.tunnelId()));
      }
      for (auto& [pair, names] : perFloodSet) {
        std::sort(names.begin(), names.end());
        rows.push_back(pair + ": " + joinedNames(names));
      }
      break;
    }
  }
  std::sort(rows.begin(), rows.end());
  return rows;
}

// Every entry with its key and value in their text forms, as the library traces them.
void Runner::apply(PrintStep const& s) {
  Sim::HardwareState const state = switch_->state();
  for (LibraryTable table : s.tables) {
    switch (table) {
      case LibraryTable::refCounts:
        out_ << "\nrefCounts (remoteTunnelId: count)\n";
        for (auto const& [tunnelId, count] : switch_->remoteInfo()->remoteTunnelId())
          out_ << "  " << Qor::valueToStrep(tunnelId) << ": " << count << "\n";
        break;
      case LibraryTable::fecs:
        out_ << "\nfecs (fecId: via, hwFecId)\n";
        for (auto const& [fecId, v] : switch_->floodSetFecSm()->fecIdCache()) {
          auto const* response = switch_->fecResponse()->rowFind(fecId);
          out_ << "  " << Qor::valueToStrep(fecId) << ": " << Qor::valueToStrep(v) << ", "
               << (response ? Qor::valueToStrep(response->hwFecId()) : Qor::String("waiting")) << "\n";
        }
        break;
      case LibraryTable::hwInfo:
        out_ << "\nhwInfo (via: MplsDestHwInfo)\n";
        for (auto const& [v, info] : switch_->hwInfoMapping()->mapping())
          out_ << "  " << Qor::valueToStrep(v) << ": " << Qor::valueToStrep(info) << "\n";
        break;
      case LibraryTable::waiting:
        out_ << "\nwaiting (unprogrammedTunnel)\n";
        for (auto const& tunnelId : switch_->hwTunnelIdSm()->unprogrammedTunnel().keys())
          out_ << "  " << Qor::valueToStrep(tunnelId) << "\n";
        break;
      case LibraryTable::zombies:
        out_ << "\nzombies (pool: zombieTunnelId)\n";
        for (auto const& [type, set] : switch_->hwTunnelIdSm()->zombieTunnelId()) {
          for (auto const& tunnelId : set->tunnelId().keys())
            out_ << "  " << Qor::valueToStrep(type) << ": " << Qor::valueToStrep(tunnelId) << "\n";
        }
        break;
      case LibraryTable::notProgrammed:
        out_ << "\nnotProgrammed (macVlanPair: MplsDestConfig)\n";
        for (auto const& f : state.floodSets) {
          if (f.status == Fenn::notProgrammed)
            out_ << "  " << Qor::valueToStrep(f.macVlanPair) << ": " << Qor::valueToStrep(f.config) << "\n";
        }
        break;
    }
  }
}

void Runner::apply(RestartStep const&) {
  switch_->restart();
  out_ << "  (the library restarted)\n";
}

Qor::String Runner::check(Expectation const& e, Sim::HardwareState const& state) const {
  using K = Expectation::Kind;
  auto differ = [](Qor::String const& expected, Qor::String const& actual) -> Qor::String {
    if (expected == actual) return "";
    return "    expected: " + expected + "\n    actual:   " + actual + "\n";
  };
  auto poolText = [](std::optional<Fenn::HwTunnelIdType> p) -> Qor::String {
    return !p ? "none" : *p == Fenn::hwTunnelIdTypeSharedEs ? "sharedEs" : "default";
  };
  auto programmed = [&] {
    return std::count_if(state.floodSets.begin(), state.floodSets.end(),
                         [](auto const& f) { return f.status == Fenn::programmed; });
  };
  switch (e.kind) {
    case K::tunnelPool: {
      auto const tid = scenario_.tunnels.at(e.name);
      std::optional<Fenn::HwTunnelIdType> actual;
      for (auto const& t : state.tunnels) {
        if (t.tunnelId == tid) actual = t.hwTunnelId.type();
      }
      return differ(poolText(e.pool), poolText(actual));
    }
    case K::tunnelCount:
      return differ(std::to_string(e.count), std::to_string(state.tunnels.size()));
    case K::floodSetEntries:
      return differ(std::to_string(e.count), std::to_string(programmed()));
    case K::fecRequests:
      return differ(std::to_string(e.count), std::to_string(state.fecs.size()));
    case K::fecAnswered:
      return differ(std::to_string(e.count),
                    std::to_string(std::count_if(state.fecs.begin(), state.fecs.end(),
                                                 [](auto const& f) { return f.answered; })));
    case K::floodSet: {
      std::vector<Qor::String> actual;
      for (auto const& f : state.floodSets) {
        if (f.macVlanPair == e.floodSet && f.status == Fenn::programmed) {
          actual.push_back(scenario_.tunnelName(f.config.tunnelId()));
        }
      }
      std::sort(actual.begin(), actual.end());
      return differ(joined(e.names), joined(actual));
    }
    case K::poolInUse: {
      for (auto const& p : state.pools) {
        if (p.type == *e.pool) return differ(std::to_string(e.count), std::to_string(p.inUse));
      }
      return "";
    }
    case K::sysLog:
      return differ(joined(e.names), joined(state.sysLog));
    case K::library:
      return differ(joinedNames(e.names), joinedNames(libraryRows(e.table, state)));
    // ESI filtering at decapsulation.
    case K::esiPortMaps:
    case K::unprogrammedRoutes: {
      std::vector<Qor::String> actual;
      if (e.kind == K::esiPortMaps) {
        for (auto const& m : state.esiPortMaps)
          actual.push_back(m.intfId.name() + ": " + Qor::valueToStrep(m.label));
      } else {
        for (auto const& r : state.unprogrammedRoutes)
          actual.push_back(Qor::valueToStrep(r.topLabel) + ": " + std::to_string(r.returnCode));
      }
      std::sort(actual.begin(), actual.end());
      return differ(joined(e.names), joined(actual));
    }
    // Access side.
    case K::lagMembers:
    case K::evpnVlanMembers:
    case K::esiData: {
      std::vector<Qor::String> actual;
      if (e.kind == K::lagMembers) {
        for (auto const& l : state.lagMembers) actual.push_back(l.lag.name() + ": " + intfNames(l.ports));
      } else if (e.kind == K::evpnVlanMembers) {
        for (auto const& v : state.vlanMembers)
          actual.push_back(std::to_string(v.vlan.value()) + ": " + intfNames(v.intfs));
      } else {
        std::map<Qor::String, std::vector<Qor::String>> rows;
        for (auto const& x : state.esiData) {
          rows[x.port.name() + " " + std::to_string(x.vlan.value())].push_back(
              scenario_.tunnelName(x.tunnelId));
        }
        for (auto& [row, pes] : rows) {
          std::sort(pes.begin(), pes.end());
          actual.push_back(row + ": " + joinedNames(pes));
        }
      }
      std::sort(actual.begin(), actual.end());
      return differ(joined(e.names), joined(actual));
    }
    case K::esiEntries:
      return differ(std::to_string(e.count), std::to_string(state.esiData.size()));
    // Ethernet segment tracking per remote TEP.
    case K::tepSegments: {
      std::vector<Qor::String> actual;
      for (auto const& t : state.tepSegments) {
        std::vector<Qor::String> segments;
        for (auto const& intf : t.segments) segments.push_back(intf.name());
        actual.push_back(t.tepAddr.toString() + ": " + joined(segments));
      }
      std::sort(actual.begin(), actual.end());
      return differ(joined(e.names), joined(actual));
    }
    case K::hostFecRequests:
      return differ(std::to_string(e.count), std::to_string(state.hostFecs.size()));
    case K::hostFecAnswered:
      return differ(std::to_string(e.count),
                    std::to_string(std::count_if(state.hostFecs.begin(), state.hostFecs.end(),
                                                 [](auto const& f) { return f.answered; })));
    case K::host: {
      for (auto const& h : state.hosts) {
        if (h.macVlan == e.floodSet) return differ(e.names.at(0), hostText(h, state, scenario_));
      }
      return differ(e.names.at(0), "none");
    }
    case K::hostFec: {
      for (auto const& f : state.hostFecs) {
        if (f.object == scenario_.chainObjects.at(e.name))
          return differ(joined(e.names), joined(viaTargets(f, state, scenario_)));
      }
      return differ(e.names.empty() ? "none" : joined(e.names), "none");
    }
    default:
      return checkAccess(e, state);
  }
  return "";
}

// ---- Access side ----
void Runner::apply(AccessStep const& s) {
  using K = AccessStep::Kind;
  switch (s.kind) {
    case K::lag:
      return switch_->lagIs(s.intf, s.intfs);
    case K::lagDel:
      return switch_->lagDel(s.intf);
    case K::vlanConfig:
      return switch_->vlanConfigIs(s.vlan, s.intfs);
    case K::vlanConfigDel:
      return switch_->vlanConfigDel(s.vlan);
    case K::vlanStatus:
      return switch_->vlanStatusIs(s.vlan, s.intfs);
    case K::vlanStatusDel:
      return switch_->vlanStatusDel(s.vlan);
    case K::encapBumFilter:
      return switch_->encapBumFilterIs(s.intfs);
    case K::segmentVlans:
      return switch_->segmentVlansIs(s.intf, s.vlans, s.df);
    case K::localEsiLabel:
      return switch_->localEsiLabelIs(s.intf, s.label);
  }
}

// Access side: dot1q mappings and flood filters.

void Runner::apply(VlanToDot1qStep const& s) {
  s.dot1q ? switch_->vlanToDot1qIs(s.vlan, *s.dot1q) : switch_->vlanToDot1qDel(s.vlan);
}

void Runner::apply(MplsConfigStep const& s) { switch_->vlanServiceDot1qEnabledIs(s.vlanServiceDot1q); }

void Runner::apply(VlanFloodStatusStep const& s) {
  s.floodFilter ? switch_->vlanFloodStatusIs(s.vlan, *s.floodFilter) : switch_->vlanFloodStatusDel(s.vlan);
}

Qor::String Runner::checkAccess(Expectation const& e, Sim::HardwareState const& state) const {
  using K = Expectation::Kind;
  auto differ = [](std::vector<Qor::String> const& expected,
                   std::vector<Qor::String> const& actual) -> Qor::String {
    if (expected == actual) return "";
    return "    expected: " + joined(expected) + "\n    actual:   " + joined(actual) + "\n";
  };
  auto count = [](size_t n) { return std::vector<Qor::String>{std::to_string(n)}; };
  std::vector<Qor::String> actual;
  switch (e.kind) {
    case K::vlanCount:
      return differ(count(e.count), count(state.vlans.size()));
    case K::dot1qMappingCount:
      return differ(count(e.count), count(state.dot1qMappings.size()));
    case K::nonDfPortCount:
      return differ(count(e.count), count(state.nonDfPorts.size()));
    case K::vlanDot1q:
      actual.push_back("absent");
      for (auto const& v : state.vlans) {
        if (v.vlan == e.vlan) actual[0] = dot1qName(v.dot1q);
      }
      return differ(e.names, actual);
    case K::dot1qMappings:
      for (auto const& m : state.dot1qMappings) {
        if (m.vlan == e.vlan) actual.push_back(m.port.name() + "=" + dot1qName(m.dot1q));
      }
      std::sort(actual.begin(), actual.end());
      return differ(e.names, actual);
    case K::nonDfPorts:
      for (auto const& p : state.nonDfPorts) {
        if (p.vlan == e.vlan) actual.push_back(p.port.name());
      }
      std::sort(actual.begin(), actual.end());
      return differ(e.names, actual);
    default:
      return "";
  }
}

// ---- Operator tools ----

Fenn::Explanation Runner::explain(ExplainQuery const& query) const {
  Fenn::Explanation::Names namer;
  namer.tunnel = [this](Tunnel::TunnelTable::TunnelId const& tunnelId) {
    return scenario_.tunnelName(tunnelId);
  };
  namer.object = [this](L2Rib::ObjTuple const& object) { return scenario_.objectName(object); };
  Fenn::MachineSet const machines = switch_->machines();
  switch (query.kind) {
    case ExplainQuery::Kind::dest:
      return Fenn::explainFloodSetDest(machines, query.vlan, query.mac, query.dest, namer);
    case ExplainQuery::Kind::tunnel:
      return Fenn::explainTunnel(machines, query.tunnel, namer);
    case ExplainQuery::Kind::esi:
      return Fenn::explainEsi(machines, Fenn::IntfVlanTunnelKey(query.intf, query.vlan, query.tunnel), namer);
    case ExplainQuery::Kind::dot1q:
      return Fenn::explainDot1q(machines, Fenn::IntfVlanKey(query.intf, query.vlan), namer);
    case ExplainQuery::Kind::floodFilter:
      return Fenn::explainFloodFilter(machines, Fenn::IntfVlanKey(query.intf, query.vlan), namer);
    case ExplainQuery::Kind::host:
      return Fenn::explainHost(machines, Bridging::MacVlanPair(query.mac, query.vlan), namer);
    case ExplainQuery::Kind::object:
      return Fenn::explainObject(machines, query.object, namer);
    case ExplainQuery::Kind::route:
      return Fenn::explainFilterRoute(machines, query.route, namer);
  }
  return Fenn::Explanation();
}

void Runner::apply(ExplainStep const& s) {
  Fenn::Explanation const answer = explain(s.query);
  out_ << "\nexplain (t=" << Fenn::secondsText(switch_->now()) << " s) " << answer.text();
  if (!s.state) return;
  if (answer.state() == *s.state) {
    out_ << at_->file << ":" << at_->line << ":" << at_->column << ": explain state passed\n";
    return;
  }
  ++failures_;
  out_ << at_->file << ":" << at_->line << ":" << at_->column << ": explain state failed\n  expected "
       << Fenn::Explanation::stateName(*s.state) << "\n  actual   "
       << Fenn::Explanation::stateName(answer.state()) << "\n";
}

}  // namespace SimTool

namespace SimTool {

// Recorded scenarios.
void Runner::apply(SettleStep const&) { switch_->runScheduler(); }

}  // namespace SimTool
