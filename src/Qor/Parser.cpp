#include "Qor/Parser.h"

#include <cctype>
#include <charconv>
#include <cmath>

namespace Qor {

namespace {
String describe(size_t position, std::string_view expected, std::string_view text) {
  String msg = "parse error at position " + std::to_string(position) + ": expected " + String(expected);
  msg += text.empty() ? String(", found end of text") : ", found \"" + String(text.substr(0, 24)) + "\"";
  return msg;
}
}  // namespace

ParseError::ParseError(size_t position, std::string_view expected, std::string_view text)
    : std::runtime_error(describe(position, expected, text)), position_(position), expected_(expected) {}

void Parser::fail(std::string_view expected) const { throw ParseError(position(), expected, rest()); }

void Parser::expect(std::string_view literal) {
  if (!tryConsume(literal)) fail("\"" + String(literal) + "\"");
}

bool Parser::tryConsume(std::string_view literal) noexcept {
  if (rest().substr(0, literal.size()) != literal) return false;
  cur_ += static_cast<std::ptrdiff_t>(literal.size());
  return true;
}

void Parser::expectEnd() {
  if (!atEnd()) fail("end of text");
}

uint64_t Parser::parseUnsigned(uint64_t max, std::string_view what) {
  if (atEnd() || !std::isdigit(static_cast<unsigned char>(*cur_))) fail(what);
  if (*cur_ == '0' && cur_ + 1 != end_ && std::isdigit(static_cast<unsigned char>(cur_[1]))) {
    fail(what);
  }
  uint64_t value = 0;
  auto [ptr, ec] = std::from_chars(&*cur_, &*cur_ + (end_ - cur_), value);
  if (ec != std::errc() || value > max) fail(what);
  cur_ += ptr - &*cur_;
  return value;
}

int64_t Parser::parseSigned(std::string_view what) {
  auto const start = cur_;
  bool const negative = tryConsume("-");
  uint64_t const magnitude = parseUnsigned(negative ? uint64_t(INT64_MAX) + 1 : INT64_MAX, what);
  if (negative && magnitude == 0) {
    cur_ = start;
    fail(what);
  }
  return negative ? static_cast<int64_t>(0 - magnitude) : static_cast<int64_t>(magnitude);
}

double Parser::parseDouble(std::string_view what) {
  if (atEnd()) fail(what);
  double value = 0;
  auto [ptr, ec] = std::from_chars(&*cur_, &*cur_ + (end_ - cur_), value);
  if (ec != std::errc() || !std::isfinite(value)) fail(what);
  cur_ += ptr - &*cur_;
  return value;
}

double Parser::parseExactDouble(std::string_view what) {
  auto const start = cur_;
  double const value = parseDouble(what);
  String canonical;
  printDouble(canonical, value);
  if (std::string_view(&*start, static_cast<size_t>(cur_ - start)) != canonical) {
    cur_ = start;
    fail(what);
  }
  return value;
}

String Parser::parseQuoted(std::string_view what) {
  if (peek() != '\'') fail(what);
  String out;
  for (auto it = cur_ + 1; it != end_; ++it) {
    if (*it == '\'') {
      cur_ = it + 1;
      return out;
    }
    if (*it == '\\') {
      // Only the two escapes printQuoted writes: any other would give a value a second text.
      if (++it == end_ || (*it != '\'' && *it != '\\')) {
        cur_ = it - 1;
        fail("\\' or \\\\ (the only escapes)");
      }
    }
    out += *it;
  }
  fail(what);
}

std::string_view Parser::parseIdentifier(std::string_view what) {
  auto it = cur_;
  while (it != end_ && (std::isalnum(static_cast<unsigned char>(*it)) || *it == '_')) ++it;
  if (it == cur_) fail(what);
  std::string_view id(&*cur_, static_cast<size_t>(it - cur_));
  cur_ = it;
  return id;
}

void printDouble(std::string& out, double v) {
  char buf[32];
  auto const r = std::to_chars(buf, buf + sizeof buf, v + 0.0);  // + 0.0 turns -0 into 0
  out.append(buf, r.ptr);
}

void printQuoted(std::string& out, std::string_view s) {
  out += '\'';
  for (char c : s) {
    if (c == '\'' || c == '\\') out += '\\';
    out += c;
  }
  out += '\'';
}

}  // namespace Qor
