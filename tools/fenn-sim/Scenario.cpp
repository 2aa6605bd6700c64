#include "Scenario.h"

#include <yaml-cpp/exceptions.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>

#include "Document.h"
#include "Qor/SysLog.h"

namespace SimTool {

// Line 0 is the whole file (missing, unreadable, empty): "file: what".
ScenarioError::ScenarioError(Location const& at, Qor::String const& what)
    : std::runtime_error(at.line == 0 ? at.file + ": " + what
                                      : at.file + ":" + std::to_string(at.line) + ":" +
                                            std::to_string(at.column) + ": " + what) {}

Qor::String Scenario::tunnelName(Tunnel::TunnelTable::TunnelId tunnelId) const {
  auto const it = names.find(tunnelId);
  return it != names.end() ? it->second : Qor::valueToStrep(tunnelId);
}

Qor::String joinedNames(std::vector<Qor::String> const& names) {
  Qor::String out = "[";
  for (size_t i = 0; i < names.size(); ++i) out += (i ? ", " : "") + names[i];
  return out + "]";
}

Qor::String intfNames(std::vector<Ostra::IntfId> const& intfs) {
  std::vector<Qor::String> names;
  for (auto const& i : intfs) names.push_back(i.name());
  return joinedNames(names);
}

Qor::String Scenario::objectName(L2Rib::ObjTuple const& object) const {
  for (auto const& [name, tuple] : chainObjects) {
    if (tuple == object) return name;
  }
  return Qor::valueToStrep(object);
}

Qor::String dot1qName(Bridging::VlanIdOrNone dot1q) {
  return dot1q.isNone() ? Qor::String("none") : Qor::valueToStrep(dot1q);
}

namespace {

constexpr double maxSeconds = maxSimulatedSeconds;
constexpr char const* maxSecondsText = "1e9";

// Reads one scenario file; every error names the node where it was found.
class Reader {
 public:
  explicit Reader(Qor::String file) : file_(std::move(file)) {}
  // Reads pieces of text that name the PEs and objects of `names`.
  Reader(Qor::String file, Scenario const& names) : file_(std::move(file)) {
    scenario_.tunnels = names.tunnels;
    scenario_.names = names.names;
    scenario_.chainObjects = names.chainObjects;
  }

  Location at(Yaml::Node const& n) const {
    Yaml::Position const m = n.Mark();
    return {file_, m.line + 1, m.column + 1};
  }
  [[noreturn]] void fail(Yaml::Node const& n, Qor::String const& what) const {
    throw ScenarioError(at(n), what);
  }

  // A mapping whose keys must all be in `allowed`; `required` keys must be present.
  void checkMap(Yaml::Node const& n, Qor::String const& what, std::set<Qor::String> const& allowed,
                std::set<Qor::String> const& required = {}) const {
    if (!n.IsMap()) fail(n, what + " must be a mapping");
    for (auto const& kv : n) {
      auto const key = kv.first.as<Qor::String>();
      if (!allowed.count(key)) {
        Qor::String list;
        for (auto const& a : allowed) list += (list.empty() ? "" : ", ") + a;
        fail(kv.first, "unknown key '" + key + "' in " + what + " (expected one of: " + list + ")");
      }
    }
    for (auto const& r : required) {
      if (!n[r]) fail(n, what + " needs '" + r + "'");
    }
  }

  Qor::String text(Yaml::Node const& n, Qor::String const& what) const {
    if (!n.IsScalar()) fail(n, what + " must be a scalar");
    return n.Scalar();
  }
  uint64_t number(Yaml::Node const& n, Qor::String const& what, uint64_t max) const {
    Qor::String const s = text(n, what);
    try {
      Qor::Parser p(s);
      uint64_t const v = p.parseUnsigned(max);
      p.expectEnd();
      return v;
    } catch (Qor::ParseError const&) {
      fail(n, "bad " + what + " '" + s + "' (expected a whole number up to " + std::to_string(max) + ")");
    }
  }
  // A finite number of seconds from 0 to maxSeconds: the number reader also accepts inf
  // and nan, and a clock moved by either never reaches its next task.
  double seconds(Yaml::Node const& n, Qor::String const& what) const {
    Qor::String const s = text(n, what);
    double v = -1;
    try {
      Qor::Parser p(s);
      v = p.parseDouble();
      p.expectEnd();
    } catch (Qor::ParseError const&) {
      v = -1;
    }
    if (!std::isfinite(v) || v < 0 || v > maxSeconds)
      fail(n, "bad " + what + " '" + s + "' (expected seconds, from 0 to " + maxSecondsText + ")");
    return v;
  }
  double fraction(Yaml::Node const& n) const {
    double const v = seconds(n, "failFraction");
    if (v > 1) fail(n, "bad failFraction (expected 0 to 1)");
    return v;
  }
  bool boolean(Yaml::Node const& n, Qor::String const& what) const {
    Qor::String const s = text(n, what);
    if (s == "true") return true;
    if (s == "false") return false;
    fail(n, "bad " + what + " '" + s + "' (expected true or false)");
  }
  Bridging::VlanId vlan(Yaml::Node const& n) const { return vlanFrom(text(n, "vlan"), n); }
  Bridging::VlanId vlanFrom(Qor::String const& s, Yaml::Node const& where) const {
    uint64_t v = 0;
    try {
      Qor::Parser p(s);
      v = p.parseUnsigned();
      p.expectEnd();
    } catch (Qor::ParseError const&) {
      fail(where, "bad VLAN '" + s + "' (expected 1 to 4094)");
    }
    if (v < 1 || v > 4094) fail(where, "bad VLAN " + s + " (expected 1 to 4094)");
    return Bridging::VlanId(v);
  }
  Ostra::EthAddr mac(Yaml::Node const& n) const { return macFrom(text(n, "mac"), n); }
  Ostra::EthAddr macFrom(Qor::String const& s, Yaml::Node const& where) const {
    if (s == "broadcast") return Ostra::EthAddr::broadcast();
    try {
      return Ostra::EthAddr(s);
    } catch (std::exception const&) {
      fail(where, "bad MAC '" + s + "' (expected broadcast or six hex pairs like 01:00:5e:00:00:01)");
    }
  }
  Ostra::MplsLabel label(Yaml::Node const& n) const {
    return Ostra::MplsLabel(number(n, "MPLS label", (1u << 20) - 1));
  }
  Ostra::IntfId intf(Yaml::Node const& n) const {
    Qor::String const s = text(n, "interface");
    try {
      Ostra::IntfId const id(s);
      if (id.empty()) throw std::invalid_argument("empty");
      return id;
    } catch (std::exception const&) {
      fail(n, "bad interface '" + s + "' (expected a name like Ethernet1, Ethernet3/1 or Port-Channel10)");
    }
  }
  Tunnel::TunnelTable::TunnelId tunnel(Yaml::Node const& n) const { return tunnelFrom(text(n, "tunnel"), n); }
  Fenn::HwTunnelIdType pool(Yaml::Node const& n) const {
    Qor::String const s = text(n, "pool");
    if (s == "default") return Fenn::hwTunnelIdTypeDefault;
    if (s == "sharedEs") return Fenn::hwTunnelIdTypeSharedEs;
    fail(n, "bad pool '" + s + "' (expected default or sharedEs)");
  }

