// Graphic equalizer: ten bands, an octave apart, each set in whole decibels from -15 to +15.
//
//   band   0        1     2    3    4    5     6     7     8     9
//   Hz     31.25    62.5  125  250  500  1000  2000  4000  8000  16000
//   kind   low      peaking, Q = 2                               high
//          shelf                                                 shelf
//
// A shelf reaches half its decibels near 48 Hz (band 0), and 12.1 dB of 15 at 16 kHz (band 9; all
// of it only at half the sample rate). A peaking band at +-15 dB spans about 1.6 octaves between
// its half-gain points, 1.5 in band 7 and 1.3 in band 8. Neighbours overlap, so equal gains on all
// bands add up to more than one band's.
//
// So that a boosted curve doesn't clip and a cut one isn't lost, setting the bands also sets an
// input gain between -21 and +6 dB from the curve (calc_gain_from_idxs).
//
// Sections are designed by the bilinear transform (U. Zoelzer, "Digital Audio Signal Processing",
// 2nd edition, 2008, section 5.2). Quantised to Q28, they stay within 0.01 dB of the exact design
// from 20 Hz to 20 kHz at every rate, band and gain (the largest error is 0.009 dB, band 0 at 96000
// Hz).
// Truncation inside a section leaves a small negative offset at 0 Hz, at most 1 / (1 + a1 + a2)
// steps of 1/32. Nearly all of it is band 0's: all bands together stay below -70 dB of 24-bit full
// scale at 44100 and 48000 Hz and below -58 dB at 96000 Hz. It can remain after the input has
// become silent.
//
// Coefficient rows are b0, b1, b2, -a1, -a2 in Q28 (268435456 = 1.0). All bands at 0 dB are flat
// within 0.01 dB from 20 Hz up, but not exact, as the tables' 1.0 is 268435455; only the rows that
// equalizer_init sets pass samples unchanged. Gains are Q13 (8192 = 1.0).
//
// Samples are 24-bit in 32-bit words, planar. Inside a section they have 18 dB of headroom above
// 24-bit full scale and saturate beyond it. The input gain keeps most curves below that; one that
// cuts the lows and boosts the top two bands by 15 dB exceeds it with tones above 8 kHz near full
// scale (up to 24 dB at 44100 and 48000 Hz and 26 dB at 96000 Hz).
//
// Latency: none. Memory: 20 sections of two five-word arrays, taken by equalizer_init; the rest is
// the record. Settings may change between two process calls; they take effect at the next sample,
// without a fade. One caller per object.
#pragma once

#include "../dsp/iir.h"
#include "../dsp/sample_rate.h"
#include "../export.h"

struct equalizer_t {
  int status;              // non-zero: the owner runs this stage; processing doesn't look at it
  int gain;                // Q13 input gain
  int gain_index[10];      // dB per band as last set by index, -15..15
  IIR* left_section[10];   // owned; left (or mono) channel, band 0 first
  IIR* right_section[10];  // owned; right channel
};

// Takes memory. Status 0, gain 8192, indices 0, all sections an exact pass-through, history clear.
// If memory is short it takes none, and the record passes samples on as they are.
SONX_EXPORT void equalizer_init(equalizer_t* equalizer);

// Clears the history of all sections; settings stay.
SONX_EXPORT void equalizer_reset(equalizer_t* equalizer);

// Frees the sections and nulls their pointers; indices 0. May be initialised again afterwards.
SONX_EXPORT void equalizer_end(equalizer_t* equalizer);

// Sets the bands by coefficients: ten Q28 rows, row k for band k of both channels, taken as they
// are. History, gain and gain_index stay.
SONX_EXPORT void equalizer_setparameter(equalizer_t* equalizer, int (*rows)[5]);

// Copies the ten rows out.
SONX_EXPORT void equalizer_getparameter(equalizer_t* equalizer, int (*rows)[5]);

// Sets the bands by gain: ten indices in dB, clamped to -15..15 (the array itself is left as it
// is). The history stays; the input gain becomes calc_gain_from_idxs of the clamped indices, which
// is also returned (Q13). Writes its log line.
SONX_EXPORT int equalizer_set_param_index_44100(equalizer_t* equalizer, int* indices);
SONX_EXPORT int equalizer_set_param_index_48000(equalizer_t* equalizer, int* indices);
SONX_EXPORT int equalizer_set_param_index_96000(equalizer_t* equalizer, int* indices);

// The same by rate: 0 is 44100 Hz, 2 is 96000 Hz, every other value (192000 Hz too) takes the
// 48000 Hz table.
SONX_EXPORT int equalizer_set_param_index(equalizer_t* equalizer, int* indices,
                                          SampleRateType rate);

// Copies the ten clamped indices out.
SONX_EXPORT void equalizer_get_param_index(equalizer_t* equalizer, int* indices);

// Stored for the owner; any value.
SONX_EXPORT void equalizer_setstatus(equalizer_t* equalizer, int status);
SONX_EXPORT void equalizer_getstatus(equalizer_t* equalizer, int* status);

// The Q13 input gain, any value; holds until the bands are next set by gain.
SONX_EXPORT void equalizer_set_gain(equalizer_t* equalizer, int gain);
SONX_EXPORT void equalizer_get_gain(equalizer_t* equalizer, int* gain);

// n frames, planar: the input gain (saturating, a result of -1 becomes 0), then bands 0 to 9. In
// place allowed, and any of the outputs may be any of the inputs: a frame's inputs are read before
// its outputs are written. n < 1 does nothing.
SONX_EXPORT void equalizer_process_stereo(equalizer_t* equalizer, int* in_left, int* in_right,
                                          int* out_left, int* out_right, int n);

// n samples of one channel through the left sections; in place allowed; n < 1 does nothing.
SONX_EXPORT void equalizer_process_mono(equalizer_t* equalizer, int* in, int* out, int n);

// The input gain (Q13) for a curve of band gains in dB. Reads indices[0..8]; band 9 is not counted.
//   - A boost counts in full, a cut v as 0.75 v + 0.0278 v^2; cuts don't count when two or more
//     bands are boosted by more than 8 dB.
//   - To each band 0.3 of its neighbours is added; the sum of the bands, weighted as below, clamped
//     to -1680..1680, times -21 / 1680, is the gain in dB, at most +6.
// So 8192 for a flat curve, 730 (-21 dB) for one boosted as a whole, 16345 (+6 dB) for one cut as a
// whole. Logs "neg_flag %d, total_offset %f, calc_gain %fdB 0x%x" at debug priority: the count of
// bands beyond 8 dB, the sum, the dB and the result.
SONX_EXPORT int calc_gain_from_idxs(int* indices);

// value times the weight of a band in that law: 4, 18, 20, 22, 22, 20, 18, 12, 4 for bands 0..8;
// any other band gives the value as it is.
SONX_EXPORT float weighting_offset(int band, float value);
