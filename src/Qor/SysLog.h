// System log: named messages for operators, each registered once with its severity, text,
// explanation and recommended action, as a file-scope object:
//   Qor::LogMessage const EVPN_MPLS_SHARED_ESI_HW_RESOURCE_FULL(
//       "EVPN_MPLS_SHARED_ESI_HW_RESOURCE_FULL", Qor::LogSeverity::warning, "text", "explanation", "action");
//   Qor::log(EVPN_MPLS_SHARED_ESI_HW_RESOURCE_FULL);
// Each log goes to the sink (syslog(3) by default, replaceable) and to an in-memory record
// of the most recent messages that tests and the simulator read.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <string_view>

namespace Qor {

// The syslog(3) priorities, in their order.
enum class LogSeverity : uint8_t { emergency, alert, critical, error, warning, notice, info, debug };

class LogMessage {
 public:
  // Names are unique in the process (an assertion checks it).
  LogMessage(char const* name, LogSeverity severity, char const* text, char const* explanation,
             char const* recommendedAction);
  ~LogMessage();
  LogMessage(LogMessage const&) = delete;
  LogMessage& operator=(LogMessage const&) = delete;

  std::string_view name() const noexcept { return name_; }
  LogSeverity severity() const noexcept { return severity_; }
  std::string_view text() const noexcept { return text_; }
  std::string_view explanation() const noexcept { return explanation_; }
  std::string_view recommendedAction() const noexcept { return recommendedAction_; }

 private:
  char const* name_;
  LogSeverity severity_;
  char const* text_;
  char const* explanation_;
  char const* recommendedAction_;
};

void log(LogMessage const& message);

using LogSink = std::function<void(LogMessage const&)>;
// Replaces the sink; an empty sink restores syslog(3).
void logSinkIs(LogSink sink);

// The registered message of that name, or nullptr.
LogMessage const* logMessage(std::string_view name);

// The most recent messages logged, oldest first (a message that goes away takes its
// records with it).
std::deque<LogMessage const*> const& sysLogRecords();
void sysLogRecordsDelAll();

}  // namespace Qor