  void hardware(Yaml::Node const& n, HardwareStep& h) const {
    checkMap(n, "hardware",
             {"defaultHwTunnelIds", "sharedEsHwTunnelIds", "fecResponseDelay", "withholdFecResponses",
              "floodSetCapacity", "updateSupportedOnCreateEsiData", "floodSetProgrammingPaused",

              "hostFecChainLength"});
    if (n["floodSetProgrammingPaused"])
      h.floodSetProgrammingPaused = boolean(n["floodSetProgrammingPaused"], "floodSetProgrammingPaused");
    if (n["defaultHwTunnelIds"])
      h.defaultHwTunnelIds = number(n["defaultHwTunnelIds"], "pool size", 1u << 24);
    if (n["sharedEsHwTunnelIds"])
      h.sharedEsHwTunnelIds = number(n["sharedEsHwTunnelIds"], "pool size", 1u << 24);
    if (n["fecResponseDelay"]) h.fecResponseDelay = seconds(n["fecResponseDelay"], "fecResponseDelay");
    if (n["withholdFecResponses"])
      h.withholdFecResponses = boolean(n["withholdFecResponses"], "withholdFecResponses");
    if (n["floodSetCapacity"]) h.floodSetCapacity = number(n["floodSetCapacity"], "capacity", UINT32_MAX);
    if (n["updateSupportedOnCreateEsiData"])
      h.updateSupportedOnCreateEsiData =
          boolean(n["updateSupportedOnCreateEsiData"], "updateSupportedOnCreateEsiData");
    if (n["hostFecChainLength"]) {
      h.hostFecChainLength = uint32_t(number(n["hostFecChainLength"], "chain length", 3));
      if (*h.hostFecChainLength < 2) fail(n["hostFecChainLength"], "bad chain length (expected 2 or 3)");
    }
  }

  void tunnels(Yaml::Node const& n) {
    if (!n.IsMap()) fail(n, "tunnels must be a mapping of PE names");
    for (auto const& kv : n) {
      auto const name = kv.first.as<Qor::String>();
      Yaml::Node const& t = kv.second;
      checkMap(t, "tunnel '" + name + "'", {"type", "index", "address"}, {"index"});
      if (t["address"]) scenario_.tunnelAddresses.emplace(name, address(t["address"]));
      Tunnel::TunnelType type = Tunnel::tunnelTypeLdp;
      if (t["type"]) {
        try {
          type = Qor::enumFromName<Tunnel::TunnelType>(text(t["type"], "tunnel type"));
        } catch (Qor::EnumRangeError const&) {
          fail(t["type"],
               "bad tunnel type '" + t["type"].Scalar() + "' (expected a name like tunnelTypeLdp)");
        }
        if (type == Tunnel::tunnelTypeInvalid) fail(t["type"], "a tunnel cannot have the invalid type");
      }
      uint64_t const index = number(t["index"], "tunnel index", Tunnel::TunnelTable::TunnelId::indexMask);
      if (index == 0) fail(t["index"], "tunnel index 0 is not allowed");
      Tunnel::TunnelTable::TunnelId const tunnelId(type, index);
      // Output names a tunnel by its PE, so one tunnel has one name.
      auto const [it, added] = scenario_.names.emplace(tunnelId, name);
      if (!added) fail(kv.first, "PE '" + name + "' has the tunnel of PE '" + it->second + "'");
      scenario_.tunnels.emplace(name, tunnelId);
    }
  }

  L2Rib::Dest dest(Yaml::Node const& n, Qor::String const& what) const {
    int const kinds = !!n["mpls"] + !!n["intf"] + !!n["vxlan"];
    if (kinds != 1) fail(n, what + " needs exactly one destination: mpls, vxlan or intf");
    if (n["intf"]) return L2Rib::Dest::intf(intf(n["intf"]));
    if (n["vxlan"]) return vxlanDest(n["vxlan"]);
    Yaml::Node const& m = n["mpls"];
    checkMap(m, "mpls destination", {"tunnel", "label", "policy"}, {"tunnel", "label"});
    // Steered into an SR-TE policy: the destination carries the policy's interface.
    Ostra::IntfId const policy = m["policy"] ? srTePolicy(m["policy"]) : Ostra::IntfId();
    return L2Rib::Dest::mpls(tunnel(m["tunnel"]), label(m["label"]), policy);
  }
  Ostra::IntfId srTePolicy(Yaml::Node const& n) const {
    Tunnel::TunnelTable::TunnelId const policy = tunnel(n);
    if (policy.tunnelType() != Tunnel::tunnelTypeSrTePolicy) {
      fail(n, "'" + n.Scalar() + "' is not an SR-TE policy (declare it with type tunnelTypeSrTePolicy)");
    }
    return Ostra::IntfId::srTePolicy(policy);
  }
  L2Rib::Dest vxlanDest(Yaml::Node const& n) const {
    checkMap(n, "vxlan destination", {"vtep", "vni", "tunnel"}, {"vtep", "vni"});
    auto const vni = static_cast<uint32_t>(number(n["vni"], "VNI", (1u << 24) - 1));
    return L2Rib::Dest::vxlan(address(n["vtep"]), vni,
                              n["tunnel"] ? tunnel(n["tunnel"]) : Tunnel::TunnelTable::TunnelId());
  }

  Step destStep(Yaml::Node const& n, bool add) const {
    Qor::String const what = add ? "addDest" : "removeDest";
    checkMap(n, what, {"vlan", "mac", "mpls", "vxlan", "intf"}, {"vlan", "mac"});
    return DestStep{add, vlan(n["vlan"]), mac(n["mac"]), dest(n, what)};
  }

  Step segmentStep(Yaml::Node const& n) const {
    checkMap(n, "segment", {"intf", "peers", "sharedEsiLabel"}, {"intf"});
    SegmentStep s{intf(n["intf"]), {}, std::nullopt};
    if (Yaml::Node const& peers = n["peers"]) {
      if (!peers.IsMap()) fail(peers, "peers must map PE names to their ESI labels");
      for (auto const& kv : peers) {
        s.peers.emplace(Ostra::IntfId::dynamicTunnel(tunnel(kv.first)), label(kv.second));
      }
    }
    if (n["sharedEsiLabel"] && !n["sharedEsiLabel"].IsNull()) s.sharedEsiLabel = label(n["sharedEsiLabel"]);
    return s;
  }

  Step faultStep(Yaml::Node const& n) const {
    checkMap(n, "fault", {"target", "failNext", "failFraction", "seed", "clear"}, {"target"});
    FaultStep f;
    Qor::String const t = text(n["target"], "fault target");
    if (t == "hwTunnelIdAllocation") {
      f.target = Sim::FaultTarget::hwTunnelIdAllocation;
    } else if (t == "fecResponse") {
      f.target = Sim::FaultTarget::fecResponse;
    } else if (t == "floodSetProgramming") {
      f.target = Sim::FaultTarget::floodSetProgramming;
    } else if (t == "esiPortMapResourceFull") {
      f.target = Sim::FaultTarget::esiPortMapResourceFull;
    } else if (t == "esiPortMapTemporaryFailure") {
      f.target = Sim::FaultTarget::esiPortMapTemporaryFailure;
    } else if (t == "createEsiData") {
      f.target = Sim::FaultTarget::createEsiData;
    } else if (t == "hostFecResponse") {
      f.target = Sim::FaultTarget::hostFecResponse;
    } else if (t == "createVlan") {
      f.target = Sim::FaultTarget::createVlan;
    } else if (t == "createVlanToDot1qMapping") {
      f.target = Sim::FaultTarget::createVlanToDot1qMapping;
    } else if (t == "createNonDfPort") {
      f.target = Sim::FaultTarget::createNonDfPort;
    } else {
      fail(n["target"], "bad fault target '" + t +
                            "' (expected hwTunnelIdAllocation, fecResponse, floodSetProgramming, "
                            "esiPortMapResourceFull, esiPortMapTemporaryFailure, createEsiData, "
                            "hostFecResponse, createVlan, createVlanToDot1qMapping or createNonDfPort)");
    }
    if (n["failNext"]) f.failNext = uint32_t(number(n["failNext"], "failNext", UINT32_MAX));
    if (n["failFraction"]) f.failFraction = fraction(n["failFraction"]);
    if (n["seed"]) f.seed = number(n["seed"], "seed", UINT64_MAX);
    if (n["clear"]) f.clear = boolean(n["clear"], "clear");
    if (!f.clear && f.failNext == 0 && f.failFraction == 0)
      fail(n, "fault needs failNext, failFraction or clear");
    return f;
  }

