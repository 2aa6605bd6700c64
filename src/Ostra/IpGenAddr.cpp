#include "Ostra/IpGenAddr.h"

#include <charconv>
#include <optional>
#include <stdexcept>

#include "Qor/Hash.h"

namespace Ostra {

namespace {

// Any IPv4 dotted quad or IPv6 text that the canonical printer could produce or that
// differs from it only in spelling; the caller then insists on the canonical spelling.
std::optional<IpGenAddr> parseLoose(std::string_view s) {
  if (s.find(':') == std::string_view::npos) {
    uint32_t v = 0;
    char const* p = s.data();
    char const* const end = s.data() + s.size();
    for (int i = 0; i < 4; ++i) {
      if (i && (p == end || *p++ != '.')) return std::nullopt;
      unsigned octet = 0;
      auto [q, ec] = std::from_chars(p, end, octet);
      if (ec != std::errc() || octet > 255 || q - p > 3) return std::nullopt;
      p = q;
      v = (v << 8) | octet;
    }
    if (p != end) return std::nullopt;
    return IpGenAddr::ipv4(v);
  }
  // IPv6: up to eight groups with at most one "::".
  std::array<uint16_t, 8> head{}, tail{};
  int nHead = 0, nTail = 0;
  bool gap = false;
  size_t i = 0;
  if (s.substr(0, 2) == "::") {
    gap = true;
    i = 2;
  }
  while (i < s.size()) {
    size_t j = i;
    uint32_t group = 0;
    while (j < s.size() && j - i < 5) {
      char const c = s[j];
      int d = c >= '0' && c <= '9'   ? c - '0'
              : c >= 'a' && c <= 'f' ? c - 'a' + 10
              : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                     : -1;
      if (d < 0) break;
      group = (group << 4) | static_cast<uint32_t>(d);
      ++j;
    }
    if (j == i || j - i > 4) return std::nullopt;
    if (nHead + nTail == 8) return std::nullopt;
    (gap ? tail[nTail++] : head[nHead++]) = static_cast<uint16_t>(group);
    i = j;
    if (i == s.size()) break;
    if (s[i] != ':') return std::nullopt;
    if (i + 1 < s.size() && s[i + 1] == ':') {
      if (gap) return std::nullopt;
      gap = true;
      i += 2;
    } else {
      ++i;
      if (i == s.size()) return std::nullopt;
    }
  }
  if (gap ? nHead + nTail > 7 : nHead != 8) return std::nullopt;
  IpGenAddr::Bytes bytes{};
  auto put = [&](int index, uint16_t g) {
    bytes[2 * index] = static_cast<uint8_t>(g >> 8);
    bytes[2 * index + 1] = static_cast<uint8_t>(g);
  };
  for (int k = 0; k < nHead; ++k) put(k, head[k]);
  for (int k = 0; k < nTail; ++k) put(8 - nTail + k, tail[k]);
  return IpGenAddr::ipv6(bytes);
}

std::optional<IpGenAddr> parseCanonical(std::string_view s) {
  auto a = parseLoose(s);
  if (!a || a->toString() != s) return std::nullopt;
  return a;
}

}  // namespace

IpGenAddr IpGenAddr::ipv4(uint32_t v4) noexcept {
  IpGenAddr a;
  for (int i = 0; i < 4; ++i) a.bytes_[i] = static_cast<uint8_t>(v4 >> (24 - 8 * i));
  return a;
}

IpGenAddr IpGenAddr::ipv6(Bytes const& bytes) noexcept {
  IpGenAddr a;
  a.family_ = Family::v6;
  a.bytes_ = bytes;
  return a;
}

IpGenAddr::IpGenAddr(std::string_view text) {
  auto a = parseCanonical(text);
  if (!a) throw std::invalid_argument("not a canonical IP address: '" + std::string(text) + "'");
  *this = *a;
}

IpGenAddr::IpGenAddr(Qor::Parser& p) {
  auto const start = p.position();
  auto const text = p.parseQuoted("an IP address");
  auto a = parseCanonical(text);
  if (!a) throw Qor::ParseError(start, "a canonical IP address", text);
  *this = *a;
}

Qor::String IpGenAddr::toString() const {
  Qor::String out;
  if (isV4()) {
    for (int i = 0; i < 4; ++i) {
      if (i) out += '.';
      out += std::to_string(bytes_[i]);
    }
    return out;
  }
  uint16_t g[8];
  for (int i = 0; i < 8; ++i) g[i] = static_cast<uint16_t>(bytes_[2 * i] << 8 | bytes_[2 * i + 1]);
  // The longest run of at least two zero groups is shortened; the first wins a tie.
  int bestStart = -1, bestLen = 1;
  for (int i = 0; i < 8;) {
    if (g[i] != 0) {
      ++i;
      continue;
    }
    int j = i;
    while (j < 8 && g[j] == 0) ++j;
    if (j - i > bestLen) {
      bestStart = i;
      bestLen = j - i;
    }
    i = j;
  }
  char buf[8];
  for (int i = 0; i < 8; ++i) {
    if (i == bestStart) {
      out += "::";
      i += bestLen - 1;
      continue;
    }
    if (i && i != bestStart + bestLen) out += ':';
    auto [end, ec] = std::to_chars(buf, buf + sizeof buf, g[i], 16);
    (void)ec;
    out.append(buf, end);
  }
  return out;
}

void IpGenAddr::print(Qor::String& out) const { Qor::printQuoted(out, toString()); }

uint32_t IpGenAddr::hash(uint32_t seed) const noexcept {
  Qor::HashAccumulator acc(seed);
  acc.mix(static_cast<uint32_t>(family_));
  for (int i = 0; i < 16; i += 4) {
    acc.mix(uint32_t(bytes_[i]) << 24 | uint32_t(bytes_[i + 1]) << 16 | uint32_t(bytes_[i + 2]) << 8 |
            bytes_[i + 3]);
  }
  return acc.result();
}

}  // namespace Ostra
