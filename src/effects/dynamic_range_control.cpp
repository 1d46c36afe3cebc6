#include "effects/dynamic_range_control.h"

#include <algorithm>
#include <cstdint>

#include "dsp/block.h"
#include "dsp/kernels/audio_delay.h"
#include "dsp/kernels/kernels.h"
#include "effects/gain_slew.h"
#include "effects/memory.h"
#include "fixed.h"

namespace {

constexpr int kHeadroomQ13 = 7936;   // 0.96875
constexpr int kGateFloorQ13 = 1536;  // 0.1875
constexpr int kGateStartQ17 = 8192;  // nearly closed, opens through the slew
constexpr int kMeanStart = 32767;    // sample units: above the threshold, so that the gate opens
constexpr int kMinDenoiseThreshold = 2;

void clear_followers(dynamic_range_control_t* drc) {
  drc->peak_env = 0;
  drc->denoise_gain = kGateStartQ17;
  drc->mean_env = kMeanStart;
  std::fill_n(drc->recent_targets, 3, 0);
}

}  // namespace

void dynamic_range_control_init(dynamic_range_control_t* drc, int history_len, int frame_len) {
  drc->threshold = 32767;
  drc->attact_order = 0;
  drc->release_order = 5;
  drc->volume = kOneQ13;
  drc->gain = kOneQ17;
  drc->denoise_threshold = 256;
  clear_followers(drc);
  drc->history_len = history_len;
  drc->frame_len = frame_len;
  bool whole = take(drc->history, wrap_add(history_len, 1));
  whole &= make(drc->delay, audio_delay_init, wrap_mul(frame_len, history_len));
  if (!whole) dynamic_range_control_end(drc);
}

void dynamic_range_control_reinit(dynamic_range_control_t* drc, int frame_len) {
  drc->frame_len = frame_len;
  on(drc->delay, audio_delay_reinit, wrap_mul(drc->history_len, frame_len));
}

void dynamic_range_control_reset(dynamic_range_control_t* drc) {
  clear_followers(drc);
  if (!has_memory(drc)) return;
  std::fill_n(drc->history, std::max(wrap_add(drc->history_len, 1), 0), 0);
  audio_delay_reset(drc->delay);
}

void dynamic_range_control_end(dynamic_range_control_t* drc) {
  clear_followers(drc);
  release(drc->history);
  end_and_release(drc->delay, audio_delay_end);
}

void dynamic_range_control_set_threshold(dynamic_range_control_t* drc, int threshold) {
  drc->threshold = threshold;
}
void dynamic_range_control_get_threshold(dynamic_range_control_t* drc, int* threshold) {
  *threshold = drc->threshold;
}

void dynamic_range_control_set_denoise_threshold(dynamic_range_control_t* drc, int threshold) {
  drc->denoise_threshold = std::max(threshold, kMinDenoiseThreshold);
  drc->mean_env = 0;
}
void dynamic_range_control_get_denoise_threshold(dynamic_range_control_t* drc, int* threshold) {
  *threshold = drc->denoise_threshold;
}

void dynamic_range_control_set_volume(dynamic_range_control_t* drc, int volume) {
  drc->volume = volume;
  drc->gain = saturate32(int64_t{volume} * 8);
}
void dynamic_range_control_get_volume(dynamic_range_control_t* drc, int* volume) {
  *volume = drc->volume;
}

void dynamic_range_control_set_attact_order(dynamic_range_control_t* drc, int order) {
  drc->attact_order = order;
}
void dynamic_range_control_get_attact_order(dynamic_range_control_t* drc, int* order) {
  *order = drc->attact_order;
}

void dynamic_range_control_set_release_order(dynamic_range_control_t* drc, int order) {
  drc->release_order = order;
}
void dynamic_range_control_get_release_order(dynamic_range_control_t* drc, int* order) {
  *order = drc->release_order;
}

// Once per block:
//
//   block ──┬─► mean |x| ─► follower ─► gate gain, Q13 ───────────────► << 4 ──► gate target, Q17
//           └─► peak >> 8 ─► × volume ─► follower ─► block target, Q13 ─► << 4 ─► history, Q17
//                                                                                   │ smallest
// and per sample:                                                                   ▼
//   x ─► delay, history_len × frame_len ──► × ◄── (gain × gate gain, Q17) ◄── slews, Q17
//                                           └─► >> 17, saturated, -1 becomes 0 ─► out

