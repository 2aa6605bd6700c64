#include "Qor/Assert.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Qor/Trace.h"

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
  // abort() does not flush stdio; whatever the process wrote (trace files, a simulator's
  // output) is worth more than usual right now. The ring log needs nothing: its pages
  // belong to the file.
  traceFlush();
  std::fflush(nullptr);
  std::abort();
}

}  // namespace Qor
