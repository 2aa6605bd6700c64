// fenn-ringlog FILE: prints the records of a ring-log file, oldest first, as the text trace
// would have written them. Records that cannot be decoded are counted on stderr.
#include <cstdio>
#include <cstring>

#include "Ringlog/Reader.h"

namespace {
constexpr char const* usage =
    "usage: fenn-ringlog FILE\n"
    "  prints the records of a ring-log file, oldest first, one text line each\n"
    "  exit status: 0 all read, 1 damaged records skipped, 2 not a ring log or bad usage\n"
    "  --version  print the version\n";
}

int main(int argc, char** argv) {
  if (argc == 2 && (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0)) {
    std::fputs(usage, stdout);
    return 0;
  }
  if (argc == 2 && std::strcmp(argv[1], "--version") == 0) {
    std::puts("fenn-ringlog " FENN_VERSION);
    return 0;
  }
  if (argc != 2 || argv[1][0] == '-') {
    std::fputs(usage, stderr);
    return 2;
  }
  try {
    Ringlog::Contents const c = Ringlog::readFile(argv[1]);
    for (auto const& e : c.entries) std::printf("%s\n", e.text().c_str());
    if (c.skipped) {
      std::fprintf(stderr, "fenn-ringlog: %llu damaged records skipped\n",
                   static_cast<unsigned long long>(c.skipped));
    }
    if (!c.problem.empty()) std::fprintf(stderr, "fenn-ringlog: %s\n", c.problem.c_str());
    return c.skipped || !c.problem.empty() ? 1 : 0;
  } catch (Ringlog::FormatError const& e) {
    std::fprintf(stderr, "fenn-ringlog: %s: %s\n", argv[1], e.what());
    return 2;
  }
}
