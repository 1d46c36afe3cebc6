#include "dsp/kernels/notch.h"

#include "dsp/block.h"
#include "dsp/kernels/kernels.h"

// The rule for -1 in a pass of its own keeps the recursion free of selects.
void notch_block(notch* filter, const int* in, int* out, int n) {
  notch_registers registers(filter);
#pragma GCC unroll 2
  for (int i = 0; i < n; ++i) out[i] = wrap32(notch_step(registers, in[i]));
  registers.store(filter);
  for (int i = 0; i < n; ++i) out[i] = silence_minus_one(out[i]);
}

void portable::notch_row(notch_share* row, int count, int* x, int n) {
  for_each_block(n, [=](int64_t start, int frames) {
    int notched[kBlockFrames];
    for (notch_share* next = row; next < row + count; ++next) {
      notch_block(next->filter, x + start, notched, frames);
      kernels().fade(&next->share, notched, x + start, frames);
    }
  });
}

bool load_lanes(notch_lanes* lanes, const notch_share* row) {
  const auto fits = [](int64_t x) { return x == wrap32(x); };
  bool all_fit = true;
  for (int k = 0; k < kNotchLanes; ++k) {
    const notch_registers r(row[k].filter);
    const fade_share share = row[k].share;
    lanes->freq[k] = r.freq;
    lanes->pole[k] = r.pole;
    lanes->radius_squared[k] = r.radius_squared;
    lanes->x1[k] = r.x1;
    lanes->x2[k] = r.x2;
    lanes->y1[k] = r.y1;
    lanes->y2[k] = r.y2;
    lanes->residue[k] = r.residue;
    lanes->depth[k] = share.depth_q20;
    lanes->step[k] = share.step_q20;
    all_fit &= fits(r.pole) && fits(r.radius_squared) && fits(r.x1) && fits(r.x2) &&
               share.depth_q20 >= 0 && share.depth_q20 <= kFadeFull &&
               share.step_q20 >= -kFadeFull && share.step_q20 <= kFadeFull;
  }
  return all_fit;
}

void store_lanes(const notch_lanes& lanes, notch_share* row) {
  for (int k = 0; k < kNotchLanes; ++k) {
    notch_registers r(row[k].filter);
    r.x1 = wrap32(lanes.x1[k]);
    r.x2 = wrap32(lanes.x2[k]);
    r.y1 = lanes.y1[k];
    r.y2 = lanes.y2[k];
    r.residue = lanes.residue[k];
    r.store(row[k].filter);
    row[k].share.depth_q20 = wrap32(lanes.depth[k]);
  }
}
