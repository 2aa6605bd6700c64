// An interface identifier: one 64-bit integer with the interface kind in its top four
// bits and a kind-specific payload below, so that interface IDs compare and hash as
// integers (ordering: by kind, then payload). Names are only for printing and parsing:
//
//   ""                    the empty interface (kind none, value 0, the default)
//   "Ethernet<p>"         front-panel port p (1..65535)
//   "Ethernet<m>/<p>"     port p of module m (1..65535 each)
//   "Port-Channel<n>"     LAG n (1..4294967295)
//   "SrTePolicy<t>"       SR-TE policy interface of tunnel ID t (decimal TunnelId value)
//   "Tunnel<t>"           dynamic tunnel interface of tunnel ID t (decimal TunnelId value)
//   "Cpu"                 the CPU port
//
// Numbers are decimal without leading zeros, so every interface has exactly one name.
// Text form: the name, single-quoted.
#pragma once

#include <compare>
#include <cstdint>
#include <string_view>

#include "Qor/Hash.h"
#include "Qor/Parser.h"
#include "Qor/Strep.h"
#include "Qor/String.h"
#include "Tunnel/TunnelId.h"

namespace Ostra {

using Qor::operator<<;  // text forms on std::ostream, found by argument-dependent lookup

class IntfId {
 public:
  enum class Kind : uint8_t {
    none = 0,
    ethernet = 1,
    portChannel = 2,
    srTePolicy = 3,
    dynamicTunnel = 4,
    cpu = 5
  };
  static constexpr unsigned kindShift = 60;
  static constexpr uint64_t payloadMask = (uint64_t(1) << kindShift) - 1;

  constexpr IntfId() noexcept = default;
  // Throws std::invalid_argument naming the text when it is not an interface name.
  explicit IntfId(std::string_view name);
  explicit IntfId(Qor::Parser& p);

  // Throw std::out_of_range for a number outside the ranges listed above.
  static IntfId ethernet(uint32_t port);
  static IntfId ethernet(uint32_t module, uint32_t port);
  static IntfId portChannel(uint32_t number);
  static constexpr IntfId srTePolicy(Tunnel::TunnelTable::TunnelId tunnelId) noexcept {
    return IntfId(Kind::srTePolicy, tunnelId.value());
  }
  static constexpr IntfId dynamicTunnel(Tunnel::TunnelTable::TunnelId tunnelId) noexcept {
    return IntfId(Kind::dynamicTunnel, tunnelId.value());
  }
  static constexpr IntfId cpu() noexcept { return IntfId(Kind::cpu, 0); }

  constexpr uint64_t value() const noexcept { return value_; }
  constexpr Kind kind() const noexcept { return static_cast<Kind>(value_ >> kindShift); }
  constexpr bool empty() const noexcept { return value_ == 0; }
  constexpr bool isEthernet() const noexcept { return kind() == Kind::ethernet; }
  constexpr bool isLag() const noexcept { return kind() == Kind::portChannel; }
  constexpr bool isSrTePolicy() const noexcept { return kind() == Kind::srTePolicy; }
  constexpr bool isDynamicTunnel() const noexcept { return kind() == Kind::dynamicTunnel; }
  constexpr bool isCpu() const noexcept { return kind() == Kind::cpu; }

  // The tunnel ID that an SR-TE policy or dynamic tunnel interface encodes; for any other
  // interface it throws the tunnel ID range error, as no tunnel ID lies behind it.
  Tunnel::TunnelTable::TunnelId tunnelId() const;

  Qor::String name() const;
  void print(Qor::String& out) const;
  uint32_t hash(uint32_t seed) const noexcept { return Qor::hashAttribute(value_, seed); }

  constexpr auto operator<=>(IntfId const&) const noexcept = default;

 private:
  constexpr IntfId(Kind kind, uint64_t payload) noexcept
      : value_(uint64_t(kind) << kindShift | (payload & payloadMask)) {}
  constexpr uint64_t payload() const noexcept { return value_ & payloadMask; }

  uint64_t value_ = 0;
};

}  // namespace Ostra
