// By-two samplers: double or halve the rate of 16-bit samples with an elliptic half-band filter.
//
// The filter (order 17) is the sum of two all-pass branches of four first-order sections each,
// which run at the lower rate: sixteen multiplications per sample of the lower rate, one word of
// state per section. The state is an array of 8 words, zeroed before the first call and owned by
// the caller; each stream and direction needs its own. Coefficients:
// tools/make_resampler_tables.py.
//
// Quality, measured between 24 and 48 kHz (at other rates all frequencies move in proportion),
// tones of 30000 steps; a test holds these figures:
//
//                                   up        down
//   pass-band, within 0.001 dB      0..11.52 kHz (0.48 of the lower rate)
//   -3 dB at                        12 kHz
//   stop-band from                  12.48 kHz (0.52 of the lower rate)
//   image / alias rejection         81.1 dB   81.3 dB
//   delay at 1 kHz                  65 us     44 us
//   delay at 9.6 kHz                193 us    172 us
//   SNR of a tone at 1010 Hz        83.8 dB   95.6 dB
//   SNR of a tone at 9590 Hz        85.1 dB   95.5 dB
//
// Tones between 11.52 and 12 kHz keep an image, those between 12 and 12.48 kHz an alias.
//
// Latency: the table's delay. The delay grows towards the band edge (not linear in phase).
// Rounding: branches have 10 fractional bits, the result is rounded once, to the nearest step, and
// saturates. With silent input the state decays to zero.
#pragma once

#include "../export.h"

// Of the state that a conversion keeps from call to call.
constexpr int tekaSpl_kBy2StateWords = 8;

// n samples to 2 n samples, any n; n < 1 does nothing. out must not overlap with in, except that in
// may be the last n samples of out's 2 n. The output does not depend on how a stream is cut.
SONX_EXPORT void tekaSpl_UpsampleBy2(const short* in, int n, short* out, int* state);

// n samples to n / 2 samples; an odd n drops the last sample, n < 2 does nothing. out may be in.
// The output does not depend on how a stream is cut into even lengths.
SONX_EXPORT void tekaSpl_DownsampleBy2(const short* in, int n, short* out, int* state);
