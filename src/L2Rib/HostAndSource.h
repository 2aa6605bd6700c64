// A layer-2 host as the RIB resolved it: the first object of the chain it forwards
// through, and who taught the RIB the host. Text form:
//   Value('L2Rib::HostAndSource', ** {'objTuple': Value('L2Rib::ObjTuple', ** {...}), 'source':
//   hostSourceEvpn})
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "L2Rib/ObjTuple.h"
#include "Qor/Strep.h"

namespace L2Rib {

using Qor::operator<<;  // text forms on std::ostream, found by argument-dependent lookup

enum HostSource : uint8_t {
  hostSourceInvalid = 0,
  hostSourceLocal = 1,
  hostSourceStatic = 2,
  hostSourceEvpn = 3,
};

}  // namespace L2Rib

template <>
struct Qor::EnumTraits<L2Rib::HostSource> {
  static constexpr std::string_view typeName = "L2Rib::HostSource";
  static constexpr std::array<std::string_view, 4> names = {"hostSourceInvalid", "hostSourceLocal",
                                                            "hostSourceStatic", "hostSourceEvpn"};
};

namespace L2Rib {

class HostAndSource : public Qor::RecordValue<HostAndSource> {
 public:
  static constexpr std::string_view typeName = "L2Rib::HostAndSource";

  HostAndSource() = default;
  HostAndSource(ObjTuple objTuple, HostSource source) : objTuple_(objTuple), source_(source) {}
  explicit HostAndSource(Qor::Parser& p) { parseFields(p); }

  ObjTuple objTuple() const noexcept { return objTuple_; }
  HostSource source() const noexcept { return source_; }

  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("objTuple", self.objTuple_);
    visit("source", self.source_);
  }

  auto operator<=>(HostAndSource const&) const = default;
  bool operator==(HostAndSource const&) const = default;

 private:
  ObjTuple objTuple_;
  HostSource source_ = hostSourceInvalid;
};

}  // namespace L2Rib
