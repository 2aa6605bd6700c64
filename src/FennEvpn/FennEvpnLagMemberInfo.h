// EvpnLagMemberInfo: for every configured LAG with at least one member, its member ports.
// EvpnLagSm writes it from the LAG configuration; the flooding state machines read it to
// program a LAG on each of its ports, and never read the LAG configuration themselves.
// A LAG without members has no entry: an entry is never stored empty.
#pragma once

#include <string_view>

#include "Fenn/FennPortList.h"
#include "FennEvpn/FennEvpnExport.h"
#include "Ostra/IntfId.h"
#include "Qor/Attribute.h"

namespace Fenn {

class FENN_EVPN_EXPORT EvpnLagMemberInfo : public Qor::Entity {
 public:
  std::string_view fwkType() const override { return "Fenn::EvpnLagMemberInfo"; }

  // LAG interface to its member ports; `lagToPortIs` replaces the whole list.
  QOR_MAP(lagToPort, Ostra::IntfId, FennPortList)
};

FENN_EVPN_EXPORT Qor::Ptr<EvpnLagMemberInfo> evpnLagMemberInfoFactory();

}  // namespace Fenn
