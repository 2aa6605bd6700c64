#include "Ringlog/Text.h"

#include <charconv>
#include <cstdio>
#include <ctime>

namespace Ringlog {

std::string_view sourceName(std::string_view sourcePath) noexcept {
  auto const slash = sourcePath.rfind('/');
  return slash == std::string_view::npos ? sourcePath : sourcePath.substr(slash + 1);
}

void appendTime(Qor::String& out, int64_t timeNs) {
  // Floor division, so times before the epoch (a manual clock) still print sensibly.
  int64_t seconds = timeNs / 1'000'000'000;
  int64_t ns = timeNs % 1'000'000'000;
  if (ns < 0) {
    ns += 1'000'000'000;
    --seconds;
  }
  time_t const t = static_cast<time_t>(seconds);
  tm parts;
  gmtime_r(&t, &parts);
  char buf[64];
  int const n = std::snprintf(buf, sizeof buf, "%04d-%02d-%02dT%02d:%02d:%02d.%06dZ", parts.tm_year + 1900,
                              parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec,
                              static_cast<int>(ns / 1000));
  out.append(buf, static_cast<size_t>(n));
}

void appendLinePrefix(Qor::String& out, int64_t timeNs, std::string_view sourcePath, int level) {
  appendTime(out, timeNs);
  out += ' ';
  out += sourceName(sourcePath);
  out += ' ';
  out += std::to_string(level);
  out += ' ';
}

void appendBool(Qor::String& out, bool v) { out += v ? "True" : "False"; }

void appendDouble(Qor::String& out, double v) {
  char buf[32];
  auto const r = std::to_chars(buf, buf + sizeof buf, v);
  out.append(buf, r.ptr);
}

void appendEnum(Qor::String& out, uint64_t value, std::span<std::string_view const> names) {
  if (value < names.size()) {
    out += names[value];
  } else {
    out += std::to_string(value);
  }
}

}  // namespace Ringlog
