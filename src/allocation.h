// Memory for module records and their buffers. Taken at init, given back at end, never in between.
#pragma once

#include <cstdlib>

// count zeroed objects of a plain record type; at least one, so that a buffer of length 0 can
// still hold the one-sample loop that the delay lines make of it. A negative count counts as 0.
// Allocation results are not checked: the interface has no way to report one.
template <typename T>
T* allocate(int count = 1) {
  return static_cast<T*>(std::calloc(count > 0 ? static_cast<size_t>(count) : 1, sizeof(T)));
}

// Frees and nulls, so that ending twice is harmless.
template <typename T>
void release(T*& pointer) {
  std::free(pointer);
  pointer = nullptr;
}

// A part of a record on the heap: taken and initialised.
template <typename Part, typename Init, typename... Arguments>
Part* make(Init init, Arguments... arguments) {
  Part* part = allocate<Part>();
  init(part, arguments...);
  return part;
}

// Ends a part, frees and nulls it; a null pointer stays one, so that ending twice is harmless.
template <typename Part, typename End>
void end_and_release(Part*& part, End end) {
  if (part != nullptr) end(part);
  release(part);
}
