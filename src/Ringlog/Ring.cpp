#include "Ringlog/Ring.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "Qor/Assert.h"
#include "Ringlog/Descriptor.h"

namespace Ringlog {

namespace detail {
constinit Ring ring;
}  // namespace detail

namespace {

using detail::ring;

// A block is a 64th of the ring, so that dropping one loses little history, and at least
// the largest record (a minimum-size ring has 8 blocks).
uint64_t blockBytesFor(uint64_t ringBytes) { return std::max<uint64_t>(kMaxRecordBytes, ringBytes / 64); }

struct Image {
  void* base = nullptr;
  size_t bytes = 0;
  Qor::String path;
};

Image& mapping() {
  static Image i;
  return i;
}

Config& settings() {
  static Config c = [] {
    Config c;
    if (char const* dir = std::getenv("FENN_RINGLOG_DIR")) c.directory = dir;
    return c;
  }();
  return c;
}

void publish(uint64_t& field, uint64_t value) {
  std::atomic_ref<uint64_t>(field).store(value, std::memory_order_release);
}

void close() {
  Image& im = mapping();
  if (im.base) munmap(im.base, im.bytes);
  im = Image{};
  ring = detail::Ring{};
}

// A forked child must not write into its parent's file; it opens its own on its next record.
void forgetFileInChild() {
  if (!mapping().path.empty()) close();
}

void* mapFile(Qor::String const& path, size_t bytes) {
  int const fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) return nullptr;
  void* base = nullptr;
  // Allocating the blocks now turns a full disk into a warning here rather than SIGBUS later.
  if (posix_fallocate(fd, 0, static_cast<off_t>(bytes)) == 0) {
    base = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (base == MAP_FAILED) base = nullptr;
  }
  ::close(fd);
  return base;
}

void open() {
  static bool const atforkRegistered = pthread_atfork(nullptr, nullptr, forgetFileInChild) == 0;
  (void)atforkRegistered;

  Config const& c = settings();
  uint64_t const descriptorOffset = 128;
  uint64_t const ringOffset = (descriptorOffset + c.descriptorBytes + 4095) & ~uint64_t{4095};
  size_t const bytes = ringOffset + c.ringBytes;
  Image& im = mapping();
  im.bytes = bytes;
  if (!c.directory.empty()) {
    Qor::String const path = c.directory + "/fenn-" + std::to_string(getpid()) + ".ringlog";
    im.base = mapFile(path, bytes);
    if (im.base) {
      im.path = path;
    } else {
      std::fprintf(stderr, "ringlog: cannot create %s (%s); keeping the ring log in memory\n", path.c_str(),
                   std::strerror(errno));
    }
  }
  if (!im.base) {
    im.base = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    QOR_ASSERT_TEXT(im.base != MAP_FAILED, "ring-log memory mapped");
  }

  auto* h = static_cast<FileHeader*>(im.base);
  std::memset(h, 0, sizeof *h);
  std::memcpy(h->magic, kMagic, sizeof kMagic);
  h->version = kVersion;
  h->headerBytes = sizeof(FileHeader);
  h->descriptorOffset = descriptorOffset;
  h->descriptorBytes = c.descriptorBytes;
  h->ringOffset = ringOffset;
  h->ringBytes = c.ringBytes;
  h->pid = static_cast<uint64_t>(getpid());

  ring.header = h;
  ring.data = static_cast<std::byte*>(im.base) + ringOffset;
  ring.capacity = c.ringBytes;
  ring.mask = c.ringBytes - 1;
  ring.blockBytes = blockBytesFor(c.ringBytes);
  for (auto const& blob : descriptors()) detail::appendDescriptor(blob);
}

// Moves the head to the start of the next block, over a padding record for what is left of
// the current one, and drops the oldest block if the ring is full.
void enterNextBlock() {
  if (ring.head < ring.limit) {
    uint32_t const fill[2] = {static_cast<uint32_t>(ring.limit - ring.head), kPaddingId};
    std::memcpy(ring.data + (ring.head & ring.mask), fill, kPaddingBytes);
    ring.head = ring.limit;
    publish(ring.header->head, ring.head);
  }
  ring.limit = ring.head + ring.blockBytes;
  if (ring.limit > ring.tail + ring.capacity) {
    ring.tail = ring.limit - ring.capacity;
    publish(ring.header->tail, ring.tail);
  }
}

}  // namespace

void configure(Config config) {
  if (config.ringBytes < kMinRingBytes || (config.ringBytes & (config.ringBytes - 1)) != 0) {
    throw std::invalid_argument("ring-log size must be a power of two of at least " +
                                std::to_string(kMinRingBytes) + " bytes");
  }
  close();
  settings() = std::move(config);
}

Config const& configuration() { return settings(); }

std::span<std::byte const> image() {
  if (!ring.data) open();
  Image const& im = mapping();
  return {static_cast<std::byte const*>(im.base), im.bytes};
}

Qor::String const& filePath() { return mapping().path; }

namespace detail {

std::byte* reserveSlow(uint32_t bytes) {
  if (!ring.data) open();
  if (ring.head + bytes > ring.limit) enterNextBlock();
  return ring.data + (ring.head & ring.mask);
}

void appendDescriptor(std::string_view blob) {
  FileHeader* h = ring.header;
  if (!h || h->descriptorUsed + blob.size() > h->descriptorBytes) return;
  std::memcpy(reinterpret_cast<char*>(h) + h->descriptorOffset + h->descriptorUsed, blob.data(), blob.size());
  publish(h->descriptorUsed, h->descriptorUsed + blob.size());
}

}  // namespace detail

}  // namespace Ringlog
