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
//
// The home slot of a key is its tag's 31 hash bits scaled to the capacity (a multiply and
// a shift) rather than masked, so a capacity need not be a power of two, and a probe run
// wraps from the last slot to the first by a comparison. The scaling reads the high bits
// of the hash: every hash of the runtime ends in a finalizer that mixes them (Hash.h).
// Before it is scaled, the tag is multiplied by an odd number that depends on the
// capacity, so that tables of different sizes order the same hashes differently. A table
// iterates in the order of its home slots, and two patterns would otherwise feed a table
// its keys in its own order: erasing the keys of a snapshot of the table, and copying
// one table into another keyed alike. Erased in order, the keys left all come from one end
// of the order; a table that halves around them packed them into one probe run at twice
// their density, and every later erase shifted the whole run back. Copied in order, the
// keys came into the smaller tables on the way in a narrow band of their homes. Both
// were quadratic: at a million keys, 40 us per erase and 107 us per insert instead of
// about 0.3 (docs/performance.md).
//
// A small table (up to 64 slots, whose tags fill four cache lines) may fill up completely:
// a probe that finds no empty slot there stops after one round of its tags, which costs
// less than the memory of a larger table. Small tables double (4, 8, 16, 32, 64), so
// flood sets of 16 and 64 destinations sit in as many slots and a set filled one element
// at a time reallocates seldom. A larger table grows when it would pass seven eighths
// full, so that its probe runs stay short. Up to 128 KiB it grows by a quarter of a power
// of two (64, 80, 96, 112, 128, 160, ...): it stays 0.7 to 0.875 full instead of 0.44 to
// 0.875, and a flood set of 256 takes 320 slots instead of 512. Past 128 KiB it doubles:
// the growth of such a table is paid in pages the process has not touched yet (every new
// table is larger than any freed one), and growing by quarters faults in three times the
// pages and moves each element about four times instead of once, which took 13% more
// CPU to fill 196K flood-set destinations through the switch and 52% for the library
// alone (docs/performance.md). Every table halves once erasing leaves it an eighth full:
// a table that grew with a burst of additions gives the memory back as they are removed,
// and the band between the two bounds (a halved table is at most a quarter full, a grown
// one at least 0.44) keeps a table that hovers at one size from resizing back and forth.
// A table whose last element leaves lets all its memory go, as clear() does: an emptied
// table costs no more than one never filled, so the memory of entities that stay (a flood
// set whose destinations all left) returns to where it was before they came, at the price
// of one allocation each time such a table fills again. The handle is two words (the
// memory and the counts), as entities hold many small tables.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <new>
#include <tuple>
#include <type_traits>
#include <utility>

namespace Qor {

// V is void for a set. Hash returns the key's hash; its low 31 bits, scaled to the
// capacity, pick the home slot, so those bits must be well mixed up to the top one.
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

    reference operator*() const noexcept { return table_->slots()[index_]; }
    pointer operator->() const noexcept { return &table_->slots()[index_]; }
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
  ~FlatHashTable() { clear(); }

  size_t size() const noexcept { return size_; }
  bool empty() const noexcept { return size_ == 0; }
  // The slots the table holds memory for.
  size_t capacity() const noexcept { return capacity_; }

  iterator begin() noexcept { return iterator(this, occupiedFrom(0)); }
  iterator end() noexcept { return iterator(this, capacity_); }
  const_iterator begin() const noexcept { return const_iterator(this, occupiedFrom(0)); }
  const_iterator end() const noexcept { return const_iterator(this, capacity_); }

  iterator find(K const& k) noexcept { return iterator(this, indexOf(k)); }
  const_iterator find(K const& k) const noexcept { return const_iterator(this, indexOf(k)); }
  size_t count(K const& k) const noexcept { return indexOf(k) == capacity_ ? 0 : 1; }
  // Whether an element whose hash equals k's (k itself, if present, among them) satisfies
  // `pred`. Those elements all sit in k's probe run, so only that run is read: with a
  // hash of part of the key, this finds the elements that agree with k on that part.
  template <class Pred>
  bool anyWithHashOf(K const& k, Pred pred) const {
    if (size_ == 0) return false;
    uint32_t const tag = tagOf(k);
    value_type const* const slots = this->slots();
    for (size_t i = homeOf(tag, capacity_), left = capacity_; left != 0 && tags_[i] != 0;
         --left, i = nextOf(i, capacity_)) {
      if (tags_[i] == tag && pred(std::as_const(slots[i]))) return true;
    }
    return false;
  }

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
  // Makes room for `n` elements, so that adding up to that many does not grow the table;
  // never shrinks it. A table filled from an input whose size is known ahead (a state
  // machine's first walk) takes its memory once instead of moving every element through
  // each power of two on the way. Past the quarter steps it takes the capacity that holds
  // `n` seven eighths full (in whole cache lines of tags) rather than the next power of
  // two: doubling is for growth, and a table sized once pays for its slots only. Every
  // slot of such a table is touched, as the elements scatter over it, so a power of two
  // can cost nearly twice the fresh memory (a million flood-set destinations: 2,097,152
  // slots of 92 bytes instead of 1,151,008).
  void reserve(size_t n) {
    if (n <= maxSize(capacity_)) return;
    size_t capacity = capacity_ ? size_t(capacity_) : minCapacity;
    while (maxSize(capacity) < n && bytesFor(capacity) < quarterStepsBytes)
      capacity = grownCapacity(capacity);
    if (maxSize(capacity) < n) capacity = tightCapacity(n);
    moveTo(allocateTags(capacity), capacity);
  }
  // Removes every element and lets all the memory go.
  void clear() noexcept {
    destroyAll();
    ::operator delete(tags_);
    tags_ = nullptr;
    capacity_ = 0;
    size_ = 0;
  }

