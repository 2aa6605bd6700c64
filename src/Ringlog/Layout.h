// The ring-log image: one contiguous region (a file mapping, or anonymous memory) holding
// a header, an append-only descriptor area and the record ring. Everything a reader needs
// to turn records into text is inside the image, so a file left by a process that died
// can be decoded by another process. Values are in the writer's native byte order.
//
//   [FileHeader][descriptors ...          ][ring: records ..., padding, records ...]
//
// Offsets into the ring are logical (they only grow); the byte position is the offset
// masked by the ring size. The writer divides the ring into blocks (a power of two of at
// least kMaxRecordBytes) and records never straddle a block boundary, the ring's end
// included: a padding record fills the rest of a block when the next record does not fit.
// The tail is always a record's start (a block boundary once the ring has wrapped).
#pragma once

#include <cstddef>
#include <cstdint>

namespace Ringlog {

inline constexpr char kMagic[8] = {'F', 'E', 'N', 'N', 'R', 'L', 'O', 'G'};
inline constexpr uint32_t kVersion = 1;

struct FileHeader {
  char magic[8];
  uint32_t version;
  uint32_t headerBytes;
  uint64_t descriptorOffset;
  uint64_t descriptorBytes;
  uint64_t ringOffset;
  uint64_t ringBytes;  // a power of two
  uint64_t pid;
  // The writer publishes these with release stores after the bytes they cover are
  // complete, so [tail, head) and [0, descriptorUsed) are whole at any moment.
  uint64_t descriptorUsed;
  uint64_t tail;  // oldest record that is still intact
  uint64_t head;  // one past the newest complete record
};
static_assert(sizeof(FileHeader) == 80);

// Every record, padding included, starts with `bytes` and `descriptorId`; both are
// multiples of 8 bytes long so the next header is aligned.
struct RecordHeader {
  uint32_t bytes;
  uint32_t descriptorId;
  uint64_t sequence;
  int64_t timeNs;
};
static_assert(sizeof(RecordHeader) == 24);

inline constexpr uint32_t kPaddingId = 0xFFFFFFFFu;
inline constexpr uint32_t kPaddingBytes = 8;  // the part of RecordHeader a padding record needs

// Text arguments are cut to this many bytes; the length word then carries kTruncated.
inline constexpr uint32_t kMaxTextBytes = 256;
inline constexpr uint32_t kTruncated = 0x80000000u;
inline constexpr uint32_t kMaxRecordBytes = 8192;
inline constexpr uint64_t kMinRingBytes = 64 * 1024;

// What a descriptor item is: fixed text from the call site, or the kind of one argument.
// Integers, Booleans, enumerators and doubles take 8 bytes in a record; text takes a
// 32-bit length (with kTruncated) and the bytes.
enum class Kind : uint8_t { literal, int64, uint64, boolean, enumeration, float64, text };

inline constexpr uint32_t roundUp8(uint64_t n) { return static_cast<uint32_t>((n + 7) & ~uint64_t{7}); }

}  // namespace Ringlog
