// Decoding a ring-log image (a file left by any process, or this process's own image)
// into entries, oldest first, whose text matches the twin text-trace lines. The reader
// trusts nothing past the header checks: a record with a bad descriptor, a bad argument
// or an out-of-order sequence number is skipped and counted; a record whose size is
// damaged ends the walk (the records after it cannot be found) and is reported.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <vector>

#include "Qor/String.h"

namespace Ringlog {

// The image is not a ring log at all (or the file cannot be read).
class FormatError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Entry {
  uint64_t sequence;
  int64_t timeNs;
  Qor::String sourcePath;
  uint32_t sourceLine;
  uint32_t level;
  Qor::String message;

  // As the text trace writes it: time, source name, level, message.
  Qor::String text() const;
};

struct Contents {
  uint64_t pid = 0;
  std::vector<Entry> entries;
  uint64_t skipped = 0;  // records that could not be decoded
  Qor::String problem;   // why the walk ended early, if it did
};

Contents read(std::span<std::byte const> image);
Contents readFile(Qor::String const& path);

}  // namespace Ringlog
