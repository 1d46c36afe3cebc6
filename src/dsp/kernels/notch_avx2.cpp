// Four notches of a row on AVX2, a notch in each 64-bit lane, each two samples behind the one before
// it, so that all four step at once: what a lane computes in one step, the next one takes two steps
// later.
//
//   step t:  lane 0: sample t,  lane 1: sample t - 2,  lane 2: t - 4,  lane 3: t - 6
//
// The portable form runs over the few samples by which the lanes stand apart, before the first step
// and after the last. A fifth notch steps beside them on what they give: each step waits for its own
// latest result, so the two chains share the processor's time.
//
// Exact because the sums are those of notch_step in another order, and 64-bit addition wraps.
// Factors are 32 bits wide, outputs y up to 64: with y = h 2^32 + l, l its low word read as a signed
// one, the low 64 bits of a product with a factor f are l f + (h f << 32).
#include <immintrin.h>

#include <algorithm>

#include "dsp/kernels/kernels.h"
#include "dsp/kernels/notch.h"

namespace {

constexpr int kLanes = kNotchLanes;
constexpr int kLag = 2;                      // samples from lane to lane
constexpr int kAhead = (kLanes - 1) * kLag;  // of the first lane before the last one
constexpr int kFewestSamples = 16;           // below, the portable ends are most of the work

inline __m256i lanes_of(const int64_t* p) {
  return _mm256_load_si256(reinterpret_cast<const __m256i*>(p));
}
inline void store(int64_t* p, __m256i x) { _mm256_store_si256(reinterpret_cast<__m256i*>(p), x); }

// Arithmetic shift: an offset of 2^63 makes a logical one of it.
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

// A notch with its share, sample by sample.
struct single_notch {
  notch_registers registers;
  fade_share share;

  explicit single_notch(const notch_share& of) : registers(of.filter), share(of.share) {}
  int operator()(int x) {
    const int y = silence_minus_one(wrap32(notch_step(registers, x)));
    share.depth_q20 = std::clamp(saturate_add(share.depth_q20, share.step_q20), 0, kFadeFull);
    const int64_t mix = int64_t{kFadeFull - share.depth_q20} * x + int64_t{share.depth_q20} * y;
    return wrap32(mix >> 20);
  }
  void store(notch_share* of) const {
    registers.store(of->filter);
    of->share = share;
  }
};

// Steps kAhead to n - 1. What depends on the latest results comes last in a sum. What the last lane
// gives goes through after, a copy that stays in registers; returns it.
template <typename After>
After run_staggered(notch_lanes* f, int* x, int n, After after) {
  const __m256i freq = lanes_of(f->freq), pole = lanes_of(f->pole);
  const __m256i radius_squared = lanes_of(f->radius_squared), one = _mm256_set1_epi64x(kOneQ13);
  const __m256i full = _mm256_set1_epi64x(kFadeFull), step = lanes_of(f->step);
  __m256i x1 = lanes_of(f->x1), x2 = lanes_of(f->x2), residue = lanes_of(f->residue);
  __m256i depth = lanes_of(f->depth);
  wide y1(lanes_of(f->y1)), y2(lanes_of(f->y2));

  // Of x[0 .. kAhead], what the lanes take at this step and what they take at the next.
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
    x[t - kAhead] = after(_mm256_extract_epi32(moved, 0));
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
  return after;
}

}  // namespace

void avx2::notch_row(notch_share* row, int count, int* x, int n) {
  notch_lanes lanes;
  if (count < kLanes || n < kFewestSamples || !load_lanes(&lanes, row))
    return portable::notch_row(row, count, x, n);
  for (int k = 0; k < kLanes - 1; ++k) portable::notch_row(row + k, 1, x, kAhead - kLag * k);
  load_lanes(&lanes, row);
  if (count == kLanes) {
    run_staggered(&lanes, x, n, [](int y) { return y; });
  } else {
    run_staggered(&lanes, x, n, single_notch(row[kLanes])).store(&row[kLanes]);
  }
  store_lanes(lanes, row);
  for (int k = 1; k < kLanes; ++k) portable::notch_row(row + k, 1, x + n - kLag * k, kLag * k);
  if (count == kLanes) return;
  portable::notch_row(row + kLanes, 1, x + n - kAhead, kAhead);
  portable::notch_row(row + kLanes + 1, count - kLanes - 1, x, n);
}
