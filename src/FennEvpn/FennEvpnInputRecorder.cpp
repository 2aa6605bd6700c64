#include "FennEvpn/FennEvpnInputRecorder.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string_view>

namespace Fenn {

namespace {
// Rotated files are `<path>.1` (the newest) to `<path>.<filesKept - 1>`.
Qor::String rotatedPath(Qor::String const& path, uint32_t n) { return path + "." + std::to_string(n); }

template <class Keys>
auto sortedKeys(Keys const& keys) {
  auto out = keys.keys();
  std::sort(out.begin(), out.end());
  return out;
}
}  // namespace

EvpnInputRecorder::EvpnInputRecorder(RecordedInputs inputs, Qor::Ptr<Keel::TaskScheduler const> scheduler,
                                     RecordingFiles files)
    : inputs_(std::move(inputs)),
      scheduler_(std::move(scheduler)),
      clock_(scheduler_->clock()),
      files_(std::move(files)) {
  files_.filesKept = std::max<uint32_t>(files_.filesKept, 1);
  open();
  auto watch = [&](Qor::Entity const* entity) {
    if (entity)
      inputWatches_.push_back(Qor::newReactor<Watch<int>>(entity, this, 0, &EvpnInputRecorder::onInput));
  };
  watch(inputs_.floodSetOutput.get());
  watch(inputs_.evpnStatus.get());
  watch(inputs_.lagConfigDir.get());
  watch(inputs_.bridgingConfig.get());
  watch(inputs_.vlanStatusDir.get());
  watch(inputs_.mplsConfig.get());
  watch(inputs_.lfibStatus.get());
  watch(inputs_.tunnelEndpointStatus.get());
  watch(inputs_.hostOutput.get());
  watch(inputs_.labelOutput.get());
  watch(inputs_.loadBalanceOutput.get());
  watch(inputs_.destOutput.get());
  watchChildren();
  snapshot();
}

// The entities below the inputs' collections, as they stand; later ones are watched as
// they appear.
void EvpnInputRecorder::watchChildren() {
  if (auto const& f = inputs_.floodSetOutput) {
    for (auto const& [vlan, vfs] : f->vlanFloodSet()) {
      vlanFloodSets_.add(vlan, vfs.get(), this, vlan, &EvpnInputRecorder::onVlanFloodSet);
      for (auto const& [mac, fs] : vfs->floodSet()) {
        Bridging::MacVlanPair const key(mac, vlan);
        floodSets_.add(key, fs.get(), this, key, &EvpnInputRecorder::onFloodSet);
      }
    }
  }
  if (auto const& s = inputs_.evpnStatus) {
    for (auto const& [intf, es] : s->ethernetSegmentStatus())
      segments_.add(intf, es.get(), this, intf, &EvpnInputRecorder::onSegment);
    for (auto const& [vlan, status] : s->evpnVlanFloodStatus())
      vlanFloodStatuses_.add(vlan, status.get(), this, vlan, &EvpnInputRecorder::onVlanFloodStatus);
  }
  if (auto const& c = inputs_.lagConfigDir)
    for (auto const& [lagId, info] : c->lagConfig())
      lags_.add(lagId, info.get(), this, lagId, &EvpnInputRecorder::onLag);
  if (auto const& c = inputs_.bridgingConfig)
    for (auto const& [vlan, config] : c->vlanConfig())
      vlanConfigs_.add(vlan, config.get(), this, vlan, &EvpnInputRecorder::onVlanConfig);
  if (auto const& d = inputs_.vlanStatusDir)
    for (auto const& [vlan, status] : d->vlanStatus())
      vlanStatuses_.add(vlan, status.get(), this, vlan, &EvpnInputRecorder::onVlanStatus);
}

EvpnInputRecorder::~EvpnInputRecorder() {
  flush();
  if (file_) std::fclose(file_);
}

// ---- Files ----

void EvpnInputRecorder::open() {
  file_ = std::fopen(files_.path.c_str(), "w");
  if (!file_)
    throw std::runtime_error("EvpnInputRecorder: cannot write " + files_.path + ": " + std::strerror(errno));
  replayedTime_ = clock_->now();
  taskRuns_ = scheduler_->taskRuns();
  out_.reserve(writeBufferBytes + 4096);
  out_ = "# The inputs of the EVPN library, recorded from clock time ";
  Qor::printValue(out_, replayedTime_);
  out_ += " on; replay with fenn-sim.\nname: recorded inputs\nsettle: explicit\nsteps:\n";
  // The file holds a snapshot even if nothing changes.
  out_ += "  - say: snapshot of the inputs\n";
  bytes_ = out_.size();
  stepStart_ = out_.size();
}

void EvpnInputRecorder::rotate() {
  drain();
  if (!file_) return;
  std::fclose(file_);
  file_ = nullptr;
  if (files_.filesKept == 1) {
    std::remove(files_.path.c_str());
  } else {
    for (uint32_t n = files_.filesKept - 1; n > 1; --n)
      std::rename(rotatedPath(files_.path, n - 1).c_str(), rotatedPath(files_.path, n).c_str());
    std::rename(files_.path.c_str(), rotatedPath(files_.path, 1).c_str());
  }
  ++rotations_;
  try {
    open();
  } catch (std::runtime_error const& e) {
    error_ = e.what();
    return;
  }
  snapshot();
}

// A snapshot larger than maxBytes would otherwise start a new file at every change.
void EvpnInputRecorder::snapshot() {
  uint64_t const start = bytes_;
  // No rotation while the snapshot is written: its size decides where the file rotates,
  // and a limit met inside it would rotate into another snapshot, without end.
  rotateAt_ = UINT64_MAX;
  hardware();
  if (auto const& t = inputs_.tunnelEndpointStatus)
    for (auto const& tunnelId : sortedKeys(t->tunnelEndpoint())) tunnelEndpoint(tunnelId);
  if (inputs_.mplsConfig && inputs_.mplsConfig->vlanServiceDot1qEnabled()) mplsConfig();
  if (auto const& c = inputs_.lagConfigDir)
    for (auto const& lagId : sortedKeys(c->lagConfig())) lag(lagId);
  if (auto const& c = inputs_.bridgingConfig)
    for (auto const& vlan : sortedKeys(c->vlanConfig())) vlanConfig(vlan);
  if (auto const& s = inputs_.vlanStatusDir)
    for (auto const& vlan : sortedKeys(s->vlanStatus())) vlanStatus(vlan);
  if (auto const& s = inputs_.evpnStatus) {
    if (!s->encapBumFilter().empty()) encapBumFilter();
    for (auto const& vlan : sortedKeys(s->vlanToDot1q())) vlanToDot1q(vlan);
    for (auto const& intf : sortedKeys(s->localEsiLabel())) localEsiLabel(intf);
    for (auto const& intf : sortedKeys(s->ethernetSegmentStatus())) {
      segment(intf);
      segmentVlans(intf);
    }
    for (auto const& vlan : sortedKeys(s->evpnVlanFloodStatus())) vlanFloodStatus(vlan);
  }
  if (auto const& l = inputs_.lfibStatus) {
    for (auto const& key : sortedKeys(l->evpnEthernetSegmentFilterVia())) filterVia(key);
    for (auto const& key : sortedKeys(l->viaSet())) viaSet(key);
    for (auto const& key : sortedKeys(l->route())) route(key);
  }
  if (auto const& d = inputs_.destOutput)
    for (auto const& id : sortedKeys(d->dest())) chainDest(id);
  if (auto const& l = inputs_.loadBalanceOutput)
    for (auto const& id : sortedKeys(l->loadBalance())) loadBalance(id);
  if (auto const& l = inputs_.labelOutput)
    for (auto const& id : sortedKeys(l->label())) label(id);
  if (auto const& h = inputs_.hostOutput)
    for (auto const& key : sortedKeys(h->host())) host(key);
  if (auto const& f = inputs_.floodSetOutput) {
    for (auto const& vlan : sortedKeys(f->vlanFloodSet())) {
      L2Rib::VlanFloodSet const* vfs = f->vlanFloodSet(vlan);
      for (auto const& mac : sortedKeys(vfs->floodSet())) {
        for (auto const& d : sortedKeys(vfs->floodSet(mac)->destSet()))
          dest(Bridging::MacVlanPair(mac, vlan), d, true);
      }
    }
  }
  flushFile();
  rotateAt_ = std::max(files_.maxBytes, 2 * (bytes_ - start));
}

// The time since the last change is written too: the replay ends where the agent stands,
// with the reviews and retries that fell due meanwhile.
void EvpnInputRecorder::flush() {
  if (file_) {
    stepStart_ = out_.size();
    timePassed();
    if (out_.size() > stepStart_) write();
  }
  flushFile();
}

// A recording that cannot be written stops; the agent goes on.
void EvpnInputRecorder::stop() {
  error_ = "EvpnInputRecorder: cannot write " + files_.path + ": " + std::strerror(errno);
  std::fclose(file_);
  file_ = nullptr;
  out_.clear();
  stepStart_ = 0;
}

// Hands the steps written so far to the file in one call.
void EvpnInputRecorder::drain() {
  if (file_ && std::fwrite(out_.data(), 1, out_.size(), file_) != out_.size()) return stop();
  out_.clear();
  stepStart_ = 0;
}

void EvpnInputRecorder::flushFile() {
  drain();
  if (file_ && std::fflush(file_) != 0) stop();
}

// ---- Steps ----

void EvpnInputRecorder::begin(char const* kind) {
  stepStart_ = out_.size();
  timePassed();
  out_ += "  - ";
  out_ += kind;
  out_ += ": ";
}

// The replay runs its scheduler at `advance` steps, and at `settle` steps where the agent's
// ran tasks between two changes: so the state machines' deferred work (reviews, retries)
// meets the same inputs in the replay as it did in the agent.
void EvpnInputRecorder::timePassed() {
  double const now = clock_->now();
  uint64_t const taskRuns = scheduler_->taskRuns();
  if (now > replayedTime_) {
    // The replay's clock adds what is written to where it stands, as this does.
    double const seconds = now - replayedTime_;
    replayedTime_ += seconds;
    out_ += "  - advance: ";
    Qor::printValue(out_, seconds);
    out_ += "\n";
  } else if (taskRuns != taskRuns_) {
    out_ += "  - settle:\n";
  }
  taskRuns_ = taskRuns;
}

void EvpnInputRecorder::end() {
  out_ += "\n";
  write();
}

// Steps collect in `out_` and go to the file a buffer at a time: one call to the file per
// writeBufferBytes, not one per step.
void EvpnInputRecorder::write() {
  if (!file_) {
    out_.clear();
    return;
  }
  std::string_view const step(out_.data() + stepStart_, out_.size() - stepStart_);
  bytes_ += step.size();
  ++steps_;
  // A step after time moved is pushed out with what came before it.
  if (step.starts_with("  - advance") || step.starts_with("  - settle")) {
    flushFile();
  } else if (out_.size() >= writeBufferBytes) {
    drain();
  }
  if (file_ && bytes_ >= rotateAt_) rotate();
}

template <class T>
void EvpnInputRecorder::put(T const& value) {
  Qor::printValue(out_, value);
}

void EvpnInputRecorder::put(char const* text) { out_ += text; }

void EvpnInputRecorder::putTunnel(Tunnel::TunnelTable::TunnelId tunnelId) { put(tunnelId); }

void EvpnInputRecorder::putObject(L2Rib::ObjTuple const& object) {
  switch (object.tableType()) {
    case L2Rib::tableTypeLabel_:
      put("label#");
      break;
    case L2Rib::tableTypeLoadBalance_:
      put("loadBalance#");
      break;
    case L2Rib::tableTypeDest_:
      put("chainDest#");
      break;
    case L2Rib::tableTypeInvalid_:
      put("none#");
      break;
  }
  put(object.objId());
}

template <class Keys>
void EvpnInputRecorder::putList(Keys const& keys) {
  put("[");
  bool first = true;
  for (auto const& k : keys) {
    if (!first) put(", ");
    first = false;
    put(k);
  }
  put("]");
}

void EvpnInputRecorder::dest(Bridging::MacVlanPair const& key, L2Rib::Dest const& dest, bool present) {
  L2Rib::DestType const type = dest.destType();
  // A scenario writes MPLS, VXLAN and interface destinations; the CPU is no flood-set peer.
  if (type != L2Rib::destTypeMpls_ && type != L2Rib::destTypeTunnel_ && type != L2Rib::destTypeIntf_) return;
  begin(present ? "addDest" : "removeDest");
  put("{ vlan: ");
  put(key.vlanId());
  put(", mac: ");
  put(key.macAddr());
  if (type == L2Rib::destTypeMpls_) {
    put(", mpls: { tunnel: ");
    putTunnel(dest.mpls().tunnelId());
    put(", label: ");
    put(dest.mpls().label());
    if (dest.mpls().intfId().isSrTePolicy()) {
      put(", policy: ");
      putTunnel(dest.mpls().intfId().tunnelId());
    }
    put(" }");
  } else if (type == L2Rib::destTypeTunnel_) {
    put(", vxlan: { vtep: ");
    put(dest.vxlan().vtep());
    put(", vni: ");
    put(dest.vxlan().vni());
    if (dest.vxlan().tunnelId() != Tunnel::TunnelTable::TunnelId::invalid()) {
      put(", tunnel: ");
      putTunnel(dest.vxlan().tunnelId());
    }
    put(" }");
  } else {
    put(", intf: ");
    put(dest.intf());
  }
  put(" }");
  end();
}

void EvpnInputRecorder::floodSetRemoved(Bridging::MacVlanPair const& key, L2Rib::FloodSet const& floodSet) {
  begin("removeFloodSet");
  put("{ vlan: ");
  put(key.vlanId());
  put(", mac: ");
  put(key.macAddr());
  // Removed with its destinations still in it: their reference counts stay.
  if (!floodSet.destSet().empty()) put(", withDests: true");
  put(" }");
  end();
}

void EvpnInputRecorder::segment(Ostra::IntfId intf) {
  Evpn::EthernetSegmentStatus const* es = inputs_.evpnStatus->ethernetSegmentStatus(intf);
  if (!es) {
    return removal("removeSegment", intf);
  }
  begin("segment");
  put("{ intf: ");
  put(intf);
  put(", peers: {");
  bool first = true;
  for (auto const& tep : sortedKeys(es->remoteEsiLabel())) {
    Evpn::EncapTypeLabel const& label = es->remoteEsiLabel(tep);
    // Peers are PEs' tunnel interfaces with an MPLS label; nothing else can be replayed.
    if (!tep.isDynamicTunnel() || !label.isMpls()) continue;
    put(first ? " " : ", ");
    first = false;
    putTunnel(tep.tunnelId());
    put(": ");
    put(label.label());
  }
  put(first ? "}, sharedEsiLabel: " : " }, sharedEsiLabel: ");
  es->sharedEsiLabel().valid() ? put(es->sharedEsiLabel().label()) : put("null");
  put(" }");
  end();
}

void EvpnInputRecorder::segmentVlans(Ostra::IntfId intf) {
  Evpn::EthernetSegmentStatus const* es = inputs_.evpnStatus->ethernetSegmentStatus(intf);
  if (!es) return;
  begin("segmentVlans");
  put("{ intf: ");
  put(intf);
  put(", vlans: ");
  putList(sortedKeys(es->configuredVlan()));
  put(", df: {");
  bool first = true;
  for (auto const& vlan : sortedKeys(es->designatedForwarderTep())) {
    Ostra::IntfId const tep = es->designatedForwarderTep(vlan);
    if (!tep.isDynamicTunnel()) continue;
    put(first ? " " : ", ");
    first = false;
    put(vlan);
    put(": ");
    putTunnel(tep.tunnelId());
  }
  put(first ? "} }" : " } }");
  end();
}

void EvpnInputRecorder::localEsiLabel(Ostra::IntfId intf) {
  Evpn::EvpnStatus const& s = *inputs_.evpnStatus;
  begin("localEsiLabel");
  put("{ intf: ");
  put(intf);
  put(", label: ");
  s.localEsiLabelHas(intf) && s.localEsiLabel(intf).isMpls() ? put(s.localEsiLabel(intf).label())
                                                             : put("null");
  put(" }");
  end();
}

void EvpnInputRecorder::encapBumFilter() {
  begin("encapBumFilter");
  putList(sortedKeys(inputs_.evpnStatus->encapBumFilter()));
  end();
}

void EvpnInputRecorder::vlanToDot1q(Bridging::VlanId vlan) {
  Evpn::EvpnStatus const& s = *inputs_.evpnStatus;
  if (!s.vlanToDot1qHas(vlan)) {
    return removal("removeVlanToDot1q", vlan);
  }
  begin("vlanToDot1q");
  put("{ vlan: ");
  put(vlan);
  put(", dot1q: ");
  Bridging::VlanIdOrNone const dot1q = s.vlanToDot1q(vlan);
  dot1q.isNone() ? put("none") : put(dot1q);
  put(" }");
  end();
}

void EvpnInputRecorder::vlanFloodStatus(Bridging::VlanId vlan) {
  Evpn::EvpnVlanFloodStatus const* status = inputs_.evpnStatus->evpnVlanFloodStatus(vlan);
  keyedList("vlanFloodStatus", "removeVlanFloodStatus", "vlan", vlan, "floodFilter",
            status ? &status->floodFilter() : nullptr);
}

// "<kind>: { <keyName>: <key>, <listName>: [...] }" for a record that is a list under a
// key, or "<removalKind>: <key>" once the record is gone (`keys` null).
template <class K, class Keys>
void EvpnInputRecorder::keyedList(char const* kind, char const* removalKind, char const* keyName,
                                  K const& key, char const* listName, Keys const* keys) {
  if (!keys) return removal(removalKind, key);
  begin(kind);
  put("{ ");
  put(keyName);
  put(": ");
  put(key);
  put(", ");
  put(listName);
  put(": ");
  putList(sortedKeys(*keys));
  put(" }");
  end();
}

template <class K>
void EvpnInputRecorder::removal(char const* kind, K const& key) {
  begin(kind);
  put(key);
  end();
}

void EvpnInputRecorder::lag(Ostra::IntfId lagId) {
  LagInfo const* info = inputs_.lagConfigDir->lagConfig(lagId);
  keyedList("lag", "removeLag", "intf", lagId, "members", info ? &info->member() : nullptr);
}

void EvpnInputRecorder::vlanConfig(Bridging::VlanId vlan) {
  Bridging::VlanConfig const* config = inputs_.bridgingConfig->vlanConfig(vlan);
  keyedList("vlanConfig", "removeVlanConfig", "vlan", vlan, "intfs", config ? &config->intf() : nullptr);
}

void EvpnInputRecorder::vlanStatus(Bridging::VlanId vlan) {
  Bridging::VlanStatus const* status = inputs_.vlanStatusDir->vlanStatus(vlan);
  keyedList("vlanStatus", "removeVlanStatus", "vlan", vlan, "intfs",
            status ? &status->vlanPortStatus() : nullptr);
}

void EvpnInputRecorder::mplsConfig() {
  begin("mplsConfig");
  put(inputs_.mplsConfig->vlanServiceDot1qEnabled() ? "{ vlanServiceDot1q: true }"
                                                    : "{ vlanServiceDot1q: false }");
  end();
}

void EvpnInputRecorder::route(Mpls::RouteKey const& key) {
  Mpls::LfibStatus const& l = *inputs_.lfibStatus;
  if (!l.routeHas(key)) {
    return removal("removeRoute", key.topLabel());
  }
  begin("route");
  put("{ label: ");
  put(key.topLabel());
  put(", viaSet: ");
  put(l.route(key).viaSetKey().index());
  put(" }");
  end();
}

void EvpnInputRecorder::viaSet(Mpls::LfibViaSetKey const& key) {
  Mpls::LfibStatus const& l = *inputs_.lfibStatus;
  if (!l.viaSetHas(key)) {
    return removal("removeViaSet", key.index());
  }
  // A via set without a via (lfibViaTypeInvalid) is written too: skipping it left the
  // replay's via set on its previous via.
  Mpls::LfibViaKey const via = l.viaSet(key).viaKey();
  begin("viaSet");
  put("{ index: ");
  put(key.index());
  if (via.viaType() == Mpls::lfibViaTypeEvpnEthernetSegmentFilter) {
    put(", filterVia: ");
  } else {
    put(", viaType: ");
    put(via.viaType());
    put(", via: ");
  }
  put(via.index());
  put(" }");
  end();
}

void EvpnInputRecorder::filterVia(Mpls::LfibViaKey const& key) {
  Mpls::LfibStatus const& l = *inputs_.lfibStatus;
  if (key.viaType() != Mpls::lfibViaTypeEvpnEthernetSegmentFilter) return;
  if (!l.evpnEthernetSegmentFilterViaHas(key)) {
    return removal("removeFilterVia", key.index());
  }
  begin("filterVia");
  put("{ index: ");
  put(key.index());
  put(", intf: ");
  put(l.evpnEthernetSegmentFilterVia(key).intfId());
  put(" }");
  end();
}

void EvpnInputRecorder::tunnelEndpoint(Tunnel::TunnelTable::TunnelId tunnelId) {
  auto const& t = *inputs_.tunnelEndpointStatus;
  begin("tunnelEndpoint");
  put("{ tunnel: ");
  putTunnel(tunnelId);
  put(", address: ");
  t.tunnelEndpointHas(tunnelId) ? put(t.tunnelEndpoint(tunnelId)) : put("null");
  put(" }");
  end();
}

void EvpnInputRecorder::host(Bridging::MacVlanPair const& key) {
  auto const& h = *inputs_.hostOutput;
  begin(h.hostHas(key) ? "host" : "removeHost");
  put("{ vlan: ");
  put(key.vlanId());
  put(", mac: ");
  put(key.macAddr());
  if (h.hostHas(key)) {
    put(", next: ");
    putObject(h.host(key).objTuple());
  }
  put(" }");
  end();
}

void EvpnInputRecorder::label(L2Rib::LabelId id) {
  auto const& l = *inputs_.labelOutput;
  if (!l.labelHas(id)) {
    begin("removeLabel");
    putObject(id.tuple());
    return end();
  }
  begin("label");
  put("{ name: ");
  putObject(id.tuple());
  put(", label: ");
  put(l.label(id).label());
  put(", next: ");
  putObject(l.label(id).next());
  put(" }");
  end();
}

void EvpnInputRecorder::loadBalance(L2Rib::LoadBalanceId id) {
  auto const& l = *inputs_.loadBalanceOutput;
  if (!l.loadBalanceHas(id)) {
    begin("removeLoadBalance");
    putObject(id.tuple());
    return end();
  }
  begin("loadBalance");
  put("{ name: ");
  putObject(id.tuple());
  put(", next: [");
  bool first = true;
  for (auto const& next : l.loadBalance(id).next()) {
    if (!first) put(", ");
    first = false;
    putObject(next);
  }
  put("] }");
  end();
}

void EvpnInputRecorder::chainDest(L2Rib::DestId id) {
  auto const& d = *inputs_.destOutput;
  if (!d.destHas(id)) {
    begin("removeChainDest");
    putObject(id.tuple());
    return end();
  }
  // What a host chain forwards to is the destination's tunnel.
  if (d.dest(id).tunnel() == Tunnel::TunnelTable::TunnelId::invalid()) return;
  begin("chainDest");
  put("{ name: ");
  putObject(id.tuple());
  put(", tunnel: ");
  putTunnel(d.dest(id).tunnel());
  put(" }");
  end();
}

// ---- Hardware ----

void EvpnInputRecorder::hardwareSettingIs(char const* setting, Qor::String value) {
  auto it =
      std::find_if(settings_.begin(), settings_.end(), [&](auto const& s) { return s.first == setting; });
  if (it != settings_.end() && it->second == value) return;
  if (it == settings_.end()) it = settings_.emplace(settings_.end(), setting, "");
  it->second = value;
  begin("hardware");
  put("{ ");
  put(setting);
  put(": ");
  out_ += value;
  put(" }");
  end();
}

void EvpnInputRecorder::hardware() {
  if (settings_.empty()) return;
  begin("hardware");
  put("{ ");
  for (size_t i = 0; i < settings_.size(); ++i) {
    if (i) put(", ");
    out_ += settings_[i].first;
    put(": ");
    out_ += settings_[i].second;
  }
  put(" }");
  end();
}

// ---- Reactors ----

// Every input entity's changes, by attribute: the attribute names of the inputs are distinct.
void EvpnInputRecorder::onInput(int const&, Qor::AttributeId id, void const* key) {
  switch (id) {
    case L2Rib::FloodSetOutput::vlanFloodSetAttr: {
      auto const vlan = Qor::keyAs<Bridging::VlanId>(key);
      if (L2Rib::VlanFloodSet const* vfs = inputs_.floodSetOutput->vlanFloodSet(vlan)) {
        vlanFloodSets_.add(vlan, vfs, this, vlan, &EvpnInputRecorder::onVlanFloodSet);
        for (auto const& [mac, fs] : vfs->floodSet())
          onVlanFloodSet(vlan, L2Rib::VlanFloodSet::floodSetAttr, &mac);
      } else {
        // Its flood sets go with it, whatever they held.
        std::vector<Bridging::MacVlanPair> gone;
        for (auto const& [k, watch] : floodSets_) {
          if (k.vlanId() == vlan) gone.push_back(k);
        }
        std::sort(gone.begin(), gone.end());
        for (auto const& k : gone) {
          floodSetRemoved(k, *static_cast<L2Rib::FloodSet const*>(floodSets_.get(k)->notifierEntity()));
          floodSets_.del(k);
        }
        vlanFloodSets_.del(vlan);
      }
      break;
    }
    case Evpn::EvpnStatus::ethernetSegmentStatusAttr: {
      auto const intf = Qor::keyAs<Ostra::IntfId>(key);
      if (auto const* es = inputs_.evpnStatus->ethernetSegmentStatus(intf)) {
        segments_.add(intf, es, this, intf, &EvpnInputRecorder::onSegment);
        segment(intf);
        if (!es->configuredVlan().empty() || !es->designatedForwarderTep().empty()) segmentVlans(intf);
      } else {
        segments_.del(intf);
        segment(intf);
      }
      break;
    }
    case Evpn::EvpnStatus::localEsiLabelAttr:
      return localEsiLabel(Qor::keyAs<Ostra::IntfId>(key));
    case Evpn::EvpnStatus::encapBumFilterAttr:
      return encapBumFilter();
    case Evpn::EvpnStatus::vlanToDot1qAttr:
      return vlanToDot1q(Qor::keyAs<Bridging::VlanId>(key));
    case Evpn::EvpnStatus::evpnVlanFloodStatusAttr: {
      auto const vlan = Qor::keyAs<Bridging::VlanId>(key);
      if (auto const* status = inputs_.evpnStatus->evpnVlanFloodStatus(vlan)) {
        vlanFloodStatuses_.add(vlan, status, this, vlan, &EvpnInputRecorder::onVlanFloodStatus);
      } else {
        vlanFloodStatuses_.del(vlan);
      }
      return vlanFloodStatus(vlan);
    }
    case LagCreatorConfigDir::lagConfigAttr: {
      auto const lagId = Qor::keyAs<Ostra::IntfId>(key);
      if (auto const* info = inputs_.lagConfigDir->lagConfig(lagId)) {
        lags_.add(lagId, info, this, lagId, &EvpnInputRecorder::onLag);
      } else {
        lags_.del(lagId);
      }
      return lag(lagId);
    }
    case Bridging::Config::vlanConfigAttr: {
      auto const vlan = Qor::keyAs<Bridging::VlanId>(key);
      if (auto const* config = inputs_.bridgingConfig->vlanConfig(vlan)) {
        vlanConfigs_.add(vlan, config, this, vlan, &EvpnInputRecorder::onVlanConfig);
      } else {
        vlanConfigs_.del(vlan);
      }
      return vlanConfig(vlan);
    }
    case Bridging::VlanStatusDir::vlanStatusAttr: {
      auto const vlan = Qor::keyAs<Bridging::VlanId>(key);
      if (auto const* status = inputs_.vlanStatusDir->vlanStatus(vlan)) {
        vlanStatuses_.add(vlan, status, this, vlan, &EvpnInputRecorder::onVlanStatus);
      } else {
        vlanStatuses_.del(vlan);
      }
      return vlanStatus(vlan);
    }
    case Evpn::MplsConfig::vlanServiceDot1qEnabledAttr:
      return mplsConfig();
    case Mpls::LfibStatus::routeAttr:
      return route(Qor::keyAs<Mpls::RouteKey>(key));
    case Mpls::LfibStatus::viaSetAttr:
      return viaSet(Qor::keyAs<Mpls::LfibViaSetKey>(key));
    case Mpls::LfibStatus::evpnEthernetSegmentFilterViaAttr:
      return filterVia(Qor::keyAs<Mpls::LfibViaKey>(key));
    case Tunnel::TunnelTable::TunnelEndpointStatus::tunnelEndpointAttr:
      return tunnelEndpoint(Qor::keyAs<Tunnel::TunnelTable::TunnelId>(key));
    case L2Rib::HostOutput::hostAttr:
      return host(Qor::keyAs<Bridging::MacVlanPair>(key));
    case L2Rib::LabelOutput::labelAttr:
      return label(Qor::keyAs<L2Rib::LabelId>(key));
    case L2Rib::LoadBalanceOutput::loadBalanceAttr:
      return loadBalance(Qor::keyAs<L2Rib::LoadBalanceId>(key));
    case L2Rib::DestOutput::destAttr:
      return chainDest(Qor::keyAs<L2Rib::DestId>(key));
  }
}

void EvpnInputRecorder::onVlanFloodSet(Bridging::VlanId const& vlan, Qor::AttributeId id, void const* key) {
  if (id != L2Rib::VlanFloodSet::floodSetAttr) return;
  auto const mac = Qor::keyAs<Ostra::EthAddr>(key);
  Bridging::MacVlanPair const pair(mac, vlan);
  L2Rib::VlanFloodSet const* vfs = inputs_.floodSetOutput->vlanFloodSet(vlan);
  if (L2Rib::FloodSet const* fs = vfs ? vfs->floodSet(mac) : nullptr) {
    if (floodSets_.has(pair)) return;
    floodSets_.add(pair, fs, this, pair, &EvpnInputRecorder::onFloodSet);
    for (auto const& d : fs->destSet()) dest(pair, d, true);
  } else if (auto const* watch = floodSets_.get(pair)) {
    floodSetRemoved(pair, *static_cast<L2Rib::FloodSet const*>(watch->notifierEntity()));
    floodSets_.del(pair);
  }
}

void EvpnInputRecorder::onFloodSet(Bridging::MacVlanPair const& key, Qor::AttributeId id, void const* d) {
  if (id != L2Rib::FloodSet::destSetAttr) return;
  auto const* fs = static_cast<L2Rib::FloodSet const*>(floodSets_.get(key)->notifierEntity());
  auto const& changed = Qor::keyAs<L2Rib::Dest>(d);
  dest(key, changed, fs->destSetHas(changed));
}

void EvpnInputRecorder::onSegment(Ostra::IntfId const& intf, Qor::AttributeId id, void const*) {
  switch (id) {
    case Evpn::EthernetSegmentStatus::configuredVlanAttr:
    case Evpn::EthernetSegmentStatus::designatedForwarderTepAttr:
      return segmentVlans(intf);
    case Evpn::EthernetSegmentStatus::remoteEsiLabelAttr:
    case Evpn::EthernetSegmentStatus::sharedEsiLabelAttr:
      return segment(intf);
  }
}

void EvpnInputRecorder::onVlanFloodStatus(Bridging::VlanId const& vlan, Qor::AttributeId, void const*) {
  vlanFloodStatus(vlan);
}

void EvpnInputRecorder::onLag(Ostra::IntfId const& lagId, Qor::AttributeId, void const*) { lag(lagId); }

void EvpnInputRecorder::onVlanConfig(Bridging::VlanId const& vlan, Qor::AttributeId, void const*) {
  vlanConfig(vlan);
}

void EvpnInputRecorder::onVlanStatus(Bridging::VlanId const& vlan, Qor::AttributeId, void const*) {
  vlanStatus(vlan);
}

Qor::Ptr<EvpnInputRecorder> evpnInputRecorderFactory(RecordedInputs inputs,
                                                     Qor::Ptr<Keel::TaskScheduler const> scheduler,
                                                     RecordingFiles files) {
  return Qor::Ptr<EvpnInputRecorder>(
      new EvpnInputRecorder(std::move(inputs), std::move(scheduler), std::move(files)));
}

}  // namespace Fenn
