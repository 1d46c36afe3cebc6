#include "measure.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace sonx {

level_meter::level_meter(int rate)
    : state_(ebur128_init(2, static_cast<unsigned long>(rate),
                          EBUR128_MODE_I | EBUR128_MODE_SAMPLE_PEAK)) {
  if (!state_) throw std::runtime_error("cannot measure loudness at this rate");
}

void level_meter::add(const float* stereo, size_t frames) {
  if (ebur128_add_frames_float(state_.get(), stereo, frames) != EBUR128_SUCCESS) {
    throw std::runtime_error("the loudness measurement failed");
  }
}

levels level_meter::result() const {
  double left = 0;
  double right = 0;
  levels result{};
  if (ebur128_sample_peak(state_.get(), 0, &left) != EBUR128_SUCCESS ||
      ebur128_sample_peak(state_.get(), 1, &right) != EBUR128_SUCCESS ||
      ebur128_loudness_global(state_.get(), &result.lufs) != EBUR128_SUCCESS) {
    throw std::runtime_error("the loudness measurement failed");
  }
  result.peak_dbfs = to_decibels(std::max(left, right));
  return result;
}

void step_meter::add(const float* stereo, size_t frames, float* largest) {
  for (size_t i = 0; i < frames; ++i) {
    const float left = stereo[2 * i];
    const float right = stereo[2 * i + 1];
    if (largest != nullptr) {
      *largest = std::max({*largest, std::abs(left - last_left_), std::abs(right - last_right_)});
    }
    last_left_ = left;
    last_right_ = right;
  }
}

std::string decibels(double value) {
  if (!std::isfinite(value)) return "-inf";
  char text[32];
  std::snprintf(text, sizeof text, "%.1f", value);
  return text;
}

std::string clipping_note(const levels& out) {
  if (!(out.peak_dbfs > 0)) return "";
  return "the output goes " + decibels(out.peak_dbfs) +
         " dB beyond full scale: clipped in the file\n";
}

double to_decibels(double amplitude) { return 20.0 * std::log10(amplitude); }

}  // namespace sonx
