#include "dsp/kernels/elliptic.h"

#include <algorithm>

#include "dsp/block.h"
#include "dsp/kernels/kernels.h"

namespace {

void step_by_step(elliptic* filter, const int* in, int* out, int n) {
  int c[kEllipticWords], s[kEllipticWords];  // coefficients and history in locals over the block
  std::copy_n(filter->coef, kEllipticWords, c);
  std::copy_n(filter->state, kEllipticWords, s);
  for (int i = 0; i < n; ++i) out[i] = elliptic_step(c, s, in[i]);
  std::copy_n(s, kEllipticWords, filter->state);
}

constexpr int kOrder = kEllipticInputs - 1;

// The inputs' products of all samples first, then the recursion in transposed form: partial[j] holds
// the products of the outputs so far that the j-th next sample takes. Exact because these are
// elliptic_step's 13 products in another order, and 64-bit addition wraps.
//
//   inputs ──► Σ c x ──► + ──► / 2^20 ──┬──► y
//                        ▲              ▼
//                        └─ partial[1] ◄─ [2] ◄─ .. [6], each plus its a × y
void run_transposed(elliptic* filter, const int* in, int* out, int n) {
  if (n < kFewestBlockFrames) return step_by_step(filter, in, out, n);
  const int *c = filter->coef, *a = c + kOrder;  // a[1..6] weigh y[n-1..n-6]
  int* s = filter->state;
  int x[kOrder + kBlockFrames], y[kOrder + kBlockFrames];  // -6 .. n-1, 5 bits up: [0] is -6
  for (int k = 1; k <= kOrder; ++k) {
    x[kOrder - k] = s[k];
    y[kOrder - k] = s[kOrder + k];
  }
  for (int i = 0; i < n; ++i) x[kOrder + i] = wrap_shl(in[i], 5);
  int64_t inputs[kBlockFrames];
  kernels().fir_sums(x + kOrder, c, kEllipticInputs, inputs, n);

  int64_t partial[kOrder + 2] = {};  // [1..6]; [7] stays 0
  for (int j = 1; j <= kOrder; ++j)
    for (int m = j; m <= kOrder; ++m) partial[j] = mac(partial[j], a[m], y[kOrder - 1 - (m - j)]);
  int64_t sum = 0;
  for (int i = 0; i < n; ++i) {
    sum = wrap_add64(partial[1], inputs[i]);
    const int result = scale_down_wrapping<20>(sum);
#pragma GCC unroll 6
    for (int j = 1; j <= kOrder; ++j) partial[j] = mac(partial[j + 1], a[j], result);
    y[kOrder + i] = result;
  }

  for (int i = 0; i < n; ++i) out[i] = silence_minus_one(y[kOrder + i] >> 5);
  for (int k = 1; k <= kOrder; ++k) {
    s[k] = x[kOrder + n - k];
    s[kOrder + k] = y[kOrder + n - k];
  }
  s[0] = static_cast<int>(sum & 0x1FFF);
}

}  // namespace

void elliptic_block(elliptic* filter, const int* in, int* out, int n) {
  for_each_block(
      n, [=](int64_t start, int count) { run_transposed(filter, in + start, out + start, count); });
}
