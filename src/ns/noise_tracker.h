// The noise of prior source 2, and how far each bin stands above it.
#pragma once

#include "ns/noise_suppressor.h"

// What a frame's bins are over the noise before it; 32768 is 1.
struct noise_view {
  int wiener[kNsxMaxBins];        // SNR / (1 + SNR), the SNR a priori, Q15
  int unlikeliness[kNsxMaxBins];  // e^-v, v = wiener * SNR a posteriori, Q15
};

// Forgets what was tracked.
void reset_tracker(NsxInst_t_* ns);

// Takes a frame's spectrum (a frame of zeros counts as one without power) and follows the noise.
void track_noise(NsxInst_t_* ns, noise_view& view);
