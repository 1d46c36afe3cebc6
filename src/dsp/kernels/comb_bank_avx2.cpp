// Eight combs on AVX2, eight samples at a time.
//
// Up to the end of a loop all delayed samples are there at the start, so only the damping low-pass
// goes from sample to sample. Eight samples of eight combs are a
// square of words: turned over, a row holds one instant, a comb in each lane, and the low-passes of
// all eight step at once. The rows of new cells are turned back and meet the input.
//
//   cells ─┬─► out, in rows of time                                      input, in rows of time
//          └─► turn ─► low-pass, row by row ─► × feedback ─► turn ─► + ──► cells
//
// Products are 64 bits wide: even and odd lanes step in registers of their own, four 64-bit lanes
// each. No product leaves 32 bits after the shift (walk_comb_lanes sees to that), so the low words
// are the result and need no limit; what stands in the high words meanwhile is never looked at.
#include "dsp/kernels/comb_bank.h"
#include "dsp/kernels/comber.h"
#include "dsp/kernels/vectors_avx2.h"

namespace {

// Row j gets word j of every row.
inline void turn(__m256i* r) {
  __m256i pair[8], four[8];
  for (int j = 0; j < 8; j += 2) {
    pair[j] = _mm256_unpacklo_epi32(r[j], r[j + 1]);
    pair[j + 1] = _mm256_unpackhi_epi32(r[j], r[j + 1]);
  }
  for (int j = 0; j < 8; j += 4)
    for (int i = 0; i < 2; ++i) {
      four[j + 2 * i] = _mm256_unpacklo_epi64(pair[j + i], pair[j + 2 + i]);
      four[j + 2 * i + 1] = _mm256_unpackhi_epi64(pair[j + i], pair[j + 2 + i]);
    }
  for (int j = 0; j < 4; ++j) {
    r[j] = _mm256_permute2x128_si256(four[j], four[j + 4], 0x20);
    r[j + 4] = _mm256_permute2x128_si256(four[j], four[j + 4], 0x31);
  }
}

// Four combs' gains and low-pass states, in the low words of the 64-bit lanes.
struct low_pass {
  __m256i damp1, damp2, feedback, state;

  // delayed, damped: damp2 x delayed + damp1 x state in Q13.
  void step(__m256i delayed) {
    const __m256i sum =
        _mm256_add_epi64(_mm256_mul_epi32(damp2, delayed), _mm256_mul_epi32(damp1, state));
    state = silence_minus_one(_mm256_srli_epi64(sum, 13));
  }
  __m256i fed_back() const { return _mm256_mul_epi32(feedback, state); }
};

template <int bits>
void run(comb_lanes* lanes, int n) {
  const __m256i damp1 = load(lanes->damp1), damp2 = load(lanes->damp2);
  const __m256i feedback = load(lanes->feedback), state = load(lanes->store);
  low_pass evens = {damp1, damp2, feedback, state};
  low_pass odds = {odd(damp1), odd(damp2), odd(feedback), odd(state)};

  for (int t = 0; t < n; t += 8) {
    __m256i rows[8];
    for (int q = 0; q < 2; ++q) {
      __m256i sum = load(lanes->sum[q] + t);
      for (int k = 4 * q; k < 4 * q + 4; ++k) {
        rows[k] = load(lanes->cells[k] + t);
        sum = _mm256_add_epi32(sum, silence_minus_one(_mm256_srai_epi32(rows[k], bits)));
      }
      store(lanes->sum[q] + t, sum);
    }

    turn(rows);
    for (int j = 0; j < 8; ++j) {
      evens.step(rows[j]);
      odds.step(odd(rows[j]));
      rows[j] = silence_minus_one(even_odd(_mm256_srli_epi64(evens.fed_back(), 13),
                                           _mm256_slli_epi64(odds.fed_back(), 19)));
    }
    turn(rows);

    for (int q = 0; q < 2; ++q) {
      const __m256i x = _mm256_slli_epi32(load(lanes->in[q] + t), bits);
      for (int k = 4 * q; k < 4 * q + 4; ++k)
        store(lanes->cells[k] + t, _mm256_add_epi32(rows[k], x));
    }
  }
  store(lanes->store, even_odd(evens.state, _mm256_slli_epi64(odds.state, 32)));
}

}  // namespace

void comb_quartets_add_16_avx2(const comb_quartet* two, int n) {
  walk_comb_lanes(two, n, run<kCombBits16>, comb_quartets_add_16_portable);
}

void comb_quartets_add_24_avx2(const comb_quartet* two, int n) {
  walk_comb_lanes(two, n, run<kCombBits24>, comb_quartets_add_24_portable);
}
