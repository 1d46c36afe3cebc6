// The gramophone's shaping in vectors: included behind the vocabulary of an instruction set, in the
// one file that is compiled for it. All pieces are worked out and one is chosen, as in the step;
// what wraps or saturates where a piece isn't chosen doesn't matter.
#pragma once

#include "dsp/kernels/overdrive.h"

namespace {

inline vector overdrive(vector x) {
  const vector d = wrap_add(x, x), a = magnitude(d), ceiling = splat(kCeiling);
  const vector t = wrap_sub(splat(2 * kCeiling), wrap_add(wrap_add(a, a), a));
  // A third of 1..2^25, rounded down: x (2^31 + 1) / 3 / 2^31.
  const vector bend = saturated_product<31>(saturated_product<23>(t, t), splat(715827883));
  const vector bent = where_greater(a, splat(kSoftLimit), ceiling, wrap_sub(ceiling, bend));
  const vector loud = where_greater(d, splat(0), bent, negative(bent));
  return where_greater(a, splat(kLinearLimit), loud, wrap_add(d, d));
}

inline vector bit_shift(vector y) {
  const vector low = both_bits(y, splat(0xFFFF));
  return wrap_add(y, where_greater(splat(0), y, wrap_sub(low, splat(0xFFFF)), low));
}

inline void shape(const int* in, int* out, int n) {
  in_vectors(n, [=](int i, auto words) {
    store(out + i, bit_shift(overdrive(load(in + i, words))), words);
  });
}

}  // namespace
