#include "FennEvpn/FennEvpnUnusableInput.h"

#include "Qor/SysLog.h"

namespace Fenn {

namespace {

Qor::LogMessage const EVPN_MPLS_INPUT_IGNORED(
    "EVPN_MPLS_INPUT_IGNORED", Qor::LogSeverity::error,
    "An EVPN MPLS input holds a value that cannot be used; it was ignored.",
    "A state machine met a key or value outside the range it can program, skipped it and went on with "
    "every other input. Forwarding for that entry is not programmed. While a state machine keeps meeting "
    "such inputs, this message is repeated only at its 2nd, 4th, 8th, 16th... ignored input.",
    "Turn on the library's trace at level 1 to see which input was ignored, and report it with the "
    "agent's version.");

bool powerOfTwo(uint64_t n) { return (n & (n - 1)) == 0; }

}  // namespace

Qor::String UnusableInputCounter::skipped(std::exception const& error, bool arriving) {
  if (arriving) {
    uint64_t const count = ++unusableInputCount_;
    if (powerOfTwo(owner_ ? ++owner_->unusableInputCount_ : count)) Qor::log(EVPN_MPLS_INPUT_IGNORED);
  }
  return error.what();
}

}  // namespace Fenn
