// A timer source for state machines that age entries: "call this at time t", cancellable by
// the id it hands back. All timers share one timer task on the scheduler, armed for the
// earliest due time, so thousands of aging entries cost the scheduler one queue entry.
// Callbacks run from that task, in due-time order (order of arming for equal times); a
// callback may arm or cancel timers, itself included.
//
// Timer slots are reused through a free list and the due-time heap is index-based, so arming
// and cancelling allocate only while the wheel grows to its working size (and whatever the
// callback itself needs to store).
//
// The wheel also carries the clock to whoever it is handed to: the number allocator reads
// its hold-back times from it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "Keel/IndexedHeap.h"
#include "Keel/TaskScheduler.h"
#include "Keel/TimerTask.h"

namespace Keel {

class TimerWheel : public Qor::PtrInterface {
 public:
  using Callback = std::function<void()>;
  // Never 0, so 0 can stand for "no timer" in a caller's bookkeeping.
  using TimerId = uint64_t;
  static constexpr TimerId noTimer = 0;

  explicit TimerWheel(Qor::Ptr<TaskScheduler> scheduler, Priority priority = priorityNormal);

  Qor::Ptr<TaskScheduler> const& scheduler() const noexcept { return task_.taskScheduler(); }
  double now() const { return scheduler()->now(); }

  TimerId timerAt(double time, Callback callback);
  TimerId timerAfter(double seconds, Callback callback) {
    return timerAt(now() + seconds, std::move(callback));
  }
  // Returns whether the timer was still pending; cancelling a fired or cancelled timer is
  // allowed and does nothing.
  bool timerCancel(TimerId id);
  bool timerPending(TimerId id) const;
  size_t timerCount() const noexcept { return heap_.size(); }

 private:
  static constexpr size_t notInHeap = SIZE_MAX;
  struct Slot {
    Callback callback;
    double dueTime = 0.0;
    uint64_t sequence = 0;
    size_t heapPosition = notInHeap;
    // Bumped whenever the slot is freed, so a stale id never reaches its next user.
    uint32_t generation = 1;
  };
  struct SlotOrder {
    std::vector<Slot>* slots;
    bool before(uint32_t a, uint32_t b) const;
    void placed(uint32_t slot, size_t pos) const { (*slots)[slot].heapPosition = pos; }
  };

  Slot const* pendingSlot(TimerId id) const;
  void freeSlot(uint32_t slot);
  void fireDue();
  void rearm();

  std::vector<Slot> slots_;
  std::vector<uint32_t> freeSlots_;
  IndexedHeap<uint32_t, SlotOrder> heap_{SlotOrder{&slots_}};
  uint64_t nextSequence_ = 0;
  TimerTask task_;
};

}  // namespace Keel
