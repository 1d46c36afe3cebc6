// Streams cut into blocks.
#pragma once

#include <algorithm>
#include <random>

// Calls process(start, count) over n frames cut at random into blocks of 1..longest frames.
template <typename Process>
inline void over_random_splits(int n, int longest, unsigned seed, Process process) {
  std::mt19937 generator(seed);
  for (int start = 0; start < n;) {
    const int count =
        std::min(n - start, 1 + static_cast<int>(generator() % static_cast<unsigned>(longest)));
    process(start, count);
    start += count;
  }
}
