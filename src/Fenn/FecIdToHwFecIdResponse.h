// The hardware layer's answers to FEC requests: per requested FEC ID, a row FecToHwFecId
// with the hardware's own identifier of the programmed FEC and the interface that the
// hardware associates with it. The hardware layer writes the table; the requesting client
// reads it. A row with the empty interface is no answer. A row goes when the hardware has
// removed the FEC, some time after its request went.
//   Value('Fenn::FecToHwFecId', ** {'fecId': 792633534417207296, 'hwFecId': 4097, 'intfId': 'Ethernet1'})
#pragma once

#include <cstdint>
#include <string_view>

#include "Ostra/IntfId.h"
#include "Qor/Ptr.h"
#include "Qor/Record.h"
#include "Vasp/FibFecId.h"
#include "Vasp/Table.h"

namespace Fenn {

class FecToHwFecId : public Qor::RecordValue<FecToHwFecId> {
 public:
  static constexpr std::string_view typeName = "Fenn::FecToHwFecId";

  FecToHwFecId() = default;
  FecToHwFecId(Vasp::Fib::FecId fecId, uint64_t hwFecId, Ostra::IntfId intfId)
      : fecId_(fecId), hwFecId_(hwFecId), intfId_(intfId) {}
  explicit FecToHwFecId(Qor::Parser& p) { parseFields(p); }

  Vasp::Fib::FecId fecId() const noexcept { return fecId_; }
  Vasp::Fib::FecId key() const noexcept { return fecId_; }
  uint64_t hwFecId() const noexcept { return hwFecId_; }
  Ostra::IntfId intfId() const noexcept { return intfId_; }

  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("fecId", self.fecId_);
    visit("hwFecId", self.hwFecId_);
    visit("intfId", self.intfId_);
  }

  auto operator<=>(FecToHwFecId const&) const = default;
  bool operator==(FecToHwFecId const&) const = default;

 private:
  Vasp::Fib::FecId fecId_;
  uint64_t hwFecId_ = 0;
  Ostra::IntfId intfId_;
};

class FecIdToHwFecIdResponse : public Vasp::Table<Vasp::Fib::FecId, FecToHwFecId> {
 public:
  using Table::Table;
  std::string_view fwkType() const override { return "Fenn::FecIdToHwFecIdResponse"; }
};

Qor::Ptr<FecIdToHwFecIdResponse> fecIdToHwFecIdResponseFactory(Qor::String const& name, Vasp::Mode mode);

}  // namespace Fenn
