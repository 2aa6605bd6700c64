#include "Keel/TimerWheel.h"

#include <utility>

namespace Keel {

bool TimerWheel::SlotOrder::before(uint32_t a, uint32_t b) const {
  Slot const& sa = (*slots)[a];
  Slot const& sb = (*slots)[b];
  if (sa.dueTime != sb.dueTime) return sa.dueTime < sb.dueTime;
  return sa.sequence < sb.sequence;
}

TimerWheel::TimerWheel(Qor::Ptr<TaskScheduler> scheduler, Priority priority)
    : task_(std::move(scheduler), priority, "timerWheel", [this] { fireDue(); }) {}

TimerWheel::TimerId TimerWheel::timerAt(double time, Callback callback) {
  uint32_t slot;
  if (freeSlots_.empty()) {
    slot = static_cast<uint32_t>(slots_.size());
    slots_.emplace_back();
  } else {
    slot = freeSlots_.back();
    freeSlots_.pop_back();
  }
  Slot& s = slots_[slot];
  s.callback = std::move(callback);
  s.dueTime = time;
  s.sequence = nextSequence_++;
  heap_.push(slot);
  rearm();
  return (TimerId{s.generation} << 32) | slot;
}

TimerWheel::Slot const* TimerWheel::pendingSlot(TimerId id) const {
  uint32_t const slot = static_cast<uint32_t>(id);
  if (slot >= slots_.size()) return nullptr;
  Slot const& s = slots_[slot];
  return s.generation == id >> 32 && s.heapPosition != notInHeap ? &s : nullptr;
}

bool TimerWheel::timerPending(TimerId id) const { return pendingSlot(id) != nullptr; }

bool TimerWheel::timerCancel(TimerId id) {
  Slot const* s = pendingSlot(id);
  if (!s) return false;
  heap_.erase(s->heapPosition);
  freeSlot(static_cast<uint32_t>(id));
  rearm();
  return true;
}

void TimerWheel::freeSlot(uint32_t slot) {
  Slot& s = slots_[slot];
  s.callback = nullptr;
  s.heapPosition = notInHeap;
  ++s.generation;
  freeSlots_.push_back(slot);
}

void TimerWheel::fireDue() {
  double const now = this->now();
  while (!heap_.empty() && slots_[heap_.top()].dueTime <= now) {
    uint32_t const slot = heap_.pop();
    // Freed before the call, so the callback may re-arm into the same slot.
    Callback callback = std::move(slots_[slot].callback);
    freeSlot(slot);
    callback();
  }
  rearm();
}

void TimerWheel::rearm() {
  if (heap_.empty()) {
    task_.unscheduleTask();
  } else {
    task_.scheduleTaskAt(slots_[heap_.top()].dueTime);
  }
}

}  // namespace Keel
