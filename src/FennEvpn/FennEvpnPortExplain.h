// The operator answer's last steps for an entry of the access-side flooding machines (an
// ESI label, a dot1q mapping, a flood filter): the physical ports the entry belongs on
// (the port itself, or a LAG's current members) and, per port, whether the hardware holds
// it, refused it (the machine's review retries it) or has not been asked yet. `Status` is
// the machine's per-entry status record (IntfVlanStatus, IntfVlanTunnelEsiStatus), null
// when the machine has programmed nothing for the entry.
#pragma once

#include "FennEvpn/FennEvpn.h"
#include "FennEvpn/FennEvpnExplanation.h"
#include "FennEvpn/FennEvpnLagMemberInfo.h"
#include "FennEvpn/FennEvpnSmSummary.h"
#include "Keel/TimerTask.h"
#include "Ostra/IntfId.h"

namespace Fenn {

// Whether the entry is on every member port it was tried on: what the summaries count as
// programmed.
template <class Status>
bool portsProgrammed(Status const* status) {
  return status && !status->programmed().empty() && status->unprogrammed().empty();
}

template <class Status>
void explainPorts(Explanation& answer, char const* machine, Ostra::IntfId const& intf,
                  EvpnLagMemberInfo const& lags, Status const* status, SmCounters const& counters,
                  Keel::TimerTask const* review) {
  Qor::String ports;
  Qor::String programmedOn;
  Qor::String refusedOn;
  Qor::String pendingOn;
  // Appended piece by piece: a temporary on the left of + trips a bogus GCC 12 warning.
  auto const add = [](Qor::String& list, Ostra::IntfId const& phy) {
    list += ' ';
    list += phy.name();
  };
  auto const classify = [&](Ostra::IntfId const& phy) {
    add(ports, phy);
    if (status && status->unprogrammedHas(phy)) {
      add(refusedOn, phy);
    } else if (status && status->programmedHas(phy)) {
      add(programmedOn, phy);
    } else {
      add(pendingOn, phy);
    }
  };
  if (!isLag(intf)) {
    classify(intf);
  } else if (!lags.lagToPortHas(intf)) {
    answer.stepIs(machine, "member ports", "none: no LAG configuration", ExplainStatus::missingInput);
    return;
  } else if (lags.lagToPort(intf).empty()) {
    answer.stepIs(machine, "member ports", "none: the LAG has no members", ExplainStatus::missingInput);
    return;
  } else {
    for (auto const& phy : lags.lagToPort(intf)) classify(phy);
  }
  answer.stepIs(machine, "member ports", ports.substr(1));
  if (!refusedOn.empty()) {
    answer.stepIs(machine, "in hardware",
                  "refused on" + refusedOn + (programmedOn.empty() ? "" : ", programmed on" + programmedOn) +
                      "; " + retryText(counters, review),
                  ExplainStatus::failed);
  } else if (!pendingOn.empty()) {
    answer.stepIs(machine, "in hardware", "not programmed on" + pendingOn, ExplainStatus::waitingForHardware);
  } else {
    answer.stepIs(machine, "in hardware", "programmed on" + programmedOn);
  }
}

}  // namespace Fenn
