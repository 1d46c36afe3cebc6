#include "dsp/kernels/fft_stage.h"

#include <algorithm>

#include "dsp/kernels/kernels.h"

void portable::fft_stage(complex* data, int n, int half, const complex* twiddles) {
  for (int start = 0; start < n; start += 2 * half) {
    complex* a = data + start;
    complex* b = a + half;
    const int count = std::min(half, n - start);
    for (int j = 0; j < count; ++j) {
      const complex t = multiply_q28(b[j], twiddles[j]);
      b[j] = {wrap_sub64(a[j].re, t.re), wrap_sub64(a[j].im, t.im)};
      a[j] = {wrap_add64(a[j].re, t.re), wrap_add64(a[j].im, t.im)};
    }
  }
}
