// Stereo signals and the ways to run a stereo effect over them.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>

#include "support/signals.h"
#include "support/splits.h"

struct stereo {
  samples left, right;

  bool operator==(const stereo&) const = default;
};

inline stereo noise_pair(int n, int amplitude, unsigned seed) {
  return {noise(n, amplitude, seed), noise(n, amplitude, seed + 1)};
}
inline stereo wild_pair(int n, unsigned seed) { return {wild(n, seed), wild(n, seed + 1)}; }

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

  // From one pair of buffers to another, in blocks of 1..longest.
  stereo run_cut(stereo x, int longest, unsigned seed) {
    stereo out = x;
    over_random_splits(static_cast<int>(x.left.size()), longest, seed, [&](int i, int count) {
      process(this, &x.left[i], &x.right[i], &out.left[i], &out.right[i], count);
    });
    return out;
  }

  // In one call whose outputs lie crosswise over the inputs.
  stereo run_crossed(stereo x) {
    int *left = x.left.data(), *right = x.right.data();
    process(this, left, right, right, left, static_cast<int>(x.left.size()));
    return {x.right, x.left};
  }
};
