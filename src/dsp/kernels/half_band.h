// The branches of a half-band filter: first-order all-pass sections in series.
#pragma once

#include <cstdint>

constexpr int kHalfBandSections = 4;  // of a branch
constexpr int kHalfBandBits = 24;     // fractional bits of a coefficient

// [branch][section], 0 or more and below 1: tools/make_resampler_tables.py.
constexpr int kHalfBand[2][kHalfBandSections] = {
#include "dsp/kernels/half_band_tables.inc"
};

// a * x in Q24 / 2^24, rounded toward zero: with a < 1 a section without input then decays to 0.
inline int scale_toward_zero(int a, int x) {
  return static_cast<int>(int64_t{a} * x / (int64_t{1} << kHalfBandBits));
}

// One sample through a branch: sections (a + z^-1) / (1 + a z^-1) in series.
//
//   x ─┬─► × a ─► + ────┬──► y
//      │          ▲     ▼
//      │        z^-1   × a
//      │          ▲     │
//      └────────► − ◄───┘
inline int half_band_step(int x, int* state, const int (&coefficients_q24)[kHalfBandSections]) {
  for (int i = 0; i < kHalfBandSections; ++i) {
    const int y = state[i] + scale_toward_zero(coefficients_q24[i], x);
    state[i] = x - scale_toward_zero(coefficients_q24[i], y);
    x = y;
  }
  return x;
}
