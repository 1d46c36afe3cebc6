// The equalizers, sample by sample.
#pragma once

#include "effects/equalizer.h"
#include "effects/parameter_equalizer.h"
#include "fixed.h"

namespace plain {

inline void equalizer(equalizer_t* e, int* in_left, int* in_right, int* out_left, int* out_right,
                      int n) {
  for (int i = 0; i < n; ++i) {
    int left = scale_down<13>(int64_t{e->gain} * in_left[i]);
    int right = scale_down<13>(int64_t{e->gain} * in_right[i]);
    for (IIR* section : e->left_section) IIR_process_32(section, &left, &left);
    for (IIR* section : e->right_section) IIR_process_32(section, &right, &right);
    out_left[i] = left;
    out_right[i] = right;
  }
}

inline void equalizer_mono(equalizer_t* e, int* in, int* out, int n) {
  for (int i = 0; i < n; ++i) {
    int x = scale_down<13>(int64_t{e->gain} * in[i]);
    for (IIR* section : e->left_section) IIR_process_32(section, &x, &x);
    out[i] = x;
  }
}

// The interface has no call for one band: this is what one would do, on the record's arrays.
[[gnu::noinline]] inline void band_process(const int* coef, int* state, int* in, int* out) {
  state[0] = *in;
  int64_t sum = 0;
  for (int k = 0; k < 5; ++k) sum = mac(sum, coef[k], state[k]);
  state[2] = state[1];
  state[1] = state[0];
  state[4] = state[3];
  *out = state[3] = wrap32(sum >> 28);
}

inline void parameter_equalizer(parameter_equalizer_t* e, int* in_left, int* in_right,
                                int* out_left, int* out_right, int n) {
  for (int i = 0; i < n; ++i) {
    int left = scale_down<13>(int64_t{e->gain_left} * in_left[i]);
    int right = scale_down<13>(int64_t{e->gain_right} * in_right[i]);
    for (int k = 0; k < e->band_count_left; ++k)
      band_process(e->coef_left[k], e->state_left[k], &left, &left);
    for (int k = 0; k < e->band_count_right; ++k)
      band_process(e->coef_left[k], e->state_right[k], &right, &right);
    out_left[i] = left;
    out_right[i] = right;
  }
}

}  // namespace plain
