// Reverb and stereo widening, sample by sample.
#pragma once

#include "effects/reverb.h"
#include "effects/stereo_widening_system.h"
#include "fixed.h"

namespace plain {

template <int combs, int allpasses>
inline int bank(comber* const (&comb)[combs], allpass* const (&section)[allpasses], int x) {
  int sum = 0;
  for (comber* c : comb) sum = wrap_add(sum, comb_process_24(x, c));
  for (allpass* s : section) sum = allpass_process(sum, s);
  return sum;
}

inline void reverb(reverb_t* r, int* in_left, int* in_right, int* out_left, int* out_right, int n) {
  for (int i = 0; i < n; ++i) {
    const int x = in_left[i], y = in_right[i];
    const int tail_x = bank(r->comb_left, r->allpass_left, scale_down<13>(int64_t{r->gain} * x));
    const int tail_y = bank(r->comb_right, r->allpass_right, scale_down<13>(int64_t{r->gain} * y));
    const auto mix = [=](int in, int own, int other) {
      return saturate32(mac(mac(int64_t{in} * r->dry_scaled, own, r->wet1), other, r->wet2) >> 13);
    };
    int left = mix(x, tail_x, tail_y), right = mix(y, tail_y, tail_x);
    dc_remove_process_24(r->dc_left, &left, &out_left[i]);
    dc_remove_process_24(r->dc_right, &right, &out_right[i]);
  }
}

inline int through(IIR* section, int x) {
  IIR_process_32(section, &x, &x);
  return x;
}

inline void difference(difference_circuit* c, int* left, int* right) {
  int a = *left, b = *right;
  for (int k = 0; k < 3; ++k) {
    a = through(c->section[k], a);
    b = through(c->section[3 + k], b);
  }
  const int s = wrap_add(a, b), d = wrap_sub(a, b);
  const int low = through(c->section[7], d), high = through(c->section[8], d);
  const int mid_band = through(c->section[9], s), mid_low = through(c->section[10], s);
  const int mid = wrap_add(wrap_add(s, mid_band >> 2), mid_low) >> 1;
  const int bass = wrap_sub(wrap_add(wrap_shl(low, 1), d >> 1), low >> 1);
  const int side = saturate32(int64_t{wrap_add(high, bass)} * c->side_gain >> 13);
  *left = wrap_add(wrap_add(mid, a >> 2), side);
  *right = wrap_sub(wrap_add(mid, b >> 2), side);
}

inline void crossfeed(crossfeed_network* c, int* left, int* right) {
  const int x = *left, y = *right;
  const int from_x = through(c->lowpass_left, audio_delay_process(c->delay_left, x));
  const int from_y = through(c->lowpass_right, audio_delay_process(c->delay_right, y));
  const auto mix = [=](int direct, int other, int high) {
    return saturate_add(saturate_add(direct, saturate32(int64_t{c->gain} * other >> 13)),
                        saturate32(int64_t{c->gain} * high >> 15));
  };
  *left = mix(through(c->allpass_left, x), from_y, through(c->highpass_left, x));
  *right = mix(through(c->allpass_right, y), from_x, through(c->highpass_right, y));
}

inline void reflect(early_reflector* r, int* left, int* right) {
  const int x = *left, y = *right;
  const auto mix = [=](int in, int wet) {
    return saturate_add(saturate32(int64_t{r->wet_gain} * wet >> 13),
                        saturate32(int64_t{r->dry_gain} * in >> 13));
  };
  const int fed_x = through(r->highpass_left, silence_minus_one(x >> 2));
  const int fed_y = through(r->highpass_right, silence_minus_one(y >> 2));
  *left = mix(x, bank(r->comb_left, r->allpass_left, fed_x));
  *right = mix(y, bank(r->comb_right, r->allpass_right, fed_y));
  dc_remove_process_24(r->dc_left, left, left);
  dc_remove_process_24(r->dc_right, right, right);
}

inline void stereo_widening(stereo_widening_system* s, int* in_left, int* in_right, int* out_left,
                            int* out_right, int n) {
  for (int i = 0; i < n; ++i) {
    int left = in_left[i], right = in_right[i];
    difference(s->difference, &left, &right);
    crossfeed(s->crossfeed, &left, &right);
    reflect(s->reflector, &left, &right);
    out_left[i] = left;
    out_right[i] = right;
  }
}

}  // namespace plain
