#include "Ringlog/Text.h"

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <ctime>

namespace Ringlog {

std::string_view sourceName(std::string_view sourcePath) noexcept {
  auto const slash = sourcePath.rfind('/');
  return slash == std::string_view::npos ? sourcePath : sourcePath.substr(slash + 1);
}

namespace {
// Appends `v` as exactly `digits` decimal digits.
void appendDigits(char* at, uint32_t v, int digits) noexcept {
  for (int i = digits - 1; i >= 0; --i, v /= 10) at[i] = static_cast<char>('0' + v % 10);
}
}  // namespace

void appendTime(Qor::String& out, int64_t timeNs) {
  // Floor division, so times before the epoch (a manual clock) still print sensibly.
  int64_t seconds = timeNs / 1'000'000'000;
  int64_t ns = timeNs % 1'000'000'000;
  if (ns < 0) {
    ns += 1'000'000'000;
    --seconds;
  }
  // Lines come many to a second: the calendar part is worked out once per second.
  struct Second {
    int64_t seconds = INT64_MIN;
    char text[32] = {};
    size_t size = 0;
  };
  thread_local Second last;
  if (seconds != last.seconds) {
    time_t const t = static_cast<time_t>(seconds);
    tm parts;
    gmtime_r(&t, &parts);
    int const n =
        std::snprintf(last.text, sizeof last.text, "%04d-%02d-%02dT%02d:%02d:%02d.", parts.tm_year + 1900,
                      parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec);
    last.size = static_cast<size_t>(n);
    last.seconds = seconds;
  }
  char micros[7];
  appendDigits(micros, static_cast<uint32_t>(ns / 1000), 6);
  micros[6] = 'Z';
  out.append(last.text, last.size);
  out.append(micros, sizeof micros);
}

void appendLinePrefix(Qor::String& out, int64_t timeNs, std::string_view sourcePath, int level) {
  appendTime(out, timeNs);
  out += ' ';
  out += sourceName(sourcePath);
  out += ' ';
  char buf[12];
  auto const r = std::to_chars(buf, buf + sizeof buf, level);
  out.append(buf, r.ptr);
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
