// The all-pass on AVX2, eight samples at a time. Half a sample is a shift, which can't saturate;
// the sums can.
#include "dsp/allpass_block.h"
#include "dsp/avx2_internal.h"

namespace {

inline __m256i half(__m256i x) { return silence_minus_one(_mm256_srai_epi32(x, 1)); }

void run(int* cells, int* samples, int count) {
  in_eights(count, [=](int i, auto words) {
    const __m256i x = load(samples + i, words);
    const __m256i y = saturate_add(load(cells + i, words), half(x));
    store(cells + i, saturate_sub(x, half(y)), words);
    store(samples + i, y, words);
  });
}

}  // namespace

void allpass_block_avx2(allpass* section, int* samples, int n) {
  walk_allpass_of_half(section, samples, n, run);
}
