// Memory for module records and their buffers. Taken at init, given back at end, never in between.
//
// A record gets all of its memory or none. Where memory runs short, init ends the record again: all
// its pointers are null, as after end. has_memory(record) tells; each folder's memory.h has it for
// the folder's records. Every function accepts a record without memory: process functions pass the
// samples on, the others do what the record's own words allow.
#pragma once

#include <cstdint>
#include <cstdlib>

// count zeroed objects of a plain record type, null if memory is short; at least one, so that a
// buffer of length 0 can still hold the one-sample loop that the delay lines make of it. A negative
// count counts as 0.
template <typename T>
[[nodiscard]] T* allocate(int64_t count = 1) {
  return static_cast<T*>(std::calloc(count > 0 ? static_cast<size_t>(count) : 1, sizeof(T)));
}

// A buffer of a record: count zeroed objects. Whether there was memory for it.
template <typename T>
[[nodiscard]] bool take(T*& buffer, int64_t count = 1) {
  buffer = allocate<T>(count);
  return buffer != nullptr;
}

// Frees and nulls, so that ending twice is harmless.
template <typename T>
void release(T*& pointer) {
  std::free(pointer);
  pointer = nullptr;
}

// A part of a record on the heap: taken and initialised. Whether there was memory for all of it; if
// not, end_and_release is still to be called, as the end of the record does.
template <typename Part, typename Init, typename... Arguments>
[[nodiscard]] bool make(Part*& part, Init init, Arguments... arguments) {
  if (!take(part)) return false;
  init(part, arguments...);
  return has_memory(part);
}

// Ends a part, frees and nulls it; a null pointer stays one, so that ending twice is harmless.
template <typename Part, typename End>
void end_and_release(Part*& part, End end) {
  if (part != nullptr) end(part);
  release(part);
}

// Calls a part's function, unless the record has no memory and so no part.
template <typename Part, typename Function, typename... Arguments>
void on(Part* part, Function function, Arguments... arguments) {
  if (part != nullptr) function(part, arguments...);
}
