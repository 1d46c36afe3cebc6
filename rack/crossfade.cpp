#include "crossfade.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "effect.h"

namespace {

constexpr int kListen = 20;  // ms

constexpr double kLongest = 40, kShortest = 6;  // ms
constexpr double kAlike = 0.7;   // cosine from which on signals differ by little but their level
constexpr double kLowest = 0.3;  // slope over peak of the lowest tone that counts, 48 Hz, per ms
constexpr double kSteeper = 1.06;

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
  for (impression& heard : heard_of_) heard = {};
}

int crossfade::listening() const { return frames_of(kListen, rate_); }

int crossfade::to_turn() const {
  if (listening_) return listening() - heard_;
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
    length_ = static_cast<int>(
        std::min(fitting_time(heard_of_[0], rate_), fitting_time(heard_of_[1], rate_)) * rate_ /
        1000);
    position_ = high_alone ? length_ : 0;
  }
}

// Of the 26 bits that a sample may have, 20: sums of 20 ms stay far below 63 bits.
void crossfade::listen(const int* const low[2], const int* const high[2], int start, int n) {
  for (int c = 0; c < 2; ++c) {
    impression& heard = heard_of_[c];
    for (int i = start; i < start + n; ++i) {
      const int a = low[c][i] >> 6, b = high[c][i] >> 6;
      heard.low += int64_t{a} * a;
      heard.high += int64_t{b} * b;
      heard.common += int64_t{a} * b;
      heard.peak = std::max({heard.peak, std::abs(a), std::abs(b)});
      if (heard_ + i > start)
        heard.step =
            std::max({heard.step, std::abs(a - heard.last_low), std::abs(b - heard.last_high)});
      heard.last_low = a;
      heard.last_high = b;
    }
  }
  heard_ += n;
}

// In ms. Where two tones of equal level are an angle apart, their mean, halfway, has cos(angle / 2)
// of the level and the slope, and the fade's own slope, 1.5 / time, adds 2 sin(angle / 2) times the
// level to it: as short a time as keeps the sum within kSteeper of the slope that was there.
double crossfade::fitting_time(const impression& heard, int rate) {
  const double most =
      std::sqrt(static_cast<double>(heard.low)) * std::sqrt(static_cast<double>(heard.high));
  const double cosine = most == 0.0 ? 1.0 : static_cast<double>(heard.common) / most;
  if (cosine >= kAlike) return kLongest;
  const double half_cosine = std::sqrt(std::max(1 + cosine, 0.0) / 2);
  const double half_sine = std::sqrt(std::min(1 - cosine, 2.0) / 2);
  const double slope = std::max(kLowest, heard.step * (rate / 1000.0) / heard.peak);
  return std::max(3 * half_sine / (slope * (kSteeper - half_cosine)), kShortest);
}
