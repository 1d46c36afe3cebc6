// The planar sample formats of the chains' callers, to and from 24-bit samples in 32-bit words.
#pragma once

#include <algorithm>

#include "fixed.h"

// 16-bit samples: 8 bits up in, rounded down and saturated out.
constexpr int from_16_bit(short word) { return word * 256; }
constexpr short to_16_bit(int sample) { return saturate16(sample >> 8); }

// 32-bit words with the sample 4 bits up: the low bits are dropped; out, the sample itself is
// clamped to the symmetric range first.
constexpr int from_28_bit(int word) { return word >> 4; }
constexpr int to_28_bit(int& sample) {
  sample = std::clamp(sample, -8388607, 8388607);
  return sample * 16;
}
