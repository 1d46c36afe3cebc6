#include "dsp/kernels/fir.h"
#include "dsp/kernels/kernels.h"
#include "fixed.h"

void fir_sums_block(const int* x, const int* coefficients, int taps, int64_t* sums, int n) {
  kernels().fir_sums_block(x, coefficients, taps, sums, n);
}

void fir_sums_block_portable(const int* x, const int* coefficients, int taps, int64_t* sums,
                             int n) {
  for (int i = 0; i < n; ++i) {
    int64_t sum = 0;
    for (int k = 0; k < taps; ++k) sum = mac(sum, coefficients[k], x[i - k]);
    sums[i] = sum;
  }
}
