#include "hp/smooth_volume.h"

#include <algorithm>
#include <cstdlib>

#include "dsp/block.h"
#include "dsp/kernels/kernels.h"
#include "fixed.h"

namespace {

// One frame's step of the gain to the target, any Q. Differences wrap, shift counts are modulo 32.
inline int ramp_step(int gain, int target, int shift) {
  const int slow = shift & 31, fast = (shift - 2) & 31;
  const auto closer_than_2_to = [&](int exponent) {
    return std::abs(int64_t{wrap_sub(target, gain)}) < int64_t{1} << exponent;
  };
  gain = wrap_add(gain, wrap_sub(target, gain) >> slow);
  if (closer_than_2_to(slow)) gain = wrap_add(gain, wrap_sub(target, gain) >> fast);
  return closer_than_2_to(fast) ? target : gain;
}

}  // namespace

void smooth_volume_init(smooth_volume_t* stage) {
  stage->soft_volume = 0;
  stage->volume = kOneQ13;
  smooth_volume_set_smooth_buffer_num(stage, 2);
}

void smooth_volume_reset(smooth_volume_t* stage) {
  stage->soft_volume = wrap_sub(kOneQ13, stage->volume);
}

void smooth_volume_end(smooth_volume_t*) {}

void smooth_volume_set_volume(smooth_volume_t* stage, int volume) { stage->volume = volume; }
void smooth_volume_get_volume(smooth_volume_t* stage, int* volume) { *volume = stage->volume; }

void smooth_volume_set_soft_volume(smooth_volume_t* stage, int volume) {
  stage->soft_volume = volume;
}

void smooth_volume_set_smooth_buffer_num(smooth_volume_t* stage, int number) {
  stage->smooth_buffer_num = number;
  stage->shift = wrap_add(number, 5);
}
void smooth_volume_get_smooth_buffer_num(smooth_volume_t* stage, int* number) {
  *number = stage->smooth_buffer_num;
}

//   left, right ──► × gain ──► saturate ──► left, right
//                     ▲ Q13
//     target ──► ramp_step, each frame
//
// The gain at the target is constant, and the rest of the call runs over blocks.
void smooth_volume_process(smooth_volume_t* stage, int* in_left, int* in_right, int* out_left,
                           int* out_right, int n) {
  const int target_q13 = stage->volume, shift = stage->shift;
  int gain_q13 = stage->soft_volume;
  int i = 0;
  for (; i < n && gain_q13 != target_q13; ++i) {
    const int left = in_left[i], right = in_right[i];
    out_left[i] = saturate32(int64_t{left} * gain_q13 >> 13);
    out_right[i] = saturate32(int64_t{right} * gain_q13 >> 13);
    gain_q13 = ramp_step(gain_q13, target_q13, shift);
  }
  stage->soft_volume = gain_q13;
  if (gain_q13 == kOneQ13 && out_left == in_left && out_right == in_right) return;

  for_each_block(n - i, [=](int64_t start, int count) {
    int left[kBlockFrames], right[kBlockFrames];
    // Both are read before either is written.
    kernels().scale_q13(in_left + i + start, gain_q13, left, count);
    kernels().scale_q13(in_right + i + start, gain_q13, right, count);
    std::copy_n(left, count, out_left + i + start);
    std::copy_n(right, count, out_right + i + start);
  });
}
