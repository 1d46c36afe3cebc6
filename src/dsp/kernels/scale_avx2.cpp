// Scaling down on AVX2, eight samples at a time: the second four take the odd places until the
// words are put in order.
#include "dsp/kernels/scale.h"
#include "dsp/kernels/vectors_avx2.h"

void scale_down_5_block_avx2(const int64_t* x, int* out, int n) {
  const __m256i in_order = _mm256_setr_epi32(0, 2, 4, 6, 1, 3, 5, 7);
  int i = 0;
  for (; i + 8 <= n; i += 8) {
    const auto* four = reinterpret_cast<const __m256i*>(x + i);
    const __m256i y = silence_minus_one(
        saturated_shift<5>(_mm256_loadu_si256(four), _mm256_loadu_si256(four + 1)));
    store(out + i, _mm256_permutevar8x32_epi32(y, in_order));
  }
  scale_down_5_block_portable(x + i, out + i, n - i);
}
