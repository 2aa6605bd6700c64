#include "L2Rib/LoadBalance.h"

#include <stdexcept>

namespace L2Rib {

LoadBalance::LoadBalance(std::initializer_list<ObjTuple> next) {
  for (ObjTuple const& tuple : next) nextIs(EcmpIndex(next_.size()), tuple);
}

LoadBalance::LoadBalance(Qor::Parser& p) {
  p.expect("Value('");
  p.expect(typeName);
  p.expect("', ** {'next': [");
  if (!p.tryConsume("]")) {
    do {
      ObjTuple const tuple(p);
      nextIs(EcmpIndex(next_.size()), tuple);
    } while (p.tryConsume(", "));
    p.expect("]");
  }
  p.expect("})");
}

void LoadBalance::nextIs(EcmpIndex index, ObjTuple tuple) {
  size_t const i = index.value();
  if (i < next_.size()) {
    next_[i] = tuple;
  } else if (i == next_.size()) {
    next_.push_back(tuple);
  } else {
    throw std::out_of_range("LoadBalance::nextIs: ECMP index " + std::to_string(i) + " leaves a hole after " +
                            std::to_string(next_.size()) + " entries");
  }
}

void LoadBalance::print(Qor::String& out) const {
  out += "Value('";
  out += typeName;
  out += "', ** {'next': [";
  for (size_t i = 0; i < next_.size(); ++i) {
    if (i) out += ", ";
    next_[i].print(out);
  }
  out += "]})";
}

uint32_t LoadBalance::hash(uint32_t seed) const {
  Qor::HashAccumulator acc(seed);
  for (ObjTuple const& tuple : next_) acc.mix(tuple.hash(0));
  return acc.result();
}

}  // namespace L2Rib
