// The split in lanes with AVX2. What isn't a product is done for both rows at once, row 0 in the even
// words of a vector and row 1 in the odd ones.
#include "dsp/kernels/split_energies.h"

#include "dsp/kernels/iir_rows_avx2.h"

namespace {

inline __m256i load_rows(const int_row (&rows)[kSplitRows]) {
  return even_odd(widen(rows[0]), _mm256_slli_epi64(widen(rows[1]), 32));
}

inline void store_rows(__m256i words, int_row (&rows)[kSplitRows]) {
  narrow(words, rows[0]);
  narrow(odd(words), rows[1]);
}

// A word each in lanes 0 and 1 of row 0.
inline __m256i two_inputs(const int* left, const int* right) {
  return _mm256_castsi128_si256(
      _mm_unpacklo_epi64(_mm_cvtsi32_si128(*left), _mm_cvtsi32_si128(*right)));
}

void run(split_lanes* lanes, const int* const (&in)[2], int n) {
  row_registers row[kSplitRows];
  for (int k = 0; k < kSplitRows; ++k) row[k].load_from(lanes->sections, k);
  __m256i older = load_rows(lanes->rest[0]), rest = load_rows(lanes->rest[1]), taken, result;
  product_sums energy, rest_energy;

  const auto step = [&](int t) {
    // Row 0's lanes 0 and 1 leave for lanes 2 and 3, and these for row 1.
    const __m256i from = _mm256_setr_epi32(0, 4, 2, 6, 0, 5, 2, 7);
    taken = _mm256_blend_epi32(_mm256_permutevar8x32_epi32(older, from),
                               two_inputs(in[0] + t, in[1] + t), 0x05);
    row[0].x = scaled_input(taken);
    row[1].x = odd(row[0].x);
    find_results<kSplitRows, rule::saturating>(row);
    for (row_registers& r : row) r.carry();
    result = row[0].y;  // of both rows
    const __m256i band = _mm256_srai_epi32(result, 5);
    older = rest;
    rest = saturate_sub(taken, band);
    energy.add(band, band);
    rest_energy.odds = mac(rest_energy.odds, odd(rest), odd(rest));
  };

  int t = 0;
  for (; t < n - 2; ++t) step(t);
  for (int k = 0; k < 2; ++k) {
    step(t + k);
    store_rows(taken, lanes->taken[k]);
    store_rows(result, lanes->last[k]);
  }
  store_rows(older, lanes->rest[0]);
  store_rows(rest, lanes->rest[1]);
  store_sums(energy.evens, lanes->energy[0]);
  store_sums(energy.odds, lanes->energy[1]);
  store_sums(rest_energy.odds, lanes->rest_energy);
}

}  // namespace

void avx2::split_energies(const split_channel* two, int n) { split_energies_in_lanes(two, n, run); }
