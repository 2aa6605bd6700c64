// What a tunnel (VXLAN) destination of the layer-2 RIB holds: the remote VTEP, the VNI,
// and the platform tunnel that reaches the VTEP (invalid when none is resolved).
#pragma once

#include <cstdint>
#include <string_view>

#include "Ostra/IpGenAddr.h"
#include "Qor/Record.h"
#include "Tunnel/TunnelId.h"

namespace L2Rib {

class VxlanDest : public Qor::RecordValue<VxlanDest> {
 public:
  static constexpr std::string_view typeName = "L2Rib::VxlanDest";

  VxlanDest() = default;
  VxlanDest(Ostra::IpGenAddr vtep, uint32_t vni, Tunnel::TunnelTable::TunnelId tunnelId = {})
      : vtep_(vtep), vni_(vni), tunnelId_(tunnelId) {}
  explicit VxlanDest(Qor::Parser& p) { parseFields(p); }

  Ostra::IpGenAddr const& vtep() const noexcept { return vtep_; }
  uint32_t vni() const noexcept { return vni_; }
  Tunnel::TunnelTable::TunnelId tunnelId() const noexcept { return tunnelId_; }

  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("vtep", self.vtep_);
    visit("vni", self.vni_);
    visit("tunnelId", self.tunnelId_);
  }

  auto operator<=>(VxlanDest const&) const = default;
  bool operator==(VxlanDest const&) const = default;

 private:
  Ostra::IpGenAddr vtep_;
  uint32_t vni_ = 0;
  Tunnel::TunnelTable::TunnelId tunnelId_;
};

}  // namespace L2Rib
