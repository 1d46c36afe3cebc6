#include "dsp/elliptic.h"

#include <algorithm>

#include "dsp/block.h"
#include "dsp/kernels/elliptic.h"
#include "dsp/kernels/fir.h"
#include "dsp/memory.h"

void elliptic_init(elliptic* filter, const int* coefficients) {
  filter->coef = coefficients;
  if (!take(filter->state, kEllipticWords)) elliptic_end(filter);
}

void elliptic_setcoef(elliptic* filter, const int* coefficients) {
  filter->coef = coefficients;
  elliptic_resetstate(filter);
}

void elliptic_resetstate(elliptic* filter) {
  if (has_memory(filter)) std::fill_n(filter->state, kEllipticWords, 0);
}

void elliptic_end(elliptic* filter) {
  release(filter->state);
  filter->coef = nullptr;
}

namespace {

void step_by_step(elliptic* filter, const int* in, int* out, int n) {
  int c[kEllipticWords], s[kEllipticWords];  // coefficients and history in locals over the block
  std::copy_n(filter->coef, kEllipticWords, c);
  std::copy_n(filter->state, kEllipticWords, s);
  for (int i = 0; i < n; ++i) out[i] = elliptic_step(c, s, in[i]);
  std::copy_n(s, kEllipticWords, filter->state);
}

}  // namespace

void elliptic_process(elliptic* filter, int* in, int* out) {
  if (!has_memory(filter)) return pass(in, out, 1);
  step_by_step(filter, in, out, 1);
}

namespace {

constexpr int kOrder = kEllipticInputs - 1;

// The inputs' share of all sums first, then the recursion on what is left: partial sums of the
// outputs that have come, each of which waits for its last term.
//
//   inputs ──► Σ c x ──► + ──► / 2^20 ──┬──► y
//                        ▲              ▼
//                        └─ [1] ◄─ [2] .. [6], to each of which a y is added
void run(elliptic* filter, const int* in, int* out, int n) {
  if (n < 8) return step_by_step(filter, in, out, n);
  const int *c = filter->coef, *a = c + kOrder;  // a[1..6] weigh y[n-1..n-6]
  int* s = filter->state;
  int x[kOrder + kBlockFrames], y[kOrder + kBlockFrames];  // -6..n-1 at the inner scale
  for (int k = 1; k <= kOrder; ++k) {
    x[kOrder - k] = s[k];
    y[kOrder - k] = s[kOrder + k];
  }
  for (int i = 0; i < n; ++i) x[kOrder + i] = wrap_shl(in[i], 5);
  int64_t inputs[kBlockFrames];
  fir_sums_block(x + kOrder, c, kEllipticInputs, inputs, n);

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
  for_each_block(n, [=](int64_t start, int count) { run(filter, in + start, out + start, count); });
}
