#include "rack_player.h"

#include <algorithm>
#include <cmath>

namespace sonx {

rack_player::rack_player(const rack_recipe& recipe, int rate,
                         const std::vector<timed_assignments>& timed)
    : rack_(recipe, rate) {
  for (const timed_assignments& one : timed)
    for (const assignment& what : one.assignments)
      changes_.push_back({std::llround(one.seconds * rate), rack_.find(what)});
}

void rack_player::process(std::vector<float>& stereo, size_t channels, stopwatch& busy) {
  const size_t frames = stereo.size() / 2;
  for (size_t c = 0; c < 2; ++c) {
    planes_[c].resize(frames);
    for (size_t i = 0; i < frames; ++i) planes_[c][i] = stereo[2 * i + c];
  }
  if (channels == 1)
    for (size_t i = 0; i < frames; ++i) planes_[0][i] = (planes_[0][i] + planes_[1][i]) / 2;
  busy.time([&] { run(static_cast<int>(channels), static_cast<int64_t>(frames)); });
  for (size_t i = 0; i < frames; ++i)
    for (size_t c = 0; c < 2; ++c) stereo[2 * i + c] = planes_[std::min(c, channels - 1)][i];
}

void rack_player::run(int channels, int64_t frames) {
  for (int64_t done = 0; done < frames;) {
    for (; next_ < changes_.size() && changes_[next_].frame <= position_; ++next_)
      rack_.apply(changes_[next_].what);
    int64_t count = frames - done;
    if (next_ < changes_.size()) count = std::min(count, changes_[next_].frame - position_);
    float* const at[] = {planes_[0].data() + done, planes_[1].data() + done};
    rack_.process(at, channels, static_cast<int>(count));
    done += count;
    position_ += count;
  }
}

int32_t to_word(float sample, bool to_16) {
  const auto word = std::clamp<int64_t>(
      static_cast<int64_t>(std::ldexp(static_cast<double>(sample), 31)), INT32_MIN, INT32_MAX);
  if (!to_16) return static_cast<int32_t>(word);
  return static_cast<int32_t>(std::min<int64_t>((word + 0x8000) & ~0xFFFF, 0x7FFF0000));
}

}  // namespace sonx
