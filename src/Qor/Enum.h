// Enumeration support: an enum opts in by specializing EnumTraits with its qualified type
// name and its enumerator names indexed by value. It then prints, parses and converts
// by name or number like any value type.
#pragma once

#include <array>
#include <stdexcept>
#include <string_view>
#include <type_traits>

#include "Qor/String.h"

namespace Qor {

template <class E>
struct EnumTraits;  // { static constexpr std::string_view typeName; static constexpr std::array names; }

template <class E>
concept RegisteredEnum = std::is_enum_v<E> && requires {
  EnumTraits<E>::names;
};

class EnumRangeError : public std::out_of_range {
 public:
  using std::out_of_range::out_of_range;
};

template <RegisteredEnum E>
std::string_view enumName(E e) {
  auto const i = static_cast<size_t>(e);
  if (i >= EnumTraits<E>::names.size()) {
    throw EnumRangeError(String(EnumTraits<E>::typeName) + ": no enumerator " + std::to_string(i));
  }
  return EnumTraits<E>::names[i];
}

template <RegisteredEnum E>
E enumFromNumber(unsigned n) {
  if (n >= EnumTraits<E>::names.size()) {
    throw EnumRangeError(String(EnumTraits<E>::typeName) + ": no enumerator " + std::to_string(n));
  }
  return static_cast<E>(n);
}

template <RegisteredEnum E>
E enumFromName(std::string_view name) {
  auto const& names = EnumTraits<E>::names;
  for (size_t i = 0; i < names.size(); ++i) {
    if (names[i] == name) return static_cast<E>(i);
  }
  throw EnumRangeError(String(EnumTraits<E>::typeName) + ": no enumerator '" + String(name) + "'");
}

}  // namespace Qor
