// A FIFO in one ring buffer that grows (doubling) when full and shrinks only when asked.
// Unlike std::deque, which allocates and frees a block every few hundred bytes as a queue
// slides along, a queue whose length stays within what it has held before allocates
// nothing: its heap is its high water, however many elements pass through. That keeps the
// memory of a long-running agent flat under churn, and pushes off the allocator.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace Keel {

template <class T>
class RingQueue {
 public:
  bool empty() const noexcept { return size_ == 0; }
  size_t size() const noexcept { return size_; }
  // The i-th element from the front.
  T const& operator[](size_t i) const noexcept { return slots_[(head_ + i) & (slots_.size() - 1)]; }
  T const& front() const noexcept { return slots_[head_]; }
  size_t capacity() const noexcept { return slots_.size(); }

  void push(T value) {
    if (size_ == slots_.size()) capacityIs(slots_.empty() ? minCapacity : 2 * slots_.size());
    slots_[(head_ + size_) & (slots_.size() - 1)] = std::move(value);
    ++size_;
  }
  void pop() noexcept {
    head_ = (head_ + 1) & (slots_.size() - 1);
    --size_;
  }
  // Gives back what a burst left: the capacity becomes the smallest that holds the
  // elements with room for as many again.
  void shrink() {
    size_t capacity = minCapacity;
    while (capacity < 2 * size_) capacity *= 2;
    if (capacity < slots_.size()) capacityIs(capacity);
  }

 private:
  // Capacities are powers of two, so positions wrap with a mask.
  static constexpr size_t minCapacity = 16;
  void capacityIs(size_t capacity) {
    std::vector<T> slots(capacity);
    for (size_t i = 0; i < size_; ++i) slots[i] = std::move(slots_[(head_ + i) & (slots_.size() - 1)]);
    slots_ = std::move(slots);
    head_ = 0;
  }

  std::vector<T> slots_;
  size_t head_ = 0;
  size_t size_ = 0;
};

}  // namespace Keel
