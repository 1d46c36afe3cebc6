// 16-bit Fourier transforms of N = 2^stages points, radix 2, in place, for stages 1..10.
//
// Complex data are N pairs of 16-bit words, real part first (2 N words), in natural order before
// and after. Every butterfly is computed at full width and rounded once, to the nearest step, ties
// upward; a result beyond 16 bits saturates.
//
//   forward   X[k] = 1/N sum x[n] e^(-2 pi i k n / N): half per stage, always. Real data, and
//             complex data of moduli within 32767, never outgrow 16 bits.
//   inverse   x[n] = 2^-scale sum X[k] e^(+2 pi i k n / N): block-scaled. Before each stage the
//             whole block is halved, once or twice, only if the stage could outgrow 16 bits with
//             the largest word there is; scale counts the halvings and is the return value. So
//             inverse(forward(x)) is x / 2^scale, and a spectrum of small values loses nothing.
//
// Accuracy: signal-to-noise ratio in dB against a transform in double precision, for noise at full
// scale (uniform, real and imaginary parts); "there and back" is inverse(forward(x)) against
// x / 2^scale. The figures vary by 0.5 dB from one noise to another; a test holds them for one.
//
//   stages                 1     2     3     4     5     6     7     8     9    10
//   forward               91.3  85.5  82.0  79.2  76.5  74.0  71.2  68.7  65.8  63.0
//   inverse               89.3  85.3  81.6  79.3  77.6  75.9  74.4  73.6  72.7  72.0
//   there and back        85.5  80.5  77.6  75.6  74.1  72.2  70.1  67.8  65.2  62.5
//   real, forward         91.5  85.0  80.8  77.2  74.3  71.5  68.7  65.8  63.0  60.1
//   real, there and back  86.6  81.5  78.6  76.2  73.7  71.1  68.5  65.6  62.8  59.9
#pragma once

#ifndef __cplusplus
#error "The functions of this header have C++ linkage."
#endif

#include "../export.h"

// Moves pair k to the index with the reversed bits of k; doing it twice restores the order. The
// transforms below include it. 0, or -1 if stages is not in 1..10; data is then left alone.
SONX_EXPORT int tekaSpl_ComplexBitReverse(short* data, int stages);

// Forward transform: 0, or -1 if stages is not in 1..10; data is then left alone.
SONX_EXPORT int tekaSpl_ComplexFft(short* data, int stages);

// Inverse transform: scale, 0..20, or -1 if stages is not in 1..10; data is then left alone.
SONX_EXPORT int tekaSpl_ComplexInverseFft(short* data, int stages);

// Forward transform of N real samples x[0..N) to bins 0..N/2: N + 2 words, pairs as above, the same
// scale of 1/N. Bins 0 and N/2 have an imaginary part of 0. bins may be x, if it has room for N + 2
// words. 0, or -1 if stages is not in 1..10; nothing is then written. The noise suppressor uses 128
// and 256 points (stages 7 and 8).
SONX_EXPORT int tekaSpl_RealFft(const short* x, short* bins, int stages);

// Inverse of it, block-scaled: N + 2 words of bins to N real samples x = 2^-scale sum over all N
// bins, the upper half being the conjugate of the lower. The imaginary parts of bins 0 and N/2
// count as 0. x may be bins. Returns scale, 0..20, or -1 if stages is not in 1..10; nothing is then
// written.
SONX_EXPORT int tekaSpl_RealInverseFft(const short* bins, short* x, int stages);
