#include "FennEvpn/FennEvpn.h"

#include "Qor/Assert.h"
#include "Qor/Strep.h"

namespace Fenn {

Qor::String TunnelIdToHwTunnelId::vaspString() const {
  Qor::String out = "key: ";
  Qor::printValue(out, key_);
  out += " hwTunnelId: ";
  Qor::printValue(out, hwTunnelId_.type());
  out += ' ';
  Qor::printValue(out, hwTunnelId_.id());
  return out;
}

Qor::String stringValue(HwProgrammingStatus status) { return Qor::String(Qor::enumName(status)); }

HwProgrammingStatus HwProgrammingStatusInstance(unsigned value) {
  return Qor::enumFromNumber<HwProgrammingStatus>(value);
}

HwProgrammingStatus HwProgrammingStatusInstance(Qor::String const& name) {
  return Qor::enumFromName<HwProgrammingStatus>(name);
}

TunnelId destMplsTunnelId(L2Rib::Dest const& dest) {
  QOR_ASSERT_TEXT(dest.destType() == L2Rib::destTypeMpls_, "dest.destType() == L2Rib::destTypeMpls_");
  auto const& mpls = dest.mpls();
  return mpls.intfId().isSrTePolicy() ? mpls.intfId().tunnelId() : mpls.tunnelId();
}

TunnelId srTeOrDynamicTunnelIntfIdToTunnelId(Ostra::IntfId intf) { return intf.tunnelId(); }

bool isLag(Ostra::IntfId intf) { return intf.isLag(); }

}  // namespace Fenn
