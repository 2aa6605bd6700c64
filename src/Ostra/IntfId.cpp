#include "Ostra/IntfId.h"

#include <charconv>
#include <optional>
#include <stdexcept>

namespace Ostra {

namespace {

using Tunnel::TunnelTable::TunnelId;

constexpr std::string_view ethernetPrefix = "Ethernet";
constexpr std::string_view portChannelPrefix = "Port-Channel";
constexpr std::string_view srTePolicyPrefix = "SrTePolicy";
constexpr std::string_view tunnelPrefix = "Tunnel";
constexpr std::string_view cpuName = "Cpu";
constexpr uint32_t maxPort = 0xffff;

// A decimal number in [min, max] at the front of `s`, no sign and no leading zeros;
// advances `s` past it.
std::optional<uint64_t> takeNumber(std::string_view& s, uint64_t min, uint64_t max) {
  if (s.empty() || s[0] < '0' || s[0] > '9' || (s[0] == '0' && s.size() > 1 && s[1] >= '0' && s[1] <= '9')) {
    return std::nullopt;
  }
  uint64_t v = 0;
  auto [p, ec] = std::from_chars(s.data(), s.data() + s.size(), v);
  if (ec != std::errc() || v < min || v > max) return std::nullopt;
  s.remove_prefix(static_cast<size_t>(p - s.data()));
  return v;
}

bool takePrefix(std::string_view& s, std::string_view prefix) {
  if (s.substr(0, prefix.size()) != prefix) return false;
  s.remove_prefix(prefix.size());
  return true;
}

std::optional<IntfId> parseName(std::string_view s) {
  if (s.empty()) return IntfId();
  if (s == cpuName) return IntfId::cpu();
  std::optional<uint64_t> a, b;
  if (takePrefix(s, ethernetPrefix)) {
    a = takeNumber(s, 1, maxPort);
    if (!a) return std::nullopt;
    if (takePrefix(s, "/")) {
      b = takeNumber(s, 1, maxPort);
      if (!b || !s.empty()) return std::nullopt;
      return IntfId::ethernet(static_cast<uint32_t>(*a), static_cast<uint32_t>(*b));
    }
    if (!s.empty()) return std::nullopt;
    return IntfId::ethernet(static_cast<uint32_t>(*a));
  }
  if (takePrefix(s, portChannelPrefix)) {
    a = takeNumber(s, 1, UINT32_MAX);
    if (!a || !s.empty()) return std::nullopt;
    return IntfId::portChannel(static_cast<uint32_t>(*a));
  }
  if (takePrefix(s, srTePolicyPrefix)) {
    a = takeNumber(s, TunnelId::minValue, TunnelId::maxValue);
    if (!a || !s.empty()) return std::nullopt;
    return IntfId::srTePolicy(TunnelId(*a));
  }
  if (takePrefix(s, tunnelPrefix)) {
    a = takeNumber(s, TunnelId::minValue, TunnelId::maxValue);
    if (!a || !s.empty()) return std::nullopt;
    return IntfId::dynamicTunnel(TunnelId(*a));
  }
  return std::nullopt;
}

}  // namespace

IntfId::IntfId(std::string_view name) {
  auto id = parseName(name);
  if (!id) throw std::invalid_argument("unknown interface name '" + std::string(name) + "'");
  *this = *id;
}

IntfId::IntfId(Qor::Parser& p) {
  auto const start = p.position();
  auto const name = p.parseQuoted("an interface name");
  auto id = parseName(name);
  if (!id) throw Qor::ParseError(start, "an interface name", name);
  *this = *id;
}

IntfId IntfId::ethernet(uint32_t port) { return ethernet(0, port); }

IntfId IntfId::ethernet(uint32_t module, uint32_t port) {
  if (port < 1 || port > maxPort || module > maxPort) {
    throw std::out_of_range("Ethernet module or port out of range 1.." + std::to_string(maxPort));
  }
  return IntfId(Kind::ethernet, uint64_t(module) << 32 | port);
}

IntfId IntfId::portChannel(uint32_t number) {
  if (number < 1) throw std::out_of_range("Port-Channel number 0 not allowed");
  return IntfId(Kind::portChannel, number);
}

TunnelId IntfId::tunnelId() const {
  if (!isSrTePolicy() && !isDynamicTunnel()) throw std::out_of_range(TunnelId::rangeError);
  return TunnelId(payload());
}

Qor::String IntfId::name() const {
  Qor::String out;
  switch (kind()) {
    case Kind::none:
      break;
    case Kind::ethernet:
      out += ethernetPrefix;
      if (uint64_t const module = payload() >> 32) out += std::to_string(module) + "/";
      out += std::to_string(payload() & 0xffffffffu);
      break;
    case Kind::portChannel:
      out += portChannelPrefix;
      out += std::to_string(payload());
      break;
    case Kind::srTePolicy:
      out += srTePolicyPrefix;
      out += std::to_string(payload());
      break;
    case Kind::dynamicTunnel:
      out += tunnelPrefix;
      out += std::to_string(payload());
      break;
    case Kind::cpu:
      out += cpuName;
      break;
  }
  return out;
}

void IntfId::print(Qor::String& out) const { Qor::printQuoted(out, name()); }

}  // namespace Ostra
