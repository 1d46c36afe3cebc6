// The transform's stages.
#pragma once

#include "dsp/fft_int.h"

// One radix-2 stage over all n values: (a, b) <- (a + b w, a - b w), a and b half a span apart, the
// j-th of each half with twiddles[j], Q28; half is a power of 2, and data has room for half a value
// beyond the last whole span. All wraps at 64 bits.
void fft_stage(complex* data, int n, int half, const complex* twiddles);

// The variants.
void fft_stage_portable(complex* data, int n, int half, const complex* twiddles);
void fft_stage_avx2(complex* data, int n, int half, const complex* twiddles);
void fft_stage_neon(complex* data, int n, int half, const complex* twiddles);
