// A binary min-heap whose items are told where they sit, so that an item can be removed or
// re-keyed in O(log n) without searching for it. The scheduler's timer queue and the timer
// wheel each keep one. Operations never allocate once the storage has grown to its working
// size (reserve() it up front to make that true from the start).
//
// Order supplies `bool before(T a, T b) const` (a comes out first) and
// `void placed(T item, size_t pos) const` (item now sits at pos; remember it for erase/fix).
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace Keel {

template <class T, class Order>
class IndexedHeap {
 public:
  explicit IndexedHeap(Order order = Order()) : order_(std::move(order)) {}

  bool empty() const noexcept { return items_.empty(); }
  size_t size() const noexcept { return items_.size(); }
  size_t capacity() const noexcept { return items_.capacity(); }
  T const& top() const { return items_.front(); }
  void reserve(size_t n) { items_.reserve(n); }

  void push(T item) {
    items_.push_back(item);
    siftUp(items_.size() - 1, item);
  }

  T pop() {
    T const item = items_.front();
    erase(0);
    return item;
  }

  // Removes the item last placed at `pos`.
  void erase(size_t pos) {
    T const last = items_.back();
    items_.pop_back();
    if (pos < items_.size()) {
      items_[pos] = last;
      fix(pos);
    }
  }

  // Restores the order after the key of the item at `pos` changed.
  void fix(size_t pos) {
    T const item = items_[pos];
    if (pos > 0 && order_.before(item, items_[(pos - 1) / 2])) {
      siftUp(pos, item);
    } else {
      siftDown(pos, item);
    }
  }

 private:
  void place(size_t pos, T item) {
    items_[pos] = item;
    order_.placed(item, pos);
  }

  void siftUp(size_t pos, T item) {
    while (pos > 0) {
      size_t const parent = (pos - 1) / 2;
      if (!order_.before(item, items_[parent])) break;
      place(pos, items_[parent]);
      pos = parent;
    }
    place(pos, item);
  }

  void siftDown(size_t pos, T item) {
    size_t const n = items_.size();
    for (;;) {
      size_t child = 2 * pos + 1;
      if (child >= n) break;
      if (child + 1 < n && order_.before(items_[child + 1], items_[child])) ++child;
      if (!order_.before(items_[child], item)) break;
      place(pos, items_[child]);
      pos = child;
    }
    place(pos, item);
  }

  std::vector<T> items_;
  Order order_;
};

}  // namespace Keel
