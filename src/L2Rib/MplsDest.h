// What an MPLS destination of the layer-2 RIB holds: the remote tunnel, the label that the
// remote peer advertised, and the interface that reaches the tunnel (an SR-TE policy
// interface when the tunnel is steered into a policy; empty otherwise).
#pragma once

#include <string_view>

#include "Ostra/IntfId.h"
#include "Ostra/MplsLabel.h"
#include "Qor/Record.h"
#include "Tunnel/TunnelId.h"

namespace L2Rib {

class MplsDest : public Qor::RecordValue<MplsDest> {
 public:
  static constexpr std::string_view typeName = "L2Rib::MplsDest";

  MplsDest() = default;
  MplsDest(Tunnel::TunnelTable::TunnelId tunnelId, Ostra::MplsLabel label, Ostra::IntfId intfId = {})
      : tunnelId_(tunnelId), label_(label), intfId_(intfId) {}
  explicit MplsDest(Qor::Parser& p) { parseFields(p); }

  Tunnel::TunnelTable::TunnelId tunnelId() const noexcept { return tunnelId_; }
  Ostra::MplsLabel label() const noexcept { return label_; }
  Ostra::IntfId intfId() const noexcept { return intfId_; }

  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("tunnelId", self.tunnelId_);
    visit("label", self.label_);
    visit("intfId", self.intfId_);
  }

  auto operator<=>(MplsDest const&) const = default;
  bool operator==(MplsDest const&) const = default;

 private:
  Tunnel::TunnelTable::TunnelId tunnelId_;
  Ostra::MplsLabel label_;
  Ostra::IntfId intfId_;
};

}  // namespace L2Rib
