// Weighted sums in vectors: included behind the vocabulary of an instruction set, in the one file
// that is compiled for it.
#pragma once

#include "dsp/kernels/mix.h"

namespace {

inline void mix_three(const mix_input* three, int* out, int n) {
  const mix_input a = three[0], b = three[1], c = three[2];
  const vector gain_a = splat(a.gain), gain_b = splat(b.gain), gain_c = splat(c.gain);
  in_vectors(n, [=](int i, auto words) {
    product_sums sums;
    sums.add(load(a.samples + i, words), gain_a);
    sums.add(load(b.samples + i, words), gain_b);
    sums.add(load(c.samples + i, words), gain_c);
    store(out + i, sums.saturated<13>(), words);
  });
}

inline void mix_wrapping(const mix_input* inputs, int count, int* out, int n) {
  in_vectors(n, [=](int i, auto words) {
    product_sums sums;
    for (const mix_input* in = inputs; in < inputs + count; ++in)
      sums.add(load(in->samples + i, words), splat(in->gain));
    store(out + i, silence_minus_one(sums.wrapped<13>()), words);
  });
}

}  // namespace
