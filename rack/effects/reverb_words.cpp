#include "reverb_words.h"

#include <algorithm>

#include "conversions.h"
#include "effect.h"

namespace {

constexpr int kLongestLoop = 2621;  // frames, of the combs
constexpr int kAllpasses = 1900;    // frames, all four in a row
constexpr double kLouder = 20.0;    // dB by which a room may be louder than what goes in

// The combs' loop gain.
double loop_gain(const double* values) {
  return (5779 + (reverb_words_of(values).roomsize * 2333 >> 13)) / 8192.0;
}

}  // namespace

reverb_words reverb_words_of(const double* values) {
  return {percent_to_q13(values[kRoom]),
          percent_to_q13(values[kDamp]),
          static_cast<int>(values[kWet] * (kUnityWord / 300.0)),
          nearest(values[kDry] * (kUnityWord / 200.0)),
          percent_to_q13(values[kWidth]),
          nearest(127.0 * db_to_linear(values[kReverbGain]))};
}

void set_reverb(reverb_t* reverb, const double* values) {
  const reverb_words words = reverb_words_of(values);
  reverb_setroomsize(reverb, words.roomsize);
  reverb_setdamp(reverb, words.damp);
  reverb_setwet(reverb, words.wet);
  reverb_setdry(reverb, words.dry);
  reverb_setwidth(reverb, words.width);
  reverb_setgain(reverb, words.gain);
  reverb_update(reverb);
}

bool same_loops(const reverb_t& a, const reverb_t& b) {
  return a.roomsize == b.roomsize && a.damp == b.damp && a.gain == b.gain;
}

// A loop's energy is half there when what it lost would have fallen by 3 dB.
int reverb_warm_up(const double* values, int rate) {
  const int half_full = loop_decay(kLongestLoop, loop_gain(values), 3.0);
  return std::min(2 * half_full + 2 * kLongestLoop + kAllpasses, 2 * rate);
}

int reverb_tail(const double* values, int) {
  return loop_decay(kLongestLoop, loop_gain(values), 60.0 + kLouder) + 2 * kAllpasses;
}
