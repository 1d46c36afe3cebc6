// The karaoke chain's own stages, sample by sample.
#pragma once

#include <algorithm>

#include "fixed.h"
#include "ktv/gramophone.h"
#include "ktv/howling_internal.h"
#include "ktv/iirecho.h"

namespace plain {

inline void gramophone(struct gramophone* g, int* in, int* out, int n) {
  for (int i = 0; i < n; ++i) {
    int x = in[i];
    overdrive_process(&x, &x);
    bit_shift_porocess(&x, &x);
    elliptic_process(g->filter, &x, &out[i]);
  }
}

inline void echo(iirecho* e, int* in_left, int* in_right, int* out_left, int* out_right, int n) {
  for (int i = 0; i < n; ++i) {
    const int x = in_left[i], y = in_right[i];
    const int loop_x = iircomber_process(x, e->comb_left);
    const int loop_y = iircomber_process(y, e->comb_right);
    out_left[i] = scale_down_wrapping<13>(mac(int64_t{e->dry} * x, e->wet, loop_x));
    out_right[i] = scale_down_wrapping<13>(mac(int64_t{e->dry} * y, e->wet, loop_y));
  }
}

inline void howling(howlingCancel* c, int* in, int* out, int n) {
  int64_t& pending = c->analyser->samples_pending;
  for (int i = 0; i < n; ++i) {
    int heard = std::clamp(in[i], -0xFFFFFF, 0xFFFFFF), x = in[i];
    dc_remove_process_24(c->dc, &heard, &heard);
    elliptic_process(c->low_pass, &heard, &heard);
    if (pending % 2 == 0) c->frame[128 + pending / 2] = heard;
    for (int k = 0; k < kPlaces; ++k) {
      howling_place& place = c->places[k];
      int notched = 0;
      notch_process(&c->notches[k], &x, &notched);
      place.depth = std::clamp(place.depth + place.depth_step, 0, kFullDepth);
      x = saturate32(x + ((int64_t{notched} - x) * place.depth >> 20));
    }
    apply_reserves(c, &x, 1);
    out[i] = x;
    if (++pending < 256) continue;
    pending = 0;
    follow_howls(c);  // no samples left in it
    std::copy_n(c->frame + 128, 128, c->frame);
  }
}

}  // namespace plain
