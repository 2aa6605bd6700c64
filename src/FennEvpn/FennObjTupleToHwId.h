// What the host FEC machine publishes for the platform: per layer-2 RIB chain object that
// carries a FEC, the hardware's identifier of that FEC, once the hardware has answered.
// An object whose FEC is withdrawn, or whose answer goes, leaves the table.
#pragma once

#include <cstdint>
#include <string_view>

#include "FennEvpn/FennEvpnExport.h"
#include "L2Rib/ObjTuple.h"
#include "Qor/Attribute.h"

namespace Fenn {

class FENN_EVPN_EXPORT ObjTupleToHwId : public Qor::Entity {
 public:
  std::string_view fwkType() const override { return "Fenn::ObjTupleToHwId"; }
  QOR_MAP(hwId, L2Rib::ObjTuple, uint64_t)
};

FENN_EVPN_EXPORT Qor::Ptr<ObjTupleToHwId> objTupleToHwIdFactory();

}  // namespace Fenn
