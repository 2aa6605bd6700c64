// Live heap bytes of a test program: replaces the global allocation functions with ones
// that keep each block's size in a header in front of it, and counts the bytes live and
// their peak. Include it in exactly one source file of a test program (the replacements
// are definitions); read the figures through TestHeap.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace TestHeap {

namespace detail {
inline std::atomic<size_t> live{0};
inline std::atomic<size_t> peak{0};
// A header as large as the strictest fundamental alignment keeps the block aligned.
constexpr size_t header = alignof(std::max_align_t);

inline void* allocate(size_t n) {
  auto* p = static_cast<char*>(std::malloc(n + header));
  if (!p) throw std::bad_alloc();
  *reinterpret_cast<size_t*>(p) = n;
  size_t const now = live += n;
  size_t high = peak;
  while (now > high && !peak.compare_exchange_weak(high, now)) {
  }
  return p + header;
}

inline void release(void* q) noexcept {
  if (!q) return;
  char* p = static_cast<char*>(q) - header;
  live -= *reinterpret_cast<size_t*>(p);
  std::free(p);
}
}  // namespace detail

// Bytes allocated with new and not yet deleted.
inline size_t liveBytes() { return detail::live; }
// The highest liveBytes() since the last peakReset().
inline size_t peakBytes() { return detail::peak; }
inline void peakReset() { detail::peak = size_t(detail::live); }

}  // namespace TestHeap

void* operator new(size_t n) { return TestHeap::detail::allocate(n); }
void* operator new[](size_t n) { return TestHeap::detail::allocate(n); }
void operator delete(void* p) noexcept { TestHeap::detail::release(p); }
void operator delete[](void* p) noexcept { TestHeap::detail::release(p); }
void operator delete(void* p, size_t) noexcept { TestHeap::detail::release(p); }
void operator delete[](void* p, size_t) noexcept { TestHeap::detail::release(p); }
