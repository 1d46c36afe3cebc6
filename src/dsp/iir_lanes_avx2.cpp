// The sections of iir_lanes_internal.h with AVX2: a row is one vector of four 64-bit lanes, with
// samples and coefficients in the low halves, where the 32-bit multiplication takes its factors.
#include <immintrin.h>

#include "dsp/iir_lanes_internal.h"

namespace {

enum class rule { saturating, wrapping };

inline __m256i load(const int64_row& row) {
  return _mm256_load_si256(reinterpret_cast<const __m256i*>(row));
}

inline __m256i widen(const int_row& row) {
  return _mm256_cvtepi32_epi64(_mm_load_si128(reinterpret_cast<const __m128i*>(row)));
}

inline void narrow(__m256i lanes, int_row& row) {
  const __m256i low_halves = _mm256_setr_epi32(0, 2, 4, 6, 0, 2, 4, 6);
  _mm_store_si128(reinterpret_cast<__m128i*>(row),
                  _mm256_castsi256_si128(_mm256_permutevar8x32_epi32(lanes, low_halves)));
}

inline __m256i mac(__m256i sum, __m256i a, __m256i b) {
  return _mm256_add_epi64(sum, _mm256_mul_epi32(a, b));
}

// sum >> 28, saturated, -1 becomes 0. AVX2 has no arithmetic shift of 64 bits; 32 bits do: the
// result is the upper half of sum << 4, and it fits if that shifts out nothing but copies of the
// sign, that is, if the upper half of sum is all sign from bit 27 up.
inline __m256i scale_down_28(__m256i sum) {
  const __m256i sign = _mm256_srai_epi32(sum, 31);
  const __m256i fits = _mm256_cmpeq_epi32(_mm256_srai_epi32(sum, 27), sign);
  const __m256i limit = _mm256_xor_si256(sign, _mm256_set1_epi32(INT32_MAX));
  const __m256i y = _mm256_blendv_epi8(limit, _mm256_slli_epi64(sum, 4), fits);
  const __m256i minus_one = _mm256_cmpeq_epi32(y, _mm256_set1_epi32(-1));
  return _mm256_srli_epi64(_mm256_andnot_si256(minus_one, y), 32);
}

template <rule results>
inline __m256i result(__m256i sum) {
  return results == rule::saturating ? scale_down_28(sum) : _mm256_srli_epi64(sum, 28);
}

// A row of sections in registers.
struct row_registers {
  __m256i b0, b1, b2, a1, a2;
  __m256i first, second, y1, y2;
  __m256i lag, end;

  void load_from(const iir_lanes& lanes, int row, int n) {
    b0 = widen(lanes.coef[row][0]);
    b1 = widen(lanes.coef[row][1]);
    b2 = widen(lanes.coef[row][2]);
    a1 = widen(lanes.coef[row][3]);
    a2 = widen(lanes.coef[row][4]);
    first = load(lanes.first[row]);
    second = load(lanes.second[row]);
    y1 = widen(lanes.y1[row]);
    y2 = widen(lanes.y2[row]);
    lag = widen(lanes.lag[row]);
    end = _mm256_add_epi64(lag, _mm256_set1_epi64x(n));
  }

  template <rule results>
  void step(__m256i x) {
    y1 = result<results>(mac(first, b0, x));
    first = mac(mac(second, b1, x), a1, y1);
    second = mac(_mm256_mul_epi32(b2, x), a2, y1);
  }

  // For the sections that have a sample at step t; the others stay as they are. Keeps the last but
  // one result, too.
  template <rule results>
  void step_some(__m256i x, int t) {
    const __m256i now = _mm256_set1_epi64x(t);
    const __m256i idle =
        _mm256_or_si256(_mm256_cmpgt_epi64(lag, now),
                        _mm256_cmpeq_epi64(_mm256_cmpgt_epi64(end, now), _mm256_setzero_si256()));
    const row_registers before = *this;
    step<results>(x);
    first = _mm256_blendv_epi8(first, before.first, idle);
    second = _mm256_blendv_epi8(second, before.second, idle);
    y1 = _mm256_blendv_epi8(y1, before.y1, idle);
    y2 = _mm256_blendv_epi8(before.y1, before.y2, idle);
  }
};

template <int rows, rule results>
void step_lanes(iir_lanes* lanes, const int_row* in, int_row* out, int n) {
  row_registers row[rows];
#pragma GCC unroll 8
  for (int k = 0; k < rows; ++k) row[k].load_from(*lanes, k, n);
  const __m256i head = widen(lanes->head);

  const auto handed_on = [](__m256i y) {
    return results == rule::saturating ? _mm256_and_si256(y, _mm256_set1_epi64x(~31)) : y;
  };
  // Calls use(row, x) for every row, the last one first: it takes what the one above made last.
  const auto step_all = [&](int t, auto use) {
    const __m256i next_column = _mm256_permute4x64_epi64(handed_on(row[rows - 1].y1), 0x90);
    const __m256i top = _mm256_blendv_epi8(next_column, widen(in[t]), head);
#pragma GCC unroll 8
    for (int k = rows - 1; k > 0; --k) use(row[k], handed_on(row[k - 1].y1));
    use(row[0], top);
    narrow(row[rows - 1].y1, out[t]);
  };
  const auto all = [](row_registers& r, __m256i x) { r.step<results>(x); };

  // Some sections are idle until the last one has its first sample, and again after the first one
  // has its last; the last two results of all are kept from there on.
  const int steps = n + lanes->longest_lag;
  int t = 0;
  const auto some_until = [&](int end) {
    for (; t < end; ++t)
      step_all(t, [t](row_registers& r, __m256i x) { r.step_some<results>(x, t); });
  };
  some_until(lanes->longest_lag);
  for (; t < n - 1; ++t) step_all(t, all);
  some_until(steps);

#pragma GCC unroll 8
  for (int k = 0; k < rows; ++k) {
    narrow(row[k].y1, lanes->y1[k]);
    narrow(row[k].y2, lanes->y2[k]);
  }
}

template <rule results>
constexpr lane_steppers kSteppers = {step_lanes<1, results>, step_lanes<2, results>,
                                     step_lanes<3, results>, step_lanes<4, results>,
                                     step_lanes<5, results>};

}  // namespace

void iir_chains_32_avx2(const iir_chain* chains, int chain_count, int n) {
  iir_chains_32_in_lanes(chains, chain_count, n, kSteppers<rule::saturating>);
}

void iir_chains_wrapping_avx2(const iir_chain* chains, int chain_count, int n) {
  iir_chains_wrapping_in_lanes(chains, chain_count, n, kSteppers<rule::wrapping>);
}
