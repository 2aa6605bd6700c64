// The hash table behind every runtime collection (Qor::HashMap, Qor::HashSet): open
// addressing with linear probing over one allocation that holds a 32-bit tag per slot
// and the elements themselves. A tag is the key's hash with the top bit set (0 marks an
// empty slot), so probing compares tags before keys, and growing moves elements to
// their new slots without hashing any key again. Erasing shifts the following elements
// of the probe run back instead of leaving tombstones.
//
// Compared with node-based maps this saves one allocation and two dependent memory reads
// per element, which is what large state-machine indexes pay for. The price is that
// elements move: any insert may invalidate every iterator, pointer and reference into
// the table, and an erase invalidates those of the other elements as well. Code that
// writes while it walks a table walks a snapshot of its keys instead; a reference taken
// from the table is used before the next write to it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <new>
#include <tuple>
#include <type_traits>
#include <utility>

namespace Qor {

// V is void for a set. Hash returns the key's hash; its low bits pick the home slot.
template <class K, class V, class Hash>
class FlatHashTable {
  static constexpr bool isSet = std::is_void_v<V>;

 public:
  using key_type = K;
  using value_type = std::conditional_t<isSet, K, std::pair<K const, V>>;
  using size_type = size_t;

  template <bool Const>
  class Iterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = FlatHashTable::value_type;
    using difference_type = std::ptrdiff_t;
    using reference = std::conditional_t<Const || isSet, value_type const&, value_type&>;
    using pointer = std::conditional_t<Const || isSet, value_type const*, value_type*>;

    Iterator() = default;
    // An iterator converts to a const_iterator.
    operator Iterator<true>() const noexcept { return Iterator<true>(table_, index_); }

    reference operator*() const noexcept { return table_->slots_[index_]; }
    pointer operator->() const noexcept { return &table_->slots_[index_]; }
    Iterator& operator++() noexcept {
      index_ = table_->occupiedFrom(index_ + 1);
      return *this;
    }
    Iterator operator++(int) noexcept {
      Iterator const old = *this;
      ++*this;
      return old;
    }
    bool operator==(Iterator const& o) const noexcept { return index_ == o.index_; }

   private:
    friend class FlatHashTable;
    template <bool>
    friend class Iterator;
    using Table = std::conditional_t<Const, FlatHashTable const, FlatHashTable>;
    Iterator(Table* table, size_t index) noexcept : table_(table), index_(index) {}

    Table* table_ = nullptr;
    size_t index_ = 0;
  };
  using iterator = Iterator<false>;
  using const_iterator = Iterator<true>;

  FlatHashTable() = default;
  FlatHashTable(FlatHashTable const&) = delete;
  FlatHashTable& operator=(FlatHashTable const&) = delete;
  ~FlatHashTable() {
    destroyAll();
    ::operator delete(memory_);
  }

  size_t size() const noexcept { return size_; }
  bool empty() const noexcept { return size_ == 0; }

  iterator begin() noexcept { return iterator(this, occupiedFrom(0)); }
  iterator end() noexcept { return iterator(this, capacity_); }
  const_iterator begin() const noexcept { return const_iterator(this, occupiedFrom(0)); }
  const_iterator end() const noexcept { return const_iterator(this, capacity_); }

  iterator find(K const& k) noexcept { return iterator(this, indexOf(k)); }
  const_iterator find(K const& k) const noexcept { return const_iterator(this, indexOf(k)); }
  size_t count(K const& k) const noexcept { return indexOf(k) == capacity_ ? 0 : 1; }

  // Map: inserts (k, V(args...)) unless k is present.
  template <class... A>
  std::pair<iterator, bool> try_emplace(K const& k, A&&... args) requires(!isSet) {
    return emplaceKey(k, std::piecewise_construct, std::forward_as_tuple(k),
                      std::forward_as_tuple(std::forward<A>(args)...));
  }
  // Set: inserts k unless present.
  std::pair<iterator, bool> insert(K const& k) requires isSet { return emplaceKey(k, k); }

  void erase(const_iterator it) noexcept { eraseAt(it.index_); }
  size_t erase(K const& k) noexcept {
    size_t const i = indexOf(k);
    if (i == capacity_) return 0;
    eraseAt(i);
    return 1;
  }
  // Keeps the slots for the next elements.
  void clear() noexcept {
    destroyAll();
    for (size_t i = 0; i < capacity_; ++i) tags_[i] = 0;
    size_ = 0;
  }

 private:
  static constexpr uint32_t occupiedBit = 0x80000000u;
  static constexpr size_t minCapacity = 4;

