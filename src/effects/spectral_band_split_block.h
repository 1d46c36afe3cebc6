// The band splitter over a block.
#pragma once

#include "effects/spectral_band_split.h"

// n samples into both bands; in may be high, but neither in nor high may be low; n < 1 does
// nothing. The same bits as n calls of spectral_band_split_process.
void spectral_band_split_block(spectral_band_split* split, const int* in, int* low, int* high,
                               int n);
