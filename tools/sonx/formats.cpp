#include "formats.h"

#include <hp/sonx_hp_effect.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace sonx {

namespace {

// Bits below the sign of a full-scale sample.
int value_bits(int format) {
  switch (format) {
    case SONX_FORMAT_16_BIT:
      return 15;
    case SONX_FORMAT_32_BIT:
      return 31;
    default:
      return 23;
  }
}

int32_t to_integer(float x, double scale) {
  if (std::isnan(x)) return 0;
  return static_cast<int32_t>(std::clamp(std::rint(x * scale), -scale, scale - 1.0));
}

}  // namespace

short to_16_bits(float sample) { return static_cast<short>(to_integer(sample, 32768.0)); }

period_buffer::period_buffer(int format, size_t frames)
    : format_(format),
      samples_(2 * frames),
      bytes_(samples_ * (format == SONX_FORMAT_16_BIT ? sizeof(int16_t) : sizeof(int32_t))) {}

void period_buffer::encode(const float* stereo) {
  const double scale = std::ldexp(1.0, value_bits(format_));
  for (size_t i = 0; i < samples_; ++i) {
    const int32_t word = to_integer(stereo[i], scale);
    if (format_ == SONX_FORMAT_16_BIT) {
      const int16_t half = static_cast<int16_t>(word);
      std::memcpy(&bytes_[i * sizeof half], &half, sizeof half);
    } else {
      std::memcpy(&bytes_[i * sizeof word], &word, sizeof word);
    }
  }
}

void period_buffer::decode(float* stereo, int32_t* words) const {
  const int bits = value_bits(format_);
  const double step = std::ldexp(1.0, -bits);
  const int32_t limit = static_cast<int32_t>((int64_t{1} << bits) - 1);
  for (size_t i = 0; i < samples_; ++i) {
    int32_t word = 0;
    if (format_ == SONX_FORMAT_16_BIT) {
      int16_t half = 0;
      std::memcpy(&half, &bytes_[i * sizeof half], sizeof half);
      word = half;
    } else {
      std::memcpy(&word, &bytes_[i * sizeof word], sizeof word);
    }
    stereo[i] = static_cast<float>(word * step);
    words[i] = std::clamp(word, -limit - 1, limit) * (1 << (31 - bits));
  }
}

}  // namespace sonx
