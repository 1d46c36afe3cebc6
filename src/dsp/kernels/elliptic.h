// The sixth-order section's step, and the section over a block.
#pragma once

#include "dsp/elliptic.h"
#include "fixed.h"

constexpr int kEllipticInputs = 7;  // state words 0..6 are inputs, 7..12 are outputs
constexpr int kEllipticWords = 13;

// One sample on the 13 state words:
//   in ──► × 32 ──► x[n] ─┐
//          x[n-1..n-6] ───┼─► Σ c·s ──► / 2^20 ──► y[n] ──► / 32 ──► out
//          y[n-1..n-6] ───┘   Q20        wraps
inline int elliptic_step(const int* c, int* s, int in) {
  s[0] = wrap_shl(in, 5);
  int64_t sum = 0;
#pragma GCC unroll 13
  for (int k = 0; k < kEllipticWords; ++k) sum = mac(sum, c[k], s[k]);
  const int y = scale_down_wrapping<20>(sum);
#pragma GCC unroll 5
  for (int k = kEllipticWords - 1; k > kEllipticInputs; --k) s[k] = s[k - 1];
  s[kEllipticInputs] = y;
#pragma GCC unroll 6
  for (int k = kEllipticInputs - 1; k > 0; --k) s[k] = s[k - 1];
  s[0] = static_cast<int>(sum & 0x1FFF);
  return silence_minus_one(y >> 5);
}

// n samples; in place allowed; n < 1 does nothing. The same bits as n calls of elliptic_process.
void elliptic_block(elliptic* filter, const int* in, int* out, int n);
