// Names one object of the layer-2 RIB's forwarding chains: the table it lives in and its
// id there. A host points at a tuple, a label at the next one, a load balance at up to 16.
// The table types are numbered as the RIB numbers them; 0 names nothing. The ids of each
// table are their own types (LabelId, LoadBalanceId, DestId), so that an id cannot be
// looked up in the wrong table; `tuple()` gives the tuple that names the object. Text form:
//   Value('L2Rib::ObjTuple', ** {'tableType': tableTypeLabel_, 'objId': 7})
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "Ostra/NumericValue.h"
#include "Qor/Enum.h"
#include "Qor/Record.h"
#include "Qor/Strep.h"

namespace L2Rib {

using Qor::operator<<;  // text forms on std::ostream, found by argument-dependent lookup

enum TableType : uint8_t {
  tableTypeInvalid_ = 0,
  tableTypeLoadBalance_ = 1,
  tableTypeLabel_ = 2,
  tableTypeDest_ = 3,
};

}  // namespace L2Rib

template <>
struct Qor::EnumTraits<L2Rib::TableType> {
  static constexpr std::string_view typeName = "L2Rib::TableType";
  static constexpr std::array<std::string_view, 4> names = {"tableTypeInvalid_", "tableTypeLoadBalance_",
                                                            "tableTypeLabel_", "tableTypeDest_"};
};

namespace L2Rib {

class ObjTuple : public Qor::RecordValue<ObjTuple> {
 public:
  static constexpr std::string_view typeName = "L2Rib::ObjTuple";

  ObjTuple() = default;
  ObjTuple(TableType tableType, uint32_t objId) : tableType_(tableType), objId_(objId) {}
  explicit ObjTuple(Qor::Parser& p) { parseFields(p); }

  TableType tableType() const noexcept { return tableType_; }
  uint32_t objId() const noexcept { return objId_; }

  // One word: tuples key the per-host and dependency maps.
  uint32_t hash(uint32_t seed) const noexcept {
    return Qor::hashAttribute(uint64_t(tableType_) << 32 | objId_, seed);
  }

  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("tableType", self.tableType_);
    visit("objId", self.objId_);
  }

  auto operator<=>(ObjTuple const&) const = default;
  bool operator==(ObjTuple const&) const = default;

 private:
  TableType tableType_ = tableTypeInvalid_;
  uint32_t objId_ = 0;
};

// The id of an object of table `type`, printed as plain decimal.
template <TableType type>
class ObjId : public Ostra::NumericValue<ObjId<type>, uint32_t> {
 public:
  static constexpr uint64_t maxValue = UINT32_MAX;
  static constexpr char const* rangeError = "ObjId::value > 4294967295 not allowed";
  using Ostra::NumericValue<ObjId<type>, uint32_t>::NumericValue;

  ObjTuple tuple() const noexcept { return ObjTuple(type, this->value()); }
};

using LoadBalanceId = ObjId<tableTypeLoadBalance_>;
using LabelId = ObjId<tableTypeLabel_>;
using DestId = ObjId<tableTypeDest_>;

}  // namespace L2Rib