  static K const& keyOf(value_type const& v) noexcept {
    if constexpr (isSet) {
      return v;
    } else {
      return v.first;
    }
  }
  static uint32_t tagOf(K const& k) noexcept { return static_cast<uint32_t>(Hash()(k)) | occupiedBit; }
  // At most seven eighths full (three of the smallest four slots), so every probe run
  // ends at an empty slot.
  static size_t maxSize(size_t capacity) noexcept {
    return capacity - capacity / 8 - (capacity == minCapacity);
  }

  size_t indexOf(K const& k) const noexcept {
    if (size_ == 0) return capacity_;
    uint32_t const tag = tagOf(k);
    for (size_t i = tag & mask_;; i = (i + 1) & mask_) {
      uint32_t const t = tags_[i];
      if (t == 0) return capacity_;
      if (t == tag && keyOf(slots_[i]) == k) return i;
    }
  }

  size_t occupiedFrom(size_t i) const noexcept {
    while (i < capacity_ && tags_[i] == 0) ++i;
    return i;
  }

  template <class... A>
  std::pair<iterator, bool> emplaceKey(K const& k, A&&... args) {
    uint32_t const tag = tagOf(k);
    size_t i = tag & mask_;
    if (size_ != 0) {
      for (;; i = (i + 1) & mask_) {
        uint32_t const t = tags_[i];
        if (t == 0) break;
        if (t == tag && keyOf(slots_[i]) == k) return {iterator(this, i), false};
      }
    }
    if (size_ + 1 > maxSize(capacity_))
      return {iterator(this, growAndEmplace(tag, std::forward<A>(args)...)), true};
    ::new (static_cast<void*>(&slots_[i])) value_type(std::forward<A>(args)...);
    tags_[i] = tag;
    ++size_;
    return {iterator(this, i), true};
  }

  static size_t freeSlot(uint32_t const* tags, size_t mask, uint32_t tag) noexcept {
    size_t i = tag & mask;
    while (tags[i] != 0) i = (i + 1) & mask;
    return i;
  }

  // Doubles the slots with the new element in them. The element is built first, while
  // the old slots are intact, because its arguments may refer to one of them (a value
  // copied from another key of this table).
  template <class... A>
  size_t growAndEmplace(uint32_t tag, A&&... args) {
    size_t const capacity = capacity_ ? capacity_ * 2 : minCapacity;
    size_t const mask = capacity - 1;
    // Tags first: the slots start at the next multiple of the element's alignment.
    static_assert(alignof(value_type) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);
    size_t const slotsOffset =
        (capacity * sizeof(uint32_t) + alignof(value_type) - 1) & ~(alignof(value_type) - 1);
    void* const memory = ::operator new(slotsOffset + capacity * sizeof(value_type));
    uint32_t* const tags = static_cast<uint32_t*>(memory);
    for (size_t j = 0; j < capacity; ++j) tags[j] = 0;
    value_type* const slots = reinterpret_cast<value_type*>(static_cast<char*>(memory) + slotsOffset);

    size_t const i = freeSlot(tags, mask, tag);
    try {
      ::new (static_cast<void*>(&slots[i])) value_type(std::forward<A>(args)...);
    } catch (...) {
      ::operator delete(memory);
      throw;
    }
    tags[i] = tag;
    for (size_t o = 0; o < capacity_; ++o) {
      if (tags_[o] == 0) continue;
      size_t const j = freeSlot(tags, mask, tags_[o]);
      ::new (static_cast<void*>(&slots[j])) value_type(std::move(slots_[o]));
      tags[j] = tags_[o];
      slots_[o].~value_type();
    }
    ::operator delete(memory_);
    memory_ = memory;
    tags_ = tags;
    slots_ = slots;
    capacity_ = capacity;
    mask_ = mask;
    ++size_;
    return i;
  }

  // Backward-shift deletion: each later element of the probe run that may live at the hole
  // (its home slot is not between the hole and itself) moves into it, leaving a new hole.
  void eraseAt(size_t hole) noexcept {
    slots_[hole].~value_type();
    for (size_t j = (hole + 1) & mask_;; j = (j + 1) & mask_) {
      uint32_t const t = tags_[j];
      if (t == 0) break;
      if (((j - (t & mask_)) & mask_) < ((j - hole) & mask_)) continue;
      ::new (static_cast<void*>(&slots_[hole])) value_type(std::move(slots_[j]));
      tags_[hole] = t;
      slots_[j].~value_type();
      hole = j;
    }
    tags_[hole] = 0;
    --size_;
  }

  void destroyAll() noexcept {
    if constexpr (!std::is_trivially_destructible_v<value_type>) {
      for (size_t i = 0; i < capacity_; ++i) {
        if (tags_[i] != 0) slots_[i].~value_type();
      }
    }
  }

  void* memory_ = nullptr;
  uint32_t* tags_ = nullptr;
  value_type* slots_ = nullptr;
  size_t capacity_ = 0;
  size_t mask_ = 0;
  size_t size_ = 0;
};

}  // namespace Qor
