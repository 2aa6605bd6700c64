// The value types of MPLS flood-set programming: a destination of one flood set
// (VlanMacDest), the flooding via that one FEC is requested for (MplsFloodSetVia), the
// hardware information the FEC side publishes for a via (MplsDestHwInfo), and one flood-set
// destination as hardware configuration (MplsDestConfig). The entities built from them are
// in FennEvpnVlanFloodSetHw.h (shared with the platform) and FennEvpnVlanFloodSetIndex.h
// (private working state). floodSetVia() is the one place that decides a destination's via,
// so the configuration side and the FEC side always meet on the same HwInfoMapping key.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include "Bridging/VlanId.h"
#include "Bridging/VlanIdOrNone.h"
#include "Fenn/HwTunnelId.h"
#include "FennEvpn/FennEvpn.h"
#include "FennEvpn/FennEvpnExport.h"
#include "L2Rib/Dest.h"
#include "Ostra/EthAddr.h"
#include "Ostra/IntfId.h"
#include "Ostra/MplsLabel.h"
#include "Qor/Record.h"
#include "Tunnel/TunnelId.h"

namespace L2Rib {
class FloodSetOutput;
}

namespace Fenn {

// One destination of the flood set of (vlanId, macAddr).
//
// The key of the largest indexes (every flood-set destination, in several of them), so
// the VLAN and the MAC share one word, as they do in the hash: the MAC takes 48 bits and
// the VLAN the 16 above them. That keeps the record at 48 bytes instead of 56 (the VLAN
// on its own would take a padded word). The word orders as (VLAN, MAC) does, so the
// order of records is that of their fields.
class FENN_EVPN_EXPORT VlanMacDest : public Qor::RecordValue<VlanMacDest> {
 public:
  static constexpr std::string_view typeName = "Fenn::VlanMacDest";

  VlanMacDest() = default;
  VlanMacDest(Bridging::VlanId vlanId, Ostra::EthAddr macAddr, L2Rib::Dest const& dest)
      : vlanMac_(pack(vlanId, macAddr)), dest_(dest) {}
  explicit VlanMacDest(Qor::Parser& p) { parseFields(p); }

  Bridging::VlanId vlanId() const noexcept { return Bridging::VlanId(uint16_t(vlanMac_ >> macBits)); }
  Ostra::EthAddr macAddr() const noexcept { return Ostra::EthAddr(vlanMac_ & macMask); }
  L2Rib::Dest const& dest() const noexcept { return dest_; }

  // The VLAN and the MAC are visited as fields of their own (printing and parsing see the
  // same text as for separate members) and packed again after a parse.
  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    Bridging::VlanId vlanId = self.vlanId();
    Ostra::EthAddr macAddr = self.macAddr();
    visit("vlanId", vlanId);
    visit("macAddr", macAddr);
    visit("dest", self.dest_);
    if constexpr (!std::is_const_v<S>) self.vlanMac_ = pack(vlanId, macAddr);
  }
  // The key of the per-destination indexes: hashed as words instead of field by field.
  uint32_t hash(uint32_t seed) const noexcept {
    Qor::WordHashAccumulator acc(seed);
    acc.mix(vlanMac_);
    dest_.mixInto(acc);
    return acc.result();
  }

  auto operator<=>(VlanMacDest const&) const = default;
  bool operator==(VlanMacDest const&) const = default;

 private:
  static constexpr unsigned macBits = 48;
  static constexpr uint64_t macMask = (uint64_t(1) << macBits) - 1;
  static uint64_t pack(Bridging::VlanId vlanId, Ostra::EthAddr macAddr) noexcept {
    return uint64_t(vlanId.value()) << macBits | macAddr.value();
  }

  uint64_t vlanMac_ = 0;
  L2Rib::Dest dest_;
};

// One MPLS flooding via: the unit that gets a FEC of its own. The VLAN is set only for
// tunnels that carry a VLAN (see floodSetVia); otherwise it is none.
class FENN_EVPN_EXPORT MplsFloodSetVia : public Qor::RecordValue<MplsFloodSetVia> {
 public:
  static constexpr std::string_view typeName = "Fenn::MplsFloodSetVia";

  MplsFloodSetVia() = default;
  MplsFloodSetVia(TunnelId tunnelId, Ostra::MplsLabel label, Bridging::VlanIdOrNone vlanId = {})
      : tunnelId_(tunnelId), label_(label), vlanId_(vlanId) {}
  explicit MplsFloodSetVia(Qor::Parser& p) { parseFields(p); }

  TunnelId tunnelId() const noexcept { return tunnelId_; }
  Ostra::MplsLabel label() const noexcept { return label_; }
  Bridging::VlanIdOrNone vlanId() const noexcept { return vlanId_; }

  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("tunnelId", self.tunnelId_);
    visit("label", self.label_);
    visit("vlanId", self.vlanId_);
  }

  auto operator<=>(MplsFloodSetVia const&) const = default;
  bool operator==(MplsFloodSetVia const&) const = default;

 private:
  TunnelId tunnelId_;
  Ostra::MplsLabel label_;
  Bridging::VlanIdOrNone vlanId_;
};

