// How every delay line walks its circular buffer.
#pragma once

#include <algorithm>

// The position after index: back to 0 at the wrap bound. A bound of 0 or less stays at 0, which
// makes a one-sample loop.
constexpr int advance(int index, int bound) { return index + 1 < bound ? index + 1 : 0; }

// How many of n samples are contiguous in the buffer from index on. A position at or beyond the
// bound (left over from a longer delay) is good for one sample and then wraps.
constexpr int contiguous(int index, int bound, int n) {
  return std::clamp(std::max(bound, 0) - index, 1, n);
}

// Cuts n samples into runs that are contiguous in the buffer and calls process(cells, start, count)
// for each, cells being the run's first word; returns the position after the last one.
template <typename Process>
inline int walk_loop(int* buffer, int index, int bound, int n, Process process) {
  for (int start = 0; start < n;) {
    const int count = contiguous(index, bound, n - start);
    process(buffer + index, start, count);
    start += count;
    index = advance(index + count - 1, bound);
  }
  return index;
}
