// The dynamics. They measure a block before they set its gain, so the interface has no calls for
// one sample: here each sample is measured, and later multiplied, by a call of its own, with what
// it changes in memory (the record, or a meter beside it).
#pragma once

#include <algorithm>
#include <cstdlib>

#include "dsp/fixed_math.h"
#include "effects/compressor.h"
#include "effects/compressor_bass.h"
#include "effects/smart_volume_control.h"
#include "fixed.h"
#include "square_root.h"

namespace plain {

// ---- Dynamic range control, and the compressor, which is two of them.

struct level_meter {
  uint32_t largest = 0;
  int64_t sum = 0;
};

[[gnu::noinline]] inline void measure(level_meter* meter, int x) {
  const uint32_t magnitude = x < 0 ? 0u - static_cast<uint32_t>(x) : static_cast<uint32_t>(x);
  meter->largest = std::max(meter->largest, magnitude);
  meter->sum += magnitude;
}

inline int followed(int follower, int level, int rise_order, int fall_order) {
  const int distance = wrap_sub(level, follower);
  return wrap_add(follower, shift_right(distance, distance > 0 ? rise_order : fall_order));
}

// Both slews' steps, Q17.
inline int slewed_gain(int gain, int target) {
  const int64_t rise = int64_t{target} - gain, fall = -rise;
  if (rise > 64) {
    int order = 6;
    for (int64_t far = 1024; order < 11 && rise > far; far *= 2) ++order;
    return static_cast<int>(
        std::min<int64_t>(gain + std::max<int64_t>(gain >> 12, rise >> order), target));
  }
  if (fall > 32) {
    const int order = fall > 8192 ? 10 : fall > 4096 ? 9 : fall > 2048 ? 8 : fall > 1024 ? 6 : 5;
    const int64_t least = (int64_t{gain} + (gain >> 1)) >> 11;
    return static_cast<int>(std::max<int64_t>(gain - std::max(least, fall >> order), target));
  }
  if (rise >= 8) return gain + static_cast<int>(rise >> 3);
  if (fall >= 8) return gain - static_cast<int>(fall >> 3);
  return target;
}

inline int slewed_gate(int gate, int target) {
  const int64_t rise = int64_t{target} - gate;
  if (rise > 0 && rise < 8) return target;
  return static_cast<int>(gate + (rise > 0 ? rise >> 3 : rise >> 5));
}

[[gnu::noinline]] inline int controlled(dynamic_range_control_t* drc, int target, int gate_target,
                                        int x) {
  drc->gain = slewed_gain(drc->gain, target);
  drc->denoise_gain = slewed_gate(drc->denoise_gain, gate_target);
  const int gain = saturate32((int64_t{drc->denoise_gain} * drc->gain) >> 17);
  return scale_down<17>(int64_t{audio_delay_process(drc->delay, x)} * gain);
}

// The block's target, Q17, out of the level of its peak. history_len is not negative here.
inline int block_target(dynamic_range_control_t* drc, int peak) {
  drc->peak_env = followed(drc->peak_env, saturate32((int64_t{peak} * drc->volume) >> 13),
                           drc->attact_order, drc->release_order);
  int target = drc->volume;
  if (drc->peak_env > drc->threshold) {
    const int64_t limit = wrap_div64(int64_t{drc->threshold} * drc->volume, drc->peak_env);
    drc->peak_env = drc->threshold;
    target = wrap32(wrap_mul64(limit, 7936) >> 13);
  } else if (const int present = drc->gain >> 4; drc->volume > present) {
    target = present + (wrap_sub(drc->volume, present) >> 1);
  }
  target = saturate32(int64_t{target} * 16);
  drc->recent_targets[0] = drc->recent_targets[1];
  drc->recent_targets[1] = drc->recent_targets[2] = target;

  int* const last = drc->history + drc->history_len;
  *last = target;
  const int smallest = *std::min_element(drc->history, last + 1);
  std::copy(drc->history + 1, last + 1, drc->history);
  return smallest;
}

inline void dynamic_range_control(dynamic_range_control_t* drc, int* in, int* out, int n) {
  level_meter meter;
  for (int i = 0; i < n; ++i) measure(&meter, in[i]);
  const int mean = n > 0 ? wrap32(meter.sum / n) : 0;
  drc->mean_env = followed(drc->mean_env, mean, 4, 5);
  int gate = 8192;
  if (drc->mean_env < drc->denoise_threshold)
    gate = std::max(wrap_div(wrap_mul(drc->mean_env, 8192), drc->denoise_threshold), 1536);
  const int target = block_target(drc, static_cast<int>(meter.largest >> 8));
  for (int i = 0; i < n; ++i) out[i] = controlled(drc, target, gate * 16, in[i]);
}

inline void compressor(compressor_t* c, int* in_left, int* in_right, int* out_left, int* out_right,
                       int n) {
  dynamic_range_control(c->left, in_left, out_left, n);
  dynamic_range_control(c->right, in_right, out_right, n);
}

// ---- The bass compressor.

[[gnu::noinline]] inline void note_peak(int* peak, int x) {
  *peak = std::max(*peak, x < 0 ? wrap_neg(x) : x);
}

inline int bass_target(const compressor_bass* c, int peak) {
  if (c->level > 90112) return 18432;
  if (c->level > 65536) return 47104;
  if (c->level > 32768) return 71680;
  if (peak <= 24576) return c->default_gain;
  const unsigned int third = static_cast<unsigned int>(int64_t{peak} * 2 / 3);
  const unsigned int root = sqrtFxQ16(2 * sqrtFxQ16(third));
  return wrap32(int64_t{402653184u / static_cast<unsigned int>(peak)} * 15 * root >> 17);
}

[[gnu::noinline]] inline int bass_compressed(compressor_bass* c, int target, int x) {
  c->gain = target < c->gain ? wrap_sub(c->gain, wrap_sub(c->gain, target) >> 7)
                             : wrap_add(c->gain, wrap_sub(target, c->gain) >> 9);
  if (c->gain < 32) c->gain = 0;
  return scale_down<17>(int64_t{x} * c->gain);
}

inline void bass_compressor(compressor_bass* c, int* in, int* out, int n) {
  int peak = 0;
  for (int i = 0; i < n; ++i) note_peak(&peak, in[i]);
  peak >>= 8;
  c->level = c->level < peak ? peak : wrap_sub(c->level, wrap_sub(c->level, peak) >> 5);
  const int target = bass_target(c, peak);
  for (int i = 0; i < n; ++i) out[i] = bass_compressed(c, target, in[i]);
}

// ---- Smart volume.

struct band_meter {
  int64_t energy[4] = {};
};

[[gnu::noinline]] inline void measure_bands(band_meter* meter, IIR* const* low_pass, int x) {
  for (int k = 0; k < 3; ++k) {
    int band = 0;
    IIR_process_32(low_pass[k], &x, &band);
    x = saturate_sub(x, band);
    meter->energy[k] = mac(meter->energy[k], band, band);
  }
  meter->energy[3] = mac(meter->energy[3], x, x);
}

inline int64_t weighted(const band_meter& meter, const int* band_shift) {
  int64_t total = 0;
  for (int k = 0; k < 4; ++k) {
    const auto right = static_cast<int16_t>(band_shift[k]);
    total = wrap_add64(
        total, right >= 0
                   ? shift_right64(meter.energy[k], right)
                   : static_cast<int64_t>(static_cast<uint64_t>(meter.energy[k]) << (-right & 63)));
  }
  return total;
}

// The block's gain, Q13.
inline int volume_gain(smart_volume_control_t* c, int64_t loudness) {
  if (loudness <= c->energy_floor) return c->gain >> 4;
  c->hold_count = 0;
  const int64_t distance = wrap_sub64(loudness, c->energy_est);
  c->energy_est = wrap_add64(
      c->energy_est, shift_right64(distance, distance > 0 ? c->attack_order : c->release_order));
  int gain = 8192;
  const bool quiet = c->energy_est < (c->energy_target >> 1);
  if (quiet || c->energy_est > wrap_mul64(c->energy_target, 2)) {
    const int64_t ratio =
        wrap_div64(wrap_mul64(c->energy_target, quiet ? 448 : 640), c->energy_est);
    gain = (sqrt_fixed(static_cast<uint32_t>(ratio) * 2) & 0xFFFF) << 8;
  }
  gain = std::clamp(gain, 2048, 32768);
  const int boosted = saturate32((int64_t{gain} * c->peak_env) >> 13);
  if (boosted <= 32768) return gain;
  return std::max((boosted > 49152 ? 24576 : 28672) * 8192 / c->peak_env, 8192);
}

[[gnu::noinline]] inline void set_volume(smart_volume_control_t* c, int target, int* left,
                                         int* right) {
  c->gain = target < c->gain ? wrap_sub(c->gain, wrap_sub(c->gain, target) >> 5)
                             : wrap_add(c->gain, wrap_sub(target, c->gain) >> 7);
  if (c->gain < 32) c->gain = 0;
  *left = scale_down<17>(int64_t{*left} * c->gain);
  *right = scale_down<17>(int64_t{*right} * c->gain);
}

inline void smart_volume(smart_volume_control_t* c, int* in_left, int* in_right, int* out_left,
                         int* out_right, int n) {
  int peak = 0;
  band_meter left, right;
  for (int i = 0; i < n; ++i) {
    note_peak(&peak, in_left[i]);
    note_peak(&peak, in_right[i]);
    measure_bands(&left, c->low_pass_left, in_left[i]);
    measure_bands(&right, c->low_pass_right, in_right[i]);
  }
  peak >>= 8;
  c->peak_env = peak > c->peak_env ? peak : wrap_add(c->peak_env, wrap_sub(peak, c->peak_env) >> 9);
  const int64_t loudness =
      std::max(weighted(left, c->band_shift), weighted(right, c->band_shift)) >> 24;
  const int target = saturate32(int64_t{volume_gain(c, loudness)} * 16);
  for (int i = 0; i < n; ++i) {
    int x = in_left[i], y = in_right[i];
    set_volume(c, target, &x, &y);
    out_left[i] = x;
    out_right[i] = y;
  }
}

}  // namespace plain
