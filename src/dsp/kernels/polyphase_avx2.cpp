// Polyphase filters on AVX2, in two ways: many periods in lanes, or the words of a row in lanes.
#include <algorithm>
#include <cstring>

#include "dsp/kernels/vectors_avx2.h"

namespace {

inline __m256i load_words(const int16_t* p) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}

// (a + b) / 2^15, rounded: (a + b) / 2, rounded down, fits in 32 bits.
inline __m256i rounded_sum(__m256i a, __m256i b) {
  const __m256i carry = _mm256_and_si256(_mm256_and_si256(a, b), _mm256_set1_epi32(1));
  const __m256i halves = _mm256_add_epi32(_mm256_srai_epi32(a, 1), _mm256_srai_epi32(b, 1));
  const __m256i mean = _mm256_add_epi32(halves, carry);
  return _mm256_srai_epi32(_mm256_add_epi32(mean, _mm256_set1_epi32(1 << 13)), 14);
}

// Sums of one phase over sixteen neighbours. The low ones are of 0-3 and 8-11, the high ones of 4-7
// and 12-15, until they are packed.
struct neighbour_sums {
  __m256i low = _mm256_setzero_si256(), high = low;
};
struct three_phases {
  neighbour_sums phase[3];
};

// Of n words of the rows, two at a time. A call of its own has registers for all sums.
[[gnu::noinline]] three_phases half_sums(const int16_t* rows, int taps, const int16_t* x, int n) {
  three_phases sums;
  for (int j = 0; j < n; j += 2) {
    const __m256i x0 = load_words(x + j), x1 = load_words(x + j + 1);
    const __m256i low = _mm256_unpacklo_epi16(x0, x1), high = _mm256_unpackhi_epi16(x0, x1);
    for (int m = 0; m < 3; ++m) {
      int two;
      std::memcpy(&two, rows + m * taps + j, sizeof two);
      neighbour_sums& s = sums.phase[m];
      s.low = _mm256_add_epi32(s.low, _mm256_madd_epi16(low, splat(two)));
      s.high = _mm256_add_epi32(s.high, _mm256_madd_epi16(high, splat(two)));
    }
  }
  return sums;
}

[[gnu::noinline]] void interleave(const int16_t (&phases)[3][16], int16_t* out) {
  for (int k = 0; k < 16; ++k)
    for (int m = 0; m < 3; ++m) out[3 * k + m] = phases[m][k];
}

// Sixteen samples in, three times as many out; the rows stand in the order of the phases.
void sixteen_by_three(const int16_t* rows, int taps, const int16_t* x, int16_t* out) {
  const three_phases older = half_sums(rows, taps, x, taps / 2);
  const three_phases newer = half_sums(rows + taps / 2, taps, x + taps / 2, taps / 2);
  int16_t words[3][16];
  for (int m = 0; m < 3; ++m) {
    const neighbour_sums &a = older.phase[m], &b = newer.phase[m];
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(words[m]),
                        _mm256_packs_epi32(rounded_sum(a.low, b.low), rounded_sum(a.high, b.high)));
  }
  interleave(words, out);
}

// Four periods: dot products with one row, whose sums are added up across the lanes together.
void four_products(const int16_t* row, int taps, const int16_t* const x[4], int16_t* const out[4]) {
  __m256i sums[4] = {};
  for (int j = 0; j < taps; j += 16)
    for (int k = 0; k < 4; ++k)
      sums[k] =
          _mm256_add_epi32(sums[k], _mm256_madd_epi16(load_words(row + j), load_words(x[k] + j)));
  const __m256i across =
      _mm256_hadd_epi32(_mm256_hadd_epi32(sums[0], sums[1]), _mm256_hadd_epi32(sums[2], sums[3]));
  const __m256i four = rounded_sum(across, _mm256_permute2x128_si256(across, across, 1));
  const __m256i words = _mm256_packs_epi32(four, four);
  *out[0] = static_cast<int16_t>(_mm256_extract_epi16(words, 0));
  *out[1] = static_cast<int16_t>(_mm256_extract_epi16(words, 1));
  *out[2] = static_cast<int16_t>(_mm256_extract_epi16(words, 2));
  *out[3] = static_cast<int16_t>(_mm256_extract_epi16(words, 3));
}

}  // namespace

void avx2::polyphase_q15(const polyphase& f, const int16_t* x, int16_t* out, int periods) {
  if (f.taps % 16 != 0) return portable::polyphase_q15(f, x, out, periods);
  int begin = 0;
  if (f.phases == 3 && f.period == 1)
    for (; begin + 16 <= periods; begin += 16)
      sixteen_by_three(f.rows, f.taps, x + begin, out + begin * 3);
  for (int m = 0; m < f.phases; ++m) {
    const int16_t* row = f.rows + m * f.period % f.phases * f.taps;
    const int16_t* in = x + m * f.period / f.phases;
    for (int p = begin; p < periods; p += 4) {
      const int last = periods - 1;  // again for those beyond
      const int at[] = {p, std::min(p + 1, last), std::min(p + 2, last), std::min(p + 3, last)};
      const int16_t* from[4];
      int16_t* to[4];
      for (int k = 0; k < 4; ++k) {
        from[k] = in + at[k] * f.period;
        to[k] = out + at[k] * f.phases + m;
      }
      four_products(row, f.taps, from, to);
    }
  }
}
