// What a host's audio thread does with a rack: noise in each of the formats, in periods above the
// rack's 480 frames, which are split, and odd ones.
#pragma once

#include <sonx/rack.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "support/stack_of.h"

class noise_player {
 public:
  explicit noise_player(sonx_rack* rack) : rack_(rack) {}

  void operator()(int block) {
    constexpr int kPeriods[] = {kFrames, 441, 255};
    const int frames = kPeriods[block % 3];
    for (int32_t& word : words_)
      word = static_cast<int32_t>(value_ = value_ * 1664525u + 1013904223u);
    for (size_t i = 0; i < floats_.size(); ++i)
      floats_[i] = static_cast<float>(words_[i]) * 0x1p-31f;
    for (size_t i = 0; i < shorts_.size(); ++i) shorts_[i] = static_cast<int16_t>(words_[i] >> 16);
    float* const channels[] = {floats_.data(), floats_.data() + kFrames};
    sonx_rack_process_s32(rack_, words_.data(), 2, frames);
    sonx_rack_process_f32(rack_, channels, channels, 2, frames);
    sonx_rack_process_s16(rack_, shorts_.data(), 1, frames);
    if (block == 200) sonx_rack_reset(rack_);
  }

 private:
  static constexpr int kFrames = 500;

  sonx_rack* rack_;
  unsigned value_ = 1;
  std::vector<int32_t> words_ = std::vector<int32_t>(2 * kFrames);
  std::vector<float> floats_ = std::vector<float>(2 * kFrames);
  std::vector<int16_t> shorts_ = std::vector<int16_t>(2 * kFrames);
};

// Bytes of stack that the calls of a rack take whose one effect stands at its defaults, at each of its
// choices and with each number at its ends.
inline int stack_of_process(sonx_rack* rack, const sonx_effect* effect) {
  noise_player play(rack);
  int most = stack_of(play, 200);
  for (int p = 0; p < effect->parameter_count; ++p) {
    const sonx_parameter& its = effect->parameters[p];
    const int values = std::max(its.choice_count, 2);
    for (int v = 0; v < values; ++v) {
      sonx_rack_set(rack, 0, p, its.minimum + (its.maximum - its.minimum) * v / (values - 1));
      most = std::max(most, stack_of(play, 12));
    }
    sonx_rack_set(rack, 0, p, its.initial);
  }
  return most;
}
