// How one trace argument is kept: its Kind in the call site's descriptor, its text in a
// text trace line, and its bytes in a record. A `const char` array is the call site's own
// text (a string literal piece): it lives in the descriptor and costs nothing per record.
// Values that only have a text form (value types, anything with operator<<) are kept as
// text, cut to kMaxTextBytes.
#pragma once

#include <cstring>
#include <sstream>
#include <string_view>
#include <type_traits>

#include "Qor/Strep.h"
#include "Ringlog/Layout.h"
#include "Ringlog/Text.h"

namespace Ringlog {

// A is the type deduced by a forwarding reference, so constness of arrays survives.
template <class A>
inline constexpr bool isLiteral = std::is_array_v<std::remove_reference_t<A>>&&
    std::is_same_v<std::remove_extent_t<std::remove_reference_t<A>>, char const>;

template <class T>
constexpr Kind argKind() {
  if constexpr (std::is_same_v<T, bool>) {
    return Kind::boolean;
  } else if constexpr (Qor::RegisteredEnum<T>) {
    return Kind::enumeration;
  } else if constexpr (std::is_enum_v<T>) {
    return std::is_signed_v<std::underlying_type_t<T>> ? Kind::int64 : Kind::uint64;
  } else if constexpr (std::is_integral_v<T>) {
    return std::is_signed_v<T> ? Kind::int64 : Kind::uint64;
  } else if constexpr (std::is_floating_point_v<T>) {
    return Kind::float64;
  } else {
    return Kind::text;
  }
}

template <class T>
void appendText(Qor::String& out, T const& v) {
  if constexpr (std::is_pointer_v<T> && std::is_convertible_v<T, char const*>) {
    if (v) out += v;
  } else if constexpr (std::is_convertible_v<T const&, std::string_view>) {
    out += std::string_view(v);
  } else if constexpr (Qor::Printable<T>) {
    v.print(out);
  } else {
    std::ostringstream os;
    os << v;
    out += os.str();
  }
}

// The text of one argument in a trace line; the reader produces the same from the record.
template <class T>
void appendArg(Qor::String& out, T const& v) {
  constexpr Kind kind = argKind<T>();
  if constexpr (kind == Kind::boolean) {
    appendBool(out, v);
  } else if constexpr (kind == Kind::enumeration) {
    appendEnum(out, static_cast<uint64_t>(v), Qor::EnumTraits<T>::names);
  } else if constexpr (kind == Kind::int64) {
    out += std::to_string(static_cast<int64_t>(v));
  } else if constexpr (kind == Kind::uint64) {
    out += std::to_string(static_cast<uint64_t>(v));
  } else if constexpr (kind == Kind::float64) {
    appendDouble(out, static_cast<double>(v));
  } else {
    appendText(out, v);
  }
}

template <class A>
constexpr uint32_t maxEncodedBytes() {
  if constexpr (isLiteral<A>) {
    return 0;
  } else if constexpr (argKind<std::remove_cvref_t<A>>() == Kind::text) {
    return 4 + kMaxTextBytes;
  } else {
    return 8;
  }
}

inline std::byte* encodeText(std::byte* p, std::string_view s) noexcept {
  uint32_t const n = s.size() > kMaxTextBytes ? kMaxTextBytes : static_cast<uint32_t>(s.size());
  uint32_t const word = s.size() > kMaxTextBytes ? (n | kTruncated) : n;
  std::memcpy(p, &word, 4);
  if (n) std::memcpy(p + 4, s.data(), n);  // an empty view may have no data pointer
  return p + 4 + n;
}

// Reused for values that must be printed before they can be stored.
Qor::String& scratchText();

template <class A>
std::byte* encodeArg(std::byte* p, std::remove_reference_t<A> const& v) {
  using T = std::remove_cvref_t<A>;
  constexpr Kind kind = argKind<T>();
  if constexpr (isLiteral<A>) {
    return p;
  } else if constexpr (kind == Kind::text) {
    if constexpr (std::is_pointer_v<T> && std::is_convertible_v<T, char const*>) {
      return encodeText(p, v ? std::string_view(v) : std::string_view());
    } else if constexpr (std::is_convertible_v<T const&, std::string_view>) {
      return encodeText(p, std::string_view(v));
    } else {
      Qor::String& text = scratchText();
      text.clear();
      appendText(text, v);
      return encodeText(p, text);
    }
  } else {
    uint64_t bits;
    if constexpr (kind == Kind::float64) {
      double const d = static_cast<double>(v);
      std::memcpy(&bits, &d, 8);
    } else if constexpr (kind == Kind::int64) {
      bits = static_cast<uint64_t>(static_cast<int64_t>(v));
    } else {
      bits = static_cast<uint64_t>(v);
    }
    std::memcpy(p, &bits, 8);
    return p + 8;
  }
}

}  // namespace Ringlog