 private:
  static constexpr uint32_t occupiedBit = 0x80000000u;
  static constexpr size_t maxFullCapacity = 64;
  static constexpr size_t minCapacity = 4;
  // Past this size a table doubles instead of growing by quarters (see the top).
  static constexpr size_t quarterStepsBytes = 128 * 1024;

  // The capacity a table grows to: the next power of two for a small table or one past
  // quarterStepsBytes; otherwise the next multiple of a quarter of the largest power of
  // two not above it (64, 80, 96, 112, 128, 160, ...).
  static size_t grownCapacity(size_t capacity) noexcept {
    if (capacity == 0) return minCapacity;
    size_t step = std::bit_floor(capacity);
    if (capacity >= maxFullCapacity && bytesFor(capacity) < quarterStepsBytes) step /= 4;
    return (capacity / step + 1) * step;
  }

  // The smallest multiple of a cache line of tags that holds n elements seven eighths full.
  static size_t tightCapacity(size_t n) noexcept {
    constexpr size_t line = 64 / sizeof(uint32_t);
    size_t capacity = (n + n / 7 + line) / line * line;
    while (maxSize(capacity) < n) capacity += line;
    return capacity;
  }

  // The home slot: the tag's hash bits scaled to the capacity, after a multiply by an odd
  // number that depends on the capacity, which orders the hashes differently in every
  // size of table (see the top).
  static size_t homeOf(uint32_t tag, size_t capacity) noexcept {
    uint32_t const ordered = tag * (0x9e3779b1u ^ (uint32_t(capacity) << 1));
    return size_t((uint64_t(ordered >> 1) * capacity) >> 31);
  }
  static size_t nextOf(size_t i, size_t capacity) noexcept { return i + 1 == capacity ? 0 : i + 1; }
  // How far slot `to` is past slot `from` along the probe order.
  static size_t distance(size_t from, size_t to, size_t capacity) noexcept {
    return to >= from ? to - from : to + capacity - from;
  }

  static K const& keyOf(value_type const& v) noexcept {
    if constexpr (isSet) {
      return v;
    } else {
      return v.first;
    }
  }
  static uint32_t tagOf(K const& k) noexcept { return static_cast<uint32_t>(Hash()(k)) | occupiedBit; }
  // A small table may be full; a larger one stays at most seven eighths full.
  static size_t maxSize(size_t capacity) noexcept {
    return capacity <= maxFullCapacity ? capacity : capacity - capacity / 8;
  }

  size_t indexOf(K const& k) const noexcept {
    if (size_ == 0) return capacity_;
    uint32_t const tag = tagOf(k);
    value_type const* const slots = this->slots();
    for (size_t i = homeOf(tag, capacity_), left = capacity_; left != 0; --left, i = nextOf(i, capacity_)) {
      uint32_t const t = tags_[i];
      if (t == 0) return capacity_;
      if (t == tag && keyOf(slots[i]) == k) return i;
    }
    return capacity_;
  }

  size_t occupiedFrom(size_t i) const noexcept {
    while (i < capacity_ && tags_[i] == 0) ++i;
    return i;
  }

  template <class... A>
  std::pair<iterator, bool> emplaceKey(K const& k, A&&... args) {
    uint32_t const tag = tagOf(k);
    size_t i = homeOf(tag, capacity_);
    value_type* const slots = this->slots();
    if (size_ != 0) {
      // Without an empty slot (a full small table) the round ends where it began, and the
      // table grows below.
      for (size_t left = capacity_; left != 0; --left, i = nextOf(i, capacity_)) {
        uint32_t const t = tags_[i];
        if (t == 0) break;
        if (t == tag && keyOf(slots[i]) == k) return {iterator(this, i), false};
      }
    }
    if (size_ + 1 > maxSize(capacity_))
      return {iterator(this, growAndEmplace(tag, std::forward<A>(args)...)), true};
    ::new (static_cast<void*>(&slots[i])) value_type(std::forward<A>(args)...);
    tags_[i] = tag;
    ++size_;
    return {iterator(this, i), true};
  }

