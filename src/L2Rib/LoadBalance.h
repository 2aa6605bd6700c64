// A load-balance object of the layer-2 RIB: an ECMP array of up to 16 next objects, in
// EcmpIndex order, without holes. Text form:
//   Value('L2Rib::LoadBalance', ** {'next': [Value('L2Rib::ObjTuple', ** {...}), ...]})
#pragma once

#include <compare>
#include <span>
#include <string_view>
#include <vector>

#include "L2Rib/EcmpIndex.h"
#include "L2Rib/ObjTuple.h"
#include "Qor/Strep.h"

namespace L2Rib {

using Qor::operator<<;  // text forms on std::ostream, found by argument-dependent lookup

class LoadBalance {
 public:
  static constexpr std::string_view typeName = "L2Rib::LoadBalance";

  LoadBalance() = default;
  LoadBalance(std::initializer_list<ObjTuple> next);
  explicit LoadBalance(Qor::Parser& p);

  size_t nextCount() const noexcept { return next_.size(); }
  std::span<ObjTuple const> next() const noexcept { return next_; }
  // Throws std::out_of_range when nothing sits at `index`.
  ObjTuple next(EcmpIndex index) const { return next_.at(index.value()); }
  // Replaces the entry at `index`, or appends it when `index` is the next free position;
  // anything further would leave a hole and throws std::out_of_range.
  void nextIs(EcmpIndex index, ObjTuple tuple);

  void print(Qor::String& out) const;
  uint32_t hash(uint32_t seed) const;

  auto operator<=>(LoadBalance const&) const = default;
  bool operator==(LoadBalance const&) const = default;

 private:
  std::vector<ObjTuple> next_;
};

}  // namespace L2Rib
