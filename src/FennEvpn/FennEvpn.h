// The library's own value types: the keys by which the state machines index their
// per-interface, per-VLAN and per-tunnel records, the row of the tunnel-to-hardware-ID
// table, the ESI information programmed towards a peer, the result of a hardware
// programming call, and the free functions that turn platform identifiers into tunnel
// IDs. All are plain immutable values: compared field by field in declaration order,
// hashed in the same order, printed as "Value('Fenn::<type>', ** {...})" and parsed back
// strictly from that text.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "Bridging/VlanId.h"
#include "Fenn/HwTunnelId.h"
#include "FennEvpn/FennEvpnExport.h"
#include "L2Rib/Dest.h"
#include "Ostra/IntfId.h"
#include "Ostra/MplsLabel.h"
#include "Qor/Enum.h"
#include "Qor/Record.h"
#include "Qor/Strep.h"
#include "Tunnel/TunnelId.h"

namespace Fenn {

using Qor::operator<<;  // text forms on std::ostream, found by argument-dependent lookup

using Tunnel::TunnelTable::TunnelId;

class FENN_EVPN_EXPORT IntfVlanKey : public Qor::RecordValue<IntfVlanKey> {
 public:
  static constexpr std::string_view typeName = "Fenn::IntfVlanKey";

  IntfVlanKey() = default;
  IntfVlanKey(Ostra::IntfId intfId, Bridging::VlanId vlanId) : intfId_(intfId), vlanId_(vlanId) {}
  explicit IntfVlanKey(Qor::Parser& p) { parseFields(p); }

  Ostra::IntfId intfId() const noexcept { return intfId_; }
  Bridging::VlanId vlanId() const noexcept { return vlanId_; }

  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("intfId", self.intfId_);
    visit("vlanId", self.vlanId_);
  }
  auto operator<=>(IntfVlanKey const&) const = default;
  bool operator==(IntfVlanKey const&) const = default;

 private:
  Ostra::IntfId intfId_;
  Bridging::VlanId vlanId_;
};

class FENN_EVPN_EXPORT IntfTunnelKey : public Qor::RecordValue<IntfTunnelKey> {
 public:
  static constexpr std::string_view typeName = "Fenn::IntfTunnelKey";

  IntfTunnelKey() = default;
  IntfTunnelKey(Ostra::IntfId intfId, TunnelId tunnelId) : intfId_(intfId), tunnelId_(tunnelId) {}
  explicit IntfTunnelKey(Qor::Parser& p) { parseFields(p); }

  Ostra::IntfId intfId() const noexcept { return intfId_; }
  TunnelId tunnelId() const noexcept { return tunnelId_; }

  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("intfId", self.intfId_);
    visit("tunnelId", self.tunnelId_);
  }
  auto operator<=>(IntfTunnelKey const&) const = default;
  bool operator==(IntfTunnelKey const&) const = default;

 private:
  Ostra::IntfId intfId_;
  TunnelId tunnelId_;
};

class FENN_EVPN_EXPORT IntfVlanTunnelKey : public Qor::RecordValue<IntfVlanTunnelKey> {
 public:
  static constexpr std::string_view typeName = "Fenn::IntfVlanTunnelKey";

  IntfVlanTunnelKey() = default;
  IntfVlanTunnelKey(Ostra::IntfId intfId, Bridging::VlanId vlanId, TunnelId tunnelId)
      : intfId_(intfId), vlanId_(vlanId), tunnelId_(tunnelId) {}
  explicit IntfVlanTunnelKey(Qor::Parser& p) { parseFields(p); }

  Ostra::IntfId intfId() const noexcept { return intfId_; }
  Bridging::VlanId vlanId() const noexcept { return vlanId_; }
  TunnelId tunnelId() const noexcept { return tunnelId_; }

  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("intfId", self.intfId_);
    visit("vlanId", self.vlanId_);
    visit("tunnelId", self.tunnelId_);
  }
  auto operator<=>(IntfVlanTunnelKey const&) const = default;
  bool operator==(IntfVlanTunnelKey const&) const = default;

 private:
  Ostra::IntfId intfId_;
  Bridging::VlanId vlanId_;
  TunnelId tunnelId_;
};

