// What the diagnostics tests share: a fixed clock, settings put back to quiet, temporary
// directories, and a registered enumeration and a value type to trace.
#pragma once

#include <cstdint>
#include <string_view>

#include "Qor/Strep.h"
#include "Qor/String.h"

enum class Color : uint8_t { red, green };

template <>
struct Qor::EnumTraits<Color> {
  static constexpr std::string_view typeName = "Test::Color";
  static constexpr std::array<std::string_view, 2> names = {"red", "green"};
};

struct Pair {
  int a;
  int b;
  void print(Qor::String& out) const {
    out += '(';
    out += std::to_string(a);
    out += ", ";
    out += std::to_string(b);
    out += ')';
  }
};

// 2024-05-01T10:11:12.123456789Z
inline constexpr int64_t kFixedTimeNs = 1714558272'123456789;

// Text trace off and to stderr, ring log in memory (64 KiB) following text levels,
// the fixed clock.
void resetDiagnostics();

Qor::String readFile(Qor::String const& path);

class TempDir {
 public:
  TempDir();
  ~TempDir();
  Qor::String const& path() const { return path_; }

 private:
  Qor::String path_;
};
