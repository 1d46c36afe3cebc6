// The all-pass in vectors: included behind the vocabulary of an instruction set.
#pragma once

#include "dsp/kernels/allpass.h"
#include "dsp/kernels/kernels.h"

namespace {

// A product with one half is a shift and can't saturate; the sums can.
inline vector half(vector x) { return silence_minus_one(shift_right<1>(x)); }

// allpass_step, cell by cell of a contiguous run.
void step_run(int* cells, int* samples, int count) {
  for_each_vector(count, [=](int i, auto lanes) {
    const vector x = load(samples + i, lanes);
    const vector y = saturate_add(load(cells + i, lanes), half(x));
    store(cells + i, saturate_sub(x, half(y)), lanes);
    store(samples + i, y, lanes);
  });
}

}  // namespace

void variant::allpass_block(allpass* section, int* samples, int n) {
  walk_allpass_of_half(section, samples, n, step_run);
}
