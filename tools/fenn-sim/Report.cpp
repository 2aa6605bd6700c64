#include "Report.h"

#include <cstdio>
#include <iomanip>
#include <sstream>

namespace SimTool {

namespace {

// A table printed with columns as wide as their widest cell.
class TextTable {
 public:
  explicit TextTable(std::vector<Qor::String> header) { rows_.push_back(std::move(header)); }
  void row(std::vector<Qor::String> cells) { rows_.push_back(std::move(cells)); }
  // With `omitted`, a table without rows is not printed: its title goes there.
  void print(std::ostream& os, Qor::String const& title, std::vector<Qor::String>* omitted) const {
    if (omitted && rows_.size() == 1) {
      omitted->push_back(title);
      return;
    }
    std::vector<size_t> width(rows_[0].size(), 0);
    for (auto const& r : rows_) {
      for (size_t i = 0; i < r.size(); ++i) width[i] = std::max(width[i], r[i].size());
    }
    os << title << (rows_.size() == 1 ? " (none)" : "") << "\n";
    if (rows_.size() == 1) return;
    for (size_t n = 0; n < rows_.size(); ++n) {
      os << "  ";
      for (size_t i = 0; i < rows_[n].size(); ++i)
        os << std::left << std::setw(int(width[i]) + 2) << rows_[n][i];
      os << "\n";
      if (n == 0) {
        os << "  ";
        for (size_t w : width) os << Qor::String(w, '-') << "  ";
        os << "\n";
      }
    }
  }

