#include "Ringlog/Reader.h"

#include <bit>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string_view>
#include <unordered_map>

#include "Ringlog/Layout.h"
#include "Ringlog/Text.h"

namespace Ringlog {

namespace {

struct Damaged {};

// Bounds-checked reading of one descriptor or record; running off the end is Damaged.
class Cursor {
 public:
  explicit Cursor(std::span<std::byte const> bytes) : bytes_(bytes) {}

  template <class T>
  T take() {
    T v;
    std::memcpy(&v, need(sizeof v), sizeof v);
    return v;
  }
  std::string_view text(size_t n) { return {reinterpret_cast<char const*>(need(n)), n}; }
  std::string_view string() { return text(take<uint32_t>()); }

 private:
  std::byte const* need(size_t n) {
    if (n > bytes_.size() - pos_) throw Damaged{};
    std::byte const* p = bytes_.data() + pos_;
    pos_ += n;
    return p;
  }

  std::span<std::byte const> bytes_;
  size_t pos_ = 0;
};

struct Item {
  Kind kind;
  std::string_view literal;
  std::vector<std::string_view> names;
};

struct Descriptor {
  std::string_view sourcePath;
  uint32_t line;
  uint32_t level;
  std::vector<Item> items;
};

Descriptor parseDescriptor(Cursor& c) {
  Descriptor d;
  d.line = c.take<uint32_t>();
  d.level = c.take<uint32_t>();
  d.sourcePath = c.string();
  uint32_t const count = c.take<uint32_t>();
  for (uint32_t i = 0; i < count; ++i) {
    Item item{static_cast<Kind>(c.take<uint8_t>()), {}, {}};
    if (item.kind > Kind::text) throw Damaged{};
    if (item.kind == Kind::literal) item.literal = c.string();
    if (item.kind == Kind::enumeration) {
      uint32_t const n = c.take<uint32_t>();
      for (uint32_t k = 0; k < n; ++k) item.names.push_back(c.string());
    }
    d.items.push_back(std::move(item));
  }
  return d;
}

using Descriptors = std::unordered_map<uint32_t, Descriptor>;

void note(Contents& out, Qor::String const& problem) {
  if (!out.problem.empty()) out.problem += "; ";
  out.problem += problem;
}

// Ids are not dense when the writer's area filled up and a later, smaller descriptor still
// fitted. A damaged descriptor ends the list: records that refer to it or later ones are
// skipped.
Descriptors parseDescriptors(std::span<std::byte const> area, Contents& out) {
  Descriptors all;
  size_t pos = 0;
  while (pos + 8 <= area.size()) {
    uint32_t bytes, id;
    std::memcpy(&bytes, area.data() + pos, 4);
    std::memcpy(&id, area.data() + pos + 4, 4);
    if (bytes < 8 || bytes % 8 != 0 || bytes > area.size() - pos || all.contains(id)) break;
    try {
      Cursor c(area.subspan(pos + 8, bytes - 8));
      all.emplace(id, parseDescriptor(c));
    } catch (Damaged const&) {
      break;
    }
    pos += bytes;
  }
  if (pos != area.size()) note(out, "damaged descriptor area at byte " + std::to_string(pos));
  return all;
}

void decodeArgument(Cursor& c, Item const& item, Qor::String& out) {
  switch (item.kind) {
    case Kind::literal:
      out += item.literal;
      return;
    case Kind::int64:
      out += std::to_string(c.take<int64_t>());
      return;
    case Kind::uint64:
      out += std::to_string(c.take<uint64_t>());
      return;
    case Kind::boolean:
      appendBool(out, c.take<uint64_t>() != 0);
      return;
    case Kind::enumeration:
      appendEnum(out, c.take<uint64_t>(), item.names);
      return;
    case Kind::float64:
      appendDouble(out, std::bit_cast<double>(c.take<uint64_t>()));
      return;
    case Kind::text: {
      uint32_t const word = c.take<uint32_t>();
      uint32_t const n = word & ~kTruncated;
      if (n > kMaxTextBytes) throw Damaged{};
      out += c.text(n);
      if (word & kTruncated) out += "...";
      return;
    }
  }
}

Entry decodeRecord(std::span<std::byte const> record, Descriptors const& descriptors) {
  RecordHeader h;
  if (record.size() < sizeof h) throw Damaged{};
  std::memcpy(&h, record.data(), sizeof h);
  auto const found = descriptors.find(h.descriptorId);
  if (found == descriptors.end()) throw Damaged{};
  Descriptor const& d = found->second;
  Entry e{h.sequence, h.timeNs, Qor::String(d.sourcePath), d.line, d.level, {}};
  Cursor c(record.subspan(sizeof h));
  for (auto const& item : d.items) decodeArgument(c, item, e.message);
  return e;
}

FileHeader checkedHeader(std::span<std::byte const> image) {
  FileHeader h;
  if (image.size() < sizeof h) throw FormatError("not a ring log: too short");
  std::memcpy(&h, image.data(), sizeof h);
  if (std::memcmp(h.magic, kMagic, sizeof kMagic) != 0) throw FormatError("not a ring log: bad magic");
  if (h.version != kVersion) throw FormatError("unsupported ring-log version " + std::to_string(h.version));
  bool const laidOut =
      h.headerBytes == sizeof h && h.descriptorOffset >= sizeof h && h.descriptorBytes <= image.size() &&
      h.descriptorOffset <= image.size() - h.descriptorBytes && h.descriptorUsed <= h.descriptorBytes &&
      h.ringOffset >= h.descriptorOffset + h.descriptorBytes && h.ringBytes >= kMinRingBytes &&
      std::has_single_bit(h.ringBytes) && h.ringBytes <= image.size() &&
      h.ringOffset <= image.size() - h.ringBytes;
  if (!laidOut) throw FormatError("not a ring log: inconsistent layout");
  return h;
}

}  // namespace

Qor::String Entry::text() const {
  Qor::String out;
  appendLinePrefix(out, timeNs, sourcePath, static_cast<int>(level));
  out += message;
  return out;
}

Contents read(std::span<std::byte const> image) {
  FileHeader const h = checkedHeader(image);
  Contents out;
  out.pid = h.pid;
  auto const descriptors = parseDescriptors(image.subspan(h.descriptorOffset, h.descriptorUsed), out);
  auto const ring = image.subspan(h.ringOffset, h.ringBytes);
  if (h.tail > h.head || h.head - h.tail > h.ringBytes || h.tail % 8 != 0) {
    note(out, "inconsistent head and tail");
    return out;
  }
  uint64_t const mask = h.ringBytes - 1;
  uint64_t lastSequence = 0;
  for (uint64_t pos = h.tail; pos < h.head;) {
    uint64_t const offset = pos & mask;
    uint32_t bytes, id;
    std::memcpy(&bytes, ring.data() + offset, 4);
    std::memcpy(&id, ring.data() + offset + 4, 4);
    // Padding fills the rest of a writer's block; blocks are powers of two of at least
    // kMaxRecordBytes, so it ends on a multiple of that.
    bool const sized = bytes >= kPaddingBytes && bytes % 8 == 0 && bytes <= h.ringBytes - offset &&
                       bytes <= h.head - pos && (id != kPaddingId || (offset + bytes) % kMaxRecordBytes == 0);
    if (!sized) {
      note(out, "damaged record at offset " + std::to_string(pos) + ", " + std::to_string(h.head - pos) +
                    " bytes from there not read");
      break;
    }
    pos += bytes;
    if (id == kPaddingId) continue;
    try {
      Entry e = decodeRecord(ring.subspan(offset, bytes), descriptors);
      if (!out.entries.empty() && e.sequence <= lastSequence) throw Damaged{};
      lastSequence = e.sequence;
      out.entries.push_back(std::move(e));
    } catch (Damaged const&) {
      ++out.skipped;
    }
  }
  return out;
}

Contents readFile(Qor::String const& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw FormatError("cannot open " + path);
  std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  return read(std::as_bytes(std::span<char const>(bytes)));
}

}  // namespace Ringlog
