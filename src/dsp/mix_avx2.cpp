// Three weighted signals on AVX2, eight samples at a time: 64-bit sums of the even and of the odd
// samples, put together when they are shifted back to 32 bits.
#include "dsp/avx2_internal.h"
#include "dsp/mix_block.h"

void mix_three_block_avx2(const mix_input* three, int* out, int n) {
  const __m256i gain[] = {_mm256_set1_epi32(three[0].gain), _mm256_set1_epi32(three[1].gain),
                          _mm256_set1_epi32(three[2].gain)};
  const int* in[] = {three[0].samples, three[1].samples, three[2].samples};
  in_eights(n, [&](int i, auto words) {
    __m256i even = _mm256_setzero_si256(), odds = even;
    for (int k = 0; k < 3; ++k) {
      const __m256i x = load(in[k] + i, words);
      even = _mm256_add_epi64(even, _mm256_mul_epi32(x, gain[k]));
      odds = _mm256_add_epi64(odds, _mm256_mul_epi32(odd(x), gain[k]));
    }
    store(out + i, saturated_shift<13>(even, odds), words);
  });
}
