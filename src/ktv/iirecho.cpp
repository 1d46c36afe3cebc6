#include "ktv/iirecho.h"

#include <algorithm>

#include "dsp/block.h"
#include "dsp/kernels/iircomber.h"
#include "dsp/kernels/kernels.h"
#include "fixed.h"
#include "ktv/memory.h"

namespace {

constexpr int kLongest = 350;        // milliseconds
constexpr int kPerMillisecond = 48;  // samples
constexpr int kSpread = 24;          // samples by which the right loop is longer

}  // namespace

void iirecho_init(iirecho* echo) {
  echo->status = 1;
  bool whole = make(echo->comb_left, iircomber_init, kLongest * kPerMillisecond);
  whole &= make(echo->comb_right, iircomber_init, kLongest * kPerMillisecond + kSpread);
  if (!whole) iirecho_end(echo);
  echo->feedback = 4096;
  echo->delay = 1;
  iirecho_update(echo);
  echo->dry = 2703;
  echo->wet = 5489;
}

void iirecho_end(iirecho* echo) {
  end_and_release(echo->comb_left, iircomber_end);
  end_and_release(echo->comb_right, iircomber_end);
}

void iirecho_update(iirecho* echo) {
  const int loop = wrap_mul(echo->delay, kPerMillisecond);
  on(echo->comb_left, iircomber_setfeedback, echo->feedback);
  on(echo->comb_right, iircomber_setfeedback, echo->feedback);
  on(echo->comb_left, iircomber_setdelay, loop);
  on(echo->comb_right, iircomber_setdelay, wrap_add(loop, kSpread));
  on(echo->comb_left, iircomber_reset);
  on(echo->comb_right, iircomber_reset);
}

void iirecho_setstatus(iirecho* echo, int status) { echo->status = status; }
void iirecho_getstatus(iirecho* echo, int* status) { *status = echo->status; }

void iirecho_setfeedback(iirecho* echo, int feedback) {
  echo->feedback = feedback;
  iirecho_update(echo);
}
void iirecho_getfeedback(iirecho* echo, int* feedback) { *feedback = echo->feedback; }

void iirecho_setdelay(iirecho* echo, int milliseconds) {
  echo->delay = std::min(milliseconds, kLongest);
  iirecho_update(echo);
}
void iirecho_getdelay(iirecho* echo, int* milliseconds) { *milliseconds = echo->delay; }

void iirecho_setwet(iirecho* echo, int gain) { echo->wet = gain; }
void iirecho_getwet(iirecho* echo, int* gain) { *gain = echo->wet; }

void iirecho_setdry(iirecho* echo, int gain) { echo->dry = gain; }
void iirecho_getdry(iirecho* echo, int* gain) { *gain = echo->dry; }

// Each channel:
//
//   in ──┬────────────────────► × dry ──► + ──► / 2^13 ──► out
//        └──► comb (the loop) ──► × wet ──┘       wraps
//             24 bit              Q13
//
// The right channel is read before the left one is written, and written last: any of the buffers may
// coincide.
void iirecho_processStereo(iirecho* echo, int* in_left, int* in_right, int* out_left,
                           int* out_right, int n) {
  if (!has_memory(echo)) return pass(in_left, in_right, out_left, out_right, n);
  const int dry = echo->dry, wet = echo->wet;
  for_each_block(n, [&](int start, int count) {
    int left[kBlockFrames], right[kBlockFrames];
    std::copy_n(in_left + start, count, left);
    std::copy_n(in_right + start, count, right);
    const iircomber_channel loops[] = {{echo->comb_left, left}, {echo->comb_right, right}};
    iircomber_two_block(loops, count);
    const mix_input mix_left[] = {{in_left + start, dry}, {left, wet}};
    const mix_input mix_right[] = {{in_right + start, dry}, {right, wet}};
    kernels().mix_wrapping_q13(mix_right, 2, right, count);
    kernels().mix_wrapping_q13(mix_left, 2, out_left + start, count);
    std::copy_n(right, count, out_right + start);
  });
}