  Step showStep(Yaml::Node const& n) const {
    static std::map<Qor::String, Table> const names = {{"tunnels", Table::tunnels},
                                                       {"pools", Table::pools},
                                                       {"fecs", Table::fecs},
                                                       {"floodSets", Table::floodSets},
                                                       {"sysLog", Table::sysLog},
                                                       {"esiPortMaps", Table::esiPortMaps},
                                                       {"unprogrammedRoutes", Table::unprogrammedRoutes},
                                                       {"lagMembers", Table::lagMembers},
                                                       {"evpnVlanMembers", Table::evpnVlanMembers},
                                                       {"esiData", Table::esiData},
                                                       {"tepSegments", Table::tepSegments},
                                                       {"hosts", Table::hosts},
                                                       {"hostFecs", Table::hostFecs},
                                                       {"vlans", Table::vlans},
                                                       {"dot1qMappings", Table::dot1qMappings},
                                                       {"nonDfPorts", Table::nonDfPorts},
                                                       {"summary", Table::summary}};
    ShowStep s;
    auto add = [&](Yaml::Node const& item) {
      Qor::String const t = text(item, "table");
      if (t == "all") {
        for (auto const& [name, table] : names) s.tables.push_back(table);
        return;
      }
      auto it = names.find(t);
      if (it == names.end())
        fail(item,
             "unknown table '" + t +
                 "' (expected tunnels, pools, fecs, floodSets, sysLog, esiPortMaps, unprogrammedRoutes, "
                 "lagMembers, evpnVlanMembers, esiData, tepSegments, hosts, hostFecs, vlans, dot1qMappings, "
                 "nonDfPorts, summary or "
                 "all)");
      s.tables.push_back(it->second);
    };
    if (n.IsSequence()) {
      for (auto const& item : n) add(item);
    } else {
      add(n);
    }
    return s;
  }

  Bridging::MacVlanPair floodSetKey(Yaml::Node const& n) const {
    // "10 broadcast" or "10 01:00:5e:00:00:01"
    Qor::String const s = text(n, "flood set");
    auto const blank = s.find(' ');
    if (blank == Qor::String::npos) fail(n, "a flood set is written '<vlan> <mac>', like '10 broadcast'");
    return Bridging::MacVlanPair(macFrom(s.substr(blank + 1), n), vlanFrom(s.substr(0, blank), n));
  }

  Step expectStep(Yaml::Node const& n) const {
    checkMap(n, "expect",
             {"tunnels",
              "tunnelCount",
              "floodSets",
              "floodSetEntries",
              "fecRequests",
              "fecAnswered",
              "pools",
              "refCounts",
              "fecs",
              "hwInfo",
              "waiting",
              "zombies",
              "notProgrammed",
              "sysLog",
              "esiPortMaps",
              "unprogrammedRoutes",
              "lagMembers",
              "evpnVlanMembers",
              "esiData",
              "esiEntries",
              "tepSegments",
              "hostFecRequests",
              "hostFecAnswered",
              "hosts",
              "hostFecs",
              "vlans",
              "vlanCount",
              "dot1qMappings",
              "dot1qMappingCount",
              "nonDfPorts",
              "nonDfPortCount"});
    ExpectStep e;
    using K = Expectation::Kind;
    if (Yaml::Node const& t = n["tunnels"]) {
      if (!t.IsMap()) fail(t, "expect tunnels must map PE names to default, sharedEs or none");
      for (auto const& kv : t) {
        Expectation x{K::tunnelPool, at(kv.first), kv.first.as<Qor::String>(), {}, {}, {}, 0};
        tunnel(kv.first);
        if (text(kv.second, "pool") != "none") x.pool = pool(kv.second);
        e.expectations.push_back(x);
      }
    }
    auto count = [&](char const* key, K kind) {
      if (Yaml::Node const& c = n[key])
        e.expectations.push_back({kind, at(c), key, {}, {}, {}, number(c, key, UINT64_MAX)});
    };
    count("tunnelCount", K::tunnelCount);
    count("floodSetEntries", K::floodSetEntries);
    count("fecRequests", K::fecRequests);
    count("fecAnswered", K::fecAnswered);
    if (Yaml::Node const& f = n["floodSets"]) {
      if (!f.IsMap()) fail(f, "expect floodSets must map '<vlan> <mac>' to a list of PE names");
      for (auto const& kv : f) {
        Expectation x{
            K::floodSet, at(kv.first), kv.first.as<Qor::String>(), {}, floodSetKey(kv.first), {}, 0};
        if (!kv.second.IsSequence()) fail(kv.second, "expected a list of PE names");
        for (auto const& pe : kv.second) {
          tunnel(pe);
          x.names.push_back(pe.Scalar());
        }
        std::sort(x.names.begin(), x.names.end());
        e.expectations.push_back(x);
      }
    }
    if (Yaml::Node const& p = n["pools"]) {
      if (!p.IsMap()) fail(p, "expect pools must map default or sharedEs to the IDs in use");
      for (auto const& kv : p) {
        e.expectations.push_back({K::poolInUse,
                                  at(kv.first),
                                  kv.first.as<Qor::String>(),
                                  pool(kv.first),
                                  {},
                                  {},
                                  number(kv.second, "IDs in use", UINT32_MAX)});
      }
    }
    if (Yaml::Node const& s = n["sysLog"]) {
      if (!s.IsSequence()) fail(s, "expect sysLog must be a list of message names, oldest first");
      Expectation x{K::sysLog, at(s), "sysLog", {}, {}, {}, 0};
      for (auto const& m : s) {
        Qor::String const name = text(m, "message name");
        if (!Qor::logMessage(name)) fail(m, "unknown system log message '" + name + "'");
        x.names.push_back(name);
      }
      e.expectations.push_back(x);
    }
    lfibExpectations(n, e);
    accessExpectations(n, e);
    libraryExpectations(n, e);
    hostChainExpectations(n, e);
    dot1qExpectations(n, e);
    return e;
  }

  // ---- Names in recorded scenarios ----
  // A recording names a tunnel by its tunnel ID's text form and a chain object by its table
  // and id ("label#7", "loadBalance#3", "chainDest#2"): both stand for themselves without a
  // declaration, and a declared PE name wins over a tunnel ID's text.
  static std::optional<Tunnel::TunnelTable::TunnelId> recordedTunnel(Qor::String const& s) {
    try {
      auto const tunnelId = Qor::strepToValue<Tunnel::TunnelTable::TunnelId>(s);
      if (tunnelId.tunnelType() != Tunnel::tunnelTypeInvalid && tunnelId.index() != 0) return tunnelId;
    } catch (std::exception const&) {
    }
    return std::nullopt;
  }
  static std::optional<L2Rib::ObjTuple> recordedObject(Qor::String const& s) {
    static std::pair<char const*, L2Rib::TableType> const tables[] = {
        {"label#", L2Rib::tableTypeLabel_},
        {"loadBalance#", L2Rib::tableTypeLoadBalance_},
        {"chainDest#", L2Rib::tableTypeDest_}};
    for (auto const& [prefix, type] : tables) {
      if (!s.starts_with(prefix)) continue;
      try {
        Qor::Parser p(std::string_view(s).substr(std::strlen(prefix)));  // a view of `s`, which outlives p
        auto const id = uint32_t(p.parseUnsigned(UINT32_MAX));
        p.expectEnd();
        return L2Rib::ObjTuple(type, id);
      } catch (Qor::ParseError const&) {
      }
    }
    return std::nullopt;
  }

  // Host FEC chains.

