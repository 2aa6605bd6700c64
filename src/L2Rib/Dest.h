// One destination of a layer-2 RIB flood set or host: its type and the data of that type
// (an interface, MPLS data or VXLAN data). Only that type's data is stored (the types
// share their storage, as every flood-set collection holds destinations); the accessors
// of the other types read their data's default. Equality, ordering (type first, then the
// type's data) and the hash look at the type's data only.
// Text form: a record with the type and then only the fields of that type:
//   Value('L2Rib::Dest', ** {'destType': destTypeMpls_, 'tunnelId': 61572651155457, 'label': 1000, 'intfId':
//   ''}) Value('L2Rib::Dest', ** {'destType': destTypeTunnel_, 'vtep': '10.0.0.1', 'vni': 10010, 'tunnelId':
//   0}) Value('L2Rib::Dest', ** {'destType': destTypeIntf_, 'intfId': 'Ethernet1'}) Value('L2Rib::Dest', **
//   {'destType': destTypeCpu_})
#pragma once

#include <compare>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "L2Rib/DestType.h"
#include "L2Rib/MplsDest.h"
#include "L2Rib/VxlanDest.h"
#include "Ostra/IntfId.h"
#include "Qor/Strep.h"

namespace L2Rib {

using Qor::operator<<;  // text forms on std::ostream, found by argument-dependent lookup

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
  Ostra::IntfId intf() const noexcept { return destType_ == destTypeIntf_ ? data_.intf : Ostra::IntfId(); }
  MplsDest const& mpls() const noexcept { return destType_ == destTypeMpls_ ? data_.mpls : noMpls; }
  VxlanDest const& vxlan() const noexcept { return destType_ == destTypeTunnel_ ? data_.vxlan : noVxlan; }
  // The tunnel of a tunnel destination.
  Tunnel::TunnelTable::TunnelId tunnel() const noexcept { return vxlan().tunnelId(); }

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
        acc.mix(type | data_.mpls.label().value());
        acc.mix(data_.mpls.tunnelId().value());
        acc.mix(data_.mpls.intfId().value());
        break;
      case destTypeTunnel_: {
        Ostra::IpGenAddr::Bytes const& vtep = data_.vxlan.vtep().bytes();
        uint64_t words[2];
        std::memcpy(words, vtep.data(), sizeof words);
        acc.mix(type | uint64_t(data_.vxlan.vtep().family()) << 40 | data_.vxlan.vni());
        acc.mix(words[0]);
        acc.mix(words[1]);
        acc.mix(data_.vxlan.tunnelId().value());
        break;
      }
      case destTypeIntf_:
        acc.mix(type);
        acc.mix(data_.intf.value());
        break;
      case destTypeInvalid_:
      case destTypeCpu_:
        acc.mix(type);
        break;
    }
  }

  std::strong_ordering operator<=>(Dest const& o) const noexcept {
    if (auto const c = destType_ <=> o.destType_; c != 0) return c;
    switch (destType_) {
      case destTypeMpls_:
        return data_.mpls <=> o.data_.mpls;
      case destTypeTunnel_:
        return data_.vxlan <=> o.data_.vxlan;
      case destTypeIntf_:
        return data_.intf <=> o.data_.intf;
      case destTypeInvalid_:
      case destTypeCpu_:
        break;
    }
    return std::strong_ordering::equal;
  }
  bool operator==(Dest const& o) const noexcept { return (*this <=> o) == 0; }

 private:
  static constexpr MplsDest noMpls{};
  static constexpr VxlanDest noVxlan{};

  // Makes the data of destType_ the stored data, at its default.
  void resetData() noexcept;
  // Calls visit(name, field) for the fields of this destination's type, in text order.
  template <class S, class V>
  static void visitTypeFields(S& self, V&& visit);

  DestType destType_ = destTypeInvalid_;
  union Data {
    constexpr Data() noexcept : intf() {}
    Ostra::IntfId intf;
    MplsDest mpls;
    VxlanDest vxlan;
  } data_;
};

}  // namespace L2Rib