  static size_t freeSlot(uint32_t const* tags, size_t capacity, uint32_t tag) noexcept {
    size_t i = homeOf(tag, capacity);
    while (tags[i] != 0) i = nextOf(i, capacity);
    return i;
  }

  // Memory for `capacity` slots, every tag empty. Tags come first: the slots start at the
  // next multiple of the element's alignment.
  static size_t slotsOffset(size_t capacity) noexcept {
    static_assert(alignof(value_type) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);
    return (capacity * sizeof(uint32_t) + alignof(value_type) - 1) & ~(alignof(value_type) - 1);
  }
  static size_t bytesFor(size_t capacity) noexcept {
    return slotsOffset(capacity) + capacity * sizeof(value_type);
  }
  static uint32_t* allocateTags(size_t capacity) {
    void* const memory = ::operator new(bytesFor(capacity));
    uint32_t* const tags = static_cast<uint32_t*>(memory);
    for (size_t j = 0; j < capacity; ++j) tags[j] = 0;
    return tags;
  }
  static value_type* slotsOf(uint32_t* tags, size_t capacity) noexcept {
    return reinterpret_cast<value_type*>(reinterpret_cast<char*>(tags) + slotsOffset(capacity));
  }
  // The slots follow the tags in the one allocation, so their address is derived rather
  // than kept: the handle stays two words.
  value_type* slots() const noexcept { return tags_ ? slotsOf(tags_, capacity_) : nullptr; }

  // Moves every element into `tags` (of `capacity` slots) and makes it the table's memory.
  void moveTo(uint32_t* tags, size_t capacity) noexcept {
    value_type* const slots = slotsOf(tags, capacity);
    value_type* const oldSlots = this->slots();
    for (size_t o = 0; o < capacity_; ++o) {
      if (tags_[o] == 0) continue;
      size_t const j = freeSlot(tags, capacity, tags_[o]);
      ::new (static_cast<void*>(&slots[j])) value_type(std::move(oldSlots[o]));
      tags[j] = tags_[o];
      oldSlots[o].~value_type();
    }
    ::operator delete(tags_);
    tags_ = tags;
    capacity_ = static_cast<uint32_t>(capacity);
  }

  // Grows to the next capacity with the new element in it. The element is built first, while
  // the old slots are intact, because its arguments may refer to one of them (a value
  // copied from another key of this table).
  template <class... A>
  size_t growAndEmplace(uint32_t tag, A&&... args) {
    size_t const capacity = grownCapacity(capacity_);
    uint32_t* const tags = allocateTags(capacity);
    size_t const i = freeSlot(tags, capacity, tag);
    try {
      ::new (static_cast<void*>(&slotsOf(tags, capacity)[i])) value_type(std::forward<A>(args)...);
    } catch (...) {
      ::operator delete(tags);
      throw;
    }
    tags[i] = tag;
    moveTo(tags, capacity);
    ++size_;
    return i;
  }

  // Lets the memory go once the table is empty, and otherwise halves the slots once they
  // are an eighth full, down to the smallest table. A table that cannot get the smaller
  // memory keeps the larger.
  void maybeShrink() noexcept {
    if (size_ == 0) return clear();
    if (capacity_ / 2 < minCapacity || size_ > capacity_ / 8) return;
    uint32_t* tags;
    try {
      tags = allocateTags(capacity_ / 2);
    } catch (...) {
      return;
    }
    moveTo(tags, capacity_ / 2);
  }

  // Backward-shift deletion: each later element of the probe run that may live at the hole
  // (its home slot is not between the hole and itself) moves into it, leaving a new hole.
  // The hole is marked empty at once, so the walk ends at the latest when it comes round
  // to it (in a table that was full).
  void eraseAt(size_t hole) noexcept {
    size_t const capacity = capacity_;
    value_type* const slots = this->slots();
    slots[hole].~value_type();
    tags_[hole] = 0;
    for (size_t j = nextOf(hole, capacity);; j = nextOf(j, capacity)) {
      uint32_t const t = tags_[j];
      if (t == 0) break;
      if (distance(homeOf(t, capacity), j, capacity) < distance(hole, j, capacity)) continue;
      ::new (static_cast<void*>(&slots[hole])) value_type(std::move(slots[j]));
      tags_[hole] = t;
      slots[j].~value_type();
      tags_[j] = 0;
      hole = j;
    }
    --size_;
    maybeShrink();
  }

  void destroyAll() noexcept {
    if constexpr (!std::is_trivially_destructible_v<value_type>) {
      value_type* const slots = this->slots();
      for (size_t i = 0; i < capacity_; ++i) {
        if (tags_[i] != 0) slots[i].~value_type();
      }
    }
  }

  uint32_t* tags_ = nullptr;  // the start of the table's memory, the slots after the tags
  uint32_t capacity_ = 0;
  uint32_t size_ = 0;
};

}  // namespace Qor
