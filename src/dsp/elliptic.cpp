#include "dsp/elliptic.h"

#include <algorithm>

#include "dsp/elliptic_block.h"
#include "dsp/memory.h"

void elliptic_init(elliptic* filter, const int* coefficients) {
  filter->coef = coefficients;
  filter->state = allocate<int>(kEllipticWords);
}

void elliptic_setcoef(elliptic* filter, const int* coefficients) {
  filter->coef = coefficients;
  elliptic_resetstate(filter);
}

void elliptic_resetstate(elliptic* filter) { std::fill_n(filter->state, kEllipticWords, 0); }

void elliptic_end(elliptic* filter) {
  release(filter->state);
  filter->coef = nullptr;
}

void elliptic_process(elliptic* filter, int* in, int* out) { elliptic_block(filter, in, out, 1); }

void elliptic_block(elliptic* filter, const int* in, int* out, int n) {
  int c[kEllipticWords], s[kEllipticWords];  // coefficients and history in locals over the block
  std::copy_n(filter->coef, kEllipticWords, c);
  std::copy_n(filter->state, kEllipticWords, s);
  for (int i = 0; i < n; ++i) out[i] = elliptic_step(c, s, in[i]);
  std::copy_n(s, kEllipticWords, filter->state);
}
