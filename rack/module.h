// A module's record, initialised with its owner and ended with it.
#pragma once

#include <new>

#include "hp/memory.h"
#include "ktv/memory.h"

// Throws std::bad_alloc where the module didn't get its memory.
template <typename Record, auto init, auto end>
class module {
 public:
  template <typename... Arguments>
  explicit module(Arguments... arguments) {
    init(&record_, arguments...);
    if (!has_memory(&record_)) throw std::bad_alloc();
  }
  ~module() { end(&record_); }
  module(const module&) = delete;
  module& operator=(const module&) = delete;

  Record* get() { return &record_; }
  const Record* get() const { return &record_; }
  Record* operator->() { return &record_; }
  const Record* operator->() const { return &record_; }

 private:
  Record record_{};
};
