// Marks a call that mustn't take memory or a lock nor call the system: what the lock on the bits runs
// is marked so, and a program that sets watch() hears where each of them begins and ends.
#pragma once

class watched_call {
 public:
  static inline void (*watch)(bool begins) = nullptr;

  watched_call() {
    if (watch != nullptr) watch(true);
  }
  ~watched_call() {
    if (watch != nullptr) watch(false);
  }
  watched_call(const watched_call&) = delete;
};

// function(arguments...), watched.
template <typename Function, typename... Arguments>
decltype(auto) watched(Function function, Arguments... arguments) {
  const watched_call mark;
  return function(arguments...);
}
