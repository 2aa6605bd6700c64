// A set of physical ports, kept as a value: the member ports of a LAG as the flooding
// state machines read them. LAGs have a handful of members, so the ports sit in one sorted
// vector: lookups are a short binary search, iteration is in port order, and two lists
// compare equal exactly when they hold the same ports. Text form:
//   Value('Fenn::FennPortList', ** {'port': ['Ethernet1', 'Ethernet2']})
#pragma once

#include <cstdint>
#include <vector>

#include "Ostra/IntfId.h"
#include "Qor/Parser.h"
#include "Qor/Strep.h"
#include "Qor/String.h"

namespace Fenn {

using Qor::operator<<;  // text forms on std::ostream, found by argument-dependent lookup

class FennPortList {
 public:
  using const_iterator = std::vector<Ostra::IntfId>::const_iterator;

  FennPortList() = default;
  explicit FennPortList(Qor::Parser& p);

  bool portHas(Ostra::IntfId const& port) const noexcept;
  // Membership is the value: `false` removes the port.
  void portIs(Ostra::IntfId const& port, bool member = true);
  // Removes the port if present; returns whether it was.
  bool portDel(Ostra::IntfId const& port);
  size_t portCount() const noexcept { return ports_.size(); }
  bool empty() const noexcept { return ports_.empty(); }
  const_iterator begin() const noexcept { return ports_.begin(); }
  const_iterator end() const noexcept { return ports_.end(); }

  void print(Qor::String& out) const;
  uint32_t hash(uint32_t seed) const noexcept;
  bool operator==(FennPortList const&) const = default;

 private:
  std::vector<Ostra::IntfId> ports_;  // sorted, no duplicates
};

}  // namespace Fenn
