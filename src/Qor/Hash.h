// Hashing used by every value type and every observable collection. A value type hashes
// itself with a member `uint32_t hash(uint32_t seed) const`; integers go through the
// single-attribute hash. HashAccumulator combines fields in declaration order.
// A type that must never be a key says `static constexpr bool qorHashable = false;`:
// asking hashOf() for its hash throws UnhashableError, and a collection keyed by it does
// not compile.
#pragma once

#include <concepts>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>

namespace Qor {

class UnhashableError : public std::logic_error {
 public:
  explicit UnhashableError(std::string_view typeName)
      : std::logic_error("unhashable type: " + std::string(typeName)) {}
};

// Finalizer of MurmurHash3: every input bit affects every output bit.
constexpr uint32_t fmix32(uint32_t h) noexcept {
  h ^= h >> 16;
  h *= 0x85ebca6bu;
  h ^= h >> 13;
  h *= 0xc2b2ae35u;
  h ^= h >> 16;
  return h;
}

// Jenkins' one-at-a-time hash over the eight bytes of a 64-bit value, low byte first.
constexpr uint32_t oneAtATimeHash(uint64_t v, uint32_t seed = 0) noexcept {
  uint32_t h = seed;
  for (int i = 0; i < 8; ++i) {
    h += static_cast<uint8_t>(v >> (8 * i));
    h += h << 10;  // multiply by 1025
    h ^= h >> 6;
  }
  h += h << 3;  // multiply by 9
  h ^= h >> 11;
  h += h << 15;  // multiply by 32769
  return h;
}

// The single-attribute hash for integral attributes.
constexpr uint32_t hashAttribute(uint64_t v, uint32_t seed = 0) noexcept {
  return fmix32(static_cast<uint32_t>(v) ^ fmix32(static_cast<uint32_t>(v >> 32) ^ seed));
}

class HashAccumulator {
 public:
  constexpr explicit HashAccumulator(uint32_t seed = 0) noexcept : h_(seed) {}
  constexpr void mix(uint32_t v) noexcept { h_ ^= v + 0x9e3779b9u + (h_ << 6) + (h_ >> 2); }
  constexpr uint32_t result() const noexcept { return fmix32(h_); }

 private:
  uint32_t h_;
};

// The accumulator for hand-written hashes of hot key types (the keys of the largest
// collections): it takes whole 64-bit words, so a key packs its small fields into a few
// words and pays one multiply per word instead of a finalizer per field. The result is
// the high half, where the multiply gathers every bit of its input: folding the two
// halves together instead cancelled a single word whose low half is zero (the product's
// low half is then zero, and after the fold both halves are equal), so every such word
// hashed alike.
class WordHashAccumulator {
 public:
  constexpr explicit WordHashAccumulator(uint32_t seed = 0) noexcept : h_(seed) {}
  constexpr void mix(uint64_t v) noexcept {
    h_ = (h_ ^ v) * 0x9e3779b97f4a7c15u;
    h_ ^= h_ >> 32;
  }
  constexpr uint32_t result() const noexcept { return fmix32(static_cast<uint32_t>(h_ >> 32)); }

 private:
  uint64_t h_;
};

template <class T>
concept HasHashMember = requires(T const& t, uint32_t seed) {
  { t.hash(seed) } -> std::convertible_to<uint32_t>;
};

template <class T>
constexpr bool isHashable() {
  if constexpr (requires { T::qorHashable; }) {
    return T::qorHashable;
  } else {
    return HasHashMember<T> || std::is_integral_v<T> || std::is_enum_v<T> || std::is_same_v<T, std::string>;
  }
}

// The runtime's hash of any value: throws UnhashableError for a type that opted out.
template <class T>
uint32_t hashOf(T const& v, uint32_t seed = 0) {
  if constexpr (!isHashable<T>()) {
    (void)v;
    (void)seed;
    throw UnhashableError(T::typeName);
  } else if constexpr (HasHashMember<T>) {
    return v.hash(seed);
  } else if constexpr (std::is_integral_v<T> || std::is_enum_v<T>) {
    return hashAttribute(static_cast<uint64_t>(v), seed);
  } else {
    HashAccumulator acc(seed);
    for (char c : v) acc.mix(static_cast<uint8_t>(c));
    return acc.result();
  }
}

// Hasher for the runtime's hash maps.
template <class T>
struct Hasher {
  static_assert(isHashable<T>(), "collection key type is not hashable");
  size_t operator()(T const& v) const noexcept { return hashOf(v); }
};

}  // namespace Qor
