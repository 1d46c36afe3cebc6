// The complex product of the transform's stages.
#pragma once

#include "dsp/fft_int.h"
#include "fixed.h"

// a b / 2^28, rounded down; wraps at 64 bits.
constexpr complex multiply_q28(const complex& a, const complex& b) {
  return {wrap_sub64(wrap_mul64(a.re, b.re), wrap_mul64(a.im, b.im)) >> 28,
          wrap_add64(wrap_mul64(a.im, b.re), wrap_mul64(a.re, b.im)) >> 28};
}
