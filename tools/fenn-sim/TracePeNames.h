// Trace lines from fenn-sim name the scenario's PEs: the library traces a tunnel by its
// number, which says nothing to the reader of a story written with PE names. The
// decoration follows each tunnel number that belongs to a named PE, leaving the library's
// own text as it was:
//   ... tunnelId: 35184372088833 (pe1) label: 1001 ...
//   ... l2IntfId: 'Tunnel35184372088833' (pe1) vlanId: 10
// The line's prefix (time, source, level) is left alone.
#pragma once

#include <map>

#include "Qor/Strep.h"
#include "Tunnel/TunnelId.h"

namespace SimTool {

using TunnelNames = std::map<Tunnel::TunnelTable::TunnelId, Qor::String>;

void addPeNames(Qor::String& line, TunnelNames const& names);

// While it lives, every text trace line carries the PE names of `names` (which must outlive it).
class TracePeNames {
 public:
  explicit TracePeNames(TunnelNames const& names);
  ~TracePeNames();
  TracePeNames(TracePeNames const&) = delete;
  TracePeNames& operator=(TracePeNames const&) = delete;
};

}  // namespace SimTool