  // Every chain object is named by the step that writes it, anywhere in the file, so a
  // label may name a load balance written later.
  void declareChainObjects(Yaml::Node const& steps) {
    static std::map<Qor::String, L2Rib::TableType> const kinds = {
        {"label", L2Rib::tableTypeLabel_},
        {"loadBalance", L2Rib::tableTypeLoadBalance_},
        {"chainDest", L2Rib::tableTypeDest_}};
    std::map<L2Rib::TableType, uint32_t> count;
    for (auto const& step : steps) {
      if (!step.IsMap() || step.size() != 1) continue;
      Yaml::Node::Entry const entry = *step.begin();
      auto const kind = kinds.find(entry.first.as<Qor::String>());
      Yaml::Node const v = entry.second;
      if (kind == kinds.end() || !v.IsMap() || !v["name"]) continue;
      Qor::String const name = text(v["name"], "name");
      if (auto const object = recordedObject(name)) {
        if (object->tableType() != kind->second)
          fail(v["name"], "'" + name + "' names a " + Qor::String(Qor::enumName(object->tableType())));
        continue;
      }
      auto const [it, added] =
          scenario_.chainObjects.try_emplace(name, kind->second, count[kind->second] + 1);
      if (added) {
        ++count[kind->second];
      } else if (it->second.tableType() != kind->second) {
        fail(v["name"],
             "'" + name + "' already names a " + Qor::String(Qor::enumName(it->second.tableType())));
      }
    }
  }
  L2Rib::ObjTuple chainObject(Yaml::Node const& n) const {
    Qor::String const s = text(n, "chain object");
    if (auto const object = recordedObject(s)) return *object;
    auto it = scenario_.chainObjects.find(s);
    if (it == scenario_.chainObjects.end())
      fail(n, "unknown chain object '" + s + "' (name it in a label, loadBalance or chainDest step)");
    return it->second;
  }
  L2Rib::ObjTuple chainObjectOf(Yaml::Node const& n, L2Rib::TableType type) const {
    L2Rib::ObjTuple const object = chainObject(n);
    if (object.tableType() != type)
      fail(n, "'" + n.Scalar() + "' is not a " + Qor::String(Qor::enumName(type)));
    return object;
  }
  Bridging::MacVlanPair host(Yaml::Node const& n) const {
    return Bridging::MacVlanPair(mac(n["mac"]), vlan(n["vlan"]));
  }

  std::optional<Step> hostChainStep(Qor::String const& kind, Yaml::Node const& v) const {
    if (kind == "host" || kind == "removeHost") {
      bool const add = kind == "host";
      checkMap(v, kind,
               add ? std::set<Qor::String>{"vlan", "mac", "next"} : std::set<Qor::String>{"vlan", "mac"},
               add ? std::set<Qor::String>{"vlan", "mac", "next"} : std::set<Qor::String>{"vlan", "mac"});
      return HostStep{add, host(v), add ? chainObject(v["next"]) : L2Rib::ObjTuple()};
    }
    if (kind == "label") {
      checkMap(v, kind, {"name", "label", "next"}, {"name", "label", "next"});
      return ChainObjectStep{true, chainObject(v["name"]), label(v["label"]), {chainObject(v["next"])}, {}};
    }
    if (kind == "loadBalance") {
      checkMap(v, kind, {"name", "next"}, {"name", "next"});
      Yaml::Node const& next = v["next"];
      if (!next.IsSequence() || next.size() > 16)
        fail(next, "a load balance's next is a list of up to 16 objects");
      ChainObjectStep s{true, chainObject(v["name"]), {}, {}, {}};
      for (auto const& n : next) s.next.push_back(chainObject(n));
      return s;
    }
    if (kind == "chainDest") {
      checkMap(v, kind, {"name", "tunnel"}, {"name", "tunnel"});
      return ChainObjectStep{true, chainObject(v["name"]), {}, {}, tunnel(v["tunnel"])};
    }
    static std::map<Qor::String, L2Rib::TableType> const removals = {
        {"removeLabel", L2Rib::tableTypeLabel_},
        {"removeLoadBalance", L2Rib::tableTypeLoadBalance_},
        {"removeChainDest", L2Rib::tableTypeDest_}};
    if (auto const r = removals.find(kind); r != removals.end()) {
      return ChainObjectStep{false, chainObjectOf(v, r->second), {}, {}, {}};
    }
    if (kind == "toggle") {
      checkMap(v, kind, {"FennEvpnVxlan4WayL2Ecmp"}, {"FennEvpnVxlan4WayL2Ecmp"});
      return ToggleStep{boolean(v["FennEvpnVxlan4WayL2Ecmp"], "FennEvpnVxlan4WayL2Ecmp")};
    }
    return std::nullopt;
  }

  void hostChainExpectations(Yaml::Node const& n, ExpectStep& e) const {
    using K = Expectation::Kind;
    for (auto const& [key, kind] : {std::pair("hostFecRequests", K::hostFecRequests),
                                    std::pair("hostFecAnswered", K::hostFecAnswered)}) {
      if (Yaml::Node const& c = n[key]) {
        Expectation x{kind, at(c), key, {}, {}, {}, number(c, key, UINT64_MAX)};
        e.expectations.push_back(x);
      }
    }
    if (Yaml::Node const& h = n["hosts"]) {
      if (!h.IsMap()) fail(h, "expect hosts must map '<vlan> <mac>' to an object, as show hosts prints it");
      for (auto const& kv : h) {
        Expectation x{K::host, at(kv.first), kv.first.as<Qor::String>(), {}, floodSetKey(kv.first), {}, 0};
        x.names.push_back(text(kv.second, "host's object"));
        e.expectations.push_back(x);
      }
    }
    if (Yaml::Node const& f = n["hostFecs"]) {
      if (!f.IsMap()) fail(f, "expect hostFecs must map objects to where their vias lead, or none");
      for (auto const& kv : f) {
        Expectation x{K::hostFec, at(kv.first), kv.first.as<Qor::String>(), {}, {}, {}, 0};
        chainObject(kv.first);
        if (kv.second.IsSequence()) {
          for (auto const& via : kv.second) x.names.push_back(text(via, "via"));
        } else if (text(kv.second, "vias") != "none") {
          fail(kv.second, "expected a list of PEs and objects, or none");
        }
        e.expectations.push_back(x);
      }
    }
  }

