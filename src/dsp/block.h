// Blocks: process functions work on planar stretches of at most kBlockFrames samples, so that each
// stage can run over a whole stretch before the next one starts, in work buffers of fixed size.
#pragma once

#include <algorithm>

constexpr int kBlockFrames = 256;

// Calls process(start, count) for the consecutive stretches of n frames; n < 1 calls nothing.
template <typename Process>
inline void for_each_block(int n, Process process) {
  for (int start = 0; start < n; start += kBlockFrames)
    process(start, std::min(kBlockFrames, n - start));
}

// The same for chains whose dynamics measure once per call: n < 1 is a block of its own, process(0,
// n).
template <typename Process>
inline void for_each_block_or_empty(int n, Process process) {
  if (n < 1)
    process(0, n);
  else
    for_each_block(n, process);
}
