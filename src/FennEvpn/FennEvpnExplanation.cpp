#include "FennEvpn/FennEvpnExplanation.h"

#include "FennEvpn/FennEvpnReportText.h"
#include "Qor/Strep.h"

namespace Fenn {

namespace {

std::string_view statusTag(ExplainStatus status) {
  switch (status) {
    case ExplainStatus::ok:
      return "ok";
    case ExplainStatus::missingInput:
      return "MISSING";
    case ExplainStatus::waitingForHardware:
      return "WAITING";
    case ExplainStatus::failed:
      return "FAILED";
  }
  return "?";
}

}  // namespace

Explanation::Explanation(Names names) : names_(std::move(names)) {}

void Explanation::stepIs(std::string_view machine, std::string_view condition, Qor::String value,
                         ExplainStatus status) {
  steps_.push_back(ExplainStep{Qor::String(machine), Qor::String(condition), std::move(value), status});
}

bool Explanation::initializedStep(std::string_view machine, bool initialized) {
  if (!initialized) stepIs(machine, "initialized", "no", ExplainStatus::missingInput);
  return initialized;
}

ExplainStatus Explanation::state() const noexcept {
  for (auto const& step : steps_) {
    if (step.status != ExplainStatus::ok) return step.status;
  }
  return ExplainStatus::ok;
}

std::string_view Explanation::stateName(ExplainStatus status) noexcept {
  switch (status) {
    case ExplainStatus::ok:
      return "programmed";
    case ExplainStatus::missingInput:
      return "missingInput";
    case ExplainStatus::waitingForHardware:
      return "waitingForHardware";
    case ExplainStatus::failed:
      return "failed";
  }
  return "?";
}

Qor::String Explanation::tunnelName(Tunnel::TunnelTable::TunnelId const& tunnelId) const {
  return names_.tunnel ? names_.tunnel(tunnelId) : Qor::valueToStrep(tunnelId);
}

Qor::String Explanation::objectName(L2Rib::ObjTuple const& object) const {
  if (names_.object) return names_.object(object);
  switch (object.tableType()) {
    case L2Rib::tableTypeLabel_:
      return "label " + std::to_string(object.objId());
    case L2Rib::tableTypeLoadBalance_:
      return "load balance " + std::to_string(object.objId());
    case L2Rib::tableTypeDest_:
      return "destination " + std::to_string(object.objId());
    case L2Rib::tableTypeInvalid_:
      break;
  }
  return "nothing";
}

Qor::String Explanation::text() const {
  Qor::String out = key_ + ": " + Qor::String(stateName(state())) + "\n";
  for (auto const& step : steps_) {
    Qor::String tag(statusTag(step.status));
    tag.resize(8, ' ');
    out += "  " + tag + step.machine + ": " + step.condition + ": " + step.value + "\n";
  }
  return out;
}

Qor::String Explanation::json() const {
  Qor::String out =
      "{\"key\": " + jsonQuoted(key_) + ", \"state\": " + jsonQuoted(stateName(state())) + ", \"steps\": [";
  for (size_t i = 0; i < steps_.size(); ++i) {
    ExplainStep const& step = steps_[i];
    out += Qor::String(i ? ", " : "") + "{\"machine\": " + jsonQuoted(step.machine) +
           ", \"condition\": " + jsonQuoted(step.condition) + ", \"value\": " + jsonQuoted(step.value) +
           ", \"status\": " + jsonQuoted(step.status == ExplainStatus::ok ? "ok" : stateName(step.status)) +
           "}";
  }
  return out + "]}";
}

Qor::String retryText(SmCounters const& counters, Keel::TimerTask const* review, std::string_view noReview) {
  Qor::String out = counters.helperFailures
                        ? "last failure at t=" + secondsText(counters.lastFailureTime) + " s"
                        : Qor::String("no failure recorded");
  if (review && review->taskScheduled())
    return out + ", next review due at t=" + secondsText(review->dueTime()) + " s";
  return out + ", " + Qor::String(noReview);
}

}  // namespace Fenn