  // The library's own state.
  static std::map<Qor::String, LibraryTable> const& libraryTableNames() {
    static std::map<Qor::String, LibraryTable> const names = {
        {"refCounts", LibraryTable::refCounts}, {"fecs", LibraryTable::fecs},
        {"hwInfo", LibraryTable::hwInfo},       {"waiting", LibraryTable::waiting},
        {"zombies", LibraryTable::zombies},     {"notProgrammed", LibraryTable::notProgrammed}};
    return names;
  }
  std::vector<LibraryTable> libraryTables(Yaml::Node const& n) const {
    std::vector<LibraryTable> tables;
    auto add = [&](Yaml::Node const& item) {
      Qor::String const t = text(item, "table");
      if (t == "all") {
        for (auto const& [name, table] : libraryTableNames()) tables.push_back(table);
        return;
      }
      auto const it = libraryTableNames().find(t);
      if (it == libraryTableNames().end())
        fail(item, "unknown table '" + t +
                       "' (expected refCounts, fecs, hwInfo, waiting, zombies, "
                       "notProgrammed or all)");
      tables.push_back(it->second);
    };
    if (n.IsSequence()) {
      for (auto const& item : n) add(item);
    } else {
      add(n);
    }
    return tables;
  }
  // "pe1 1001": a PE and the label of a via.
  Qor::String viaKey(Yaml::Node const& n) const {
    Qor::String const s = text(n, "via");
    auto const blank = s.find(' ');
    if (blank == Qor::String::npos) fail(n, "a via is written '<PE> <label>', like 'pe1 1001'");
    tunnelFrom(s.substr(0, blank), n);
    Qor::String const labelText = s.substr(blank + 1);
    uint64_t label = 0;
    try {
      Qor::Parser p(labelText);
      label = p.parseUnsigned((1u << 20) - 1);
      p.expectEnd();
    } catch (Qor::ParseError const&) {
      fail(n, "bad MPLS label '" + labelText + "'");
    }
    return s.substr(0, blank) + " " + std::to_string(label);
  }
  Tunnel::TunnelTable::TunnelId tunnelFrom(Qor::String const& s, Yaml::Node const& where) const {
    auto it = scenario_.tunnels.find(s);
    if (it != scenario_.tunnels.end()) return it->second;
    if (auto const tunnelId = recordedTunnel(s)) return *tunnelId;
    fail(where, "unknown tunnel '" + s + "' (declare it under 'tunnels')");
  }
  void libraryExpectations(Yaml::Node const& n, ExpectStep& e) const {
    auto expect = [&](Yaml::Node const& at_, LibraryTable table, std::vector<Qor::String> rows) {
      std::sort(rows.begin(), rows.end());
      Expectation x{Expectation::Kind::library, at(at_), {}, {}, {}, std::move(rows), 0, table};
      for (auto const& [name, t] : libraryTableNames())
        if (t == table) x.name = name;
      e.expectations.push_back(std::move(x));
    };
    auto mapOf = [&](char const* key, Qor::String const& shape) -> Yaml::Node {
      Yaml::Node const m = n[key];
      if (m && !m.IsMap()) fail(m, Qor::String("expect ") + key + " must map " + shape);
      return m;
    };
    auto peList = [&](char const* key) -> std::vector<Qor::String> {
      Yaml::Node const l = n[key];
      if (!l.IsSequence()) fail(l, Qor::String("expect ") + key + " must be a list of PE names");
      std::vector<Qor::String> names;
      for (auto const& pe : l) {
        tunnel(pe);
        names.push_back(pe.Scalar());
      }
      return names;
    };
    if (Yaml::Node const m = mapOf("refCounts", "PE names to their reference counts")) {
      std::vector<Qor::String> rows;
      for (auto const& kv : m) {
        tunnel(kv.first);
        uint64_t const count = number(kv.second, "reference count", UINT32_MAX);
        if (count) rows.push_back(kv.first.Scalar() + ": " + std::to_string(count));
      }
      expect(m, LibraryTable::refCounts, rows);
    }
    if (Yaml::Node const m = mapOf("fecs", "'<PE> <label>' to answered or waiting")) {
      std::vector<Qor::String> rows;
      for (auto const& kv : m) {
        Qor::String const state = text(kv.second, "FEC state");
        if (state != "answered" && state != "waiting") fail(kv.second, "expected answered or waiting");
        rows.push_back(viaKey(kv.first) + ": " + state);
      }
      expect(m, LibraryTable::fecs, rows);
    }
    if (Yaml::Node const m = mapOf("hwInfo", "'<PE> <label>' to the hardware ID")) {
      std::vector<Qor::String> rows;
      for (auto const& kv : m)
        rows.push_back(viaKey(kv.first) + ": " +
                       std::to_string(number(kv.second, "hardware ID", UINT64_MAX)));
      expect(m, LibraryTable::hwInfo, rows);
    }
    if (n["waiting"]) expect(n["waiting"], LibraryTable::waiting, peList("waiting"));
    if (n["zombies"]) expect(n["zombies"], LibraryTable::zombies, peList("zombies"));
    if (Yaml::Node const m = mapOf("notProgrammed", "'<vlan> <mac>' to a list of PE names")) {
      std::vector<Qor::String> rows;
      for (auto const& kv : m) {
        Bridging::MacVlanPair const pair = floodSetKey(kv.first);
        if (!kv.second.IsSequence()) fail(kv.second, "expected a list of PE names");
        std::vector<Qor::String> names;
        for (auto const& pe : kv.second) {
          tunnel(pe);
          names.push_back(pe.Scalar());
        }
        std::sort(names.begin(), names.end());
        if (!names.empty()) rows.push_back(floodSetText(pair) + ": " + joinedNames(names));
      }
      expect(m, LibraryTable::notProgrammed, rows);
    }
  }

  // ESI filtering at decapsulation.
  Mpls::RouteKey routeKey(Yaml::Node const& n) const { return Mpls::RouteKey(label(n)); }
  uint32_t index(Yaml::Node const& n, Qor::String const& what) const {
    return uint32_t(number(n, what + " index", UINT32_MAX));
  }
  Mpls::LfibViaKey filterViaKey(Yaml::Node const& n) const {
    return Mpls::LfibViaKey(Mpls::lfibViaTypeEvpnEthernetSegmentFilter, index(n, "filter via"));
  }

  Step lfibStep(Qor::String const& kind, Yaml::Node const& v) const {
    using K = LfibStep::Kind;
    LfibStep s{K::route, {}, {}, {}, {}};
    if (kind == "route") {
      checkMap(v, "route", {"label", "viaSet"}, {"label", "viaSet"});
      s.routeKey = routeKey(v["label"]);
      s.viaSetKey = Mpls::LfibViaSetKey(index(v["viaSet"], "via set"));
    } else if (kind == "removeRoute") {
      s = {K::routeDel, routeKey(v), {}, {}, {}};
    } else if (kind == "backlog") {
      s = {K::backlog, routeKey(v), {}, {}, {}};
    } else if (kind == "viaSet") {
      checkMap(v, "viaSet", {"index", "filterVia", "viaType", "via"}, {"index"});
      s.kind = K::viaSet;
      s.viaSetKey = Mpls::LfibViaSetKey(index(v["index"], "via set"));
      if (!!v["filterVia"] == (v["viaType"] || v["via"]))
        fail(v, "viaSet needs either filterVia, or viaType and via");
      if (v["filterVia"]) {
        s.viaKey = filterViaKey(v["filterVia"]);
      } else {
        if (!v["viaType"] || !v["via"]) fail(v, "viaSet needs both viaType and via");
        // lfibViaTypeInvalid is a via set without a via, as a recording writes one.
        Mpls::LfibViaType type = Mpls::lfibViaTypeInvalid;
        try {
          type = Qor::enumFromName<Mpls::LfibViaType>(text(v["viaType"], "via type"));
        } catch (Qor::EnumRangeError const&) {
          fail(v["viaType"], "bad via type '" + v["viaType"].Scalar() +
                                 "' (expected lfibViaTypeMpls, lfibViaTypeEvpnEthernetSegmentFilter, "
                                 "lfibViaTypeDrop or lfibViaTypeInvalid)");
        }
        s.viaKey = Mpls::LfibViaKey(type, index(v["via"], "via"));
      }
    } else if (kind == "removeViaSet") {
      s = {K::viaSetDel, {}, Mpls::LfibViaSetKey(index(v, "via set")), {}, {}};
    } else if (kind == "filterVia") {
      checkMap(v, "filterVia", {"index", "intf"}, {"index", "intf"});
      s = {K::filterVia, {}, {}, filterViaKey(v["index"]), intf(v["intf"])};
    } else {
      s = {K::filterViaDel, {}, {}, filterViaKey(v), {}};
    }
    return s;
  }

  // An expectation of a whole table written as a mapping: every row "<left(key)>: <right(value)>",
  // sorted, compared with the state's rows rendered the same way.
  template <class Left, class Right>
  void tableExpectation(Yaml::Node const& n, char const* key, Expectation::Kind kind, Left left, Right right,
                        ExpectStep& e) const {
    Yaml::Node const& t = n[key];
    if (!t) return;
    if (!t.IsMap()) fail(t, Qor::String("expect ") + key + " must be a mapping (empty: {})");
    Expectation x{kind, at(t), key, {}, {}, {}, 0};
    for (auto const& kv : t) x.names.push_back(left(kv.first) + ": " + right(kv.second));
    std::sort(x.names.begin(), x.names.end());
    e.expectations.push_back(x);
  }

