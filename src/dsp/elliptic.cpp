#include "dsp/elliptic.h"

#include <algorithm>

#include "dsp/elliptic_block.h"
#include "dsp/fixed.h"
#include "dsp/memory.h"

namespace {

constexpr int kOrder = 6;
constexpr int kWords = 2 * kOrder + 1;
constexpr int kInputs = kOrder + 1;  // words 0..6 are inputs, 7..12 are outputs

// One sample on the 13 state words:
//   in ──► × 32 ──► x[n] ─┐
//          x[n-1..n-6] ───┼─► Σ c·s ──► / 2^20 ──► y[n] ──► / 32 ──► out
//          y[n-1..n-6] ───┘   Q20        wraps
inline int elliptic_step(const int* c, int* s, int in) {
  s[0] = wrap_shl(in, 5);
  int64_t sum = 0;
#pragma GCC unroll 13
  for (int k = 0; k < kWords; ++k) sum = mac(sum, c[k], s[k]);
  const int y = scale_down_wrapping<20>(sum);
#pragma GCC unroll 5
  for (int k = kWords - 1; k > kInputs; --k) s[k] = s[k - 1];
  s[kInputs] = y;
#pragma GCC unroll 6
  for (int k = kInputs - 1; k > 0; --k) s[k] = s[k - 1];
  s[0] = static_cast<int>(sum & 0x1FFF);
  return silence_minus_one(y >> 5);
}

}  // namespace

void elliptic_init(elliptic* filter, const int* coefficients) {
  filter->coef = coefficients;
  filter->state = allocate<int>(kWords);
}

void elliptic_setcoef(elliptic* filter, const int* coefficients) {
  filter->coef = coefficients;
  elliptic_resetstate(filter);
}

void elliptic_resetstate(elliptic* filter) { std::fill_n(filter->state, kWords, 0); }

void elliptic_end(elliptic* filter) {
  release(filter->state);
  filter->coef = nullptr;
}

void elliptic_process(elliptic* filter, int* in, int* out) { elliptic_block(filter, in, out, 1); }

void elliptic_block(elliptic* filter, const int* in, int* out, int n) {
  int c[kWords], s[kWords];  // coefficients and history in locals over the block
  std::copy_n(filter->coef, kWords, c);
  std::copy_n(filter->state, kWords, s);
  for (int i = 0; i < n; ++i) out[i] = elliptic_step(c, s, in[i]);
  std::copy_n(s, kWords, filter->state);
}
