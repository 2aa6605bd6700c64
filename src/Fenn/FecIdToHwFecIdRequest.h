// The FEC requests of one client (flood sets, layer-2 hosts) to the hardware layer: per
// FEC ID, the FEC to program. The client opens the table as its writer; the hardware
// layer reads it and answers each FEC ID in the client's FecIdToHwFecIdResponse table.
// A request stays until the client removes it.
#pragma once

#include <string_view>

#include "Qor/Ptr.h"
#include "Vasp/FibFec.h"
#include "Vasp/Table.h"

namespace Fenn {

class FecIdToHwFecIdRequest : public Vasp::Table<Vasp::Fib::FecId, Vasp::Fib::Fec> {
 public:
  using Table::Table;
  std::string_view fwkType() const override { return "Fenn::FecIdToHwFecIdRequest"; }
};

Qor::Ptr<FecIdToHwFecIdRequest> fecIdToHwFecIdRequestFactory(Qor::String const& name, Vasp::Mode mode);

}  // namespace Fenn
