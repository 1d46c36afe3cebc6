// Blocks: process functions work on planar blocks of at most kBlockFrames samples, so that each
// stage can run over a whole block before the next one starts, in work buffers of fixed size.
#pragma once

#include <algorithm>
#include <cstdint>

constexpr int kBlockFrames = 256;

// Fewer samples are cheaper one by one than in several passes or in lanes.
constexpr int kFewestBlockFrames = 8;

// Half of one, for what has many work buffers, which stand on the stack.
constexpr int kHalfBlockFrames = kBlockFrames / 2;

// Of a block whose stages step side by side. What is left behind whole slices has work buffers of that
// length: they come on top of the block's own.
constexpr int kSliceFrames = 16;

// Calls process(start, count) for the consecutive blocks of n frames, n being of any integer
// type up to 32 bits; n < 1 calls nothing. Positions are 64-bit, so that no n overruns them.
template <int frames = kBlockFrames, typename Count, typename Process>
inline void for_each_block(Count n, Process process) {
  for (int64_t start = 0; start < n; start += frames)
    process(start, static_cast<int>(std::min<int64_t>(frames, n - start)));
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
