// Qor::SourceLocation: std::source_location where the standard library has it, and an
// equivalent built on the compiler's builtins where it does not (clang 14 with libstdc++ 12
// ships <source_location> without the builtin it needs). Callers take it as a defaulted
// argument, `Qor::SourceLocation where = Qor::SourceLocation::current()`, either way.
#pragma once

#include <cstdint>
#include <version>

#if defined(__cpp_lib_source_location)
#include <source_location>
#endif

namespace Qor {

#if defined(__cpp_lib_source_location)
using SourceLocation = std::source_location;
#else
class SourceLocation {
 public:
  // The builtins are evaluated at the caller's site because they are default arguments.
  static constexpr SourceLocation current(char const* file = __builtin_FILE(),
                                          char const* function = __builtin_FUNCTION(),
                                          std::uint_least32_t line = __builtin_LINE()) noexcept {
    SourceLocation l;
    l.file_ = file;
    l.function_ = function;
    l.line_ = line;
    return l;
  }
  constexpr SourceLocation() noexcept = default;
  constexpr char const* file_name() const noexcept { return file_; }
  constexpr char const* function_name() const noexcept { return function_; }
  constexpr std::uint_least32_t line() const noexcept { return line_; }
  constexpr std::uint_least32_t column() const noexcept { return 0; }

 private:
  char const* file_ = "";
  char const* function_ = "";
  std::uint_least32_t line_ = 0;
};
#endif

}  // namespace Qor
