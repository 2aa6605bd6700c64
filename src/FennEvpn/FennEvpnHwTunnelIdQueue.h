// One pool of free hardware tunnel IDs in the recording stub helper: a first-in,
// first-out queue in which every element carries the index it was stored under. Indexes
// grow by one per enqueue (modulo 2^32) and are never reused while an element holds them,
// so a watcher can follow single elements through their index. The queue's bookkeeping
// (head and tail) is published as hwTunnelIdMetadata after every change.
//
// Notifications: hwTunnelId(index) after each element write or removal, then
// hwTunnelIdMetadata when head or tail moved. Each operation extends the index range
// before it stores an element and shrinks it only after removing one, so a watcher that
// reads or writes the queue from a notification always finds every element in range.
// Any write may invalidate iterators other than the one hwTunnelIdDel(iterator) returns.
#pragma once

#include <cstdint>
#include <string_view>
#include <utility>

#include "Fenn/HwTunnelId.h"
#include "Fenn/HwTunnelIdType.h"
#include "FennEvpn/FennEvpnExport.h"
#include "Qor/Attribute.h"
#include "Qor/Entity.h"
#include "Qor/Record.h"

namespace FennHelper {

// Elements occupy indexes in [head, tail); head == tail when the queue is empty, and the
// next enqueue takes index tail.
class FENN_EVPN_EXPORT HwTunnelIdMetadata : public Qor::RecordValue<HwTunnelIdMetadata> {
 public:
  static constexpr std::string_view typeName = "FennHelper::HwTunnelIdMetadata";

  HwTunnelIdMetadata() = default;
  HwTunnelIdMetadata(uint32_t head, uint32_t tail) : head_(head), tail_(tail) {}
  explicit HwTunnelIdMetadata(Qor::Parser& p) { parseFields(p); }

  uint32_t head() const noexcept { return head_; }
  uint32_t tail() const noexcept { return tail_; }
  bool inRange(uint32_t index) const noexcept { return index - head_ < tail_ - head_; }

  template <class S, class V>
  static void visitFields(S& self, V&& visit) {
    visit("head", self.head_);
    visit("tail", self.tail_);
  }

  auto operator<=>(HwTunnelIdMetadata const&) const = default;
  bool operator==(HwTunnelIdMetadata const&) const = default;

 private:
  friend class HwTunnelIdQueue;
  uint32_t head_ = 0;
  uint32_t tail_ = 0;
};

class FENN_EVPN_EXPORT HwTunnelIdQueue : public Qor::Entity {
 public:
  // Walks head to tail, skipping indexes whose element was deleted; yields
  // (index, id) pairs by value.
  class const_iterator {
   public:
    using value_type = std::pair<uint32_t, Fenn::HwTunnelId>;
    value_type operator*() const { return {index_, *id_}; }
    const_iterator& operator++() {
      ++index_;
      settle();
      return *this;
    }
    bool operator==(const_iterator const& other) const noexcept { return index_ == other.index_; }
    uint32_t index() const noexcept { return index_; }

   private:
    friend class HwTunnelIdQueue;
    const_iterator(HwTunnelIdQueue const* queue, uint32_t index) : queue_(queue), index_(index) { settle(); }
    void settle();

    HwTunnelIdQueue const* queue_;
    uint32_t index_;
    Fenn::HwTunnelId const* id_ = nullptr;
  };

  // The queue's elements in order, for range-for.
  class Elements {
   public:
    const_iterator begin() const { return queue_->begin(); }
    const_iterator end() const { return queue_->end(); }
    size_t size() const noexcept { return queue_->hwTunnelId_.size(); }
    bool empty() const noexcept { return queue_->hwTunnelId_.empty(); }

   private:
    friend class HwTunnelIdQueue;
    explicit Elements(HwTunnelIdQueue const* queue) : queue_(queue) {}
    HwTunnelIdQueue const* queue_;
  };

  explicit HwTunnelIdQueue(Fenn::HwTunnelIdType hwTunnelIdType) : hwTunnelIdType_(hwTunnelIdType) {}

  std::string_view fwkType() const override { return "FennHelper::HwTunnelIdQueue"; }
  Fenn::HwTunnelIdType hwTunnelIdType() const noexcept { return hwTunnelIdType_; }

  QOR_ATTRIBUTE_ID(hwTunnelId);
  // The element at `index`, or an invalid ID when there is none.
  Fenn::HwTunnelId const& hwTunnelId(uint32_t index) const { return hwTunnelId_.get(index); }
  bool hwTunnelIdHas(uint32_t index) const { return hwTunnelId_.has(index); }
  Elements hwTunnelId() const noexcept { return Elements(this); }
  size_t hwTunnelIdSize() const noexcept { return hwTunnelId_.size(); }

  // Appends at the tail, under the next index, and returns that index.
  uint32_t hwTunnelIdEnq(Fenn::HwTunnelId const& id);
  // Removes and returns the head; an invalid ID when the queue is empty.
  Fenn::HwTunnelId hwTunnelIdDeq();
  // Stores `id` at `index`: overwrites an element in range, or extends the nearer end of
  // the range to `index`, the tail when it lies beyond the tail, the head when it lies
  // behind the head (it is then dequeued first); the indexes skipped stay empty.
  void hwTunnelIdIs(uint32_t index, Fenn::HwTunnelId const& id);
  bool hwTunnelIdDel(uint32_t index);
  // Removes the element `it` is at (not end()) and returns the iterator to the next one.
  const_iterator hwTunnelIdDel(const_iterator it);
  void hwTunnelIdDelAll();

  QOR_ATTRIBUTE_ID(hwTunnelIdMetadata);
  HwTunnelIdMetadata const& hwTunnelIdMetadata() const noexcept { return hwTunnelIdMetadata_.get(); }

 private:
  const_iterator begin() const { return const_iterator(this, range_.head_); }
  const_iterator end() const { return const_iterator(this, range_.tail_); }
  void advanceHead();

  Fenn::HwTunnelIdType const hwTunnelIdType_;
  Qor::ValueMap<uint32_t, Fenn::HwTunnelId> hwTunnelId_{this, hwTunnelIdAttr};
  Qor::Scalar<HwTunnelIdMetadata> hwTunnelIdMetadata_{this, hwTunnelIdMetadataAttr};
  // The live bookkeeping; hwTunnelIdMetadata publishes it once an operation is done, so
  // a nested operation started from a notification never works from a stale copy.
  HwTunnelIdMetadata range_;
};

}  // namespace FennHelper
