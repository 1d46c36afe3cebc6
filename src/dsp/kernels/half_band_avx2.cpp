// Half-band branches on AVX2: all eight sections step at once, those of a branch in one half of two
// vectors. A section takes what the one before it gave a step earlier, so a branch's output is three
// steps behind its input:
//
//   vector         early   early   late   late
//   64-bit lane      1       0       1      0
//   section          0       1       2      3
//   of sample        t      t-1     t-2    t-3
//
// Words stand in the low halves of 64-bit lanes; the high halves hold garbage.
#include "dsp/kernels/half_band.h"
#include "dsp/kernels/vectors_avx2.h"

namespace {

constexpr int kDelay = kHalfBandSections - 1;
constexpr int kFewestSamples = 8;  // below, the ends are most of the work

// Two sections of each branch.
struct sections {
  __m256i coefficients, words, y = _mm256_setzero_si256(), next = y;

  sections(__m256i q24, __m256i state)
      : coefficients(_mm256_slli_epi32(q24, 32 - kHalfBandBits)), words(state) {}

  // scale_toward_zero: a magnitude's product is rounded down, and takes the sign.
  __m256i scaled(__m256i x) const {
    const __m256i product = _mm256_mul_epu32(coefficients, _mm256_abs_epi32(x));
    return _mm256_sign_epi32(odd(product), x);
  }
  void step(__m256i x) {
    y = _mm256_add_epi32(words, scaled(x));
    next = _mm256_sub_epi32(x, scaled(y));
  }
};

// Sections 0 and 1 of each branch, or 2 and 3, the later one in the low lane.
inline __m256i early(__m256i x) { return _mm256_shuffle_epi32(x, 0x01); }
inline __m256i late(__m256i x) { return _mm256_shuffle_epi32(x, 0x23); }

}  // namespace

void avx2::half_band_branches(int* state, int* x0, int* x1, int n) {
  if (n < kFewestSamples) return portable::half_band_branches(state, x0, x1, n);
  const __m256i coefficients = load(kHalfBand[0]), words = load(state);
  sections first(early(coefficients), early(words)), second(late(coefficients), late(words));
  const auto step = [&](int a, int b) {
    const __m256i in = _mm256_blend_epi32(splat(a), splat(b), 0xF0);
    const __m256i between = _mm256_alignr_epi8(first.y, second.y, 8);
    first.step(_mm256_alignr_epi8(in, first.y, 8));
    second.step(between);
  };
  // At both ends some sections have no sample, and keep their state.
  const auto edge_step = [&](int t) {
    t < n ? step(x0[t], x1[t]) : step(0, 0);
    const auto keep = [=](sections& s, __m256i numbers) {
      const __m256i begun = _mm256_cmpgt_epi32(splat(t + 1), numbers);
      const __m256i not_done = _mm256_cmpgt_epi32(numbers, splat(t - n));
      s.words = _mm256_blendv_epi8(s.words, s.next, _mm256_and_si256(begun, not_done));
    };
    keep(first, _mm256_setr_epi32(1, 1, 0, 0, 1, 1, 0, 0));
    keep(second, _mm256_setr_epi32(3, 3, 2, 2, 3, 3, 2, 2));
    if (t < kDelay) return;
    x0[t - kDelay] = _mm256_extract_epi32(second.y, 0);
    x1[t - kDelay] = _mm256_extract_epi32(second.y, 4);
  };
  int t = 0;
  for (; t < kDelay; ++t) edge_step(t);
  for (; t < n; ++t) {
    step(x0[t], x1[t]);
    first.words = first.next;
    second.words = second.next;
    // The lowest word stays; the others are written over by the steps that follow.
    _mm_storeu_si128(reinterpret_cast<__m128i*>(x0 + t - kDelay), _mm256_castsi256_si128(second.y));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(x1 + t - kDelay),
                     _mm256_extracti128_si256(second.y, 1));
  }
  for (; t < n + kDelay; ++t) edge_step(t);
  // Low halves of lanes 1 and 0 of the first, then of the second.
  const __m256i in_order = _mm256_blend_epi32(_mm256_shuffle_epi32(first.words, 0x02),
                                              _mm256_shuffle_epi32(second.words, 0x20), 0xCC);
  store(state, in_order);
}
