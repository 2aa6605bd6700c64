// Text trace. Each source file declares one handle:
//   QOR_TRACE_SOURCE("/src/FennEvpn/FennEvpnRemoteInfoFinderSm");
// and traces with
//   QTRACE(8, "processMplsDest", " vlan: ", vlanId, " mac: ", macAddr);
// The level test is the only cost when the level is off. Pieces are concatenated with
// operator<< / the values' text forms.
#pragma once

#include <cstdint>
#include <sstream>

#include "Qor/Strep.h"

namespace Qor {

class TraceHandle {
 public:
  explicit TraceHandle(char const* sourcePath);
  bool enabled(int level) const noexcept { return (mask_ >> level) & 1u; }
  char const* sourcePath() const noexcept { return sourcePath_; }
  void levelMaskIs(uint32_t mask) noexcept { mask_ = mask; }
  uint32_t levelMask() const noexcept { return mask_; }

 private:
  char const* sourcePath_;
  uint32_t mask_ = 0;
};

class TraceHelper {
 public:
  TraceHelper(TraceHandle& handle, int level, char const* sourcePath, int line, char const* function);
  ~TraceHelper();
  template <class T>
  TraceHelper& operator<<(T const& v) {
    if constexpr (Printable<T>) {
      os_ << valueToStrep(v);
    } else {
      os_ << v;
    }
    return *this;
  }

 private:
  TraceHandle& handle_;
  int level_;
  std::ostringstream os_;
};

}  // namespace Qor

#define QOR_TRACE_SOURCE(path) \
  namespace {                  \
  ::Qor::TraceHandle qorTraceHandle_(path); \
  }

#define QTRACE(level, ...)                                                                \
  do {                                                                                    \
    if (__builtin_expect(qorTraceHandle_.enabled(level), 0)) {                            \
      ::Qor::TraceHelper qorTh_(qorTraceHandle_, level, __FILE__, __LINE__, __func__);    \
      [&](auto const&... qorArgs) { (qorTh_ << ... << qorArgs); }(__VA_ARGS__);           \
    }                                                                                     \
  } while (0)
