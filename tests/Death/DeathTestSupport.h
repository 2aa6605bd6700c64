// Death tests match an assertion's whole first line and the source file it sits in: several
// machines share a text ("initialized()"), and the file tells whose it was.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

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

// Starts a machine once per input with that input missing (a null pointer) and the others
// given: each start must die on the assertion that names the missing input, `names[i]` for
// `inputs[i]`, in /src/FennEvpn/<file>. `start` takes the inputs in the order given.
template <class Start, class... Input>
void expectEachInputRequired(char const* file, Start start,
                             std::array<char const*, sizeof...(Input)> const& names, Input const&... inputs) {
  auto const given = std::tie(inputs...);
  auto const startWithout = [&]<size_t... I>(size_t missing, std::index_sequence<I...>) {
    start((I == missing ? std::remove_cvref_t<Input>() : std::get<I>(given))...);
  };
  for (size_t i = 0; i < names.size(); ++i) {
    SCOPED_TRACE(names[i]);
    EXPECT_DEATH(startWithout(i, std::index_sequence_for<Input...>()), assertion(names[i], file));
  }
}

}  // namespace DeathTest
