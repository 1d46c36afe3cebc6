// What stands around an effect, or the whole row, to switch it: its input, delayed as the effect
// delays it, and the crossfade between the two.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "crossfade.h"

class bypass {
 public:
  bypass(int latency, int rate)
      : latency_(latency), fade_(rate), held_{line(latency), line(latency)} {}

  void start(bool on) {
    for (auto& channel : held_) std::fill(channel.begin(), channel.end(), 0);
    position_ = 0;
    fade_.jump(on);
  }

  // n frames of the effect's input; dry gets them delayed.
  void take(const int* const in[2], int* const dry[2], int n) {
    if (latency_ == 0) {
      if (fade_.rests_high()) return;  // nobody hears it
      for (int c = 0; c < 2; ++c) std::copy_n(in[c], n, dry[c]);
      return;
    }
    for (int done = 0; done < n;) {
      const int count = std::min(n - done, latency_ - position_);
      for (int c = 0; c < 2; ++c) {
        int* held = held_[c].data() + position_;
        std::copy_n(held, count, dry[c] + done);
        std::copy_n(in[c] + done, count, held);
      }
      position_ = position_ + count == latency_ ? 0 : position_ + count;
      done += count;
    }
  }

  void go(bool on) { fade_.go(on); }

  // The effect's output, in place, or what stands for it.
  void give(const int* const dry[2], int* const wet[2], int n) {
    if (!fade_.rests_high()) fade_.mix(dry, wet, wet, n);
  }

 private:
  static std::vector<int> line(int latency) {
    return std::vector<int>(static_cast<size_t>(latency));
  }

  int latency_, position_ = 0;
  crossfade fade_;
  std::vector<int> held_[2];
};
