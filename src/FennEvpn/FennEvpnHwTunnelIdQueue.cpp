#include "FennEvpn/FennEvpnHwTunnelIdQueue.h"

namespace FennHelper {

void HwTunnelIdQueue::const_iterator::settle() {
  uint32_t const tail = queue_->range_.tail_;
  for (; index_ != tail; ++index_) {
    id_ = queue_->hwTunnelId_.find(index_);
    if (id_ != nullptr) return;
  }
}

uint32_t HwTunnelIdQueue::hwTunnelIdEnq(Fenn::HwTunnelId const& id) {
  uint32_t const index = range_.tail_++;
  hwTunnelId_.set(index, id);
  hwTunnelIdMetadata_.set(range_);
  return index;
}

Fenn::HwTunnelId HwTunnelIdQueue::hwTunnelIdDeq() {
  auto const head = begin();
  if (head == end()) return Fenn::HwTunnelId();
  Fenn::HwTunnelId const id = (*head).second;
  hwTunnelIdDel(head.index());
  return id;
}

void HwTunnelIdQueue::hwTunnelIdIs(uint32_t index, Fenn::HwTunnelId const& id) {
  if (range_.head_ == range_.tail_) {
    range_.head_ = index;
    range_.tail_ = index + 1;
  } else if (!range_.inRange(index)) {
    // Extend the nearer end: an index behind the head becomes the new head, one beyond the
    // tail the new last element. The range then never wraps onto itself.
    if (index - range_.tail_ < range_.head_ - index) {
      range_.tail_ = index + 1;
    } else {
      range_.head_ = index;
    }
  }
  hwTunnelId_.set(index, id);
  hwTunnelIdMetadata_.set(range_);
}

bool HwTunnelIdQueue::hwTunnelIdDel(uint32_t index) {
  if (!hwTunnelId_.del(index)) return false;
  advanceHead();
  hwTunnelIdMetadata_.set(range_);
  return true;
}

HwTunnelIdQueue::const_iterator HwTunnelIdQueue::hwTunnelIdDel(const_iterator it) {
  uint32_t const index = it.index();
  hwTunnelIdDel(index);
  uint32_t const next = index + 1;
  if (range_.inRange(next)) return const_iterator(this, next);
  // Out of range, `next` is either the tail or behind a head that moved past it.
  return next == range_.tail_ ? end() : begin();
}

void HwTunnelIdQueue::hwTunnelIdDelAll() {
  hwTunnelId_.delAll();
  advanceHead();
  hwTunnelIdMetadata_.set(range_);
}

// Keeps the head on an element (or on the tail), so that indexes before the head are free.
void HwTunnelIdQueue::advanceHead() {
  while (range_.head_ != range_.tail_ && !hwTunnelId_.has(range_.head_)) ++range_.head_;
}

}  // namespace FennHelper
