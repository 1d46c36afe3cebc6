// Sums over time on AVX2: four 64-bit sums side by side, samples widened as they are read.
#include <immintrin.h>

#include "dsp/kernels/fir.h"

void fir_sums_block_avx2(const int* x, const int* coefficients, int taps, int64_t* sums, int n) {
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    __m256i sum = _mm256_setzero_si256();
    for (int k = 0; k < taps; ++k) {
      const __m128i four = _mm_loadu_si128(reinterpret_cast<const __m128i*>(x + i - k));
      sum = _mm256_add_epi64(
          sum, _mm256_mul_epi32(_mm256_cvtepi32_epi64(four), _mm256_set1_epi32(coefficients[k])));
    }
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(sums + i), sum);
  }
  fir_sums_block_portable(x + i, coefficients, taps, sums + i, n - i);
}
