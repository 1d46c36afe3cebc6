#include "dsp/dc_remove.h"

#include "dsp/dc_remove_block.h"
#include "dsp/fixed.h"

namespace {

constexpr int64_t kPole = 66840428;  // 0.996 in Q26

// R (X[n] - X[n-1] + Y[n-1]) in Q26 of the internal scale, which stands input_bits up.
template <int input_bits>
inline int64_t dc_remove_step(int64_t& x_prev, int64_t& y_prev, int in) {
  const int64_t x = int64_t{in} * (int64_t{1} << input_bits);
  const int64_t y = wrap_mul64(wrap_sub64(wrap_add64(x, y_prev), x_prev), kPole);
  y_prev = y >> 26;
  x_prev = x;
  return y;
}

}  // namespace

void dc_remove_init(dc_remove* filter) { dc_remove_reset(filter); }

void dc_remove_reset(dc_remove* filter) { filter->y_prev = filter->x_prev = 0; }

void dc_remove_end(dc_remove* filter) { dc_remove_reset(filter); }

void dc_remove_process_16(dc_remove* filter, int* in, int* out) {
  dc_remove_block_16(filter, in, out, 1);
}

void dc_remove_process_24(dc_remove* filter, int* in, int* out) {
  dc_remove_block_24(filter, in, out, 1);
}

void dc_remove_block_16(dc_remove* filter, const int* in, int* out, int n) {
  int64_t x_prev = filter->x_prev, y_prev = filter->y_prev;
  for (int i = 0; i < n; ++i)
    out[i] = scale_down_wrapping<39>(dc_remove_step<13>(x_prev, y_prev, in[i]));
  filter->x_prev = x_prev;
  filter->y_prev = y_prev;
}

void dc_remove_block_24(dc_remove* filter, const int* in, int* out, int n) {
  int64_t x_prev = filter->x_prev, y_prev = filter->y_prev;
  for (int i = 0; i < n; ++i) out[i] = scale_down<31>(dc_remove_step<5>(x_prev, y_prev, in[i]));
  filter->x_prev = x_prev;
  filter->y_prev = y_prev;
}
