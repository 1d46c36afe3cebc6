// From the units of the catalogue to the modules' words, rounded to the nearest.
#pragma once

#include <algorithm>
#include <cmath>

#include "portable_math.h"

inline int nearest(double value) { return static_cast<int>(std::floor(value + 0.5)); }

inline bool is_on(double value) { return value >= 0.5; }

constexpr int kUnityWord = 8192;  // 1.0 in Q13

// 100 % = 8192.
inline int percent_to_q13(double percent) { return nearest(percent * (kUnityWord / 100.0)); }

// 0 dB = 8192.
inline int db_to_q13(double decibels) { return nearest(kUnityWord * db_to_linear(decibels)); }

// dBFS to |sample| >> 8, in which the dynamics state peaks: 0 dB = 32768, which doesn't fit.
inline int dbfs_to_peak(double decibels) {
  return std::clamp(nearest(32768 * db_to_linear(decibels)), 1, 32767);
}

// The order of a follower that goes 2^-order of the distance per block of 5 ms: its time constant
// is 5 ms x 2^order; of two orders the one nearer as a ratio.
inline int follower_order(double milliseconds) {
  return std::max(nearest(portable_log2(milliseconds / 5.0)), 0);
}

// Frames for a feedback loop of a length to fall by some decibels, at most a minute's 2.9 million:
// gain is the loop's, below 1.
inline int loop_decay(int loop_frames, double gain, double decibels) {
  const double per_pass = -linear_to_db(gain);
  return static_cast<int>(std::min(loop_frames * std::ceil(decibels / per_pass), 2.88e7));
}
