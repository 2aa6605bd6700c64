// Death tests match an assertion's whole first line and the source file it sits in: several
// machines share a text ("initialized()"), and the file tells whose it was.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace DeathTest {

// The regular expression for `text` as an assertion in /src/FennEvpn/<file>.
inline std::string assertion(char const* text, char const* file) {
  std::string re = "assertion failed: ";
  for (char const* c = text; *c; ++c) {
    if (std::strchr("\\.[](){}*+?|^$", *c)) re += '\\';
    re += *c;
  }
  return re + "\n  at /src/FennEvpn/" + file + ":";
}

}  // namespace DeathTest
