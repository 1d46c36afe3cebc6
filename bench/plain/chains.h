// The two chains: the stages that are on, in the chain's order, each in its plain form over the
// block, because the dynamics among them measure blocks; samples converted one by one before the
// first and after the last. A block has at most 256 frames.
#pragma once

#include "dsp/sample_formats.h"
#include "hp/sonx_hp_handle.h"
#include "ktv/teka_audio_tx_ktv.h"
#include "plain/bass.h"
#include "plain/filters.h"
#include "plain/karaoke.h"

namespace plain {

[[gnu::noinline]] inline void smooth_volume_sample(smooth_volume_t* s, int* left, int* right) {
  *left = saturate32(int64_t{*left} * s->soft_volume >> 13);
  *right = saturate32(int64_t{*right} * s->soft_volume >> 13);
  if (s->soft_volume == s->volume) return;
  const int slow = s->shift & 31, fast = (s->shift - 2) & 31;
  const auto far = [=](int exponent) {
    return std::abs(int64_t{wrap_sub(s->volume, s->soft_volume)}) >= int64_t{1} << exponent;
  };
  const auto approach = [=](int bits) {
    s->soft_volume = wrap_add(s->soft_volume, wrap_sub(s->volume, s->soft_volume) >> bits);
  };
  approach(slow);
  if (!far(slow)) approach(fast);
  if (!far(fast)) s->soft_volume = s->volume;
}

// Whatever fades or switches lies behind: the counter is at rest. Neither the balance nor the smart
// volume is on: no effect type switches them on.
inline void headphone_stages(teka_hp_effect_t* c, int* left, int* right, int n) {
  if (c->vbs->status) virtual_bass(c->vbs, left, right, left, right, n);
  if (c->p_eq->status)
    parameter_equalizer(c->p_eq, left, right, left, right, n);
  else if (c->eq->status)
    equalizer(c->eq, left, right, left, right, n);
  if (c->sws->status)
    stereo_widening(c->sws, left, right, left, right, n);
  else if (c->reverb->status)
    reverb(c->reverb, left, right, left, right, n);
  compressor(c->comp, left, right, left, right, n);
  for (int i = 0; i < n; ++i) smooth_volume_sample(c->sv, &left[i], &right[i]);
}

// Interleaved 16-bit samples, in place.
inline void headphone_chain(sonx_hp_handle_t* handle, short* buffer, int n) {
  int *left = handle->work_left, *right = handle->work_right;
  for (int i = 0; i < n; ++i) {
    left[i] = buffer[2 * i] * 256;
    right[i] = buffer[2 * i + 1] * 256;
  }
  headphone_stages(&handle->chain, left, right, n);
  for (int i = 0; i < n; ++i) {
    buffer[2 * i] = saturate16(static_cast<int>((int64_t{left[i]} + 128) >> 8));
    buffer[2 * i + 1] = saturate16(static_cast<int>((int64_t{right[i]} + 128) >> 8));
  }
}

// 16-bit samples, a voice in, both channels out.
inline void karaoke_chain(teka_audio_tx_ktv_t* c, short* in, short* out_left, short* out_right,
                          int n) {
  int *left = c->buf_left, *right = c->buf_right;
  for (int i = 0; i < n; ++i) left[i] = from_16_bit(in[i]);
  if (c->howling->status) howling(c->howling, left, left, n);
  if (c->gramophone->status) gramophone(c->gramophone, left, left, n);
  if (c->eq->status) equalizer_mono(c->eq, left, left, n);
  for (int i = 0; i < n; ++i) right[i] = left[i];
  if (c->reverb->status) reverb(c->reverb, left, right, left, right, n);
  if (c->iirecho->status) echo(c->iirecho, left, right, left, right, n);
  if (c->compressor->status) compressor(c->compressor, left, right, left, right, n);
  for (int i = 0; i < n; ++i) {
    out_left[i] = to_16_bit(left[i]);
    out_right[i] = to_16_bit(right[i]);
  }
}

}  // namespace plain
