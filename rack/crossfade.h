// Crossfades along 3t^2 - 2t^3, which begins and ends without a corner, in whole numbers.
#pragma once

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

// Lets a stereo signal rise from silence.
class rise {
 public:
  explicit rise(int length) : length_(length), position_(length) {}

  int length() const { return length_; }
  void begin() { position_ = 0; }
  void end() { position_ = length_; }
  void apply(int* const samples[2], int n);

 private:
  int length_, position_;
};

// Goes over from one stereo signal to another, between two ends, low and high. It listens to both
// for 20 ms first. Signals that are alike but for their level take 40 ms, so that a low tone's
// slope hardly changes. The more their phases differ, the more they cancel each other while both
// are heard, and the shorter it is, down to 6 ms.
class crossfade {
 public:
  explicit crossfade(int rate) : rate_(rate) {}

  void jump(bool high);
  void go(bool high);  // on the way back, too

  bool rests() const { return rests_at(low_end) || rests_at(high_end); }
  bool rests_high() const { return rests_at(high_end); }

  // Frames until it has listened or arrived; 0 at rest.
  int to_turn() const;

  // Frames that it listens before it goes.
  int listening() const;

  // out may be either. At rest, out is the signal there.
  void mix(const int* const low[2], const int* const high[2], int* const out[2], int n);

 private:
  enum end { low_end, high_end };

  // What has been listened to, of one channel.
  struct impression {
    int64_t low = 0, high = 0, common = 0;  // energies
    int peak = 0, step = 0;                 // of either signal; the step from sample to sample
    int last_low = 0, last_high = 0;
  };

  bool rests_at(end e) const {
    return wanted_ == e && !listening_ && position_ == (e == high_end ? length_ : 0);
  }
  void listen(const int* const low[2], const int* const high[2], int start, int n);
  static double fitting_time(const impression& heard, int rate);

  int rate_;
  int length_ = 1, position_ = 0;
  end wanted_ = low_end;
  bool listening_ = false;
  int heard_ = 0;           // frames listened to
  impression heard_of_[2];  // by channel
};
