// Four notches in a row on AVX2, a notch in each 64-bit lane, each two samples behind the one
// before it, so that all four step at once: what one lane gives is what the next one takes two
// steps later, and waits for in the meantime, while the steps between overlap.
//
//   step t:  lane 0: sample t,  lane 1: sample t - 2,  lane 2: t - 4,  lane 3: t - 6
//
// Ahead of the first step and after the last one the portable notches run over the few samples by
// which the lanes stand apart.
//
// Inputs are 32 bits wide, outputs y up to 64. With y = h 2^32 + l, l its low word read as a signed
// one, the low 64 bits of a product with a 32-bit factor are l f + (h f << 32).
#include <immintrin.h>

#include "dsp/kernels/notch.h"

namespace {

constexpr int kLanes = 4;
constexpr int kLag = 2;                      // samples from lane to lane
constexpr int kAhead = (kLanes - 1) * kLag;  // of the first lane before the last one

inline __m256i lanes_of(const int64_t* p) {
  return _mm256_load_si256(reinterpret_cast<const __m256i*>(p));
}
inline void store(int64_t* p, __m256i x) { _mm256_store_si256(reinterpret_cast<__m256i*>(p), x); }

// The logical shift of what has been lifted above zero, brought down again.
template <int bits>
inline __m256i shift_right(__m256i x) {
  const __m256i lifted = _mm256_xor_si256(x, _mm256_set1_epi64x(INT64_MIN));
  return _mm256_sub_epi64(_mm256_srli_epi64(lifted, bits),
                          _mm256_set1_epi64x(int64_t{1} << (63 - bits)));
}

struct wide {
  __m256i value, high;

