// Stereo signals and the ways to run a stereo effect over them.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>

#include "support/signals.h"

struct stereo {
  samples left, right;

  bool operator==(const stereo&) const = default;
};

inline stereo noise_pair(int n, int amplitude, unsigned seed) {
  return {noise(n, amplitude, seed), noise(n, amplitude, seed + 1)};
}

// An effect's record from init to end.
template <typename Record, auto init, auto end, auto process>
struct effect : Record {
  effect() { init(this); }
  ~effect() { end(this); }
  effect(const effect&) = delete;

  // In place, in blocks.
  stereo run(stereo x, int block = INT32_MAX) {
    const int n = static_cast<int>(x.left.size());
    for (int i = 0; i < n; i += std::min(block, n))
      process(this, &x.left[i], &x.right[i], &x.left[i], &x.right[i], std::min(block, n - i));
    return x;
  }

  // The left output; the right channel gets the same and must give the same.
  samples run_mono(const samples& x, int block = INT32_MAX) {
    const stereo out = run({x, x}, block);
    EXPECT_EQ(out.left, out.right);
    return out.left;
  }
};
