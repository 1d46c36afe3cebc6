// Block forms of the modules whose public functions take one sample. Each gives the same bits as n
// calls of the function that it names; n < 1 does nothing.
#pragma once

#include "effects/nld.h"
#include "effects/spectral_band_split.h"

// NLD_process over in[0..n); in place allowed.
void nld_block(NLD* nld, const int* in, int* out, int n);

// spectral_band_split_process over in[0..n); in may be high, but neither in nor high may be low.
void spectral_band_split_block(spectral_band_split* split, const int* in, int* low, int* high,
                               int n);
