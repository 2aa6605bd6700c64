// Inputs written by the platform are trusted to be well formed, but a value that a state
// machine cannot use (a key whose conversion fails its range check, such as a remote ESI
// label keyed by an interface that names no tunnel) must not stop the switch. The state
// machine skips that key, says so, and goes on serving every other key:
//
//   if (auto error = Fenn::skipUnusableInput([&] { tunnelId = srTeOrDynamicTunnelIntfIdToTunnelId(tep); })) {
//     QTRACE(1, "EvpnHwTunnelIdSm::", "processSegmentStatus", " skipped tep ", tep, " ", *error);
//     return;
//   }
//
// Only the value types' range and format errors (std::out_of_range, std::invalid_argument)
// mean "unusable input"; broken invariants still abort through QOR_ASSERT, and any other
// exception propagates. Which inputs are handled this way is listed in docs/architecture.md.
#pragma once

#include <exception>
#include <optional>
#include <stdexcept>

#include "Qor/String.h"

namespace Fenn {

// Logs EVPN_MPLS_INPUT_IGNORED and returns the error's text.
Qor::String unusableInputLog(std::exception const& error);

// Runs `use`, which converts or applies one input. Returns std::nullopt when it ran through;
// when it failed on an unusable value, logs that in the system log and returns the error's
// text for the caller's level-1 trace line, and the caller skips the input.
template <class Fn>
std::optional<Qor::String> skipUnusableInput(Fn&& use) {
  try {
    use();
    return std::nullopt;
  } catch (std::out_of_range const& e) {
    return unusableInputLog(e);
  } catch (std::invalid_argument const& e) {
    return unusableInputLog(e);
  }
}

// The quiet form, for a walk that meets an input already reported when it arrived: whether
// `use` ran through.
template <class Fn>
bool usableInput(Fn&& use) {
  try {
    use();
    return true;
  } catch (std::out_of_range const&) {
    return false;
  } catch (std::invalid_argument const&) {
    return false;
  }
}

}  // namespace Fenn
