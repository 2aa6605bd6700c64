#include "L2Rib/Dest.h"

#include "Qor/Strep.h"

namespace L2Rib {

template <class S, class V>
void Dest::visitTypeFields(S& self, V&& visit) {
  switch (self.destType_) {
    case destTypeMpls_:
      MplsDest::visitFields(self.mpls_, visit);
      break;
    case destTypeTunnel_:
      VxlanDest::visitFields(self.vxlan_, visit);
      break;
    case destTypeIntf_:
      visit("intfId", self.intf_);
      break;
    case destTypeInvalid_:
    case destTypeCpu_:
      break;
  }
}

Dest::Dest(Qor::Parser& p) {
  p.expect("Value('L2Rib::Dest', ** {'destType': ");
  destType_ = Qor::parseValue<DestType>(p);
  visitTypeFields(*this, [&](std::string_view name, auto& field) {
    p.expect(", '");
    p.expect(name);
    p.expect("': ");
    field = Qor::parseValue<std::remove_cvref_t<decltype(field)>>(p);
  });
  p.expect("})");
}

Dest Dest::mpls(Tunnel::TunnelTable::TunnelId tunnelId, Ostra::MplsLabel label, Ostra::IntfId intfId) {
  Dest d;
  d.destType_ = destTypeMpls_;
  d.mpls_ = MplsDest(tunnelId, label, intfId);
  return d;
}

Dest Dest::vxlan(Ostra::IpGenAddr vtep, uint32_t vni, Tunnel::TunnelTable::TunnelId tunnelId) {
  Dest d;
  d.destType_ = destTypeTunnel_;
  d.vxlan_ = VxlanDest(vtep, vni, tunnelId);
  return d;
}

Dest Dest::intf(Ostra::IntfId intfId) {
  Dest d;
  d.destType_ = destTypeIntf_;
  d.intf_ = intfId;
  return d;
}

Dest Dest::cpu() {
  Dest d;
  d.destType_ = destTypeCpu_;
  return d;
}

void Dest::print(Qor::String& out) const {
  out += "Value('L2Rib::Dest', ** {'destType': ";
  Qor::printValue(out, destType_);
  visitTypeFields(*this, [&](std::string_view name, auto const& field) {
    out += ", '";
    out += name;
    out += "': ";
    Qor::printValue(out, field);
  });
  out += "})";
}

}  // namespace L2Rib
