// What a restarted FEC machine does with the rows the instance before it left. It starts
// with a fresh allocator, while its request and response tables may still hold rows of the
// previous run: requests, when that run did not stop cleanly, and responses the hardware
// has not dropped yet. The requests are withdrawn (the machine is their only writer, and it
// requests afresh what its inputs use); each ID with a response is recorded in the
// machine's previousRunFecId map and stays out of use until the response goes, so that
// nothing new is published with an old answer.
//
// The machine supplies a Texts type with its trace text for an answered ID:
//   static constexpr char keptUntilResponseGoes[]
// Each machine instantiates its own copy, which traces under the machine's own source.
#pragma once

#include <vector>

#include "Fenn/FecIdToHwFecIdRequest.h"
#include "Fenn/FecIdToHwFecIdResponse.h"
#include "Qor/Trace.h"

namespace Fenn {

template <class Texts, class Sm>
void reservePreviousRunFecIds(Qor::TraceHandle& trace, FecIdToHwFecIdRequest& requests,
                              FecIdToHwFecIdResponse const& responses, Sm& sm) {
  std::vector<Vasp::Fib::FecId> const leftRequests = requests.rowKeys();
  for (Vasp::Fib::FecId const fecId : leftRequests) {
    QTRACE_ON(trace, 5, "   withdrawing request of a previous run, fecId: ", fecId);
    requests.rowDel(fecId);
  }
  for (auto const& [fecId, response] : responses.rows()) {
    QTRACE_ON(trace, 5, Texts::keptUntilResponseGoes, fecId);
    sm.previousRunFecIdIs(fecId, false);
  }
}

}  // namespace Fenn
