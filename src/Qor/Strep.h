// Text forms ("strep") of values. Every value type prints with `void print(String&) const`
// and parses with an `explicit T(Qor::Parser&)` constructor; integers, strings, Booleans
// and registered enums are handled here. valueToStrep and strepToValue are the two ends
// that the rest of the system uses; printing then parsing gives back an equal value.
#pragma once

#include <concepts>
#include <limits>
#include <ostream>
#include <string_view>
#include <type_traits>

#include "Qor/Enum.h"
#include "Qor/Parser.h"
#include "Qor/String.h"

namespace Qor {

template <class T>
concept Printable = requires(T const& v, String& out) {
  v.print(out);
};

template <class T>
void printValue(String& out, T const& v) {
  if constexpr (std::is_same_v<T, bool>) {
    out += v ? "True" : "False";
  } else if constexpr (std::is_integral_v<T>) {
    out += std::to_string(v);
  } else if constexpr (std::is_floating_point_v<T>) {
    static_assert(std::is_same_v<T, double>, "text forms carry doubles only: one text per value");
    printDouble(out, v);
  } else if constexpr (RegisteredEnum<T>) {
    out += enumName(v);
  } else if constexpr (std::is_convertible_v<T const&, std::string_view>) {
    printQuoted(out, v);
  } else {
    v.print(out);
  }
}

template <class T>
T parseValue(Parser& p) {
  if constexpr (std::is_same_v<T, bool>) {
    if (p.tryConsume("True")) return true;
    p.expect("False");
    return false;
  } else if constexpr (std::is_integral_v<T> && std::is_unsigned_v<T>) {
    return static_cast<T>(p.parseUnsigned(std::numeric_limits<T>::max()));
  } else if constexpr (std::is_integral_v<T>) {
    auto const pos = p.position();
    int64_t const v = p.parseSigned();
    if (v < std::numeric_limits<T>::min() || v > std::numeric_limits<T>::max()) {
      throw ParseError(pos, "a number in range", p.rest());
    }
    return static_cast<T>(v);
  } else if constexpr (std::is_floating_point_v<T>) {
    return p.parseExactDouble();
  } else if constexpr (RegisteredEnum<T>) {
    auto const pos = p.position();
    auto const name = p.parseIdentifier();
    try {
      return enumFromName<T>(name);
    } catch (EnumRangeError const&) {
      throw ParseError(pos, "an enumerator of " + String(EnumTraits<T>::typeName), name);
    }
  } else if constexpr (std::is_same_v<T, String>) {
    return p.parseQuoted();
  } else {
    return T(p);
  }
}

template <class T>
String valueToStrep(T const& v) {
  String out;
  printValue(out, v);
  return out;
}

// Parses the whole character sequence [begin, end) as a T; trailing text is an error.
template <class T>
T sequenceToValue(Parser::Iterator begin, Parser::Iterator end) {
  Parser p(begin, end);
  T v = parseValue<T>(p);
  p.expectEnd();
  return v;
}

template <class T>
T strepToValue(std::string_view text) {
  return sequenceToValue<T>(text.begin(), text.end());
}

// Stream output of value types and registered enumerations, in their text forms. Each
// namespace that declares such types names these with `using Qor::operator<<;` so that
// argument-dependent lookup finds them from any namespace (`std::cout << tunnelId`).
template <Printable T>
std::ostream& operator<<(std::ostream& os, T const& v) {
  return os << valueToStrep(v);
}
// An enumerator prints by name; a number that names none prints as the number, as in trace.
template <RegisteredEnum E>
std::ostream& operator<<(std::ostream& os, E e) {
  auto const i = static_cast<size_t>(e);
  if (i < EnumTraits<E>::names.size()) return os << EnumTraits<E>::names[i];
  return os << i;
}

}  // namespace Qor