// What the hardware answered for a via's FEC: the identifier that tunnel programming uses
// and the layer-2 interface of the FEC. A value only; it has no meaningful order.
class FENN_EVPN_EXPORT MplsDestHwInfo : public Qor::RecordValue<MplsDestHwInfo> {
 public:
  static constexpr std::string_view typeName = "Fenn::MplsDestHwInfo";

  MplsDestHwInfo() = default;
  MplsDestHwInfo(uint64_t hwIdForTunnelProgramming, Ostra::IntfId l2IntfId)
      : hwIdForTunnelProgramming_(hwIdForTunnelProgramming), l2IntfId_(l2IntfId) {}
  explicit MplsDestHwInfo(Qor::Parser& p) { parseFields(p); }

  uint64_t hwIdForTunnelProgramming() const noexcept { return hwIdForTunnelProgramming_; }
  Ostra::IntfId l2IntfId() const noexcept { return l2IntfId_; }

  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("hwIdForTunnelProgramming", self.hwIdForTunnelProgramming_);
    visit("l2IntfId", self.l2IntfId_);
  }

  bool operator==(MplsDestHwInfo const&) const = default;
  auto operator<=>(MplsDestHwInfo const&) const = delete;

 private:
  uint64_t hwIdForTunnelProgramming_ = 0;
  Ostra::IntfId l2IntfId_;
};

// One MPLS destination of one flood set as the hardware is asked to program it. The
// default label is "no label", so a default configuration never equals a real one.
class FENN_EVPN_EXPORT MplsDestConfig : public Qor::RecordValue<MplsDestConfig> {
 public:
  static constexpr std::string_view typeName = "Fenn::MplsDestConfig";

  MplsDestConfig() = default;
  MplsDestConfig(TunnelId tunnelId, Ostra::MplsLabel label, HwTunnelId hwTunnelId,
                 uint64_t hwIdForTunnelProgramming, Ostra::IntfId l2IntfId)
      : tunnelId_(tunnelId),
        label_(label),
        hwTunnelId_(hwTunnelId),
        hwIdForTunnelProgramming_(hwIdForTunnelProgramming),
        l2IntfId_(l2IntfId) {}
  explicit MplsDestConfig(Qor::Parser& p) { parseFields(p); }

  TunnelId tunnelId() const noexcept { return tunnelId_; }
  Ostra::MplsLabel label() const noexcept { return label_; }
  HwTunnelId hwTunnelId() const noexcept { return hwTunnelId_; }
  uint64_t hwIdForTunnelProgramming() const noexcept { return hwIdForTunnelProgramming_; }
  Ostra::IntfId l2IntfId() const noexcept { return l2IntfId_; }

  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("tunnelId", self.tunnelId_);
    visit("label", self.label_);
    visit("hwTunnelId", self.hwTunnelId_);
    visit("hwIdForTunnelProgramming", self.hwIdForTunnelProgramming_);
    visit("l2IntfId", self.l2IntfId_);
  }
  // The key of the configuration and status sets, hashed on the tunnel and the label alone:
  // in one flood set they are the via, so the configurations of a via (an old one and its
  // replacement while the hardware moves from one to the other) share a probe run, and
  // whether another of them is still programmed reads that run only. A flood set's
  // destinations differ in tunnel or label, so they still spread over the table.
  uint32_t hash(uint32_t seed) const noexcept {
    Qor::WordHashAccumulator acc(seed);
    acc.mix(uint64_t(label_.value()) << 32);
    acc.mix(tunnelId_.value());
    return acc.result();
  }

  auto operator<=>(MplsDestConfig const&) const = default;
  bool operator==(MplsDestConfig const&) const = default;

 private:
  TunnelId tunnelId_;
  Ostra::MplsLabel label_ = Ostra::MplsLabel::none();
  HwTunnelId hwTunnelId_;
  uint64_t hwIdForTunnelProgramming_ = 0;
  Ostra::IntfId l2IntfId_;
};

// The via of a flood-set destination over `tunnelId` with `label` in `vlanId`: tunnels of
// the VLAN-carrying type keep one via (and so one FEC) per VLAN; every other tunnel shares
// one via across VLANs. Throws "VlanIdOrNone::value > 4094 not allowed" for VLAN 4095 on a
// VLAN-carrying tunnel.
FENN_EVPN_EXPORT MplsFloodSetVia floodSetVia(TunnelId tunnelId, Ostra::MplsLabel label,
                                             Bridging::VlanId vlanId);

// The via of an MPLS flood-set destination (asserts that it is one).
FENN_EVPN_EXPORT MplsFloodSetVia floodSetVia(VlanMacDest const& d);

// How many destinations a flood-set output holds, read from the sets' sizes without
// walking them: the size of an index with an entry per destination, which a state machine
// reserves before its first walk instead of growing it through every power of two.
size_t floodSetDestinationCount(L2Rib::FloodSetOutput const& output);

}  // namespace Fenn
