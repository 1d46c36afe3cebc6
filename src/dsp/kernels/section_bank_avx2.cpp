// A slice through rows of sections with AVX2.
#include "dsp/kernels/iir_rows_avx2.h"
#include "dsp/kernels/section_bank.h"

namespace {

// Eight samples of four columns, [0..7] of each, into eight rows.
inline void load_rows(const int* const (&column)[kColumns], int start, __m256i* row) {
  __m256i x[kColumns];
  for (int c = 0; c < kColumns; ++c) x[c] = scaled_input(load(column[c] + start));
  for (int half : {0, 4}) {
    // [a0..a3 c0..c3] and [b0..b3 d0..d3], or samples 4..7 of them.
    const __m256i ac = half == 0 ? _mm256_permute2x128_si256(x[0], x[2], 0x20)
                                 : _mm256_permute2x128_si256(x[0], x[2], 0x31);
    const __m256i bd = half == 0 ? _mm256_permute2x128_si256(x[1], x[3], 0x20)
                                 : _mm256_permute2x128_si256(x[1], x[3], 0x31);
    row[half] = _mm256_unpacklo_epi64(ac, bd);  // [a0 a1 b0 b1 c0 c1 d0 d1]
    row[half + 1] = odd(row[half]);
    row[half + 2] = _mm256_unpackhi_epi64(ac, bd);
    row[half + 3] = odd(row[half + 2]);
  }
}

// Word i of every pair of words, i = 0 or 1: the first vector's, then the second one's, in each half.
template <int i>
inline __m256i words_of(__m256i a, __m256i b) {
  return _mm256_castps_si256(
      _mm256_shuffle_ps(_mm256_castsi256_ps(a), _mm256_castsi256_ps(b), i == 0 ? 0x88 : 0xDD));
}

// The other way round.
inline void store_rows(const __m256i* row, int* const (&column)[kColumns], int start) {
  __m256i ac[2], bd[2];  // samples 0..3 and 4..7
  for (int half : {0, 1}) {
    const __m256i* const four = row + 4 * half;
    const __m256i first = words_of<0>(four[0], four[1]);  // [a0 b0 a1 b1 c0 d0 c1 d1]
    const __m256i second = words_of<0>(four[2], four[3]);
    ac[half] = _mm256_srai_epi32(words_of<0>(first, second), 5);
    bd[half] = _mm256_srai_epi32(words_of<1>(first, second), 5);
  }
  store(column[0] + start, _mm256_permute2x128_si256(ac[0], ac[1], 0x20));
  store(column[1] + start, _mm256_permute2x128_si256(bd[0], bd[1], 0x20));
  store(column[2] + start, _mm256_permute2x128_si256(ac[0], ac[1], 0x31));
  store(column[3] + start, _mm256_permute2x128_si256(bd[0], bd[1], 0x31));
}

template <int rows>
void run(section_bank* bank, int first_row) {
  __m256i signal[rows][kSliceFrames];
  row_registers row[rows];
  for (int k = 0; k < rows; ++k) {
    const int r = first_row + k;
    for (int start = 0; start < kSliceFrames; start += 8)
      load_rows(bank->in[r], start, signal[k] + start);
    for (int i : {0, 1}) narrow(signal[k][kSliceFrames - 2 + i], bank->taken[i][r]);
    row[k].load_from(bank->state, r);
  }

  for (int t = 0; t < kSliceFrames; ++t) {
#pragma GCC unroll 8
    for (int k = 0; k < rows; ++k) row[k].x = signal[k][t];
    find_results<rows, rule::saturating>(row);
#pragma GCC unroll 8
    for (int k = 0; k < rows; ++k) {
      row[k].carry();
      signal[k][t] = row[k].y;
    }
  }

  for (int k = 0; k < rows; ++k) {
    const int r = first_row + k;
    for (int i : {0, 1}) narrow(signal[k][kSliceFrames - 2 + i], bank->last[i][r]);
    store_sums(row[k].first, bank->state.first[r]);
    store_sums(row[k].second, bank->state.second[r]);
    for (int start = 0; start < kSliceFrames; start += 8)
      store_rows(signal[k] + start, bank->out[r], start);
  }
}

}  // namespace

#include "dsp/kernels/section_bank_vectors.h"
