// The ramp of a gain over a block: each sample it goes a part of the way to its target.
#pragma once

#include <algorithm>

#include "fixed.h"

constexpr int kLowestRampGain = 32;  // below, the gain is 0

// One sample's step: down by 2^-down of the distance, up by 2^-up.
template <int down, int up>
inline int gain_ramp_step(int gain, int target) {
  gain = target < gain ? wrap_sub(gain, wrap_sub(gain, target) >> down)
                       : wrap_add(gain, wrap_sub(target, gain) >> up);
  return gain < kLowestRampGain ? 0 : gain;
}

// The gains of n samples; returns the last one, or the gain itself for n < 1. The same bits as n
// steps.
//
// Without wraps a ramp never crosses its target: the direction is that of its start, and the
// distance alone goes from sample to sample, d - (d >> down) or d - (d >> up). The low gains that
// become 0 don't disturb that, apart from the first two samples on the way up:
// - down, they come last; and from 0 on it stays at 0, the target being as low.
// - up, a gain of 0 and no more than 31 in the next step is 0 for good; one of at least 32 only
//   rises.
template <int down, int up>
inline int gain_ramp_block(int gain, int target, int* gains, int n) {
  const auto step = [&](int i) { return gains[i] = gain = gain_ramp_step<down, up>(gain, target); };
  int i = 0;
  if (gain < 0 || target < 0) {  // may wrap
    while (i < n) step(i++);
    return gain;
  }
  if (target < gain) {
    int distance = gain - target;
    for (; i < n; ++i) {
      distance -= distance >> down;
      gains[i] = distance;
    }
    for (i = 0; i < n; ++i) {
      const int reached = target + gains[i];
      gains[i] = reached < kLowestRampGain ? 0 : reached;
    }
  } else {
    while (i < std::min(n, 2)) step(i++);
    if (gain == 0) {
      std::fill(gains + i, gains + std::max(i, n), 0);
    } else {
      const int first = i;
      int distance = target - gain;
      for (; i < n; ++i) {
        distance -= distance >> up;
        gains[i] = distance;
      }
      for (i = first; i < n; ++i) gains[i] = target - gains[i];
    }
  }
  return n > 0 ? gains[n - 1] : gain;
}
