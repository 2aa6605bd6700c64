// Intrusive reference-counted ownership for every entity, state machine, helper and
// scheduler. The count lives in the object, so a raw pointer handed out by a lookup can
// always be turned back into an owning Ptr. Counts are atomic only when the process has
// turned thread-safe pointers on (one process-wide switch, set before sharing begins).
#pragma once

#include <atomic>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace Qor {

namespace detail {
extern bool threadSafePtrs;
}

// Turns atomic reference counting on or off for the whole process. Call it before any
// Ptr crosses a thread; the agent's single event loop runs with it off.
void threadSafePtrsIs(bool on);
bool threadSafePtrs();

class PtrInterface {
 public:
  void refInc() const noexcept {
    if (detail::threadSafePtrs) {
      refs_.fetch_add(1, std::memory_order_relaxed);
    } else {
      refs_.store(refs_.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    }
  }
  // Returns true when the last reference went away.
  bool refDec() const noexcept {
    if (detail::threadSafePtrs) {
      return refs_.fetch_sub(1, std::memory_order_acq_rel) == 1;
    }
    uint32_t const n = refs_.load(std::memory_order_relaxed) - 1;
    refs_.store(n, std::memory_order_relaxed);
    return n == 0;
  }
  uint32_t refCount() const noexcept { return refs_.load(std::memory_order_relaxed); }

 protected:
  PtrInterface() = default;
  PtrInterface(PtrInterface const&) noexcept {}
  PtrInterface& operator=(PtrInterface const&) noexcept { return *this; }
  virtual ~PtrInterface() = default;

 private:
  mutable std::atomic<uint32_t> refs_{0};
};

template <class T>
class Ptr {
 public:
  using element_type = T;

  Ptr() noexcept = default;
  Ptr(std::nullptr_t) noexcept {}
  Ptr(T* p) noexcept : p_(p) { acquire(); }
  Ptr(Ptr const& o) noexcept : p_(o.p_) { acquire(); }
  Ptr(Ptr&& o) noexcept : p_(std::exchange(o.p_, nullptr)) {}
  template <class U>
  requires std::is_convertible_v<U*, T*> Ptr(Ptr<U> const& o)
  noexcept : p_(o.get()) { acquire(); }
  template <class U>
  requires std::is_convertible_v<U*, T*> Ptr(Ptr<U>&& o)
  noexcept : p_(o.release()) {}
  ~Ptr() { drop(); }

  Ptr& operator=(Ptr const& o) noexcept {
    Ptr(o).swap(*this);
    return *this;
  }
  Ptr& operator=(Ptr&& o) noexcept {
    Ptr(std::move(o)).swap(*this);
    return *this;
  }
  Ptr& operator=(std::nullptr_t) noexcept {
    Ptr().swap(*this);
    return *this;
  }

  T* get() const noexcept { return p_; }
  T* operator->() const noexcept { return p_; }
  T& operator*() const noexcept { return *p_; }
  explicit operator bool() const noexcept { return p_ != nullptr; }
  void swap(Ptr& o) noexcept { std::swap(p_, o.p_); }
  // Gives up ownership without decrementing; used by the converting move.
  T* release() noexcept { return std::exchange(p_, nullptr); }

  friend bool operator==(Ptr const& a, Ptr const& b) noexcept { return a.p_ == b.p_; }
  friend bool operator==(Ptr const& a, std::nullptr_t) noexcept { return a.p_ == nullptr; }

 private:
  void acquire() noexcept {
    if (p_) p_->refInc();
  }
  void drop() noexcept {
    if (p_ && p_->refDec()) delete p_;
  }
  T* p_ = nullptr;
};

template <class T, class U>
Ptr<T> ptrCast(Ptr<U> const& p) {
  return Ptr<T>(static_cast<T*>(p.get()));
}

}  // namespace Qor
