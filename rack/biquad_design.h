// Words for a second-order section from what a person asks for: type, frequency, gain and Q.
//
// Formulas: R. Bristow-Johnson, "Cookbook formulae for audio EQ biquad filter coefficients", with Q
// for every type. Words are b0, b1, b2, -a1, -a2, divided by a0, in Q28 and rounded to the nearest,
// halves away from zero: the order and format of the parametric equalizer. They are the same bits
// on every platform.
//
// Every set in the ranges below fits 32 bits and is stable, at every rate from 8000 to 192000 Hz.
//
// Size, with A = 10^(gain / 40): a stable section has |a1| < 2 and |a2| < 1. Of the numerators the
// shelves' are the largest: b1 of a low shelf, 2A ((A - 1) - (A + 1) cos w) / ((A + 1) + (A - 1)
// cos w + 2 sqrt(A) alpha), rises in size toward the half rate, and stays below 2 A^2 there; that
// of a high shelf does so toward 0 Hz. All others stay below max(2, A^2). With a gain of 12 dB 2
// A^2 is 7.962, and Q28 reaches to 8.
//
// Stability: 1 + a1 + a2, 1 - a1 + a2 and 1 - a2 must be above 0 after rounding, which moves them
// by one word (2^-28) at most. The first is the smallest: for a high shelf it's 4A (1 - cos w) /
// a0, 29 words at 20 Hz, 192000 Hz and -24 dB. 1 - a2 = 2 alpha' / (1 + alpha') has 4300 words and
// more with Q = 20 there, and the middle one more than a million, since w stays below 0.92 pi.
//
// Rounding moves the response, within two octaves of the section's frequency, by less than 0.003 dB
// from 100 Hz up at rates to 48000 Hz, 0.08 dB from 20 Hz up there, and 1.4 dB at the worst (20 Hz
// at 192000 Hz).
#pragma once

#include <cstdint>

enum class biquad_type { peak, low_shelf, high_shelf, low_pass, high_pass, all_pass, off };

constexpr double kBiquadFrequencyMinimum = 20.0, kBiquadFrequencyMaximum = 20000.0;  // Hz
constexpr double kBiquadGainMinimum = -24.0, kBiquadGainMaximum = 12.0;              // dB
constexpr double kBiquadQMinimum = 0.1, kBiquadQMaximum = 20.0;

// A frequency above this share of the rate counts as that share: 20286 Hz at 44100 Hz, so that it
// matters below 44100 Hz only (14720 Hz at 32000 Hz).
constexpr double kBiquadHighestShare = 0.46;

// frequency in Hz: a peak's or all-pass's middle, a pass's corner, the middle of a shelf's slope.
// gain_db: peak and shelves only. rate in Hz. Arguments outside their ranges are clamped to them,
// NaN to the minimum. off passes samples through unchanged, and so does a peak or shelf of 0 dB.
void design_biquad(biquad_type type, double frequency, double gain_db, double q, int rate,
                   int32_t words[5]);

// How many times the loudest sample that ever went in the loudest that comes out may be: at least
// the sum of the magnitudes of the impulse response, at every frequency and rate.
double biquad_reach(biquad_type type, double gain_db, double q);
