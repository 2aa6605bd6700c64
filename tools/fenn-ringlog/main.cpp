// fenn-ringlog FILE: prints the records of a ring-log file, oldest first, as the text trace
// would have written them. Records that cannot be decoded are counted on stderr.
#include <cstdio>
#include <cstring>

#include "Ringlog/Reader.h"

int main(int argc, char** argv) {
  if (argc != 2 || std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0) {
    std::fprintf(stderr, "usage: fenn-ringlog FILE\n  prints the records of a ring-log file, oldest first\n");
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
