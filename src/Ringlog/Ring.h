// The process's ring-log image and the two-step append of a record (reserve, commit).
// The image lives in a mapped file `<directory>/fenn-<pid>.ringlog` when a directory is
// configured (FENN_RINGLOG_DIR or configure()), so records written before a crash can be
// read from the file afterwards; otherwise in anonymous memory. It is opened by the first
// record. Not thread-safe: a process writes its ring log from one thread.
//
// The ring is divided into blocks, and a record never straddles two: a padding record fills
// the rest of a block when the next record does not fit. When the writer enters a block
// that still holds old records, the tail moves past that whole block at once (published
// before its bytes are overwritten): a block boundary is always the start of a record, so
// nothing has to be read to find where the oldest remaining record begins.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>

#include "Qor/String.h"
#include "Ringlog/Layout.h"

namespace Ringlog {

struct Config {
  Qor::String directory;                 // empty: in memory
  uint64_t ringBytes = 4 << 20;          // power of two, at least kMinRingBytes
  uint64_t descriptorBytes = 256 << 10;  // descriptors that do not fit are not kept
};

// Closes the current image (a file stays on disk) and uses `config` from the next record
// on. Throws std::invalid_argument for a ring size that is not a power of two or too small.
void configure(Config config);
// Starts from FENN_RINGLOG_DIR and the defaults.
Config const& configuration();

// The whole current image, opening it if needed; what a reader decodes.
std::span<std::byte const> image();
// The image's file, or empty when it is in memory or not open.
Qor::String const& filePath();

namespace detail {

struct Ring {
  std::byte* data = nullptr;  // the record ring
  uint64_t mask = 0;
  uint64_t capacity = 0;
  uint64_t blockBytes = 0;
  uint64_t head = 0;
  uint64_t limit = 0;  // end of the head's block; 0 while closed, which sends every reserve to the slow path
  uint64_t tail = 0;
  uint64_t sequence = 0;
  FileHeader* header = nullptr;
};
extern constinit Ring ring;

std::byte* reserveSlow(uint32_t bytes);
void appendDescriptor(std::string_view blob);

}  // namespace detail

// Room for a record of at most `bytes` (a multiple of 8, at most kMaxRecordBytes).
inline std::byte* reserve(uint32_t bytes) {
  detail::Ring& r = detail::ring;
  if (r.head + bytes > r.limit) [[unlikely]]
    return detail::reserveSlow(bytes);
  return r.data + (r.head & r.mask);
}

// Publishes the record just written at the reserved place; `bytes` is its actual size.
inline void commit(uint32_t bytes) noexcept {
  detail::Ring& r = detail::ring;
  r.head += bytes;
  ++r.sequence;
  std::atomic_ref<uint64_t>(r.header->head).store(r.head, std::memory_order_release);
}

}  // namespace Ringlog
