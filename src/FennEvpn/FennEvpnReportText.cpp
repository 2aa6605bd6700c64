#include "FennEvpn/FennEvpnReportText.h"

#include <cstdio>

namespace Fenn {

Qor::String secondsText(double seconds) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.3f", seconds);
  Qor::String out = buf;
  // Trailing zeros go, down to one decimal.
  while (out.size() > 2 && out.back() == '0' && out[out.size() - 2] != '.') out.pop_back();
  return out;
}

Qor::String hexText(uint64_t n) {
  char buf[24];
  std::snprintf(buf, sizeof buf, "0x%llx", static_cast<unsigned long long>(n));
  return buf;
}

Qor::String jsonQuoted(std::string_view text) {
  Qor::String out = "\"";
  for (char const c : text) {
    if (c == '"' || c == '\\') {
      out += '\\';
      out += c;
    } else if (static_cast<unsigned char>(c) < 0x20) {
      char buf[8];
      std::snprintf(buf, sizeof buf, "\\u%04x", static_cast<unsigned char>(c));
      out += buf;
    } else {
      out += c;
    }
  }
  return out + "\"";
}

}  // namespace Fenn