 private:
  std::vector<std::vector<Qor::String>> rows_;
};

Qor::String poolName(Fenn::HwTunnelIdType type) {
  return type == Fenn::hwTunnelIdTypeSharedEs ? "sharedEs" : "default";
}

Qor::String macName(Ostra::EthAddr mac) {
  return mac == Ostra::EthAddr::broadcast() ? "broadcast" : Qor::valueToStrep(mac).substr(1, 17);
}

Qor::String status(std::optional<Fenn::HwProgrammingStatus> s) {
  return s ? Qor::String(Fenn::stringValue(*s)) : "pending";
}

// For people: an entry the chip cannot forward for want of a tunnel ID says so.
Qor::String statusText(std::optional<Fenn::HwProgrammingStatus> s) {
  return s == Fenn::invalidHwId ? "no tunnel ID" : status(s);
}

Qor::String hwTunnelIdText(Fenn::HwTunnelId id) {
  return id.valid() ? poolName(id.type()) + "/" + std::to_string(id.id()) : "none";
}

// The first few names of a long list, and how many more.
Qor::String someNames(std::vector<::Tunnel::TunnelTable::TunnelId> const& tunnels, Scenario const& scenario) {
  constexpr size_t shown = 10;
  Qor::String out;
  for (size_t i = 0; i < tunnels.size() && i < shown; ++i)
    out += (i ? ", " : "") + scenario.tunnelName(tunnels[i]);
  if (tunnels.size() > shown) out += ", ... (" + std::to_string(tunnels.size() - shown) + " more)";
  return out;
}

Qor::String hex(uint64_t v) {
  std::ostringstream os;
  os << "0x" << std::hex << v;
  return os.str();
}

// JSON strings may not hold control characters: those become \u00XX.
Qor::String jsonString(std::string_view s) {
  Qor::String out = "\"";
  for (char c : s) {
    if (c == '"' || c == '\\') {
      out += '\\';
      out += c;
    } else if (static_cast<unsigned char>(c) < 0x20) {
      char buf[8];
      std::snprintf(buf, sizeof buf, "\\u%04x", static_cast<unsigned>(c));
      out += buf;
    } else {
      out += c;
    }
  }
  return out + "\"";
}

// Host FEC chains.

Qor::String hostFecId(Vasp::Fib::FecId fecId) { return fecId.valid() ? hex(fecId.value()) : "-"; }

Qor::String hwFecIdText(bool requested, bool answered, uint64_t hwFecId) {
  return !requested ? "-" : answered ? hex(hwFecId) : "(waiting)";
}

Qor::String joinedText(std::vector<Qor::String> const& items) {
  Qor::String out;
  for (auto const& item : items) out += (out.empty() ? "" : ", ") + item;
  return out;
}

}  // namespace

Qor::String hostText(Sim::HardwareState::Host const& host, Sim::HardwareState const&,
                     Scenario const& scenario) {
  Qor::String const name = scenario.objectName(host.first);
  if (!host.fecId.valid()) return name + " (no FEC)";
  return host.answered ? name : name + " (waiting)";
}

std::vector<Qor::String> viaTargets(Sim::HardwareState::HostFec const& fec, Sim::HardwareState const& state,
                                    Scenario const& scenario) {
  std::vector<Qor::String> out;
  for (auto const& via : fec.vias) {
    if (!via.fecId().valid()) {
      out.push_back(scenario.tunnelName(via.intfId().tunnelId()));
      continue;
    }
    Qor::String target = hex(via.fecId().value());
    for (auto const& lower : state.hostFecs) {
      if (lower.fecId == via.fecId()) target = scenario.objectName(lower.object);
    }
    out.push_back(target);
  }
  return out;
}

void printTable(std::ostream& os, Table table, Sim::HardwareState const& state, Scenario const& scenario,
                std::vector<Qor::String>* omitted) {
  switch (table) {
    case Table::tunnels: {
      TextTable t({"PE", "tunnel ID", "pool", "hw tunnel ID"});
      for (auto const& r : state.tunnels) {
        t.row({scenario.tunnelName(r.tunnelId), Qor::valueToStrep(r.tunnelId), poolName(r.hwTunnelId.type()),
               std::to_string(r.hwTunnelId.id())});
      }
      for (auto const& tunnelId : state.waitingTunnels) {
        t.row({scenario.tunnelName(tunnelId), Qor::valueToStrep(tunnelId), "none", "(waiting)"});
      }
      t.print(os, "Published hardware tunnel IDs", omitted);
      break;
    }
    case Table::pools: {
      TextTable t({"pool", "size", "in use", "free", ""});
      for (auto const& p : state.pools) {
        uint32_t const free = p.size > p.inUse ? p.size - p.inUse : 0;
        t.row({poolName(p.type), std::to_string(p.size), std::to_string(p.inUse), std::to_string(free),
               free == 0 ? "exhausted" : ""});
      }
      t.print(os, "Hardware tunnel ID pools", omitted);
      if (!state.waitingTunnels.empty()) {
        os << "  " << state.waitingTunnels.size() << " PE(s) wait for a hardware tunnel ID; their flood-set "
           << "entries do not forward: " << someNames(state.waitingTunnels, scenario) << "\n";
      }
      break;
    }
    case Table::fecs: {
      TextTable t({"FEC ID", "PE", "label", "hw FEC ID"});
      for (auto const& f : state.fecs) {
        t.row({hex(f.fecId.value()), scenario.tunnelName(f.tunnelId), Qor::valueToStrep(f.label),
               f.answered ? hex(f.hwFecId) : "(waiting)"});
      }
      t.print(os, "FEC requests", omitted);
      break;
    }
    case Table::floodSets: {
      TextTable t({"VLAN", "MAC", "PE", "label", "hw tunnel ID", "hw ID", "status"});
      for (auto const& e : state.floodSets) {
        t.row({Qor::valueToStrep(e.macVlanPair.vlanId()), macName(e.macVlanPair.macAddr()),
               scenario.tunnelName(e.config.tunnelId()), Qor::valueToStrep(e.config.label()),
               hwTunnelIdText(e.config.hwTunnelId()), hex(e.config.hwIdForTunnelProgramming()),
               statusText(e.status)});
      }
      t.print(os, "Flood-set hardware configuration", omitted);
      break;
    }
    case Table::sysLog: {
      TextTable t({"#", "message"});
      for (size_t i = 0; i < state.sysLog.size(); ++i) t.row({std::to_string(i + 1), state.sysLog[i]});
      t.print(os, "System log", omitted);
      break;
    }
    // ESI filtering at decapsulation.
    case Table::esiPortMaps: {
      TextTable t({"interface", "ESI label"});
      for (auto const& m : state.esiPortMaps) t.row({m.intfId.name(), Qor::valueToStrep(m.label)});
      t.print(os, "ESI port maps (decapsulation filter)", omitted);
      break;
    }
    case Table::lagMembers: {
      TextTable t({"LAG", "member ports"});
      for (auto const& l : state.lagMembers) t.row({l.lag.name(), intfNames(l.ports)});
      t.print(os, "LAG members", omitted);
      break;
    }
    case Table::evpnVlanMembers: {
      TextTable t({"VLAN", "EVPN member interfaces"});
      for (auto const& v : state.vlanMembers) t.row({std::to_string(v.vlan.value()), intfNames(v.intfs)});
      t.print(os, "EVPN VLAN members", omitted);
      break;
    }
    case Table::esiData: {
      TextTable t(
          {"port", "VLAN", "PE", "access intf", "hw tunnel ID", "remote ESI label", "local ESI label"});
      for (auto const& x : state.esiData) {
        t.row({x.port.name(), std::to_string(x.vlan.value()), scenario.tunnelName(x.tunnelId),
               x.parentIntf.name(), poolName(x.hwTunnelId.type()) + "/" + std::to_string(x.hwTunnelId.id()),
               Qor::valueToStrep(x.remoteEsiLabel), Qor::valueToStrep(x.localEsiLabel)});
      }
      t.print(os, "ESI data", omitted);
      break;
    }
    case Table::unprogrammedRoutes: {
      TextTable t({"top label", "code", "reason"});
      for (auto const& r : state.unprogrammedRoutes) {
        Qor::String const reason =
            r.returnCode < Qor::EnumTraits<Mpls::LfibHwProgrammingReturnCode>::names.size()
                ? Qor::String(Qor::enumName(Mpls::LfibHwProgrammingReturnCode(r.returnCode)))
                : "";
        t.row({Qor::valueToStrep(r.topLabel), std::to_string(r.returnCode), reason});
      }
      t.print(os, "Unprogrammed LFIB routes", omitted);
      break;
    }
    // Ethernet segment tracking per remote TEP.
    case Table::tepSegments: {
      TextTable t({"TEP", "segments"});
      for (auto const& r : state.tepSegments) {
        Qor::String segments;
        for (auto const& intf : r.segments) segments += (segments.empty() ? "" : ", ") + intf.name();
        t.row({r.tepAddr.toString(), segments});
      }
      t.print(os, "Segments per remote TEP", omitted);
      break;
    }
    case Table::hosts: {
      TextTable t({"VLAN", "MAC", "first object", "FEC ID", "hw FEC ID"});
      for (auto const& h : state.hosts) {
        t.row({Qor::valueToStrep(h.macVlan.vlanId()), macName(h.macVlan.macAddr()),
               scenario.objectName(h.first), hostFecId(h.fecId),
               hwFecIdText(h.fecId.valid(), h.answered, h.hwFecId)});
      }
      t.print(os, "Hosts", omitted);
      break;
    }
    case Table::hostFecs: {
      TextTable t({"object", "FEC ID", "vias", "label", "hw FEC ID"});
      for (auto const& f : state.hostFecs) {
        Ostra::MplsLabel const label =
            f.vias.empty() ? Ostra::MplsLabel::none() : f.vias.front().labelAndAction().label();
        t.row({scenario.objectName(f.object), hostFecId(f.fecId), joinedText(viaTargets(f, state, scenario)),
               label.isNone() ? "-" : "push " + Qor::valueToStrep(label),
               hwFecIdText(true, f.answered, f.hwFecId)});
      }
      t.print(os, "Host FEC requests", omitted);
      break;
    }
    // Access side: dot1q mappings and flood filters.
    case Table::vlans: {
      TextTable t({"VLAN", "dot1q"});
      for (auto const& v : state.vlans) t.row({Qor::valueToStrep(v.vlan), dot1qName(v.dot1q)});
      t.print(os, "VLANs", omitted);
      break;
    }
    case Table::dot1qMappings: {
      TextTable t({"VLAN", "port", "interface", "dot1q"});
      for (auto const& m : state.dot1qMappings)
        t.row({Qor::valueToStrep(m.vlan), m.port.name(), m.parent.name(), dot1qName(m.dot1q)});
      t.print(os, "VLAN-to-dot1q mappings", omitted);
      break;
    }
    case Table::nonDfPorts: {
      TextTable t({"VLAN", "port", "interface"});
      for (auto const& p : state.nonDfPorts)
        t.row({Qor::valueToStrep(p.vlan), p.port.name(), p.parent.name()});
      t.print(os, "Non-DF ports (flooding filtered)", omitted);
      break;
    }
    case Table::summary:
      break;  // the machines' counters: the runner prints them from the switch
  }
}

void printJson(std::ostream& os, Sim::HardwareState const& state, Scenario const& scenario,
               std::vector<std::pair<Qor::String, Qor::String>> const& extra) {
  os << "{\n  \"time\": " << state.time << ",\n  \"tunnels\": [";
  char const* sep = "";
  for (auto const& r : state.tunnels) {
    os << sep << "\n    {\"pe\": " << jsonString(scenario.tunnelName(r.tunnelId))
       << ", \"tunnelId\": " << r.tunnelId.value()
       << ", \"pool\": " << jsonString(poolName(r.hwTunnelId.type()))
       << ", \"hwTunnelId\": " << r.hwTunnelId.id() << "}";
    sep = ",";
  }
  os << "\n  ],\n  \"pools\": [";
  sep = "";
  for (auto const& p : state.pools) {
    os << sep << "\n    {\"pool\": " << jsonString(poolName(p.type)) << ", \"size\": " << p.size
       << ", \"inUse\": " << p.inUse << "}";
    sep = ",";
  }
  os << "\n  ],\n  \"fecs\": [";
  sep = "";
  for (auto const& f : state.fecs) {
    os << sep << "\n    {\"fecId\": " << f.fecId.value()
       << ", \"pe\": " << jsonString(scenario.tunnelName(f.tunnelId)) << ", \"label\": " << f.label.value()
       << ", \"answered\": " << (f.answered ? "true" : "false") << ", \"hwFecId\": " << f.hwFecId << "}";
    sep = ",";
  }
  os << "\n  ],\n  \"floodSets\": [";
  sep = "";
  for (auto const& e : state.floodSets) {
    os << sep << "\n    {\"vlan\": " << e.macVlanPair.vlanId().value()
       << ", \"mac\": " << jsonString(macName(e.macVlanPair.macAddr()))
       << ", \"pe\": " << jsonString(scenario.tunnelName(e.config.tunnelId()))
       << ", \"label\": " << e.config.label().value()
       << ", \"pool\": " << jsonString(poolName(e.config.hwTunnelId().type()))
       << ", \"hwTunnelId\": " << e.config.hwTunnelId().id()
       << ", \"hwId\": " << e.config.hwIdForTunnelProgramming()
       << ", \"status\": " << jsonString(status(e.status)) << "}";
    sep = ",";
  }
  os << "\n  ],\n  \"waitingTunnels\": [";
  sep = "";
  for (auto const& tunnelId : state.waitingTunnels) {
    os << sep << jsonString(scenario.tunnelName(tunnelId));
    sep = ", ";
  }
  os << "],\n  \"sysLog\": [";
  sep = "";
  for (auto const& m : state.sysLog) {
    os << sep << jsonString(m);
    sep = ", ";
  }
  // ESI filtering at decapsulation.
  os << "],\n  \"esiPortMaps\": [";
  sep = "";
  for (auto const& m : state.esiPortMaps) {
    os << sep << "\n    {\"intf\": " << jsonString(m.intfId.name()) << ", \"label\": " << m.label.value()
       << "}";
    sep = ",";
  }
  os << "\n  ],\n  \"unprogrammedRoutes\": [";
  sep = "";
  for (auto const& r : state.unprogrammedRoutes) {
    os << sep << "\n    {\"topLabel\": " << r.topLabel.value() << ", \"returnCode\": " << r.returnCode << "}";
    sep = ",";
  }
  // Access side.
  os << "\n  ],\n  \"lagMembers\": [";
  sep = "";
  for (auto const& l : state.lagMembers) {
    os << sep << "\n    {\"lag\": " << jsonString(l.lag.name()) << ", \"ports\": [";
    for (size_t i = 0; i < l.ports.size(); ++i) os << (i ? ", " : "") << jsonString(l.ports[i].name());
    os << "]}";
    sep = ",";
  }
  os << "\n  ],\n  \"evpnVlanMembers\": [";
  sep = "";
  for (auto const& v : state.vlanMembers) {
    os << sep << "\n    {\"vlan\": " << v.vlan.value() << ", \"intfs\": [";
    for (size_t i = 0; i < v.intfs.size(); ++i) os << (i ? ", " : "") << jsonString(v.intfs[i].name());
    os << "]}";
    sep = ",";
  }
  os << "\n  ],\n  \"esiData\": [";
  sep = "";
  for (auto const& x : state.esiData) {
    os << sep << "\n    {\"port\": " << jsonString(x.port.name()) << ", \"vlan\": " << x.vlan.value()
       << ", \"pe\": " << jsonString(scenario.tunnelName(x.tunnelId))
       << ", \"intf\": " << jsonString(x.parentIntf.name())
       << ", \"pool\": " << jsonString(poolName(x.hwTunnelId.type()))
       << ", \"hwTunnelId\": " << x.hwTunnelId.id() << ", \"remoteEsiLabel\": " << x.remoteEsiLabel.value()
       << ", \"localEsiLabel\": " << x.localEsiLabel.value() << "}";
    sep = ",";
  }
  // Ethernet segment tracking per remote TEP.
  os << "\n  ],\n  \"tepSegments\": [";
  sep = "";
  for (auto const& t : state.tepSegments) {
    os << sep << "\n    {\"tep\": " << jsonString(t.tepAddr.toString()) << ", \"segments\": [";
    for (size_t i = 0; i < t.segments.size(); ++i) os << (i ? ", " : "") << jsonString(t.segments[i].name());
    os << "]}";
    sep = ",";
  }
  os << "\n  ],\n  \"hosts\": [";
  sep = "";
  for (auto const& h : state.hosts) {
    os << sep << "\n    {\"vlan\": " << h.macVlan.vlanId().value()
       << ", \"mac\": " << jsonString(macName(h.macVlan.macAddr()))
       << ", \"first\": " << jsonString(scenario.objectName(h.first)) << ", \"fecId\": " << h.fecId.value()
       << ", \"answered\": " << (h.answered ? "true" : "false") << ", \"hwFecId\": " << h.hwFecId << "}";
    sep = ",";
  }
  os << "\n  ],\n  \"hostFecs\": [";
  sep = "";
  for (auto const& f : state.hostFecs) {
    os << sep << "\n    {\"object\": " << jsonString(scenario.objectName(f.object))
       << ", \"fecId\": " << f.fecId.value() << ", \"vias\": [";
    char const* viaSep = "";
    for (auto const& target : viaTargets(f, state, scenario)) {
      os << viaSep << jsonString(target);
      viaSep = ", ";
    }
    os << "], \"answered\": " << (f.answered ? "true" : "false") << ", \"hwFecId\": " << f.hwFecId << "}";
    sep = ",";
  }
  os << "\n  ],\n  \"vlans\": [";
  sep = "";
  for (auto const& v : state.vlans) {
    os << sep << "\n    {\"vlan\": " << v.vlan.value() << ", \"dot1q\": " << v.dot1q.value() << "}";
    sep = ",";
  }
  os << "\n  ],\n  \"dot1qMappings\": [";
  sep = "";
  for (auto const& m : state.dot1qMappings) {
    os << sep << "\n    {\"vlan\": " << m.vlan.value() << ", \"port\": " << jsonString(m.port.name())
       << ", \"intf\": " << jsonString(m.parent.name()) << ", \"dot1q\": " << m.dot1q.value() << "}";
    sep = ",";
  }
  os << "\n  ],\n  \"nonDfPorts\": [";
  sep = "";
  for (auto const& p : state.nonDfPorts) {
    os << sep << "\n    {\"vlan\": " << p.vlan.value() << ", \"port\": " << jsonString(p.port.name())
       << ", \"intf\": " << jsonString(p.parent.name()) << "}";
    sep = ",";
  }
  os << "\n  ]";
  for (auto const& [name, json] : extra) os << ",\n  " << jsonString(name) << ": " << json;
  os << "\n}\n";
}

}  // namespace SimTool
