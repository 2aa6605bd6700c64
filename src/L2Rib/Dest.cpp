#include "L2Rib/Dest.h"

#include "Qor/Strep.h"

namespace L2Rib {

template <class S, class V>
void Dest::visitTypeFields(S& self, V&& visit) {
  switch (self.destType_) {
    case destTypeMpls_:
      MplsDest::visitFields(self.data_.mpls, visit);
      break;
    case destTypeTunnel_:
      VxlanDest::visitFields(self.data_.vxlan, visit);
      break;
    case destTypeIntf_:
      visit("intfId", self.data_.intf);
      break;
    case destTypeInvalid_:
    case destTypeCpu_:
      break;
  }
}

// The data members are trivially copyable, so assigning one makes it the stored one.
void Dest::resetData() noexcept {
  switch (destType_) {
    case destTypeMpls_:
      data_.mpls = MplsDest();
      break;
    case destTypeTunnel_:
      data_.vxlan = VxlanDest();
      break;
    case destTypeIntf_:
    case destTypeInvalid_:
    case destTypeCpu_:
      data_.intf = Ostra::IntfId();
      break;
  }
}

Dest::Dest(Qor::Parser& p) {
  p.expect("Value('L2Rib::Dest', ** {'destType': ");
  destType_ = Qor::parseValue<DestType>(p);
  resetData();
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
  d.data_.mpls = MplsDest(tunnelId, label, intfId);
  return d;
}

Dest Dest::vxlan(Ostra::IpGenAddr vtep, uint32_t vni, Tunnel::TunnelTable::TunnelId tunnelId) {
  Dest d;
  d.destType_ = destTypeTunnel_;
  d.data_.vxlan = VxlanDest(vtep, vni, tunnelId);
  return d;
}

Dest Dest::intf(Ostra::IntfId intfId) {
  Dest d;
  d.destType_ = destTypeIntf_;
  d.data_.intf = intfId;
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
