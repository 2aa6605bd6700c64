// The text of trace lines, shared by the text trace (formatting as it goes) and the
// ring-log reader (formatting from binary records), so that a record reads back exactly
// as its twin line was written:
//   2024-05-01T10:11:12.123456Z FennEvpnHwTunnelIdSm 5 <message>
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "Qor/String.h"

namespace Ringlog {

// The last component of a source path: what a line shows and what level patterns match.
std::string_view sourceName(std::string_view sourcePath) noexcept;

// UTC, microseconds.
void appendTime(Qor::String& out, int64_t timeNs);
void appendLinePrefix(Qor::String& out, int64_t timeNs, std::string_view sourcePath, int level);

void appendBool(Qor::String& out, bool v);
// Shortest text that reads back as the same double.
void appendDouble(Qor::String& out, double v);
// The enumerator's name, or its number when it has none.
void appendEnum(Qor::String& out, uint64_t value, std::span<std::string_view const> names);

}  // namespace Ringlog
