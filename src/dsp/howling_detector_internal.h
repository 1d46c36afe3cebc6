// What follows the power analysis of a frame: picks the narrow peaks that a howl could be.
#pragma once

#include <cstdint>

#include "dsp/fft_int.h"

constexpr int kNoBin = 64;
constexpr int kPeaks = 5;
constexpr int kLowPeaks = 2;  // the first two belong to the low band, the other three to the high

// Sums over bins, gathered while the powers are written.
struct band_totals {
  uint64_t raw_2_8, raw_9_62;                              // newest powers
  uint64_t smoothed_5_17, smoothed_18_62, smoothed_30_62;  // smoothed powers
};

// Marks up to two peaks in bins 3..17 and three in bins 18..60, sets their powers and writes their
// interpolated frequencies (1/256 bin, 0 = none) to frequencies unless that is null.
void mark_peaks(fft_int* fft, const band_totals& totals, int* frequencies);
