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

  void frames(int* in_left, int* in_right, int* out_left, int* out_right, int n) {
    process(this, in_left, in_right, out_left, out_right, n);
  }

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

// Wild and loud input (or quiet, where both inputs are one) in random blocks, with in_left,
// in_right, out_left and out_right on the same of four buffers in each way in which whole buffers
// may coincide: an effect must give the bits that its parts called by hand give a frame at a time.
// set(effect, words) changes settings between blocks by twelve words, within reason or far beyond
// it. If the effect tells what its own buffers hold after a block of n frames, by buffers(n), they
// are compared too.
template <typename Effect, typename Parts, typename Set>
void expect_the_bits_of_its_parts(int frames, Parts by_parts, Set set) {
  constexpr size_t kPlaces[][4] = {{0, 1, 2, 3}, {0, 1, 0, 1}, {0, 1, 1, 0}, {0, 0, 1, 2},
                                   {0, 0, 0, 0}, {0, 1, 2, 2}, {0, 1, 1, 1}};
  unsigned seed = 10;
  for (const auto& p : kPlaces) {
    Effect whole, parts;
    samples x[4], y[4];
    for (unsigned k = 0; k < 4; ++k)
      x[k] = y[k] = k % 2 ? wild(frames, seed + k) : noise(frames, p[0] == p[1] ? 20 : 1 << 24, k);
    over_random_splits(frames, 256, seed, [&](int i, int n) {
      whole.frames(&x[p[0]][i], &x[p[1]][i], &x[p[2]][i], &x[p[3]][i], n);
      by_parts(&parts, &y[p[0]][i], &y[p[1]][i], &y[p[2]][i], &y[p[3]][i], n);
      if constexpr (requires { whole.buffers(n); }) {
        ASSERT_EQ(whole.buffers(n), parts.buffers(n));
      }
      samples words = wild(12, seed + static_cast<unsigned>(i));
      for (size_t k = 0; k < words.size(); ++k)
        if ((words[k] >> 8) % 3 != 0) words[k] >>= 17;
      set(whole, words);
      set(parts, words);
    });
    for (int k = 0; k < 4; ++k) ASSERT_EQ(x[k], y[k]) << "pattern " << seed;
    ++seed;
  }
}
