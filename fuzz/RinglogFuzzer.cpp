// The ring-log reader: any image either is refused with a FormatError or decodes into
// entries whose text can be printed; damaged records are skipped and counted, never read
// out of bounds. Any other exception or a sanitizer report is a finding.
//
// A ring log is mostly zeros (at least 64 KiB of ring), which a mutator would spend its
// time on; so an input is the image with its trailing zeros cut, and the image read is the
// input followed by zeros up to the end its header declares (at most 1 MiB). The corpus
// files are ring logs written with a small ring and trimmed that way.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "Ringlog/Layout.h"
#include "Ringlog/Reader.h"

namespace {

size_t declaredEnd(uint8_t const* data, size_t size) {
  Ringlog::FileHeader h;
  if (size < sizeof h) return size;
  std::memcpy(&h, data, sizeof h);
  uint64_t const ends[] = {h.descriptorOffset + h.descriptorBytes, h.ringOffset + h.ringBytes};
  size_t end = size;
  for (uint64_t e : ends) {
    if (e > end && e <= (1u << 20)) end = static_cast<size_t>(e);
  }
  return end;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  std::vector<std::byte> image(declaredEnd(data, size));
  if (size) std::memcpy(image.data(), data, size);
  try {
    Ringlog::Contents const c = Ringlog::read(image);
    for (auto const& e : c.entries) (void)e.text();
  } catch (Ringlog::FormatError const&) {
  }
  return 0;
}
