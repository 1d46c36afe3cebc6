// A record of the library that ends itself; ending it twice, or when all is 0, is harmless.
#pragma once

template <typename Record, auto end>
struct owned : Record {
  template <typename Init, typename... Arguments>
  explicit owned(Init init, Arguments... arguments) : Record{} {
    init(this, arguments...);
  }
  owned(owned&& other) noexcept : Record(other) { static_cast<Record&>(other) = {}; }
  ~owned() { end(this); }
};
