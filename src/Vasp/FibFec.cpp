#include "Vasp/FibFec.h"

#include <stdexcept>

#include "Qor/Hash.h"
#include "Qor/Strep.h"

namespace Vasp::Fib {

Fec::Fec(Qor::Parser& p) {
  p.expect("Value('");
  p.expect(typeName);
  p.expect("', ** {'fecId': ");
  fecId_ = FecId(p);
  p.expect(", 'via': [");
  if (!p.tryConsume("]")) {
    do {
      Via const via(p);
      viaIs(ViaIndex(vias_.size()), via);
    } while (p.tryConsume(", "));
    p.expect("]");
  }
  p.expect("})");
}

void Fec::viaIs(ViaIndex index, Via const& via) {
  size_t const i = index.value();
  if (i < vias_.size()) {
    vias_[i] = via;
  } else if (i == vias_.size()) {
    vias_.push_back(via);
  } else {
    throw std::out_of_range("Fec::viaIs: via index " + std::to_string(i) + " leaves a hole after " +
                            std::to_string(vias_.size()) + " vias");
  }
}

void Fec::print(Qor::String& out) const {
  out += "Value('";
  out += typeName;
  out += "', ** {'fecId': ";
  fecId_.print(out);
  out += ", 'via': [";
  for (size_t i = 0; i < vias_.size(); ++i) {
    if (i) out += ", ";
    vias_[i].print(out);
  }
  out += "]})";
}

uint32_t Fec::hash(uint32_t seed) const {
  Qor::HashAccumulator acc(seed);
  acc.mix(fecId_.hash(0));
  for (auto const& via : vias_) acc.mix(via.hash(0));
  return acc.result();
}

}  // namespace Vasp::Fib
