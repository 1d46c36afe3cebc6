// The DC blocker's steps, and the DC blocker over a block.
#pragma once

#include "dsp/dc_remove.h"
#include "fixed.h"

constexpr int64_t kDcRemovePole = 66840428;  // 0.996 in Q26

// R (X[n] - X[n-1] + Y[n-1]) in Q26 of the internal scale, which stands input_bits up.
template <int input_bits>
inline int64_t dc_remove_step(int64_t& x_prev, int64_t& y_prev, int in) {
  const int64_t x = int64_t{in} * (int64_t{1} << input_bits);
  const int64_t y = wrap_mul64(wrap_add64(wrap_sub64(x, x_prev), y_prev), kDcRemovePole);
  y_prev = y >> 26;
  x_prev = x;
  return y;
}

inline int dc_remove_step_16(int64_t& x_prev, int64_t& y_prev, int in) {
  return scale_down_wrapping<39>(dc_remove_step<13>(x_prev, y_prev, in));
}

inline int dc_remove_step_24(int64_t& x_prev, int64_t& y_prev, int in) {
  return scale_down<31>(dc_remove_step<5>(x_prev, y_prev, in));
}

// n samples; in place allowed; n < 1 does nothing. The same bits as n one-sample calls.
void dc_remove_block_24(dc_remove* filter, const int* in, int* out, int n);

// Two channels in one pass, whose recursions overlap in time; the same bits as one after the other.
// A channel's out may be any in.
struct dc_remove_channel {
  dc_remove* filter;
  const int* in;
  int* out;
};
void dc_remove_two_16(const dc_remove_channel* two, int n);
void dc_remove_two_24(const dc_remove_channel* two, int n);