// One row of the tunnel-to-hardware-tunnel-ID table, keyed by `key`.
class FENN_EVPN_EXPORT TunnelIdToHwTunnelId : public Qor::RecordValue<TunnelIdToHwTunnelId> {
 public:
  static constexpr std::string_view typeName = "Fenn::TunnelIdToHwTunnelId";

  TunnelIdToHwTunnelId() = default;
  TunnelIdToHwTunnelId(TunnelId key, HwTunnelId hwTunnelId) : key_(key), hwTunnelId_(hwTunnelId) {}
  explicit TunnelIdToHwTunnelId(Qor::Parser& p) { parseFields(p); }

  TunnelId key() const noexcept { return key_; }
  HwTunnelId hwTunnelId() const noexcept { return hwTunnelId_; }

  // The row as the shared table's diagnostics show it:
  // "key: 61572651155457 hwTunnelId: hwTunnelIdTypeDefault 5".
  Qor::String vaspString() const;

  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("key", self.key_);
    visit("hwTunnelId", self.hwTunnelId_);
  }
  auto operator<=>(TunnelIdToHwTunnelId const&) const = default;
  bool operator==(TunnelIdToHwTunnelId const&) const = default;

 private:
  TunnelId key_;
  HwTunnelId hwTunnelId_;
};

// What is programmed for one interface, VLAN and tunnel when the ESI label is sent to a
// peer. Only ever a value, never a key: it is deliberately not hashable.
class FENN_EVPN_EXPORT EsiInfo : public Qor::RecordValue<EsiInfo> {
 public:
  static constexpr std::string_view typeName = "Fenn::EsiInfo";
  static constexpr bool qorHashable = false;

  EsiInfo() = default;
  EsiInfo(HwTunnelId hwTunnelId, Ostra::MplsLabel label) : hwTunnelId_(hwTunnelId), label_(label) {}
  explicit EsiInfo(Qor::Parser& p) { parseFields(p); }

  HwTunnelId hwTunnelId() const noexcept { return hwTunnelId_; }
  Ostra::MplsLabel label() const noexcept { return label_; }

  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("hwTunnelId", self.hwTunnelId_);
    visit("label", self.label_);
  }
  auto operator<=>(EsiInfo const&) const = default;
  bool operator==(EsiInfo const&) const = default;

 private:
  HwTunnelId hwTunnelId_;
  Ostra::MplsLabel label_;
};

// The result of a hardware programming call; 0 means success.
enum HwProgrammingStatus : uint8_t {
  programmed = 0,
  notProgrammed = 1,
  invalidHwId = 2,
};

FENN_EVPN_EXPORT Qor::String stringValue(HwProgrammingStatus status);
// Throw Qor::EnumRangeError for an unknown number or name.
FENN_EVPN_EXPORT HwProgrammingStatus HwProgrammingStatusInstance(unsigned value);
FENN_EVPN_EXPORT HwProgrammingStatus HwProgrammingStatusInstance(Qor::String const& name);

// The tunnel that an MPLS destination reaches: the tunnel of its SR-TE policy interface
// when it has one, else its own tunnel ID. Asserts that the destination is MPLS.
FENN_EVPN_EXPORT TunnelId destMplsTunnelId(L2Rib::Dest const& dest);
// The tunnel ID behind a remote TEP's interface: the one that an SR-TE policy or dynamic
// tunnel interface encodes. Throws the tunnel ID range error for any other interface.
FENN_EVPN_EXPORT TunnelId srTeOrDynamicTunnelIntfIdToTunnelId(Ostra::IntfId intf);
FENN_EVPN_EXPORT bool isLag(Ostra::IntfId intf);

}  // namespace Fenn

template <>
struct Qor::EnumTraits<Fenn::HwProgrammingStatus> {
  static constexpr std::string_view typeName = "Fenn::HwProgrammingStatus";
  static constexpr std::array<std::string_view, 3> names = {"programmed", "notProgrammed", "invalidHwId"};
};
