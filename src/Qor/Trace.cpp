#include "Qor/Trace.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Ringlog/Clock.h"
#include "Ringlog/Text.h"

namespace Qor {

namespace {

uint32_t levelRange(uint64_t low, uint64_t high) {
  uint32_t const upTo = high == 31 ? ~0u : (1u << (high + 1)) - 1;
  return upTo & ~((1u << low) - 1);
}

uint32_t parseLevels(Parser& p) {
  if (p.tryConsume("off")) return 0;
  uint64_t const low = p.parseUnsigned(31, "a level from 0 to 31 or 'off'");
  uint64_t high = low;
  if (p.tryConsume("-")) {
    auto const at = p.position();
    high = p.parseUnsigned(31, "a level from 0 to 31");
    if (high < low) throw ParseError(at, "a level not below " + std::to_string(low), p.rest());
  }
  return levelRange(low, high);
}

}  // namespace

TraceLevels::TraceLevels(std::string_view spec) {
  Parser p(spec);
  if (p.atEnd()) return;
  do {
    Entry e{{}, false, ~0u};
    while (!p.atEnd() && p.peek() != ',' && p.peek() != '/' && p.peek() != '*') {
      char const c = p.peek();
      p.tryConsume({&c, 1});
      e.pattern += c;
    }
    e.prefix = p.tryConsume("*");
    if (e.pattern.empty() && !e.prefix) p.fail("a source name or '*'");
    if (p.tryConsume("/")) e.mask = parseLevels(p);
    entries_.push_back(std::move(e));
  } while (p.tryConsume(","));
  p.expectEnd();
}

uint32_t TraceLevels::maskFor(std::string_view sourcePath) const {
  std::string_view const name = Ringlog::sourceName(sourcePath);
  int64_t best = -1;
  uint32_t mask = 0;
  for (auto const& e : entries_) {
    int64_t specificity;
    if (e.prefix) {
      if (!name.starts_with(e.pattern)) continue;
      specificity = static_cast<int64_t>(e.pattern.size());
    } else {
      if (name != e.pattern) continue;
      specificity = INT64_MAX;
    }
    if (specificity > best) {
      best = specificity;
      mask = e.mask;
    } else if (specificity == best) {
      mask |= e.mask;
    }
  }
  return mask;
}

std::vector<String> TraceLevels::unmatchedPatterns(std::vector<String> const& sourceNames) const {
  std::vector<String> out;
  for (auto const& e : entries_) {
    bool const matched = std::any_of(sourceNames.begin(), sourceNames.end(), [&](String const& name) {
      return e.prefix ? name.starts_with(e.pattern) : name == e.pattern;
    });
    if (!matched) out.push_back(e.pattern + (e.prefix ? "*" : ""));
  }
  return out;
}

// The settings and every live handle, so a change of settings reaches them all.
struct TraceRegistry {
  // Lines for a file wait here: a write per line would cost more than the line itself.
  static constexpr size_t batchBytes = 64 * 1024;
  static constexpr int64_t batchNs = 100'000'000;

  TraceLevels text;
  std::optional<TraceLevels> ring;  // none: same as text
  FILE* out = stderr;
  TraceLineDecorator decorator = nullptr;
  TraceHandle* handles = nullptr;
  String line;  // the line being built, kept for its capacity
  bool lineInUse = false;
  String batch;
  int64_t batchStart = 0;

  TraceRegistry() { readEnvironment(); }
  ~TraceRegistry() { fileIs(""); }

  void write(String const& l, int64_t timeNs) {
    if (out == stderr) {
      std::fwrite(l.data(), 1, l.size(), out);
      return;
    }
    if (batch.empty()) batchStart = timeNs;
    batch += l;
    if (batch.size() >= batchBytes || timeNs - batchStart >= batchNs || timeNs < batchStart) flush();
  }

  void flush() {
    if (batch.empty()) return;
    std::fwrite(batch.data(), 1, batch.size(), out);
    std::fflush(out);
    batch.clear();
  }

  static TraceRegistry& instance() {
    static TraceRegistry r;
    return r;
  }

