// The answer to "why is this key (not) in hardware?": the chain of conditions that decides
// the key's state, in the order the state machines meet them, each with its current value,
// ending in what the hardware holds. State machines add their steps through their const
// explain accessors, reading only their own maps, review tasks and helpers, so an answer
// can never drift from what the machines do. One renderer turns it into text or JSON.
//
// Each step has a status. The key's state is the status of the first step that is not ok
// (a later step cannot be reached before an earlier one holds), or programmed when every
// step is ok:
//   missingInput        an input the key needs is absent (the control plane has not
//                       written it, or the key is not wanted at all);
//   waitingForHardware  asked for and not yet answered (a FEC request without a response,
//                       a flood-set entry the hardware has not reported on, a batch review);
//   failed              the hardware refused or had no room, and a review retries it;
//   programmed          in hardware.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>
#include <utility>
#include <vector>

#include "FennEvpn/FennEvpnExport.h"
#include "FennEvpn/FennEvpnSmSummary.h"
#include "Keel/TimerTask.h"
#include "L2Rib/ObjTuple.h"
#include "Qor/String.h"
#include "Tunnel/TunnelId.h"

namespace Fenn {

enum class ExplainStatus : uint8_t { ok, missingInput, waitingForHardware, failed };

struct ExplainStep {
  Qor::String machine;    // the state machine whose state the step reads ("EvpnHwTunnelIdSm")
  Qor::String condition;  // what must hold ("hardware tunnel ID")
  Qor::String value;      // what it is now ("none: the default pool is full (1024 of 1024)")
  ExplainStatus status = ExplainStatus::ok;
};

class FENN_EVPN_EXPORT Explanation {
 public:
  // How tunnels and chain objects are named in the answer: by default a tunnel reads as
  // its text form and an object as its table and id ("label 7"); a caller that knows its
  // peers or objects by name (a PE, a TEP address) passes its own.
  struct Names {
    std::function<Qor::String(Tunnel::TunnelTable::TunnelId const&)> tunnel;
    std::function<Qor::String(L2Rib::ObjTuple const&)> object;
  };

  explicit Explanation(Names names = {});

  // What is explained ("flood-set destination vlan 10 mac ff:ff:ff:ff:ff:ff ...").
  Qor::String const& key() const noexcept { return key_; }
  void keyIs(Qor::String key) { key_ = std::move(key); }
  std::vector<ExplainStep> const& steps() const noexcept { return steps_; }
  void stepIs(std::string_view machine, std::string_view condition, Qor::String value,
              ExplainStatus status = ExplainStatus::ok);

  // For a machine that is not initialized yet, adds "initialized: no" (missing input).
  // Returns whether it is initialized, so that the caller stops when it is not.
  bool initializedStep(std::string_view machine, bool initialized);

  // The status of the first step that is not ok; ok (programmed) when all are.
  ExplainStatus state() const noexcept;
  // "programmed", "missingInput", "waitingForHardware" or "failed".
  static std::string_view stateName(ExplainStatus status) noexcept;

  // Names a tunnel or a chain object as the caller asked.
  Qor::String tunnelName(Tunnel::TunnelTable::TunnelId const& tunnelId) const;
  Qor::String objectName(L2Rib::ObjTuple const& object) const;

  // The answer as lines of text: the key and its state, then one line per step.
  Qor::String text() const;
  // {"key": "...", "state": "...", "steps": [{"machine": ..., "condition": ..., "value": ...,
  // "status": ...}, ...]}
  Qor::String json() const;

 private:
  Qor::String key_;
  Names names_;
  std::vector<ExplainStep> steps_;
};

// What a failed entry waits for: "last failure at t=12.0 s, next review due at t=17.0 s"
// (the machine's last failed helper call, and its review task's due time), or `noReview`
// when no review is scheduled.
Qor::String retryText(SmCounters const& counters, Keel::TimerTask const* review,
                      std::string_view noReview = "no review scheduled");

}  // namespace Fenn
