#include "Qor/SysLog.h"

#include <syslog.h>

#include <algorithm>
#include <map>

#include "Qor/Assert.h"

namespace Qor {

namespace {

constexpr size_t kRecordsKept = 1000;

struct SysLog {
  std::map<std::string_view, LogMessage const*> messages;
  LogSink sink;
  std::deque<LogMessage const*> records;

  static SysLog& instance() {
    static SysLog s;
    return s;
  }
};

void toSyslog(LogMessage const& m) {
  syslog(LOG_USER | static_cast<int>(m.severity()), "%%%.*s: %.*s", static_cast<int>(m.name().size()),
         m.name().data(), static_cast<int>(m.text().size()), m.text().data());
}

}  // namespace

LogMessage::LogMessage(char const* name, LogSeverity severity, char const* text, char const* explanation,
                       char const* recommendedAction)
    : name_(name),
      severity_(severity),
      text_(text),
      explanation_(explanation),
      recommendedAction_(recommendedAction) {
  bool const added = SysLog::instance().messages.emplace(name, this).second;
  QOR_ASSERT_TEXT(added, "system log message names are unique");
}

LogMessage::~LogMessage() {
  auto& s = SysLog::instance();
  s.messages.erase(name_);
  std::erase(s.records, this);
}

void log(LogMessage const& message) {
  auto& s = SysLog::instance();
  if (s.sink) {
    s.sink(message);
  } else {
    toSyslog(message);
  }
  if (s.records.size() == kRecordsKept) s.records.pop_front();
  s.records.push_back(&message);
}

void logSinkIs(LogSink sink) { SysLog::instance().sink = std::move(sink); }

LogMessage const* logMessage(std::string_view name) {
  auto const& m = SysLog::instance().messages;
  auto const found = m.find(name);
  return found == m.end() ? nullptr : found->second;
}

std::deque<LogMessage const*> const& sysLogRecords() { return SysLog::instance().records; }

void sysLogRecordsDelAll() { SysLog::instance().records.clear(); }

}  // namespace Qor