  void lfibExpectations(Yaml::Node const& n, ExpectStep& e) const {
    using K = Expectation::Kind;
    auto table = [&](char const* key, K kind, auto left, auto right) {
      tableExpectation(n, key, kind, left, right, e);
    };
    table(
        "esiPortMaps", K::esiPortMaps, [&](Yaml::Node const& k) { return intf(k).name(); },
        [&](Yaml::Node const& v) { return Qor::valueToStrep(label(v)); });
    table(
        "unprogrammedRoutes", K::unprogrammedRoutes,
        [&](Yaml::Node const& k) { return Qor::valueToStrep(label(k)); },
        [&](Yaml::Node const& v) { return std::to_string(number(v, "return code", UINT32_MAX)); });
    // Ethernet segment tracking per remote TEP.
    table(
        "tepSegments", K::tepSegments, [&](Yaml::Node const& k) { return address(k).toString(); },
        [&](Yaml::Node const& v) {
          if (!v.IsSequence()) fail(v, "expected a list of segment interfaces");
          std::vector<Ostra::IntfId> segments;
          for (auto const& i : v) segments.push_back(intf(i));
          std::sort(segments.begin(), segments.end());
          Qor::String out = "[";
          for (size_t i = 0; i < segments.size(); ++i) out += (i ? ", " : "") + segments[i].name();
          return out + "]";
        });
  }

  // Ethernet segment tracking per remote TEP.
  Ostra::IpGenAddr address(Yaml::Node const& n) const {
    Qor::String const s = text(n, "address");
    try {
      return Ostra::IpGenAddr(s);
    } catch (std::exception const&) {
      fail(n, "bad address '" + s + "' (expected an IPv4 or IPv6 address like 10.0.0.1 or 2001:db8::1)");
    }
  }

  Step tunnelEndpointStep(Yaml::Node const& v) const {
    checkMap(v, "tunnelEndpoint", {"tunnel", "address"}, {"tunnel", "address"});
    TunnelEndpointStep s{tunnel(v["tunnel"]), std::nullopt};
    if (!v["address"].IsNull()) s.addr = address(v["address"]);
    return s;
  }

  // ---- Access side ----
  std::vector<Ostra::IntfId> intfList(Yaml::Node const& n, Qor::String const& what) const {
    if (!n.IsSequence()) fail(n, what + " must be a list of interfaces (empty: [])");
    std::vector<Ostra::IntfId> out;
    for (auto const& i : n) out.push_back(intf(i));
    std::sort(out.begin(), out.end());
    if (std::adjacent_find(out.begin(), out.end()) != out.end()) fail(n, what + " names an interface twice");
    return out;
  }

  Step accessStep(Qor::String const& kind, Yaml::Node const& v) const {
    using K = AccessStep::Kind;
    AccessStep s{K::lag, {}, {}, {}, {}, {}, {}};
    if (kind == "lag") {
      checkMap(v, "lag", {"intf", "members"}, {"intf", "members"});
      s.intf = intf(v["intf"]);
      if (!s.intf.isLag()) fail(v["intf"], "a LAG is a Port-Channel interface");
      s.intfs = intfList(v["members"], "members");
      for (auto const& m : s.intfs) {
        if (!m.isEthernet()) fail(v["members"], "LAG members are Ethernet ports");
      }
    } else if (kind == "removeLag") {
      s = {K::lagDel, intf(v), {}, {}, {}, {}, {}};
    } else if (kind == "vlanConfig" || kind == "vlanStatus") {
      checkMap(v, kind, {"vlan", "intfs"}, {"vlan", "intfs"});
      s.kind = kind == "vlanConfig" ? K::vlanConfig : K::vlanStatus;
      s.vlan = vlan(v["vlan"]);
      s.intfs = intfList(v["intfs"], "intfs");
    } else if (kind == "removeVlanConfig" || kind == "removeVlanStatus") {
      s.kind = kind == "removeVlanConfig" ? K::vlanConfigDel : K::vlanStatusDel;
      s.vlan = vlan(v);
    } else if (kind == "encapBumFilter") {
      s.kind = K::encapBumFilter;
      s.intfs = intfList(v, "encapBumFilter");
    } else if (kind == "segmentVlans") {
      checkMap(v, "segmentVlans", {"intf", "vlans", "df"}, {"intf"});
      s.kind = K::segmentVlans;
      s.intf = intf(v["intf"]);
      if (Yaml::Node const& vlans = v["vlans"]) {
        if (!vlans.IsSequence()) fail(vlans, "vlans must be a list of VLANs");
        for (auto const& x : vlans) s.vlans.push_back(vlan(x));
      }
      if (Yaml::Node const& df = v["df"]) {
        if (!df.IsMap()) fail(df, "df must map VLANs to the PE that is their designated forwarder");
        for (auto const& kv : df) s.df[vlan(kv.first)] = Ostra::IntfId::dynamicTunnel(tunnel(kv.second));
      }
    } else {
      checkMap(v, "localEsiLabel", {"intf", "label"}, {"intf", "label"});
      s.kind = K::localEsiLabel;
      s.intf = intf(v["intf"]);
      if (!v["label"].IsNull()) s.label = label(v["label"]);
    }
    return s;
  }

  void accessExpectations(Yaml::Node const& n, ExpectStep& e) const {
    using K = Expectation::Kind;
    auto table = [&](char const* key, K kind, auto left, auto right) {
      tableExpectation(n, key, kind, left, right, e);
    };
    auto intfs = [&](Yaml::Node const& v) { return intfNames(intfList(v, "the interfaces")); };
    table(
        "lagMembers", K::lagMembers, [&](Yaml::Node const& k) { return intf(k).name(); }, intfs);
    table(
        "evpnVlanMembers", K::evpnVlanMembers,
        [&](Yaml::Node const& k) { return std::to_string(vlan(k).value()); }, intfs);
    table(
        "esiData", K::esiData,
        [&](Yaml::Node const& k) {
          // "Ethernet1 10"
          Qor::String const s = text(k, "port and VLAN");
          auto const blank = s.find(' ');
          if (blank == Qor::String::npos)
            fail(k, "an ESI data row is written '<port> <vlan>', like 'Ethernet1 10'");
          Ostra::IntfId port;
          try {
            port = Ostra::IntfId(s.substr(0, blank));
          } catch (std::exception const&) {
          }
          if (!port.isEthernet())
            fail(k, "bad port '" + s.substr(0, blank) + "' (expected an Ethernet port)");
          return port.name() + " " + std::to_string(vlanFrom(s.substr(blank + 1), k).value());
        },
        [&](Yaml::Node const& v) {
          if (!v.IsSequence()) fail(v, "expected a list of PE names");
          std::vector<Qor::String> pes;
          for (auto const& pe : v) {
            tunnel(pe);
            pes.push_back(pe.Scalar());
          }
          std::sort(pes.begin(), pes.end());
          return joinedNames(pes);
        });
    if (Yaml::Node const& c = n["esiEntries"])
      e.expectations.push_back(
          {K::esiEntries, at(c), "esiEntries", {}, {}, {}, number(c, "esiEntries", UINT64_MAX)});
  }

