// A room in which a microphone hears its own loudspeaker, for loops that can howl.
#pragma once

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>
#include <vector>

#include "support/signals.h"

constexpr double kRoomRate = 48000.0;
constexpr int kRoomPeriod = 240;

// A loudspeaker's resonance and four reflections on the way back to the microphone: the loop turns
// by whole circles every 76 Hz and is loudest near the resonance. Unprotected it holds up to a gain
// of about 1.
class small_room {
 public:
  small_room(double resonance, double gain) : gain_(gain) {
    const double w = 2.0 * std::numbers::pi * resonance / kRoomRate, r = 0.99;
    a1_ = -2.0 * r * std::cos(w);
    a2_ = r * r;
    b_ = (1.0 - r * r) / 2.0;
  }
  // What the microphone hears of one period of the loudspeaker, added to x.
  void add_to(int* x) {
    for (int i = 0; i < kRoomPeriod; ++i) {
      double y = 0.0;
      for (const auto& [delay, share] : {std::pair{390, 0.7}, {523, -0.2}, {611, 0.1}, {897, 0.1}})
        y += share * past_[(now_ + past_.size() - static_cast<size_t>(delay)) % past_.size()];
      const double z = b_ * (y - x2_) - a1_ * y1_ - a2_ * y2_;
      x2_ = x1_;
      x1_ = y;
      y2_ = y1_;
      y1_ = z;
      x[i] =
          static_cast<int>(std::clamp(x[i] + gain_ * z, -double{kFullScale}, double{kFullScale}));
      past_[now_] = speaker_[i];
      now_ = (now_ + 1) % past_.size();
    }
  }
  void play(const int* x) { std::copy_n(x, kRoomPeriod, speaker_); }

 private:
  std::vector<double> past_ = std::vector<double>(1024);
  int speaker_[kRoomPeriod] = {};
  size_t now_ = 0;
  double gain_, b_, a1_, a2_, x1_ = 0, x2_ = 0, y1_ = 0, y2_ = 0;
};