namespace {

struct measurement {
  int peak;  // largest |x| >> 8
  int mean;  // mean |x|
};

measurement measure(const int* x, int n) {
  const block_level level = kernels().level(x, n);
  return {static_cast<int>(level.largest >> 8), n > 0 ? wrap32(level.sum / n) : 0};
}

void follow(int& follower, int level, int rise_order, int fall_order) {
  const int distance = wrap_sub(level, follower);
  follower = wrap_add(follower, shift_right(distance, distance > 0 ? rise_order : fall_order));
}

// The gate's gain, Q13: below the threshold proportional to the mean, at least the floor. The
// product wraps.
int gate_gain_q13(const dynamic_range_control_t* drc) {
  if (drc->mean_env >= drc->denoise_threshold) return kOneQ13;
  return std::max(wrap_div(wrap_mul(drc->mean_env, kOneQ13), drc->denoise_threshold),
                  kGateFloorQ13);
}

// The block's target gain, Q13. Limiting also sets the followed peak to the threshold.
int block_target_q13(dynamic_range_control_t* drc) {
  if (drc->peak_env > drc->threshold) {
    // Brings the followed peak to the threshold.
    const int64_t limit_q13 = wrap_div64(int64_t{drc->threshold} * drc->volume, drc->peak_env);
    drc->peak_env = drc->threshold;
    return wrap32(wrap_mul64(limit_q13, kHeadroomQ13) >> 13);
  }
  const int gain_q13 = drc->gain >> 4;
  if (drc->volume <= gain_q13) return drc->volume;
  return gain_q13 + (wrap_sub(drc->volume, gain_q13) >> 1);  // upwards by half the distance
}

int q13_to_q17(int gain_q13) { return saturate32(int64_t{gain_q13} * 16); }

// Stores the newest target and returns the smallest of those that the look-ahead covers.
int look_ahead_target_q17(dynamic_range_control_t* drc, int newest) {
  int* recent = drc->recent_targets;
  recent[2] = newest;
  std::copy_n(recent + 1, 2, recent);

  if (drc->history_len < 0) return INT32_MAX;
  int* const last = drc->history + drc->history_len;
  *last = newest;
  const int smallest = *std::min_element(drc->history, last + 1);
  std::copy(drc->history + 1, last + 1, drc->history);
  return smallest;
}

}  // namespace

void dynamic_range_control_process(dynamic_range_control_t* drc, int* in, int* out, int n) {
  if (!has_memory(drc)) return pass(in, out, n);
  const measurement level = measure(in, n);
  follow(drc->mean_env, level.mean, 4, 5);
  const int gate_target_q17 = q13_to_q17(gate_gain_q13(drc));
  follow(drc->peak_env, saturate32((int64_t{level.peak} * drc->volume) >> 13), drc->attact_order,
         drc->release_order);
  const int target_q17 = look_ahead_target_q17(drc, q13_to_q17(block_target_q13(drc)));

  int gain_q17 = drc->gain, gate_q17 = drc->denoise_gain;
  for_each_block(n, [&](int start, int count) {
    int* const x = out + start;
    audio_delay_block(drc->delay, in + start, x, count);
    if (slews_rest(gain_q17, target_q17, gate_q17, gate_target_q17)) {
      const int both_q17 = saturate32(int64_t{gate_q17} * gain_q17 >> 17);
      return kernels().scale_to_silence_q17(x, both_q17, x, count);
    }
    int gains_q17[kBlockFrames], gates_q17[kBlockFrames];
    slew_block(gain_q17, target_q17, gate_q17, gate_target_q17, gains_q17, gates_q17, count);
    kernels().scale_twice_to_silence_q17(x, gains_q17, gates_q17, x, count);
  });
  drc->gain = gain_q17;
  drc->denoise_gain = gate_q17;
}

int find_current_max_drc(int* x, int* mean, int n) {
  const measurement level = measure(x, n);
  *mean = level.mean;
  return level.peak;
}
