#include "Diag/DiagTestSupport.h"

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "Qor/Trace.h"
#include "Ringlog/Clock.h"
#include "Ringlog/Ring.h"

void resetDiagnostics() {
  unsetenv("FENN_TRACE");
  unsetenv("FENN_RINGLOG_LEVELS");
  unsetenv("FENN_TRACE_FILE");
  Qor::traceReadEnvironment();
  Ringlog::configure({"", Ringlog::kMinRingBytes, 64 << 10});
  Ringlog::clockIs([]() noexcept { return kFixedTimeNs; });
}

Qor::String readFile(Qor::String const& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

TempDir::TempDir() {
  Qor::String pattern = (std::filesystem::temp_directory_path() / "fenn-diag-XXXXXX").string();
  if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
  path_ = pattern;
}

TempDir::~TempDir() { std::filesystem::remove_all(path_); }
