#include "Qor/Assert.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace Qor {

namespace {
// Prints the path from "/src/" on, as the library's sources are known.
char const* sourcePath(char const* file) {
  char const* s = std::strstr(file, "/src/");
  return s ? s : file;
}
}  // namespace

void assertFailed(char const* text, char const* file, int line, char const* function) {
  std::fprintf(stderr, "assertion failed: %s\n  at %s:%d in %s\n", text, sourcePath(file), line, function);
  std::fflush(stderr);
  std::abort();
}

}  // namespace Qor