  explicit wide(__m256i x)
      : value(x),
        high(_mm256_srli_epi64(_mm256_add_epi64(x, _mm256_set1_epi64x(int64_t{1} << 31)), 32)) {}
  __m256i times(__m256i factor) const {
    return _mm256_add_epi64(_mm256_mul_epi32(value, factor),
                            _mm256_slli_epi64(_mm256_mul_epi32(high, factor), 32));
  }
};

// All of four notches, a row of 64-bit words for each field.
struct alignas(32) four_notches {
  int64_t freq[kLanes], pole[kLanes], radius_squared[kLanes];
  int64_t x1[kLanes], x2[kLanes], y1[kLanes], y2[kLanes], residue[kLanes];
  int64_t depth[kLanes], step[kLanes];
};

inline bool fits(int64_t x) { return x == static_cast<int>(x); }

// False if something that is multiplied as a 32-bit word is none.
bool gather(four_notches* f, const notch_share* row) {
  bool all_fit = true;
  for (int k = 0; k < kLanes; ++k) {
    const notch* filter = row[k].filter;
    f->freq[k] = filter->freq;
    f->pole[k] = (int64_t{filter->radius} * filter->freq) >> 28;
    f->radius_squared[k] = int64_t{filter->radius} * filter->radius;
    f->x1[k] = filter->state[0];
    f->x2[k] = filter->state[1];
    f->y1[k] = filter->state[2];
    f->y2[k] = filter->state[3];
    f->residue[k] = filter->state[4];
    f->depth[k] = row[k].share.depth;
    f->step[k] = row[k].share.step;
    all_fit &= fits(f->pole[k]) && fits(f->radius_squared[k]) && fits(f->x1[k]) && fits(f->x2[k]) &&
               f->depth[k] >= 0 && f->depth[k] <= kFadeFull && f->step[k] >= -kFadeFull &&
               f->step[k] <= kFadeFull;
  }
  return all_fit;
}

void scatter(const four_notches& f, notch_share* row) {
  for (int k = 0; k < kLanes; ++k) {
    int64_t* state = row[k].filter->state;
    state[0] = static_cast<int>(f.x1[k]);
    state[1] = static_cast<int>(f.x2[k]);
    state[2] = f.y1[k];
    state[3] = f.y2[k];
    state[4] = f.residue[k];
    row[k].share.depth = static_cast<int>(f.depth[k]);
  }
}

// Steps kAhead to n - 1. What depends on the latest results comes last in a sum.
void run(four_notches* f, int* x, int n) {
  const __m256i freq = lanes_of(f->freq), pole = lanes_of(f->pole);
  const __m256i radius_squared = lanes_of(f->radius_squared), one = _mm256_set1_epi64x(8192);
  const __m256i full = _mm256_set1_epi64x(kFadeFull), step = lanes_of(f->step);
  __m256i x1 = lanes_of(f->x1), x2 = lanes_of(f->x2), residue = lanes_of(f->residue);
  __m256i depth = lanes_of(f->depth);
  wide y1(lanes_of(f->y1)), y2(lanes_of(f->y2));

  __m256i in = _mm256_setr_epi64x(x[6], x[4], x[2], x[0]);
  __m256i waiting = _mm256_setr_epi64x(0, x[5], x[3], x[1]);
  for (int t = kAhead;; ++t) {
    const __m256i known =
        _mm256_sub_epi64(_mm256_add_epi64(_mm256_add_epi64(residue, _mm256_mul_epi32(x2, one)),
                                          shift_right<15>(_mm256_mul_epi32(x1, freq))),
                         shift_right<13>(y2.times(radius_squared)));
    const __m256i sum =
        _mm256_sub_epi64(_mm256_add_epi64(known, _mm256_mul_epi32(in, one)), y1.times(pole));
    residue = _mm256_and_si256(sum, _mm256_set1_epi64x(0x1FFF));
    x2 = x1;
    x1 = in;
    y2 = y1;
    y1 = wide(shift_right<13>(sum));

    const __m256i minus_one = _mm256_cmpeq_epi32(y1.value, _mm256_set1_epi32(-1));
    const __m256i notched = _mm256_andnot_si256(minus_one, y1.value);  // in the low words
    depth = _mm256_min_epi32(
        _mm256_max_epi32(_mm256_add_epi32(depth, step), _mm256_setzero_si256()), full);
    const __m256i out =
        _mm256_srli_epi64(_mm256_add_epi64(_mm256_mul_epi32(in, _mm256_sub_epi32(full, depth)),
                                           _mm256_mul_epi32(notched, depth)),
                          20);  // in the low words

    const __m256i moved = _mm256_permute4x64_epi64(out, 0x93);  // lanes 3, 0, 1, 2
    x[t - kAhead] = _mm256_extract_epi32(moved, 0);
    if (t == n - 1) {
      alignas(32) int64_t before[kLanes], last[kLanes];
      store(before, waiting);
      store(last, moved);
      for (int k = 1; k < kLanes; ++k) {
        x[n - kLag * k] = static_cast<int>(before[k]);
        x[n - kLag * k + 1] = static_cast<int>(last[k]);
      }
      break;
    }
    in = _mm256_blend_epi32(waiting, _mm256_set1_epi32(x[t + 1]), 0x03);
    waiting = moved;
  }
  store(f->x1, x1);
  store(f->x2, x2);
  store(f->y1, y1.value);
  store(f->y2, y2.value);
  store(f->residue, residue);
  store(f->depth, depth);
}

}  // namespace

void notch_row_block_avx2(notch_share* row, int count, int* x, int n) {
  four_notches lanes;
  if (count < kLanes || n < 16 || !gather(&lanes, row))
    return notch_row_block_portable(row, count, x, n);
  for (int k = 0; k < kLanes - 1; ++k) notch_row_block_portable(row + k, 1, x, kAhead - kLag * k);
  gather(&lanes, row);
  run(&lanes, x, n);
  scatter(lanes, row);
  for (int k = 1; k < kLanes; ++k) notch_row_block_portable(row + k, 1, x + n - kLag * k, kLag * k);
  notch_row_block_portable(row + kLanes, count - kLanes, x, n);
}
