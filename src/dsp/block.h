// Blocks: process functions work on planar stretches of at most kBlockFrames samples, so that each
// stage can run over a whole stretch before the next one starts, in work buffers of fixed size.
#pragma once

#include <algorithm>

constexpr int kBlockFrames = 256;

// Calls process(start, count) for the consecutive stretches of n frames; n < 1 calls nothing.
template <typename Process>
inline void for_each_block(int n, Process process) {
  for (int start = 0; start < n;) {
    const int count = std::min(kBlockFrames, n - start);
    process(start, count);
    start += count;
  }
}
