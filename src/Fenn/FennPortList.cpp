#include "Fenn/FennPortList.h"

#include <algorithm>

#include "Qor/Hash.h"

namespace Fenn {

namespace {
constexpr std::string_view head = "Value('Fenn::FennPortList', ** {'port': [";
constexpr std::string_view tail = "]})";
}  // namespace

FennPortList::FennPortList(Qor::Parser& p) {
  p.expect(head);
  if (!p.tryConsume(tail)) {
    do {
      auto const pos = p.position();
      Ostra::IntfId const port(p);
      // Sorted and unique, as printed: anything else is not this type's text.
      if (!ports_.empty() && !(ports_.back() < port))
        throw Qor::ParseError(pos, "ports in increasing order", p.rest());
      ports_.push_back(port);
    } while (p.tryConsume(", "));
    p.expect(tail);
  }
}

bool FennPortList::portHas(Ostra::IntfId const& port) const noexcept {
  return std::binary_search(ports_.begin(), ports_.end(), port);
}

void FennPortList::portIs(Ostra::IntfId const& port, bool member) {
  if (!member) {
    portDel(port);
    return;
  }
  auto it = std::lower_bound(ports_.begin(), ports_.end(), port);
  if (it == ports_.end() || *it != port) ports_.insert(it, port);
}

bool FennPortList::portDel(Ostra::IntfId const& port) {
  auto it = std::lower_bound(ports_.begin(), ports_.end(), port);
  if (it == ports_.end() || *it != port) return false;
  ports_.erase(it);
  return true;
}

void FennPortList::print(Qor::String& out) const {
  out += head;
  for (size_t i = 0; i < ports_.size(); ++i) {
    if (i) out += ", ";
    ports_[i].print(out);
  }
  out += tail;
}

uint32_t FennPortList::hash(uint32_t seed) const noexcept {
  Qor::HashAccumulator acc(seed);
  for (auto const& port : ports_) acc.mix(port.hash(0));
  return acc.result();
}

}  // namespace Fenn
