// A fade on AVX2, eight samples at a time. The depth runs straight to its limit and stays there: a
// vector of eight depths moves by eight steps.
#include "dsp/kernels/fade.h"
#include "dsp/kernels/vectors_avx2.h"

void fade_block_avx2(fade* f, const int* other, int* x, int n) {
  const int step = f->step;
  const int whole = n - n % 8;
  if (whole >= 8) {
    const __m256i full = _mm256_set1_epi32(kFadeFull);
    const auto limited = [=](__m256i d) {
      return _mm256_min_epi32(_mm256_max_epi32(d, _mm256_setzero_si256()), full);
    };
    const __m256i steps = _mm256_set1_epi32(step);
    const __m256i ahead = _mm256_mullo_epi32(steps, _mm256_setr_epi32(1, 2, 3, 4, 5, 6, 7, 8));
    __m256i depths = limited(_mm256_add_epi32(_mm256_set1_epi32(f->depth), ahead));
    for (int i = 0;;) {
      const __m256i a = load(x + i), b = load(other + i), rest = _mm256_sub_epi32(full, depths);
      const __m256i even = _mm256_add_epi64(_mm256_mul_epi32(a, rest), _mm256_mul_epi32(b, depths));
      const __m256i odds = _mm256_add_epi64(_mm256_mul_epi32(odd(a), odd(rest)),
                                            _mm256_mul_epi32(odd(b), odd(depths)));
      store(x + i, even_odd(_mm256_srli_epi64(even, 20), _mm256_slli_epi64(odds, 12)));
      i += 8;
      if (i == whole) break;
      depths = limited(_mm256_add_epi32(depths, _mm256_slli_epi32(steps, 3)));
    }
    f->depth = _mm256_extract_epi32(depths, 7);
  }
  if (whole < n) fade_block_portable(f, other + whole, x + whole, n - whole);
}