  void apply(TraceHandle& h) const {
    uint32_t const textMask = text.maskFor(h.sourcePath_);
    uint32_t const ringMask = ring ? ring->maskFor(h.sourcePath_) : textMask;
    h.textMask_ = textMask;
    h.ringMask_ = ringMask;
    h.mask_ = textMask | ringMask;
  }

  void applyAll() const {
    for (TraceHandle* h = handles; h; h = h->next_) apply(*h);
  }

  std::vector<String> sourceNames() const {
    std::vector<String> names;
    for (TraceHandle* h = handles; h; h = h->next_) names.emplace_back(Ringlog::sourceName(h->sourcePath_));
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
  }

  void fileIs(String const& path) {
    flush();
    if (out != stderr) std::fclose(out);
    out = stderr;
    if (path.empty()) return;
    FILE* f = std::fopen(path.c_str(), "a");
    if (!f) {
      std::fprintf(stderr, "trace: cannot open %s (%s); tracing to stderr\n", path.c_str(),
                   std::strerror(errno));
      return;
    }
    // The batches are the buffering: each reaches the file whole, in one write.
    std::setvbuf(f, nullptr, _IONBF, 0);
    out = f;
  }

  static TraceLevels levelsFromEnvironment(char const* name) {
    char const* spec = std::getenv(name);
    if (!spec) return {};
    try {
      return TraceLevels(spec);
    } catch (ParseError const& e) {
      std::fprintf(stderr, "trace: %s is malformed (%s); it is ignored\n", name, e.what());
      return {};
    }
  }

  void readEnvironment() {
    text = levelsFromEnvironment("FENN_TRACE");
    ring.reset();
    if (std::getenv("FENN_RINGLOG_LEVELS")) ring = levelsFromEnvironment("FENN_RINGLOG_LEVELS");
    char const* file = std::getenv("FENN_TRACE_FILE");
    fileIs(file ? file : "");
  }
};

TraceHandle::TraceHandle(char const* sourcePath) : sourcePath_(sourcePath) {
  auto& r = TraceRegistry::instance();
  next_ = r.handles;
  r.handles = this;
  r.apply(*this);
}

TraceHandle::~TraceHandle() {
  for (TraceHandle** p = &TraceRegistry::instance().handles; *p; p = &(*p)->next_) {
    if (*p == this) {
      *p = next_;
      return;
    }
  }
}

TraceHelper::TraceHelper(TraceHandle& handle, int level, char const*, int, char const*)
    : timeNs_(Ringlog::clocks.line()) {
  auto& r = TraceRegistry::instance();
  line_ = r.lineInUse ? &own_ : &r.line;
  r.lineInUse = true;
  line_->clear();
  Ringlog::appendLinePrefix(*line_, timeNs_, handle.sourcePath(), level);
}

TraceHelper::~TraceHelper() {
  auto& r = TraceRegistry::instance();
  if (r.decorator) r.decorator(*line_);
  *line_ += '\n';
  r.write(*line_, timeNs_);
  if (line_ == &r.line) r.lineInUse = false;
}

void traceFlush() { TraceRegistry::instance().flush(); }

void traceLevelsIs(std::string_view spec) {
  auto& r = TraceRegistry::instance();
  r.text = TraceLevels(spec);
  r.applyAll();
}

void ringlogLevelsIs(std::optional<std::string_view> spec) {
  auto& r = TraceRegistry::instance();
  r.ring = spec ? std::optional<TraceLevels>(TraceLevels(*spec)) : std::nullopt;
  r.applyAll();
}

void traceFileIs(String const& path) { TraceRegistry::instance().fileIs(path); }

void traceLineDecoratorIs(TraceLineDecorator decorator) noexcept {
  TraceRegistry::instance().decorator = decorator;
}

void traceReadEnvironment() {
  auto& r = TraceRegistry::instance();
  r.readEnvironment();
  r.applyAll();
}

std::vector<String> traceSourceNames() { return TraceRegistry::instance().sourceNames(); }

}  // namespace Qor
