// One destination of a layer-2 RIB flood set or host: its type and the data of that type
// (an interface, MPLS data or VXLAN data); the data of the other types stays default, so
// equality and ordering (type first) need no case analysis, and hashing only the type's
// own data keeps equal destinations at equal hashes.
// Text form: a record with the type and then only the fields of that type:
//   Value('L2Rib::Dest', ** {'destType': destTypeMpls_, 'tunnelId': 61572651155457, 'label': 1000, 'intfId': ''})
//   Value('L2Rib::Dest', ** {'destType': destTypeTunnel_, 'vtep': '10.0.0.1', 'vni': 10010, 'tunnelId': 0})
//   Value('L2Rib::Dest', ** {'destType': destTypeIntf_, 'intfId': 'Ethernet1'})
//   Value('L2Rib::Dest', ** {'destType': destTypeCpu_})
#pragma once

#include <compare>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "L2Rib/DestType.h"
#include "L2Rib/MplsDest.h"
#include "L2Rib/VxlanDest.h"
#include "Ostra/IntfId.h"

namespace L2Rib {

class Dest {
 public:
  static constexpr std::string_view typeName = "L2Rib::Dest";

  // The invalid destination.
  Dest() = default;
  explicit Dest(Qor::Parser& p);

  static Dest mpls(Tunnel::TunnelTable::TunnelId tunnelId, Ostra::MplsLabel label, Ostra::IntfId intfId = {});
  static Dest vxlan(Ostra::IpGenAddr vtep, uint32_t vni, Tunnel::TunnelTable::TunnelId tunnelId = {});
  static Dest intf(Ostra::IntfId intfId);
  static Dest cpu();

  DestType destType() const noexcept { return destType_; }
  // Each accessor reads the data of its own type; for a destination of another type it
  // returns that data's default.
  Ostra::IntfId intf() const noexcept { return intf_; }
  MplsDest const& mpls() const noexcept { return mpls_; }
  VxlanDest const& vxlan() const noexcept { return vxlan_; }
  // The tunnel of a tunnel destination.
  Tunnel::TunnelTable::TunnelId tunnel() const noexcept { return vxlan_.tunnelId(); }

  void print(Qor::String& out) const;
  // Destinations are the keys of the largest flood-set collections, so they hash their
  // type's integer fields directly as words rather than field by field.
  uint32_t hash(uint32_t seed) const noexcept {
    Qor::WordHashAccumulator acc(seed);
    mixInto(acc);
    return acc.result();
  }
  // Feeds this destination into a key's hash (for keys that hold a destination).
  void mixInto(Qor::WordHashAccumulator& acc) const noexcept {
    uint64_t const type = uint64_t(destType_) << 32;
    switch (destType_) {
      case destTypeMpls_:
        acc.mix(type | mpls_.label().value());
        acc.mix(mpls_.tunnelId().value());
        acc.mix(mpls_.intfId().value());
        break;
      case destTypeTunnel_: {
        Ostra::IpGenAddr::Bytes const& vtep = vxlan_.vtep().bytes();
        uint64_t words[2];
        std::memcpy(words, vtep.data(), sizeof words);
        acc.mix(type | uint64_t(vxlan_.vtep().family()) << 40 | vxlan_.vni());
        acc.mix(words[0]);
        acc.mix(words[1]);
        acc.mix(vxlan_.tunnelId().value());
        break;
      }
      case destTypeIntf_:
        acc.mix(type);
        acc.mix(intf_.value());
        break;
      case destTypeInvalid_:
      case destTypeCpu_:
        acc.mix(type);
        break;
    }
  }

  auto operator<=>(Dest const&) const = default;
  bool operator==(Dest const&) const = default;

 private:
  // Calls visit(name, field) for the fields of this destination's type, in text order.
  template <class S, class V>
  static void visitTypeFields(S& self, V&& visit);

  DestType destType_ = destTypeInvalid_;
  Ostra::IntfId intf_;
  MplsDest mpls_;
  VxlanDest vxlan_;
};

}  // namespace L2Rib