  // Access side: dot1q mappings and flood filters.
  Bridging::VlanIdOrNone dot1q(Yaml::Node const& n) const {
    if (n.IsScalar() && n.Scalar() == "none") return Bridging::VlanIdOrNone::none();
    return Bridging::VlanIdOrNone(vlan(n).value());
  }
  void dot1qExpectations(Yaml::Node const& n, ExpectStep& e) const {
    using K = Expectation::Kind;
    auto count = [&](char const* key, K kind) {
      if (Yaml::Node const& c = n[key]) {
        Expectation x{kind, at(c), key, {}, {}, {}, number(c, key, UINT64_MAX)};
        e.expectations.push_back(x);
      }
    };
    count("vlanCount", K::vlanCount);
    count("dot1qMappingCount", K::dot1qMappingCount);
    count("nonDfPortCount", K::nonDfPortCount);
    // Each maps a VLAN to what the hardware holds for it.
    auto perVlan = [&](char const* key, K kind, auto&& expected) {
      Yaml::Node const& m = n[key];
      if (!m) return;
      if (!m.IsMap()) fail(m, Qor::String("expect ") + key + " must map VLANs to what they hold");
      for (auto const& kv : m) {
        Expectation x{kind, at(kv.first), Qor::String(key) + " " + kv.first.Scalar(), {}, {}, {}, 0};
        x.vlan = vlan(kv.first);
        expected(kv.second, x);
        e.expectations.push_back(x);
      }
    };
    perVlan("vlans", K::vlanDot1q, [&](Yaml::Node const& v, Expectation& x) {
      x.names.push_back(v.IsScalar() && v.Scalar() == "absent" ? Qor::String("absent") : dot1qName(dot1q(v)));
    });
    perVlan("dot1qMappings", K::dot1qMappings, [&](Yaml::Node const& v, Expectation& x) {
      if (!v.IsMap()) fail(v, "expected a mapping of ports to their dot1q tag");
      for (auto const& pt : v) x.names.push_back(intf(pt.first).name() + "=" + dot1qName(dot1q(pt.second)));
      std::sort(x.names.begin(), x.names.end());
    });
    perVlan("nonDfPorts", K::nonDfPorts, [&](Yaml::Node const& v, Expectation& x) {
      for (auto const& port : intfList(v, "nonDfPorts")) x.names.push_back(port.name());
      std::sort(x.names.begin(), x.names.end());
    });
  }

  Step vlanToDot1qStep(Yaml::Node const& n) const {
    checkMap(n, "vlanToDot1q", {"vlan", "dot1q"}, {"vlan", "dot1q"});
    return VlanToDot1qStep{vlan(n["vlan"]), dot1q(n["dot1q"])};
  }
  Step mplsConfigStep(Yaml::Node const& n) const {
    checkMap(n, "mplsConfig", {"vlanServiceDot1q"}, {"vlanServiceDot1q"});
    return MplsConfigStep{boolean(n["vlanServiceDot1q"], "vlanServiceDot1q")};
  }
  Step vlanFloodStatusStep(Yaml::Node const& n) const {
    checkMap(n, "vlanFloodStatus", {"vlan", "floodFilter"}, {"vlan"});
    std::vector<Ostra::IntfId> filter;
    if (n["floodFilter"]) filter = intfList(n["floodFilter"], "floodFilter");
    return VlanFloodStatusStep{vlan(n["vlan"]), filter};
  }

  // ---- Operator tools ----
  static constexpr char const* explainKinds = "dest, tunnel, esi, dot1q, floodFilter, host, object or route";
  // The key of one kind, as an explain step or --explain writes it.
  ExplainQuery explainQueryOf(Yaml::Node const& kindNode, Yaml::Node const& v) const {
    Qor::String const kind = kindNode.Scalar();
    ExplainQuery q;
    if (kind == "tunnel") {
      q.kind = ExplainQuery::Kind::tunnel;
      q.tunnel = tunnel(v);
    } else if (kind == "dest") {
      checkMap(v, "explain dest", {"vlan", "mac", "mpls", "vxlan", "intf"}, {"vlan", "mac"});
      q.vlan = vlan(v["vlan"]);
      q.mac = mac(v["mac"]);
      q.dest = dest(v, "explain dest");
    } else if (kind == "esi") {
      checkMap(v, "explain esi", {"intf", "vlan", "tunnel"}, {"intf", "vlan", "tunnel"});
      q.kind = ExplainQuery::Kind::esi;
      q.intf = intf(v["intf"]);
      q.vlan = vlan(v["vlan"]);
      q.tunnel = tunnel(v["tunnel"]);
    } else if (kind == "dot1q" || kind == "floodFilter") {
      checkMap(v, "explain " + kind, {"intf", "vlan"}, {"intf", "vlan"});
      q.kind = kind == "dot1q" ? ExplainQuery::Kind::dot1q : ExplainQuery::Kind::floodFilter;
      q.intf = intf(v["intf"]);
      q.vlan = vlan(v["vlan"]);
    } else if (kind == "host") {
      checkMap(v, "explain host", {"vlan", "mac"}, {"vlan", "mac"});
      q.kind = ExplainQuery::Kind::host;
      q.vlan = vlan(v["vlan"]);
      q.mac = mac(v["mac"]);
    } else if (kind == "object") {
      q.kind = ExplainQuery::Kind::object;
      q.object = chainObject(v);
    } else if (kind == "route") {
      q.kind = ExplainQuery::Kind::route;
      q.route = routeKey(v);
    } else {
      fail(kindNode, "unknown explain key '" + kind + "' (expected " + explainKinds + ")");
    }
    return q;
  }
  ExplainQuery explainQuery(Yaml::Node const& n) const {
    if (!n.IsMap() || n.size() != 1) fail(n, Qor::String("explain needs exactly one key: ") + explainKinds);
    auto const& kv = *n.begin();
    return explainQueryOf(kv.first, kv.second);
  }
  Step explainStep(Yaml::Node const& n) const {
    if (!n.IsMap()) fail(n, "explain must be a mapping");
    ExplainStep s;
    size_t keys = 0;
    for (auto const& kv : n) {
      if (kv.first.Scalar() != "state") {
        ++keys;
        s.query = explainQueryOf(kv.first, kv.second);
        continue;
      }
      static std::map<Qor::String, Fenn::ExplainStatus> const states = {
          {"programmed", Fenn::ExplainStatus::ok},
          {"missingInput", Fenn::ExplainStatus::missingInput},
          {"waitingForHardware", Fenn::ExplainStatus::waitingForHardware},
          {"failed", Fenn::ExplainStatus::failed}};
      Qor::String const t = text(kv.second, "state");
      auto const it = states.find(t);
      if (it == states.end())
        fail(kv.second,
             "bad state '" + t + "' (expected programmed, missingInput, waitingForHardware or failed)");
      s.state = it->second;
    }
    if (keys != 1)
      fail(n, Qor::String("explain needs exactly one key: ") + explainKinds + " (and may give its state)");
    return s;
  }

