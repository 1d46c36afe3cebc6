#include "crossfade.h"

#include <algorithm>
#include <cmath>

#include "effect.h"

namespace {

constexpr int kListen = 20;  // ms

constexpr int kLongest = 40;   // ms
constexpr double kAlike = 0.7;  // cosine from which on signals differ by little but their level

// How long, in ms, signals take whose phases are an angle apart, by its cosine. Halfway, two tones
// of equal level stand at cos(angle / 2), and the fade adds 2 sin(angle / 2) times its own slope,
// 1.5 / length, to theirs: short, so that they don't cancel each other for long, but no shorter
// than keeps the slope of a tone of 50 Hz within 8 % of what it was.
double fitting_time(double cosine) {
  if (cosine >= kAlike) return kLongest;
  constexpr double kSlope = 0.314;  // 2 pi 50 Hz, per ms
  const double half_cosine = std::sqrt(std::max(1 + cosine, 0.0) / 2);
  const double half_sine = std::sqrt(std::min(1 - cosine, 2.0) / 2);
  return 3 * half_sine / (kSlope * (1.08 - half_cosine));
}

}  // namespace

void rise::apply(int* const samples[2], int n) {
  for (int i = 0; i < n && position_ < length_; ++i) {
    const int64_t weight = fade_weight(++position_, length_);
    for (int c = 0; c < 2; ++c) samples[c][i] = fade_between(0, samples[c][i], weight);
  }
}

void crossfade::jump(bool high) {
  wanted_ = high ? high_end : low_end;
  position_ = high ? length_ : 0;
  listening_ = false;
}

// Whoever wants to go back before anything has moved is there already.
void crossfade::go(bool high) {
  const end to = high ? high_end : low_end;
  if (to == wanted_) return;
  const bool begins = rests();
  wanted_ = to;
  listening_ = begins;
  heard_ = 0;
  for (auto& energy : energy_) energy = {};
}

int crossfade::to_turn() const {
  if (listening_) return frames_of(kListen, rate_) - heard_;
  return wanted_ == high_end ? length_ - position_ : position_;
}

void crossfade::mix(const int* const low[2], const int* const high[2], int* const out[2], int n) {
  for (int done = 0; done < n;) {
    const bool high_alone = position_ == length_;
    const int turn = to_turn(), count = turn == 0 ? n - done : std::min(turn, n - done);
    if (listening_) listen(low, high, done, count);
    if (listening_ || turn == 0) {
      for (int c = 0; c < 2; ++c) {
        const int* const from = high_alone ? high[c] : low[c];
        if (from != out[c]) std::copy_n(from + done, count, out[c] + done);
      }
    } else {
      for (int i = done; i < done + count; ++i) {
        position_ += wanted_ == high_end ? 1 : -1;
        const int64_t weight = fade_weight(position_, length_);
        for (int c = 0; c < 2; ++c) out[c][i] = fade_between(low[c][i], high[c][i], weight);
      }
    }
    done += count;
    if (!listening_ || to_turn() > 0) continue;
    listening_ = false;
    length_ = fitting_length();
    position_ = high_alone ? length_ : 0;
  }
}

// Of the 26 bits that a sample may have, 20: sums of 20 ms stay far below 63 bits.
void crossfade::listen(const int* const low[2], const int* const high[2], int start, int n) {
  for (int c = 0; c < 2; ++c)
    for (int i = start; i < start + n; ++i) {
      const int64_t a = low[c][i] >> 6, b = high[c][i] >> 6;
      energy_[c].low += a * a;
      energy_[c].high += b * b;
      energy_[c].common += a * b;
    }
  heard_ += n;
}

// By the channel where the angle is the wider one.
int crossfade::fitting_length() const {
  double milliseconds = kLongest;
  for (const auto& energy : energy_) {
    const double most =
        std::sqrt(static_cast<double>(energy.low)) * std::sqrt(static_cast<double>(energy.high));
    if (most == 0.0) continue;
    milliseconds = std::min(milliseconds, fitting_time(static_cast<double>(energy.common) / most));
  }
  return static_cast<int>(milliseconds * rate_ / 1000);
}
