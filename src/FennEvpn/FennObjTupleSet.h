// A set of layer-2 RIB chain objects kept under one object: the host FEC machine's
// dependency maps hold one per tuple, forward (the lower objects a FEC was built from)
// and reverse (the FEC-carrying objects built over a lower one). Never empty: its owner
// deletes it instead.
#pragma once

#include <string_view>

#include "FennEvpn/FennEvpnExport.h"
#include "L2Rib/ObjTuple.h"
#include "Qor/Attribute.h"

namespace Fenn {

class FENN_EVPN_EXPORT ObjTupleSet : public Qor::Entity {
 public:
  explicit ObjTupleSet(L2Rib::ObjTuple key) : key_(key) {}
  std::string_view fwkType() const override { return "Fenn::ObjTupleSet"; }
  L2Rib::ObjTuple key() const noexcept { return key_; }

  QOR_SET(objTuple, L2Rib::ObjTuple)
  size_t objTuples() const noexcept { return objTuple().size(); }
  bool isMemberOf(L2Rib::ObjTuple const& tuple) const { return objTupleHas(tuple); }

 private:
  L2Rib::ObjTuple key_;
};

}  // namespace Fenn
