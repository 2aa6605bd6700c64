// Trace: text lines for people, with a binary twin in the ring log (Ringlog) for
// post-mortems. Each source file declares one handle:
//   QOR_TRACE_SOURCE("/src/FennEvpn/FennEvpnRemoteInfoFinderSm");
// and traces with
//   QTRACE(8, "processMplsDest", " vlan: ", vlanId, " mac: ", macAddr);
// Levels 0..31 are switched on per source, separately for text (FENN_TRACE or
// traceLevelsIs) and for the ring log (FENN_RINGLOG_LEVELS or ringlogLevelsIs; unless set,
// the ring log follows the text levels). A level that is off for both costs one load and
// one test of the handle's mask. The level syntax and file handling are in docs/trace.md.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "Qor/Strep.h"
#include "Ringlog/Writer.h"

namespace Qor {

// Which levels are on for which source, from a spec such as
//   "FennEvpnHwTunnelIdSm/0-8,FennEvpnFlooding*/5,*/1"
// An entry names a source (the last component of its path) or a prefix ending in '*'; the
// most specific matching entry gives the levels (an exact name, else the longest prefix),
// and entries with the same pattern add up.
class TraceLevels {
 public:
  TraceLevels() = default;                      // everything off
  explicit TraceLevels(std::string_view spec);  // throws ParseError
  uint32_t maskFor(std::string_view sourcePath) const;
  // The patterns that match none of `sourceNames`, as written (a prefix with its '*').
  std::vector<String> unmatchedPatterns(std::vector<String> const& sourceNames) const;

 private:
  struct Entry {
    String pattern;
    bool prefix;
    uint32_t mask;
  };
  std::vector<Entry> entries_;
};

class TraceHandle {
 public:
  // Registers the handle; its levels come from the current settings.
  explicit TraceHandle(char const* sourcePath);
  ~TraceHandle();
  TraceHandle(TraceHandle const&) = delete;
  TraceHandle& operator=(TraceHandle const&) = delete;

  bool enabled(int level) const noexcept { return (mask_ & (1u << level)) != 0; }
  bool textEnabled(int level) const noexcept { return (textMask_ & (1u << level)) != 0; }
  bool ringEnabled(int level) const noexcept { return (ringMask_ & (1u << level)) != 0; }
  char const* sourcePath() const noexcept { return sourcePath_; }

 private:
  friend struct TraceRegistry;

  uint32_t mask_ = 0;  // text | ring: the one word QTRACE tests
  uint32_t textMask_ = 0;
  uint32_t ringMask_ = 0;
  char const* sourcePath_;
  TraceHandle* next_ = nullptr;
};

// Builds one text line and writes it when destroyed. The caller has checked the level.
// The line is built in a buffer kept from one line to the next, so a line allocates
// nothing once the buffer has grown to the longest line.
class TraceHelper {
 public:
  TraceHelper(TraceHandle& handle, int level, char const* sourcePath, int line, char const* function);
  ~TraceHelper();
  TraceHelper(TraceHelper const&) = delete;
  TraceHelper& operator=(TraceHelper const&) = delete;

  template <class T>
  TraceHelper& operator<<(T const& v) {
    Ringlog::appendArg(*line_, v);
    return *this;
  }

 private:
  int64_t timeNs_;
  String* line_;
  String own_;  // for a line built while another one is (a text form that traces)
};

// Text levels for every source; throws ParseError and then changes nothing.
void traceLevelsIs(std::string_view spec);
// Ring-log levels; std::nullopt makes the ring log follow the text levels again.
void ringlogLevelsIs(std::optional<std::string_view> spec);
// Text lines go to this file (appended), or to stderr for an empty path. Lines for a
// file are written in batches (see traceFlush); lines for stderr one by one.
void traceFileIs(String const& path);
// Called on each text line, complete but for its newline, before it is written: a tool
// that knows more than the library (fenn-sim, the PE names of tunnels) adds it there.
// nullptr for none. Only lines whose level is on reach it; the ring log never does.
using TraceLineDecorator = void (*)(String& line);
void traceLineDecoratorIs(TraceLineDecorator decorator) noexcept;
// Writes out the lines not yet in the file. Lines also go out by themselves once 64 KiB
// wait, when a line comes 100 ms after the last write, when the file changes, at exit
// and before an assertion failure aborts; a platform calls this when it goes idle, so
// that someone following the file sees the last lines at once.
void traceFlush();
// Applies FENN_TRACE, FENN_RINGLOG_LEVELS and FENN_TRACE_FILE, as at start-up. A malformed
// setting is reported on stderr and leaves that trace off.
void traceReadEnvironment();
// The names of the registered sources (the last component of each path), sorted, once each.
std::vector<String> traceSourceNames();

// One QTRACE: the text line and the ring-log record, each if its level is on.
template <class... A>
void traceLine(TraceHandle& handle, Ringlog::CallSite& site, int level, char const* sourcePath, int line,
               char const* function, A&&... args) {
  if (handle.textEnabled(level)) {
    TraceHelper helper(handle, level, sourcePath, line, function);
    (helper << ... << args);
  }
  if (handle.ringEnabled(level)) Ringlog::write(site, handle.sourcePath(), line, level, args...);
}

}  // namespace Qor

#define QOR_TRACE_SOURCE(path)              \
  namespace {                               \
  ::Qor::TraceHandle qorTraceHandle_(path); \
  }

// The level must be a constant: it is part of the call site's ring-log descriptor.
#define QTRACE(level, ...) QTRACE_ON(qorTraceHandle_, level, __VA_ARGS__)

// QTRACE on a handle given explicitly: for machinery shared by several state machines
// (a template instantiated per machine), which traces under the machine's own source. The
// call site must then be per handle too, which a function template per machine type gives.
#define QTRACE_ON(handle, level, ...)                                                              \
  do {                                                                                             \
    static_assert((level) >= 0 && (level) < 32, "trace levels are 0 to 31");                       \
    if (__builtin_expect((handle).enabled(level), 0)) {                                            \
      static constinit ::Ringlog::CallSite qorTraceSite_;                                          \
      ::Qor::traceLine((handle), qorTraceSite_, level, __FILE__, __LINE__, __func__, __VA_ARGS__); \
    }                                                                                              \
  } while (0)
