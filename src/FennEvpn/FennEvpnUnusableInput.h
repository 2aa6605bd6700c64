// Inputs written by the platform are trusted to be well formed, but a value that a state
// machine cannot use (a key whose conversion fails its range check, such as a remote ESI
// label keyed by an interface that names no tunnel) must not stop the switch. The state
// machine skips that key, says so, counts it, and goes on serving every other key:
//
//   if (auto error = skipUnusableInput([&] { tunnelId = srTeOrDynamicTunnelIntfIdToTunnelId(tep); })) {
//     QTRACE(1, "EvpnHwTunnelIdSm::", "processSegmentStatus", " skipped tep ", tep, " ", *error);
//     return;
//   }
//
// Only the value types' range and format errors (std::out_of_range, std::invalid_argument)
// mean "unusable input"; broken invariants still abort through QOR_ASSERT, and any other
// exception propagates. Which inputs are handled this way is listed in docs/architecture.md.
#pragma once

#include <cstdint>
#include <exception>
#include <optional>
#include <stdexcept>

#include "Qor/String.h"

namespace Fenn {

// The value `convert` returns, or std::nullopt when it fails on an unusable value. The
// quiet form, for a walk that meets an input already reported when it arrived.
template <class Fn>
auto usableValue(Fn&& convert) -> std::optional<decltype(convert())> {
  try {
    return convert();
  } catch (std::out_of_range const&) {
    return std::nullopt;
  } catch (std::invalid_argument const&) {
    return std::nullopt;
  }
}

// The part of a state machine that skips unusable inputs and counts them. A state machine
// derives from it next to Qor::StateMachine; the count is read-only from outside.
class UnusableInputCounter {
 public:
  // The inputs this state machine skipped since it was created (for an owner, with those of
  // the machines that count into it).
  uint64_t unusableInputCount() const noexcept { return unusableInputCount_; }
  // A state machine that another one creates and releases as its inputs come and go (a
  // segment machine of the TEP-segment machine) counts into its owner too, and the owner's
  // count decides which skips reach the system log: otherwise each new machine would log
  // its first skip, and a segment that keeps coming back with the same bad peer would log
  // every time. The owner outlives it.
  void unusableInputOwnerIs(UnusableInputCounter* owner) noexcept { owner_ = owner; }

 protected:
  UnusableInputCounter() = default;
  ~UnusableInputCounter() = default;

  // Runs `use`. Returns std::nullopt when it ran through; when it failed on an unusable
  // value, returns the error's text for the caller's level-1 trace line, and the caller
  // skips the input. An input that is arriving is counted and logged as
  // EVPN_MPLS_INPUT_IGNORED in the system log (the 1st, 2nd, 4th, 8th... of this state
  // machine, or of its owner, so that a platform that keeps writing bad keys cannot flood
  // the log); one that is leaving was counted when it arrived.
  template <class Fn>
  std::optional<Qor::String> skipUnusableInput(Fn&& use, bool arriving = true) {
    try {
      use();
      return std::nullopt;
    } catch (std::out_of_range const& e) {
      return skipped(e, arriving);
    } catch (std::invalid_argument const& e) {
      return skipped(e, arriving);
    }
  }

 private:
  Qor::String skipped(std::exception const& error, bool arriving);

  uint64_t unusableInputCount_ = 0;
  UnusableInputCounter* owner_ = nullptr;
};

}  // namespace Fenn
