// Assertions guard the invariants the library is known by. A failure prints the assertion
// text, the source path, line and function to stderr and aborts. QOR_ASSERT_TEXT carries
// the text explicitly, so the printed text stays exact whatever a formatter does to the
// expression.
#pragma once

namespace Qor {
[[noreturn]] void assertFailed(char const* text, char const* file, int line, char const* function);
}

#define QOR_ASSERT(expr) ((expr) ? void(0) : ::Qor::assertFailed(#expr, __FILE__, __LINE__, __func__))
#define QOR_ASSERT_TEXT(expr, text) \
  ((expr) ? void(0) : ::Qor::assertFailed(text, __FILE__, __LINE__, __func__))
