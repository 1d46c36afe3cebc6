#include "dsp/elliptic.h"

#include <algorithm>

#include "allocation.h"
#include "dsp/kernels/elliptic.h"

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

void elliptic_process(elliptic* filter, int* in, int* out) {
  *out = elliptic_step(filter->coef, filter->state, *in);
}
