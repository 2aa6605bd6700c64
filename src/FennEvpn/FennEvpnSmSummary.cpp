#include "FennEvpn/FennEvpnSmSummary.h"

#include <cstdio>

#include "FennEvpn/FennEvpnReportText.h"

namespace Fenn {

namespace {

Qor::String padded(Qor::String text, size_t width, bool right = true) {
  if (text.size() >= width) return text;
  Qor::String const pad(width - text.size(), ' ');
  return right ? pad + text : text + pad;
}

Qor::String number(uint64_t n) { return std::to_string(n); }

Qor::String lastFailureText(SmCounters const& c) {
  return c.helperFailures ? "t=" + secondsText(c.lastFailureTime) + " s" : Qor::String("-");
}

}  // namespace

void SmSummary::fecIdsIs(Keel::NumAllocatorStatus const& ids, uint64_t rangeSize, uint64_t highWater) {
  hasFecIds = true;
  fecIdsInUse = ids.inUseCount();
  fecIdsHeldBack = ids.heldBackCount();
  pools.push_back(PoolUse{"FEC IDs", ids.inUseCount(), rangeSize, highWater});
}

Qor::String summaryTable(std::vector<SmSummary> const& summaries) {
  Qor::String out = padded("machine", 26, false) + padded("intended", 9) + padded("programmed", 11) +
                    padded("unprogrammed", 13) + padded("calls", 8) + padded("failures", 9) +
                    padded("retries", 8) + padded("unusable", 9) + "  " + padded("last failure", 14, false) +
                    "FEC IDs in use/held back\n";
  for (auto const& s : summaries) {
    SmCounters const& c = s.counters;
    out += padded(s.machine, 26, false) + padded(number(s.intended), 9) + padded(number(s.programmed), 11) +
           padded(number(s.unprogrammed), 13) + padded(number(c.helperCalls), 8) +
           padded(number(c.helperFailures), 9) + padded(number(c.retries), 8) +
           padded(number(s.unusableInputs), 9) + "  " + padded(lastFailureText(c), 14, false) +
           (s.hasFecIds ? number(s.fecIdsInUse) + "/" + number(s.fecIdsHeldBack) : Qor::String("-")) + "\n";
    for (auto const& p : s.pools) {
      out += "  pool " + p.name + ": " + number(p.inUse) + (p.size ? " of " + number(p.size) : "") +
             " in use, high-water " + number(p.highWater) + "\n";
    }
  }
  return out;
}

Qor::String summaryJson(std::vector<SmSummary> const& summaries) {
  Qor::String out = "[";
  for (size_t i = 0; i < summaries.size(); ++i) {
    SmSummary const& s = summaries[i];
    SmCounters const& c = s.counters;
    out += Qor::String(i ? ", " : "") + "{\"machine\": " + jsonQuoted(s.machine) +
           ", \"intended\": " + number(s.intended) + ", \"programmed\": " + number(s.programmed) +
           ", \"unprogrammed\": " + number(s.unprogrammed) + ", \"helperCalls\": " + number(c.helperCalls) +
           ", \"helperFailures\": " + number(c.helperFailures) + ", \"retries\": " + number(c.retries) +
           ", \"lastFailureTime\": " + (c.helperFailures ? secondsText(c.lastFailureTime) : "null") +
           ", \"unusableInputs\": " + number(s.unusableInputs) + ", \"pools\": [";
    for (size_t j = 0; j < s.pools.size(); ++j) {
      PoolUse const& p = s.pools[j];
      out += Qor::String(j ? ", " : "") + "{\"name\": " + jsonQuoted(p.name) +
             ", \"inUse\": " + number(p.inUse) + ", \"size\": " + (p.size ? number(p.size) : "null") +
             ", \"highWater\": " + number(p.highWater) + "}";
    }
    out += "]";
    if (s.hasFecIds) {
      out +=
          ", \"fecIdsInUse\": " + number(s.fecIdsInUse) + ", \"fecIdsHeldBack\": " + number(s.fecIdsHeldBack);
    }
    out += "}";
  }
  return out + "]";
}

}  // namespace Fenn