  Step step(Yaml::Node const& n) {
    if (!n.IsMap() || n.size() != 1) fail(n, "a step is a mapping with exactly one step kind");
    auto const& kv = *n.begin();
    auto const kind = kv.first.as<Qor::String>();
    Yaml::Node const& v = kv.second;
    if (kind == "say") return SayStep{text(v, "say")};
    if (kind == "addDest") return destStep(v, true);
    if (kind == "removeDest") return destStep(v, false);
    if (kind == "removeFloodSet") {
      checkMap(v, "removeFloodSet", {"vlan", "mac", "withDests"}, {"vlan", "mac"});
      return FloodSetDelStep{vlan(v["vlan"]), mac(v["mac"]),
                             v["withDests"] && boolean(v["withDests"], "withDests")};
    }
    if (kind == "segment") return segmentStep(v);
    if (kind == "removeSegment") return SegmentDelStep{intf(v)};
    if (kind == "fault") return faultStep(v);
    if (kind == "hardware") {
      HardwareStep h;
      hardware(v, h);
      if (h.hostFecChainLength) fail(v["hostFecChainLength"], "hostFecChainLength is a start-up setting");
      return h;
    }
    if (std::optional<Step> s = hostChainStep(kind, v)) return *s;
    // Access side: dot1q mappings and flood filters.
    if (kind == "vlanToDot1q") return vlanToDot1qStep(v);
    if (kind == "removeVlanToDot1q") return VlanToDot1qStep{vlan(v), std::nullopt};
    if (kind == "mplsConfig") return mplsConfigStep(v);
    if (kind == "vlanFloodStatus") return vlanFloodStatusStep(v);
    if (kind == "removeVlanFloodStatus") return VlanFloodStatusStep{vlan(v), std::nullopt};
    if (kind == "advance") {
      double const s = seconds(v, "advance");
      if (s > maxSeconds - elapsed_)
        fail(v, "advance " + v.Scalar() + " takes simulated time past " + maxSecondsText + " seconds");
      elapsed_ += s;
      return AdvanceStep{s};
    }
    if (kind == "show") return showStep(v);
    if (kind == "expect") return expectStep(v);
    static std::set<Qor::String> const lfibSteps = {"route",     "removeRoute",     "viaSet", "removeViaSet",
                                                    "filterVia", "removeFilterVia", "backlog"};
    if (lfibSteps.count(kind)) return lfibStep(kind, v);
    static std::set<Qor::String> const accessSteps = {
        "lag",          "removeLag",        "vlanConfig",     "removeVlanConfig",
        "vlanStatus",   "removeVlanStatus", "encapBumFilter", "segmentVlans",
        "localEsiLabel"};
    if (accessSteps.count(kind)) return accessStep(kind, v);
    if (kind == "tunnelEndpoint") return tunnelEndpointStep(v);
    if (kind == "explain") return explainStep(v);
    if (kind == "print") return PrintStep{libraryTables(v)};
    if (kind == "reinitialize") return ReinitializeStep{text(v, "state machine")};
    if (kind == "settle") {
      if (!v.IsNull()) fail(v, "settle takes no value (write '- settle:')");
      return SettleStep{};
    }
    if (kind == "restart") {
      if (!v.IsNull()) fail(v, "restart takes no value (write '- restart:')");
      return RestartStep{};
    }
    fail(kv.first,
         "unknown step '" + kind +
             "' (expected say, addDest, removeDest, removeFloodSet, segment, removeSegment, fault, "
             "hardware, advance, show, expect, route, removeRoute, viaSet, removeViaSet, filterVia, "
             "removeFilterVia, backlog, lag, removeLag, vlanConfig, removeVlanConfig, vlanStatus, "
             "removeVlanStatus, encapBumFilter, segmentVlans, localEsiLabel, tunnelEndpoint, print, "
             "reinitialize, host, removeHost, label, removeLabel, loadBalance, removeLoadBalance, "
             "chainDest, removeChainDest, toggle, vlanToDot1q, removeVlanToDot1q, mplsConfig, "
             "vlanFloodStatus, removeVlanFloodStatus, restart, explain or settle)");
  }

  // The parser keeps the first of two equal keys and drops the second without a word;
  // in a scenario that is always a mistake (two values for one PE, one setting written twice).
  void checkNoDuplicateKeys(Yaml::Node const& n) const {
    if (n.IsSequence()) {
      for (auto const& item : n) checkNoDuplicateKeys(item);
    } else if (n.IsMap()) {
      std::map<Qor::String, int> lines;
      for (auto const& kv : n) {
        if (kv.first.IsScalar()) {
          auto const [it, added] = lines.emplace(kv.first.Scalar(), at(kv.first).line);
          if (!added)
            fail(kv.first,
                 "duplicate key '" + it->first + "' (first at line " + std::to_string(it->second) + ")");
        }
        checkNoDuplicateKeys(kv.second);
      }
    }
  }

  std::unique_ptr<Yaml::Document> load(std::istream& in) const {
    std::unique_ptr<Yaml::Document> doc;
    try {
      doc = std::make_unique<Yaml::Document>(in);
    } catch (YAML::ParserException const& e) {
      throw ScenarioError({file_, e.mark.line + 1, e.mark.column + 1}, "bad YAML: " + e.msg);
    }
    Yaml::Node const root = doc->root();
    if (!root.IsDefined() || root.IsNull())
      throw ScenarioError({file_, 0, 0}, "the file is empty (a scenario needs at least 'steps')");
    checkNoDuplicateKeys(root);
    return doc;
  }

  Scenario read(std::istream& in) {
    std::unique_ptr<Yaml::Document> const doc = load(in);
    Yaml::Node const root = doc->root();
    scenario_.file = file_;
    checkMap(root, "a scenario", {"name", "story", "hardware", "tunnels", "steps", "settle"}, {"steps"});
    if (root["settle"]) {
      Qor::String const settle = text(root["settle"], "settle");
      if (settle != "explicit" && settle != "afterEachStep")
        fail(root["settle"], "bad settle '" + settle + "' (expected afterEachStep or explicit)");
      scenario_.settlesOnlyWhenAsked = settle == "explicit";
    }
    if (root["name"]) scenario_.name = text(root["name"], "name");
    if (root["story"]) scenario_.story = text(root["story"], "story");
    if (root["hardware"]) {
      HardwareStep h;
      hardware(root["hardware"], h);
      if (h.withholdFecResponses)
        fail(root["hardware"], "withholdFecResponses is a step, not a start-up setting");
      Sim::HardwareConfig& c = scenario_.hardware;
      c.hostFecChainLength = h.hostFecChainLength.value_or(c.hostFecChainLength);
      c.defaultHwTunnelIds = h.defaultHwTunnelIds.value_or(c.defaultHwTunnelIds);
      c.sharedEsHwTunnelIds = h.sharedEsHwTunnelIds.value_or(c.sharedEsHwTunnelIds);
      c.fecResponseDelay = h.fecResponseDelay.value_or(c.fecResponseDelay);
      c.floodSetCapacity = h.floodSetCapacity.value_or(c.floodSetCapacity);
      c.updateSupportedOnCreateEsiData =
          h.updateSupportedOnCreateEsiData.value_or(c.updateSupportedOnCreateEsiData);
    }
    if (root["tunnels"]) tunnels(root["tunnels"]);
    Yaml::Node const& steps = root["steps"];
    if (!steps.IsSequence()) fail(steps, "steps must be a list");
    declareChainObjects(steps);
    for (auto const& s : steps) scenario_.steps.emplace_back(at(s), step(s));
    return std::move(scenario_);
  }

 private:
  Qor::String file_;
  Scenario scenario_;
  double elapsed_ = 0;  // simulated seconds the advance steps so far add up to
};

}  // namespace

Scenario loadScenario(Qor::String const& file) {
  std::error_code ec;
  if (std::filesystem::is_directory(file, ec))
    throw ScenarioError({file, 0, 0}, "is a directory, not a scenario file");
  std::ifstream in(file);
  if (!in) throw ScenarioError({file, 0, 0}, Qor::String("cannot read the file: ") + std::strerror(errno));
  return loadScenario(file, in);
}

Scenario loadScenario(Qor::String const& file, std::istream& in) {
  try {
    return Reader(file).read(in);
  } catch (YAML::Exception const& e) {
    throw ScenarioError({file, e.mark.line + 1, e.mark.column + 1}, e.msg);
  }
}

ExplainQuery explainQuery(Scenario const& scenario, Qor::String const& where, Qor::String const& text) {
  std::istringstream in(text);
  try {
    Yaml::Document const doc(in);
    if (!doc.root().IsDefined()) throw ScenarioError({where, 0, 0}, "an empty key");
    return Reader(where, scenario).explainQuery(doc.root());
  } catch (YAML::Exception const& e) {
    throw ScenarioError({where, e.mark.line + 1, e.mark.column + 1}, "bad YAML: " + e.msg);
  }
}

Qor::String floodSetText(Bridging::MacVlanPair const& pair) {
  Ostra::EthAddr const mac = pair.macAddr();
  return std::to_string(pair.vlanId().value()) + " " +
         (mac == Ostra::EthAddr::broadcast() ? Qor::String("broadcast")
                                             : Qor::valueToStrep(mac).substr(1, 17));
}

}  // namespace SimTool
