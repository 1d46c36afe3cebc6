#include "dsp/elliptic.h"

#include <algorithm>

#include "dsp/kernels/elliptic.h"
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

void elliptic_process(elliptic* filter, int* in, int* out) {
  if (!has_memory(filter)) return pass(in, out, 1);
  *out = elliptic_step(filter->coef, filter->state, *in);
}
