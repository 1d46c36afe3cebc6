// The band splitter over a block.
#pragma once

#include "effects/spectral_band_split.h"

// n samples into both bands; in may be high, but neither in nor high may be low; n < 1 does
// nothing. The same bits as n calls of spectral_band_split_process.
void spectral_band_split_block(spectral_band_split* split, const int* in, int* low, int* high,
                               int n);

// A splitter and its buffers.
struct band_splitting {
  spectral_band_split* split;
  const int* in;
  int *low, *high;
};

// Two splitters side by side, each as above; neither reads what the other writes.
void spectral_band_splits_block(const band_splitting& left, const band_splitting& right, int n);
