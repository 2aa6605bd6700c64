// Writing ring-log records. Each call site owns a CallSite (a constant-initialized static),
// which registers the site's descriptor on its first record; after that a record is the
// arguments in binary behind a 24-byte header, with no formatting and no allocation
// (except for values that only have a text form). QTRACE calls this; it is usable alone:
//   static constinit Ringlog::CallSite site;
//   Ringlog::write(site, "/src/Keel/Scheduler", __LINE__, 5, "ran ", taskName, " in ", ns);
#pragma once

#include <cstring>
#include <type_traits>

#include "Ringlog/Arg.h"
#include "Ringlog/Clock.h"
#include "Ringlog/Descriptor.h"
#include "Ringlog/Ring.h"

namespace Ringlog {

struct CallSite {
  uint32_t id = 0;  // 0 until the descriptor is registered
};

template <class A>
void describeArg(DescriptorBuilder& b, std::remove_reference_t<A> const& v) {
  using T = std::remove_cvref_t<A>;
  if constexpr (isLiteral<A>) {
    b.literal(v);
  } else if constexpr (Qor::RegisteredEnum<T>) {
    b.enumeration(Qor::EnumTraits<T>::names);
  } else {
    b.argument(argKind<T>());
  }
}

template <class... A>
[[gnu::cold, gnu::noinline]] uint32_t describe(char const* sourcePath, int line, int level,
                                               std::remove_reference_t<A> const&... args) {
  DescriptorBuilder b(sourcePath, line, level);
  (describeArg<A>(b, args), ...);
  return std::move(b).add();
}

template <class... A>
void write(CallSite& site, char const* sourcePath, int line, int level, A&&... args) {
  if (site.id == 0) [[unlikely]] {
    site.id = describe<A...>(sourcePath, line, level, args...);
  }
  constexpr uint32_t maxBytes = roundUp8(sizeof(RecordHeader) + (0 + ... + maxEncodedBytes<A>()));
  static_assert(maxBytes <= kMaxRecordBytes, "too many text arguments for one ring-log record");
  std::byte* const start = reserve(maxBytes);
  std::byte* p = start + sizeof(RecordHeader);
  ((p = encodeArg<A>(p, args)), ...);
  RecordHeader const h{roundUp8(static_cast<uint64_t>(p - start)), site.id, detail::ring.sequence,
                       clocks.record()};
  std::memcpy(start, &h, sizeof h);
  commit(h.bytes);
}

}  // namespace Ringlog
