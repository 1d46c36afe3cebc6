// Eight combs on AVX2, eight samples at a time.
//
// Up to the end of a loop all delayed samples are known at the start; only the damping low-pass
// depends on the sample before. Eight samples of eight combs, transposed, have an instant in each
// vector and a comb in each lane, so that the low-passes of all eight step at once. The new cells
// are transposed back and added to the input.
//
//   cells ─┬─► out, summed over combs                                               input
//          └─► transpose ─► low-pass, instant by instant ─► × feedback ─► transpose ─► + ─► cells
//
// Exact because no product leaves 32 bits after its shift (walk_comb_lanes sees to that): nothing
// needs a limit, and the low words are the results. Products are 64 bits wide: even and odd lanes
// step in vectors of their own, four 64-bit lanes each, whose high words hold garbage in between.
#include "dsp/kernels/comb_bank.h"
#include "dsp/kernels/vectors_avx2.h"

namespace {

// Lane i of vector j changes places with lane j of vector i.
inline void transpose(__m256i* r) {
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

  // comb_step's low-pass: damp2 x delayed + damp1 x state, Q13.
  void step(__m256i delayed) {
    const __m256i sum =
        _mm256_add_epi64(_mm256_mul_epi32(damp2, delayed), _mm256_mul_epi32(damp1, state));
    state = silence_minus_one(_mm256_srli_epi64(sum, 13));
  }
  __m256i fed_back() const { return _mm256_mul_epi32(feedback, state); }
};

template <int bits>
void run_transposed(comb_lanes* lanes, int n) {
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

    transpose(rows);
    for (int j = 0; j < 8; ++j) {
      evens.step(rows[j]);
      odds.step(odd(rows[j]));
      rows[j] = silence_minus_one(even_odd(_mm256_srli_epi64(evens.fed_back(), 13),
                                           _mm256_slli_epi64(odds.fed_back(), 19)));
    }
    transpose(rows);

    for (int q = 0; q < 2; ++q) {
      const __m256i x = _mm256_slli_epi32(load(lanes->in[q] + t), bits);
      for (int k = 4 * q; k < 4 * q + 4; ++k)
        store(lanes->cells[k] + t, _mm256_add_epi32(rows[k], x));
    }
  }
  store(lanes->store, even_odd(evens.state, _mm256_slli_epi64(odds.state, 32)));
}

}  // namespace

void avx2::comb_quartets_add_16(const comb_quartet* two, int n) {
  walk_comb_lanes(two, n, run_transposed<kCombBits16>, portable::comb_quartets_add_16);
}

void avx2::comb_quartets_add_24(const comb_quartet* two, int n) {
  walk_comb_lanes(two, n, run_transposed<kCombBits24>, portable::comb_quartets_add_24);
}
