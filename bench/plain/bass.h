// Virtual bass and speaker boost, sample by sample but for their dynamics.
#pragma once

#include "effects/speaker_boost_system.h"
#include "effects/virtual_bass_system.h"
#include "fixed.h"
#include "plain/dynamics.h"
#include "plain/rooms.h"

namespace plain {

inline void split(spectral_band_split* s, int x, int* low, int* high) {
  *low = through(s->low[1], through(s->low[0], x));
  *high = through(s->high[1], through(s->high[0], x));
}

inline int harmonics(NLD* nld, IIR* band, int x) {
  NLD_process(nld, &x, &x);
  return through(band, x);
}

inline void nonlinear_device(NLD* nld, int* in, int* out, int n) {
  for (int i = 0; i < n; ++i) NLD_process(nld, &in[i], &out[i]);
}

// At most 256 frames: the record's buffer holds the bass.
inline void virtual_bass(virtual_bass_system* b, int* in_left, int* in_right, int* out_left,
                         int* out_right, int n) {
  for (int i = 0; i < n; ++i) {
    int low_left = 0, low_right = 0, high_left = 0, high_right = 0;
    split(b->split_left, in_left[i], &low_left, &high_left);
    split(b->split_right, in_right[i], &low_right, &high_right);
    const int low = wrap_add(low_left, low_right) >> 1;
    const int made = harmonics(b->nld, b->nld_band, low), kept = through(b->align_bass, low);
    b->bass_buffer[i] =
        silence_minus_one(saturate_add(saturate32(int64_t{b->origin_gain} * kept >> 13),
                                       saturate32(int64_t{b->nld_gain} * made >> 13)));
    out_left[i] = scale_down<13>(int64_t{b->high_band_gain} * through(b->align_left, high_left));
    out_right[i] = scale_down<13>(int64_t{b->high_band_gain} * through(b->align_right, high_right));
  }
  bass_compressor(b->bass_compressor, b->bass_buffer, b->bass_buffer, n);
  for (int i = 0; i < n; ++i) {
    out_left[i] = saturate_add(out_left[i], b->bass_buffer[i]);
    out_right[i] = saturate_add(out_right[i], b->bass_buffer[i]);
  }
}

// At most 256 frames: the record's buffers hold the bands.
inline void speaker_boost(speaker_boost_system_t* b, int* in_left, int* in_right, int* out_left,
                          int* out_right, int n) {
  const auto split_all = [](IIR* pre, spectral_band_split* const* split_at, int x, int* sub,
                            int* low, int* mid, int* high) {
    int rest = through(pre, x);
    split(split_at[0], rest, sub, &rest);
    split(split_at[1], rest, low, &rest);
    split(split_at[2], rest, mid, high);
  };
  for (int i = 0; i < n; ++i) {
    int sub_left = 0, sub_right = 0;
    split_all(b->pre_left, b->split_left, in_left[i], &sub_left, &b->low_left[i], &b->mid_left[i],
              &b->high_left[i]);
    split_all(b->pre_right, b->split_right, in_right[i], &sub_right, &b->low_right[i],
              &b->mid_right[i], &b->high_right[i]);
    const int made = harmonics(b->nld, b->nld_band, wrap_add(sub_left, sub_right) >> 1);
    b->sub_left[i] =
        audio_delay_process(b->delay_left, saturate32(int64_t{b->nld_gain_left} * made >> 13));
    b->sub_right[i] =
        audio_delay_process(b->delay_right, saturate32(int64_t{b->nld_gain_right} * made >> 13));
  }
  dynamic_range_control(b->drc_low_left, b->low_left, b->low_left, n);
  dynamic_range_control(b->drc_mid_left, b->mid_left, b->mid_left, n);
  dynamic_range_control(b->drc_high_left, b->high_left, b->high_left, n);
  dynamic_range_control(b->drc_low_right, b->low_right, b->low_right, n);
  dynamic_range_control(b->drc_mid_right, b->mid_right, b->mid_right, n);
  dynamic_range_control(b->drc_high_right, b->high_right, b->high_right, n);
  for (int i = 0; i < n; ++i) {
    b->sum_left[i] =
        wrap32(int64_t{b->sub_left[i]} + b->low_left[i] + b->mid_left[i] + b->high_left[i]);
    b->sum_right[i] =
        wrap32(int64_t{b->sub_right[i]} + b->low_right[i] + b->mid_right[i] + b->high_right[i]);
  }
  dynamic_range_control(b->drc_full_left, b->sum_left, out_left, n);
  dynamic_range_control(b->drc_full_right, b->sum_right, out_right, n);
}

}  // namespace plain
