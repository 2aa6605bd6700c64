// A hardware tunnel ID: the pool it came from and the number within that pool. Number 0
// is reserved in every pool for "no ID", so the default value (and what a failed
// allocation returns) is not valid(). Text form:
//   Value('Fenn::HwTunnelId', ** {'type': hwTunnelIdTypeSharedEs, 'id': 7})
#pragma once

#include <cstdint>
#include <string_view>

#include "Fenn/HwTunnelIdType.h"
#include "Qor/Record.h"

namespace Fenn {

class HwTunnelId : public Qor::RecordValue<HwTunnelId> {
 public:
  static constexpr std::string_view typeName = "Fenn::HwTunnelId";
  static constexpr uint32_t invalidId = 0;

  HwTunnelId() = default;
  HwTunnelId(HwTunnelIdType type, uint32_t id) : type_(type), id_(id) {}
  explicit HwTunnelId(Qor::Parser& p) { parseFields(p); }

  HwTunnelIdType type() const noexcept { return type_; }
  uint32_t id() const noexcept { return id_; }
  bool valid() const noexcept { return id_ != invalidId; }

  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("type", self.type_);
    visit("id", self.id_);
  }

  auto operator<=>(HwTunnelId const&) const = default;
  bool operator==(HwTunnelId const&) const = default;

 private:
  HwTunnelIdType type_ = hwTunnelIdTypeDefault;
  uint32_t id_ = invalidId;
};

}  // namespace Fenn
