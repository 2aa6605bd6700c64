// A FEC as it is requested from the hardware layer: its ID and its vias in order (one via
// for a plain next hop, several for ECMP). It is the row of a FEC request table, keyed by
// its ID. A FEC without vias is empty: there is nothing to program for it. Text form:
//   Value('Vasp::Fib::Fec', ** {'fecId': 792633534417207296, 'via': [Value('Vasp::Fib::Via', ...)]})
// with the vias comma-separated (", ") inside the brackets.
#pragma once

#include <compare>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "Qor/Parser.h"
#include "Qor/Strep.h"
#include "Qor/String.h"
#include "Vasp/FibFecId.h"
#include "Vasp/FibVia.h"
#include "Vasp/FibViaIndex.h"

namespace Vasp::Fib {

using Qor::operator<<;  // text forms on std::ostream, found by argument-dependent lookup

class Fec {
 public:
  static constexpr std::string_view typeName = "Vasp::Fib::Fec";

  Fec() = default;
  explicit Fec(FecId fecId) : fecId_(fecId) {}
  explicit Fec(Qor::Parser& p);

  FecId fecId() const noexcept { return fecId_; }
  FecId key() const noexcept { return fecId_; }

  size_t viaCount() const noexcept { return vias_.size(); }
  bool empty() const noexcept { return vias_.empty(); }
  std::span<Via const> vias() const noexcept { return vias_; }
  // Throws std::out_of_range when no via sits at `index`.
  Via const& via(ViaIndex index) const { return vias_.at(index.value()); }
  // Replaces the via at `index`, or appends it when `index` is the next free position;
  // anything further would leave a hole and throws std::out_of_range.
  void viaIs(ViaIndex index, Via const& via);

  void print(Qor::String& out) const;
  uint32_t hash(uint32_t seed) const;

  auto operator<=>(Fec const&) const = default;
  bool operator==(Fec const&) const = default;

 private:
  FecId fecId_;
  std::vector<Via> vias_;
};

}  // namespace Vasp::Fib
