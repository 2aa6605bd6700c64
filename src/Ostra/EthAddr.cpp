#include "Ostra/EthAddr.h"

#include <optional>
#include <stdexcept>

namespace Ostra {

namespace {

constexpr char hexDigits[] = "0123456789abcdef";

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;  // uppercase is not the text form, so it is rejected like any other character
}

// Exactly "xx:xx:xx:xx:xx:xx" in lowercase hex.
std::optional<uint64_t> parseText(std::string_view s) {
  if (s.size() != 17) return std::nullopt;
  uint64_t v = 0;
  for (size_t i = 0; i < 17; ++i) {
    if (i % 3 == 2) {
      if (s[i] != ':') return std::nullopt;
      continue;
    }
    int const d = hexValue(s[i]);
    if (d < 0) return std::nullopt;
    v = (v << 4) | static_cast<uint64_t>(d);
  }
  return v;
}

}  // namespace

EthAddr::EthAddr(std::string_view text) {
  auto v = parseText(text);
  if (!v) throw std::invalid_argument("not an Ethernet address: '" + std::string(text) + "'");
  value_ = *v;
}

EthAddr::EthAddr(Qor::Parser& p) {
  auto const start = p.position();
  auto const text = p.parseQuoted("an Ethernet address");
  auto v = parseText(text);
  if (!v) throw Qor::ParseError(start, "an Ethernet address 'xx:xx:xx:xx:xx:xx'", text);
  value_ = *v;
}

void EthAddr::print(Qor::String& out) const {
  out += '\'';
  for (int byte = 5; byte >= 0; --byte) {
    uint64_t const b = (value_ >> (8 * byte)) & 0xff;
    out += hexDigits[b >> 4];
    out += hexDigits[b & 0xf];
    if (byte) out += ':';
  }
  out += '\'';
}

}  // namespace Ostra
