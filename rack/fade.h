// Crossfades along 3t^2 - 2t^3, which begins and ends without a corner, in whole numbers.
#pragma once

#include <algorithm>
#include <cstdint>

// The curve at frame i of n, Q30: 0 up to the first frame, 2^30 from the last on.
inline int64_t fade_weight(int64_t i, int64_t n) {
  if (i <= 0) return 0;
  if (i >= n) return int64_t{1} << 30;
  const int64_t t = (i << 20) / n;  // Q20
  return (3 * t * t - (2 * t * t >> 20) * t) >> 10;
}

inline int fade_between(int from, int to, int64_t weight) {
  return static_cast<int>(from + (((int64_t{to} - from) * weight + (1 << 29)) >> 30));
}

// A position that moves one step per frame toward one of the ends, 0 and length.
class fade {
 public:
  explicit fade(int length = 1) : length_(length) {}

  void jump(bool up) {
    up_ = up;
    position_ = up ? length_ : 0;
  }
  void go(bool up) { up_ = up; }

  bool at(bool up) const { return position_ == (up ? length_ : 0); }
  bool arrived() const { return at(up_); }
  int to(bool up) const { return up ? length_ - position_ : position_; }

  // n frames: low at position 0, high at length. out may be either.
  void mix(const int* const low[2], const int* const high[2], int* const out[2], int n) {
    for (int i = 0; i < n; ++i) {
      const int64_t weight = step();
      for (int c = 0; c < 2; ++c) out[c][i] = fade_between(low[c][i], high[c][i], weight);
    }
  }

  // n frames from silence.
  void raise(int* const samples[2], int n) {
    for (int i = 0; i < n; ++i) {
      const int64_t weight = step();
      for (int c = 0; c < 2; ++c) samples[c][i] = fade_between(0, samples[c][i], weight);
    }
  }

 private:
  int64_t step() {
    position_ = std::clamp(position_ + (up_ ? 1 : -1), 0, length_);
    return fade_weight(position_, length_);
  }

  int length_, position_ = 0;
  bool up_ = false;
};
