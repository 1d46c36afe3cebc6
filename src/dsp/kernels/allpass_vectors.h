// The all-pass in vectors: included behind the vocabulary of an instruction set, in the one file
// that is compiled for it. Half a sample is a shift, which can't saturate; the sums can.
#pragma once

#include "dsp/kernels/allpass.h"

namespace {

inline vector half(vector x) { return silence_minus_one(shift_right<1>(x)); }

void run(int* cells, int* samples, int count) {
  in_vectors(count, [=](int i, auto words) {
    const vector x = load(samples + i, words);
    const vector y = saturate_add(load(cells + i, words), half(x));
    store(cells + i, saturate_sub(x, half(y)), words);
    store(samples + i, y, words);
  });
}

}  // namespace
