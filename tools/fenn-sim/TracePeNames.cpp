#include "TracePeNames.h"

#include <charconv>
#include <cstdint>

#include "Qor/Trace.h"

namespace SimTool {

namespace {

TunnelNames const* current = nullptr;

void decorate(Qor::String& line) { addPeNames(line, *current); }

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Where the message begins: after the time, the source and the level.
size_t messageStart(Qor::String const& line) {
  size_t pos = 0;
  for (int field = 0; field < 3; ++field) {
    pos = line.find(' ', pos);
    if (pos == Qor::String::npos) return line.size();
    ++pos;
  }
  return pos;
}

}  // namespace

void addPeNames(Qor::String& line, TunnelNames const& names) {
  if (names.empty()) return;
  size_t i = messageStart(line);
  while (i < line.size()) {
    if (!isDigit(line[i])) {
      ++i;
      continue;
    }
    size_t end = i;
    while (end < line.size() && isDigit(line[end])) ++end;
    uint64_t number = 0;
    auto const [stop, error] = std::from_chars(line.data() + i, line.data() + end, number);
    bool const whole = error == std::errc() && stop == line.data() + end;
    auto const it = whole && number <= Tunnel::TunnelTable::TunnelId::maxValue
                        ? names.find(Tunnel::TunnelTable::TunnelId(number))
                        : names.end();
    if (it != names.end()) {
      // A tunnel interface's quoted name keeps its quote.
      if (end < line.size() && line[end] == '\'') ++end;
      Qor::String const name = " (" + it->second + ")";
      line.insert(end, name);
      end += name.size();
    }
    i = end;
  }
}

TracePeNames::TracePeNames(TunnelNames const& names) {
  current = &names;
  Qor::traceLineDecoratorIs(decorate);
}

TracePeNames::~TracePeNames() {
  Qor::traceLineDecoratorIs(nullptr);
  current = nullptr;
}

}  // namespace SimTool
