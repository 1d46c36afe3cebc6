// Hands values from one thread to another, neither of which ever waits: what is taken is the newest
// value that was put. Values between two takes are lost, so a value carries counts of what must not
// be: a count that moved tells that something happened, however often.
//
//   putting thread          the middle                taking thread
//   fills back_,     ◄──►   middle_: a value    ◄──►  empties front_,
//   swaps with middle_      and whether it's new      swaps with middle_ if that is new
#pragma once

#include <atomic>

template <typename Value>
class mailbox {
 public:
  // One thread at a time.
  void put(const Value& value) {
    values_[back_] = value;
    back_ = middle_.exchange(back_ | kNew, std::memory_order_acq_rel) & kIndex;
  }

  // The newest value, or null if it was taken before. One thread at a time; the value is the
  // caller's until the next call.
  const Value* take() {
    if ((middle_.load(std::memory_order_relaxed) & kNew) == 0) return nullptr;
    front_ = middle_.exchange(front_, std::memory_order_acq_rel) & kIndex;
    return &values_[front_];
  }

 private:
  static constexpr unsigned kIndex = 3, kNew = 4;

  Value values_[3] = {};
  unsigned back_ = 0, front_ = 1;
  std::atomic<unsigned> middle_{2};
};
