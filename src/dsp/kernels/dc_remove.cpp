#include "dsp/kernels/dc_remove.h"

#include "dsp/block.h"
#include "dsp/kernels/kernels.h"

namespace {

// dc_remove_step for every sample, keeping y / 2^26 of the internal scale: the outputs are scaled
// down from there in a pass of their own, by the same bits in all.
template <int input_bits, int channels>
inline void filter_into(const dc_remove_channel* channel, int64_t (*y)[kBlockFrames], int start,
                        int n) {
  int64_t x_prev[channels], y_prev[channels];
  for (int c = 0; c < channels; ++c) {
    x_prev[c] = channel[c].filter->x_prev;
    y_prev[c] = channel[c].filter->y_prev;
  }
  for (int i = 0; i < n; ++i)
    for (int c = 0; c < channels; ++c) {
      dc_remove_step<input_bits>(x_prev[c], y_prev[c], channel[c].in[start + i]);
      y[c][i] = y_prev[c];
    }
  for (int c = 0; c < channels; ++c) {
    channel[c].filter->x_prev = x_prev[c];
    channel[c].filter->y_prev = y_prev[c];
  }
}

template <int channels>
void remove_24(const dc_remove_channel* channel, int n) {
  for_each_block(n, [=](int start, int count) {
    int64_t y[channels][kBlockFrames];
    filter_into<5, channels>(channel, y, start, count);
    for (int c = 0; c < channels; ++c)
      kernels().scale_down_5(y[c], channel[c].out + start, count);  // 31 in all
  });
}

}  // namespace

void dc_remove_block_24(dc_remove* filter, const int* in, int* out, int n) {
  const dc_remove_channel channel = {filter, in, out};
  remove_24<1>(&channel, n);
}

void dc_remove_two_16(const dc_remove_channel* two, int n) {
  for_each_block(n, [=](int start, int count) {
    int64_t y[2][kBlockFrames];
    filter_into<13, 2>(two, y, start, count);
    for (int c = 0; c < 2; ++c)
      for (int i = 0; i < count; ++i)
        two[c].out[start + i] = scale_down_wrapping<13>(y[c][i]);  // 39 in all
  });
}

void dc_remove_two_24(const dc_remove_channel* two, int n) { remove_24<2>(two, n); }
