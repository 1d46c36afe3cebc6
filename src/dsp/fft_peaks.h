// What follows the power analysis of a frame: picks the narrow peaks that a howl could be.
#pragma once

#include <cstdint>

#include "dsp/fft_int.h"

constexpr int kNoBin = 64;
constexpr int kPeaks = 5;
constexpr int kLowPeaks = 2;  // the first two belong to the low band, the other three to the high

// Smoothed powers of the two bands, summed up while they are written. Bins 2..4 are not in them.
struct band_totals {
  uint64_t low_5_17, high_18_62;
};

// From the 64 smoothed powers marks up to two peaks in bins 2..17 and three in bins 18..60, sets
// their powers and writes their interpolated frequencies (1/256 bin, 0 = none) to frequencies unless
// that is null.
void mark_peaks(fft_int* fft, const uint64_t* smoothed, const band_totals& totals,
                int* frequencies);
