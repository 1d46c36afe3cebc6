// Stereo modules run on cut streams.
#pragma once

#include <utility>

#include "support/signals.h"
#include "support/splits.h"

using stereo_samples = std::pair<samples, samples>;  // left, right

// What process(in_left, in_right, out_left, out_right, n) makes of a stream cut at random into
// blocks of 1..longest, in place; crossed, each result takes the place of the other side's input.
template <typename Process>
stereo_samples run_cut(stereo_samples x, int longest, bool crossed, Process process) {
  over_random_splits(static_cast<int>(x.first.size()), longest, 9, [&](int start, int n) {
    int *left = x.first.data() + start, *right = x.second.data() + start;
    process(left, right, crossed ? right : left, crossed ? left : right, n);
  });
  if (crossed) std::swap(x.first, x.second);
  return x;
}
