#include "dsp/kernels/dc_remove.h"

namespace {

// dc_remove_step for every sample, its result scaled down from 26 bits less. A frame's samples are all
// read before one is written.
template <int input_bits, int channels, typename Scale>
inline void remove_dc(const dc_remove_channel* channel, int n, Scale scale) {
  int64_t x_prev[channels], y_prev[channels];
  for (int c = 0; c < channels; ++c) {
    x_prev[c] = channel[c].filter->x_prev;
    y_prev[c] = channel[c].filter->y_prev;
  }
  for (int i = 0; i < n; ++i) {
    int x[channels];
    for (int c = 0; c < channels; ++c) x[c] = channel[c].in[i];
    for (int c = 0; c < channels; ++c) {
      dc_remove_step<input_bits>(x_prev[c], y_prev[c], x[c]);
      channel[c].out[i] = scale(y_prev[c]);
    }
  }
  for (int c = 0; c < channels; ++c) {
    channel[c].filter->x_prev = x_prev[c];
    channel[c].filter->y_prev = y_prev[c];
  }
}

}  // namespace

void dc_remove_block_24(dc_remove* filter, const int* in, int* out, int n) {
  const dc_remove_channel channel = {filter, in, out};
  remove_dc<5, 1>(&channel, n, scale_down<5>);  // 31 in all
}

void dc_remove_two_16(const dc_remove_channel* two, int n) {
  remove_dc<13, 2>(two, n, scale_down_wrapping<13>);  // 39 in all
}

void dc_remove_two_24(const dc_remove_channel* two, int n) {
  remove_dc<5, 2>(two, n, scale_down<5>);
}
