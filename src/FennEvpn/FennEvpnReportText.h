// Pieces of text shared by the operator answers (explanations, summaries): times as an
// operator reads them, and JSON strings.
#pragma once

#include <cstdint>
#include <string_view>

#include "Qor/String.h"

namespace Fenn {

// A time or a duration in seconds with at least one decimal and at most three, "12.0",
// "0.125", as in "t=12.0 s".
Qor::String secondsText(double seconds);
// A FEC ID or hardware FEC ID as the platform's tables show them, "0x1000".
Qor::String hexText(uint64_t n);
// `text` as a JSON string, quotes included; control characters as \u00XX.
Qor::String jsonQuoted(std::string_view text);

}  // namespace Fenn
