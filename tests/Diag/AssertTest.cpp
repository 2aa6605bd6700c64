#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>

#include "Diag/DiagTestSupport.h"
#include "Qor/Assert.h"

namespace {

// The output must match to the character; everything in it is literal.
Qor::String exactly(Qor::String const& text) {
  Qor::String re = "^";
  for (char c : text) {
    if (std::strchr("\\.[](){}*+?|^$", c)) re += '\\';
    re += c;
  }
  return re + "$";
}

Qor::String failure(char const* text, int line, char const* function) {
  return Qor::String("assertion failed: ") + text + "\n  at " + __FILE__ + ":" + std::to_string(line) +
         " in " + function + "\n";
}

int const kTextLine = __LINE__ + 1;
void assertInitialized(bool initialized) { QOR_ASSERT_TEXT(initialized, "initialized()"); }

int const kExprLine = __LINE__ + 1;
void assertPositive(int count) { QOR_ASSERT(count > 0 && (count | 1) != 0); }

TEST(AssertDeathTest, FailurePrintsTextPlaceAndAborts) {
  assertInitialized(true);
  assertPositive(1);
  EXPECT_DEATH(assertInitialized(false), exactly(failure("initialized()", kTextLine, "assertInitialized")));
  EXPECT_DEATH(assertPositive(0),
               exactly(failure("count > 0 && (count | 1) != 0", kExprLine, "assertPositive")));
}

TEST(AssertDeathTest, BufferedOutputIsFlushed) {
  EXPECT_DEATH(
      {
        std::fputs("written before the failure", stderr);
        setvbuf(stderr, nullptr, _IOFBF, 1024);
        std::fputs(" and buffered", stderr);
        assertInitialized(false);
      },
      "^written before the failure and buffered" +
          exactly(failure("initialized()", kTextLine, "assertInitialized")).substr(1));
}

}  // namespace
