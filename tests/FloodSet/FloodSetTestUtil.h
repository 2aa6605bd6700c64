// Shared pieces of the flood-set tests: building layer-2 RIB flood sets, comparable
// snapshots of flood-set outputs and of the hardware configuration and status, and
// capturing one source's trace.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "FennEvpn/FennEvpnVlanFloodSetHw.h"
#include "L2Rib/FloodSetOutput.h"
#include "Qor/Trace.h"
#include "Ringlog/Clock.h"

namespace FloodSetTest {

using Bridging::MacVlanPair;
using Bridging::VlanId;
using Ostra::EthAddr;

inline EthAddr const bcast = EthAddr::broadcast();
inline EthAddr const unknownUcast(0x010000000001);

inline void addDest(L2Rib::FloodSetOutput& out, VlanId vlan, EthAddr mac, L2Rib::Dest const& dest,
                    L2Rib::FloodSetType type = L2Rib::floodSetTypeBroadcast) {
  L2Rib::FloodSet* fs = out.vlanFloodSetIs(vlan)->floodSetIs(mac);
  fs->floodSetTypeIs(type);
  fs->destSetIs(dest);
}

inline void delDest(L2Rib::FloodSetOutput& out, VlanId vlan, EthAddr mac, L2Rib::Dest const& dest) {
  if (L2Rib::VlanFloodSet* vfs = out.vlanFloodSet(vlan)) {
    if (L2Rib::FloodSet* fs = vfs->floodSet(mac)) fs->destSetDel(dest);
  }
}

struct FloodSetView {
  L2Rib::FloodSetType type;
  std::set<L2Rib::Dest> dests;
  bool operator==(FloodSetView const&) const = default;
};
using FloodSetOutputView = std::map<VlanId, std::map<EthAddr, FloodSetView>>;

inline FloodSetOutputView view(L2Rib::FloodSetOutput const& out) {
  FloodSetOutputView v;
  for (auto const& [vlan, vfs] : out.vlanFloodSet()) {
    auto& macs = v[vlan];  // an empty VLAN flood set shows as an empty map
    for (auto const& [mac, fs] : vfs->floodSet()) {
      auto& entry = macs[mac];
      entry.type = fs->floodSetType();
      entry.dests.insert(fs->destSet().begin(), fs->destSet().end());
    }
  }
  return v;
}

using HwConfigView = std::map<MacVlanPair, std::set<Fenn::MplsDestConfig>>;
inline HwConfigView view(Fenn::EvpnVlanFloodSetHwConfig const& hw) {
  HwConfigView v;
  for (auto const& [pair, config] : hw.config())
    v[pair].insert(config->mplsDestConfig().begin(), config->mplsDestConfig().end());
  return v;
}

using HwStatusView = std::map<MacVlanPair, std::map<Fenn::MplsDestConfig, Fenn::HwProgrammingStatus>>;
inline HwStatusView view(Fenn::EvpnVlanFloodSetHwStatus const& hw) {
  HwStatusView v;
  for (auto const& [pair, status] : hw.status())
    v[pair].insert(status->mplsDestStatus().begin(), status->mplsDestStatus().end());
  return v;
}

// Captures the text trace of the sources named in `levels` ("FennEvpnVlanFloodSetSm/1")
// from construction to take(). Lines carry a fixed time: tests never read the real clock.
class TraceCapture {
 public:
  explicit TraceCapture(std::string_view levels) {
    Ringlog::clockIs([]() noexcept -> int64_t { return 0; });
    Qor::ringlogLevelsIs(std::string_view());
    Qor::traceLevelsIs(levels);
    testing::internal::CaptureStderr();
  }
  ~TraceCapture() {
    if (!taken_) take();
  }
  std::string take() {
    taken_ = true;
    std::string text = testing::internal::GetCapturedStderr();
    Qor::traceLevelsIs("");
    Qor::ringlogLevelsIs(std::nullopt);
    Ringlog::clockIs(nullptr);
    return text;
  }

 private:
  bool taken_ = false;
};

}  // namespace FloodSetTest
