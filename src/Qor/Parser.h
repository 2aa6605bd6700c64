// Strict parser over an iterator pair, used by every value type's parsing constructor
// (`explicit T(Qor::Parser&)`). It tolerates nothing: a literal must match to the
// character, and a failure throws ParseError naming the position and what was expected.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "Qor/String.h"

namespace Qor {

class ParseError : public std::runtime_error {
 public:
  ParseError(size_t position, std::string_view expected, std::string_view text);
  size_t position() const noexcept { return position_; }
  String const& expected() const noexcept { return expected_; }

 private:
  size_t position_;
  String expected_;
};

class Parser {
 public:
  using Iterator = std::string_view::const_iterator;

  Parser(Iterator begin, Iterator end) : begin_(begin), cur_(begin), end_(end) {}
  explicit Parser(std::string_view text) : Parser(text.begin(), text.end()) {}

  bool atEnd() const noexcept { return cur_ == end_; }
  size_t position() const noexcept { return static_cast<size_t>(cur_ - begin_); }
  Iterator current() const noexcept { return cur_; }
  char peek() const noexcept { return atEnd() ? '\0' : *cur_; }
  std::string_view rest() const noexcept { return {cur_, end_}; }

  // Consumes `literal` or throws.
  void expect(std::string_view literal);
  // Consumes `literal` if it is next; leaves the position unchanged otherwise.
  bool tryConsume(std::string_view literal) noexcept;
  void expectEnd();

  // Decimal, no sign, no leading blanks, no leading zeros except "0" itself; at most `max`.
  uint64_t parseUnsigned(uint64_t max = UINT64_MAX, std::string_view what = "an unsigned number");
  // As parseUnsigned, with an optional '-' before a number other than 0 ("-0" is refused).
  int64_t parseSigned(std::string_view what = "a number");
  // A finite decimal number in any spelling std::from_chars reads ("inf", "nan" refused).
  double parseDouble(std::string_view what = "a number");
  // A finite number spelt exactly as printDouble writes it: one text per value.
  double parseExactDouble(std::string_view what = "a number");
  // A single-quoted string; a backslash escapes a quote or a backslash, and nothing else.
  String parseQuoted(std::string_view what = "a quoted string");
  // Letters, digits and underscores (enumerator names).
  std::string_view parseIdentifier(std::string_view what = "a name");

  [[noreturn]] void fail(std::string_view expected) const;

 private:
  Iterator begin_;
  Iterator cur_;
  Iterator end_;
};

// Writes `s` single-quoted with the escapes that parseQuoted reads back.
void printQuoted(std::string& out, std::string_view s);
// Writes the shortest text that reads back as `v` (std::to_chars: locale-independent, "1e-07",
// "0.1", "250"); -0 is written as 0.
void printDouble(std::string& out, double v);

}  // namespace Qor
