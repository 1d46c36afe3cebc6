// Eight combs on NEON, four samples of a quartet at a time.
//
// Up to the end of a loop all delayed samples are known at the start; only the damping low-pass
// depends on the sample before. Four samples of four combs, transposed, have an instant in each
// vector and a comb in each lane, so that the low-passes of all four step at once. The new cells are
// transposed back and added to the input.
//
//   cells ─┬─► out, summed over combs                                               input
//          └─► transpose ─► low-pass, instant by instant ─► × feedback ─► transpose ─► + ─► cells
//
// Exact because no product leaves 32 bits after its shift (walk_comb_lanes sees to that): the
// narrowing shift needs no limit.
#include "dsp/kernels/comb_bank.h"
#include "dsp/kernels/vectors_neon.h"

namespace {

// a / 2^13, low 32 bits, -1 becomes 0; a is the products of the low and of the high two lanes.
inline int32x4_t scale_down(int64x2_t low, int64x2_t high) {
  return silence_minus_one(vshrn_high_n_s64(vshrn_n_s64(low, 13), high, 13));
}

// Lane i of vector j changes places with lane j of vector i.
inline void transpose(int32x4_t* r) {
  const auto words = [](int64x2_t x) { return vreinterpretq_s32_s64(x); };
  const auto pairs = [](int32x4_t x) { return vreinterpretq_s64_s32(x); };
  const int64x2_t even01 = pairs(vtrn1q_s32(r[0], r[1])), odd01 = pairs(vtrn2q_s32(r[0], r[1]));
  const int64x2_t even23 = pairs(vtrn1q_s32(r[2], r[3])), odd23 = pairs(vtrn2q_s32(r[2], r[3]));
  r[0] = words(vtrn1q_s64(even01, even23));
  r[1] = words(vtrn1q_s64(odd01, odd23));
  r[2] = words(vtrn2q_s64(even01, even23));
  r[3] = words(vtrn2q_s64(odd01, odd23));
}

// Four combs' gains and low-pass states.
struct quartet {
  int32x4_t damp1, damp2, feedback, state;

  quartet(const comb_lanes* lanes, int first)
      : damp1(vld1q_s32(lanes->damp1 + first)),
        damp2(vld1q_s32(lanes->damp2 + first)),
        feedback(vld1q_s32(lanes->feedback + first)),
        state(vld1q_s32(lanes->store + first)) {}

  // comb_step's low-pass, damp2 x delayed + damp1 x state in Q13, times the feedback.
  int32x4_t step(int32x4_t delayed) {
    const int64x2_t low = vmull_s32(vget_low_s32(delayed), vget_low_s32(damp2));
    const int64x2_t high = vmull_high_s32(delayed, damp2);
    state = scale_down(vmlal_s32(low, vget_low_s32(state), vget_low_s32(damp1)),
                       vmlal_high_s32(high, state, damp1));
    return scale_down(vmull_s32(vget_low_s32(state), vget_low_s32(feedback)),
                      vmull_high_s32(state, feedback));
  }
};

template <int bits>
inline void pass(quartet& q, int* const* cells, const int* in, int* sum, int t) {
  int32x4_t rows[4];
  int32x4_t out = vld1q_s32(sum + t);
  for (int k = 0; k < 4; ++k) {
    rows[k] = vld1q_s32(cells[k] + t);
    out = vaddq_s32(out, silence_minus_one(vshrq_n_s32(rows[k], bits)));
  }
  vst1q_s32(sum + t, out);

  transpose(rows);
  for (int32x4_t& row : rows) row = q.step(row);
  transpose(rows);

  const int32x4_t x = vshlq_n_s32(vld1q_s32(in + t), bits);
  for (int k = 0; k < 4; ++k) vst1q_s32(cells[k] + t, vaddq_s32(rows[k], x));
}

template <int bits>
void run_transposed(comb_lanes* lanes, int n) {
  quartet a(lanes, 0), b(lanes, 4);
  for (int t = 0; t < n; t += 4) {
    pass<bits>(a, lanes->cells, lanes->in[0], lanes->sum[0], t);
    pass<bits>(b, lanes->cells + 4, lanes->in[1], lanes->sum[1], t);
  }
  vst1q_s32(lanes->store, a.state);
  vst1q_s32(lanes->store + 4, b.state);
}

}  // namespace

void neon::comb_quartets_add_16(const comb_quartet* two, int n) {
  walk_comb_lanes(two, n, run_transposed<kCombBits16>, portable::comb_quartets_add_16);
}

void neon::comb_quartets_add_24(const comb_quartet* two, int n) {
  walk_comb_lanes(two, n, run_transposed<kCombBits24>, portable::comb_quartets_add_24);
}
