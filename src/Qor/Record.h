// Record value types: the "Value('Ns::Type', ** {'field': value, ...})" family. A record
// derives from RecordValue<Self> and declares its qualified name and its fields once:
//
//   static constexpr std::string_view typeName = "Fenn::IntfVlanKey";
//   template <class S, class V> static void visitFields(S& self, V&& visit) {
//     visit("intfId", self.intfId_);
//     visit("vlanId", self.vlanId_);
//   }
//   explicit IntfVlanKey(Qor::Parser& p) { parseFields(p); }
//   auto operator<=>(IntfVlanKey const&) const = default;   // field order = key order
//
// Printing, strict parsing and hashing (fields mixed in declaration order, each by its
// own hash or, for integers, the single-attribute hash) then come from here.
#pragma once

#include <compare>
#include <cstdint>

#include "Qor/Hash.h"
#include "Qor/Strep.h"

namespace Qor {

template <class Self>
class RecordValue {
 public:
  void print(String& out) const {
    out += "Value('";
    out += Self::typeName;
    out += "', ** {";
    bool first = true;
    Self::visitFields(self(), [&](std::string_view name, auto const& field) {
      out += first ? "'" : ", '";
      first = false;
      out += name;
      out += "': ";
      printValue(out, field);
    });
    out += "})";
  }

  uint32_t hash(uint32_t seed) const {
    HashAccumulator acc(seed);
    Self::visitFields(self(), [&](std::string_view, auto const& field) { acc.mix(hashOf(field)); });
    return acc.result();
  }

  auto operator<=>(RecordValue const&) const = default;

 protected:
  void parseFields(Parser& p) {
    p.expect("Value('");
    p.expect(Self::typeName);
    p.expect("', ** {");
    bool first = true;
    Self::visitFields(static_cast<Self&>(*this), [&](std::string_view name, auto& field) {
      p.expect(first ? "'" : ", '");
      first = false;
      p.expect(name);
      p.expect("': ");
      field = parseValue<std::remove_cvref_t<decltype(field)>>(p);
    });
    p.expect("})");
  }

 private:
  Self const& self() const { return static_cast<Self const&>(*this); }
};

}  // namespace Qor
