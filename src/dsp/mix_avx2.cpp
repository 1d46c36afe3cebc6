// Weighted sums on AVX2, eight samples at a time: 64-bit sums of the even and of the odd samples,
// put together when they are shifted back to 32 bits.
#include "dsp/avx2_internal.h"
#include "dsp/mix_block.h"

namespace {

struct sums {
  __m256i even = _mm256_setzero_si256(), odds = even;

  void add(__m256i x, __m256i gain) {
    even = _mm256_add_epi64(even, _mm256_mul_epi32(x, gain));
    odds = _mm256_add_epi64(odds, _mm256_mul_epi32(odd(x), gain));
  }
};

}  // namespace

void mix_three_block_avx2(const mix_input* three, int* out, int n) {
  const mix_input a = three[0], b = three[1], c = three[2];
  const __m256i gain_a = _mm256_set1_epi32(a.gain), gain_b = _mm256_set1_epi32(b.gain),
                gain_c = _mm256_set1_epi32(c.gain);
  in_eights(n, [=](int i, auto words) {
    sums sum;
    sum.add(load(a.samples + i, words), gain_a);
    sum.add(load(b.samples + i, words), gain_b);
    sum.add(load(c.samples + i, words), gain_c);
    store(out + i, saturated_shift<13>(sum.even, sum.odds), words);
  });
}

void mix_wrapping_block_avx2(const mix_input* inputs, int count, int* out, int n) {
  in_eights(n, [=](int i, auto words) {
    sums sum;
    for (const mix_input* in = inputs; in < inputs + count; ++in)
      sum.add(load(in->samples + i, words), _mm256_set1_epi32(in->gain));
    const __m256i low = even_odd(_mm256_srli_epi64(sum.even, 13), _mm256_slli_epi64(sum.odds, 19));
    store(out + i, silence_minus_one(low), words);
  });
}
