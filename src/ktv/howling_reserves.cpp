#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>

#include "fixed.h"
#include "ktv/frequency_shifter.h"
#include "ktv/howling_internal.h"
#include "ktv/memory.h"

namespace {

constexpr int kMostShift = 20;  // Hz

// The automatic shift. Pressure loses a 512th of itself with every frame: half in 1.9 s.
constexpr int kPressureFall = 512;
constexpr int kTooMuch = kProvedHowl * 9 / 4;  // three howls in a second or so
constexpr int kManyNotches = 3;                // standing at once
constexpr int kFirstStay = 1875;               // frames, 10 s
constexpr int kLongestStay = 16 * kFirstStay;
constexpr int kCalm = 2 * kFirstStay;  // without shift, until the next stay is a short one again

// A loud tone that just goes on.
constexpr int kRuleFrames = 40;     // 0.2 s: notches should have ended it by then
constexpr int kUnmovedFrames = 80;  // 0.4 s: a howl would have glided away under the shift
constexpr int kUnmoved = 40;        // 15 Hz
constexpr int kTrustFrames = 1875;  // 10 s
constexpr int kSweepFrames = 30;    // 0.16 s
constexpr int kWidestSweep = 1024;  // 375 Hz: more is a voice, or several howls

// The last resort. Steps per frame are shares of the gain.
constexpr int kFallBits = 6, kRiseBits = 13;  // 26 and 0.2 dB in a second
constexpr int kLeastGain = kWholeGain / 16;   // -24 dB
constexpr int kFrameBits = 8;                 // samples from frame to frame

int glided(int gain, int step, int samples) {
  return static_cast<int>(
      std::clamp<int64_t>(gain + int64_t{step} * samples, kLeastGain, kWholeGain));
}

bool shift_wanted(const howlingCancel* canceller) {
  return canceller->shift != 0 && (canceller->shift_mode == 0 || canceller->shift_hold > 0);
}

// Counts for how long one tone has ruled from the same place.
void follow_ruler(howlingCancel* canceller) {
  const int tone = ruling_tone(canceller, false);
  canceller->trust -= canceller->trust > 0;
  const bool same = tone && std::abs(tone - canceller->ruler) < kUnmoved;
  canceller->ruler_frames = same ? canceller->ruler_frames + 1 : 0;
  if (!same) canceller->ruler = tone;
}

// What glides under the shift goes round the loop.
void follow_sweep(howlingCancel* canceller) {
  const int tone = ruling_tone(canceller, true);
  const bool begins = tone && canceller->sweep_frames == 0;
  canceller->sweep_low = begins ? tone : std::min(canceller->sweep_low, tone ? tone : INT32_MAX);
  canceller->sweep_high = begins ? tone : std::max(canceller->sweep_high, tone);
  canceller->sweep_frames =
      tone ? canceller->sweep_frames + 1 : std::max(canceller->sweep_frames - 1, 0);
  if (canceller->sweep_frames < kSweepFrames || !shift_wanted(canceller)) return;
  const int width = canceller->sweep_high - canceller->sweep_low;
  canceller->sweep_frames = 0;
  if (width <= kUnmoved || width > kWidestSweep) return;
  forget_outsiders(canceller);
  answer_sweep(canceller, canceller->sweep_low, canceller->sweep_high);
}

// What neither glides with the shift nor falls with the gain comes from outside.
void judge_ruler(howlingCancel* canceller) {
  if (canceller->ruler_frames < kUnmovedFrames) return;
  const bool shifted = shift_wanted(canceller) && is_heard(canceller->shifter);
  if (!shifted && canceller->gain > kLeastGain) return;
  canceller->trust = kTrustFrames;
  canceller->pressure = 0;
  canceller->ruler_frames = 0;
  canceller->shift_hold = std::min(canceller->shift_hold, 0);
}

bool tone_goes_on(const howlingCancel* canceller) {
  return canceller->ruler_frames >= kRuleFrames && canceller->trust == 0;
}

void advance_shift(howlingCancel* canceller) {
  const bool needed = canceller->pressure > kTooMuch || holding(canceller) >= kManyNotches ||
                      tone_goes_on(canceller);
  canceller->pressure -= (canceller->pressure + kPressureFall - 1) / kPressureFall;
  if (canceller->shift_hold > 0) {
    if (needed) canceller->shift_hold = std::max(canceller->shift_hold, kFirstStay);
    --canceller->shift_hold;
  } else if (needed) {
    canceller->ruler_frames = 0;
    canceller->shift_hold = canceller->shift_stay;
    canceller->shift_stay = std::min(2 * canceller->shift_stay, kLongestStay);
  } else if (canceller->shift_hold > -kCalm) {
    --canceller->shift_hold;
  } else {
    canceller->shift_stay = kFirstStay;
  }
}

void advance_gain(howlingCancel* canceller) {
  const bool failing =
      canceller->last_resort != 0 &&
      ((all_in_use(canceller) && howl_stands(canceller)) || tone_goes_on(canceller));
  const int share = failing                ? -(canceller->gain >> kFallBits)
                    : canceller->trust > 0 ? canceller->gain >> kFallBits
                                           : canceller->gain >> kRiseBits;
  canceller->gain_step = share / (1 << kFrameBits);
}

}  // namespace

void howling_canceling_set_sample_rate(howlingCancel* canceller, SampleRateType rate) {
  const bool known = static_cast<size_t>(rate) < std::size(kStepsPerHertz);
  canceller->sample_rate = known ? rate : SAMPLE_RATE_48000;
}

void howling_canceling_set_shift(howlingCancel* canceller, int hertz) {
  canceller->shift = std::clamp(hertz, 0, kMostShift);
}
void howling_canceling_get_shift(howlingCancel* canceller, int* hertz) {
  *hertz = canceller->shift;
}

void howling_canceling_set_shift_mode(howlingCancel* canceller, int mode) {
  canceller->shift_mode = mode;
}
void howling_canceling_get_shift_mode(howlingCancel* canceller, int* mode) {
  *mode = canceller->shift_mode;
}

void howling_canceling_set_last_resort(howlingCancel* canceller, int on) {
  canceller->last_resort = on;
}
void howling_canceling_get_last_resort(howlingCancel* canceller, int* on) {
  *on = canceller->last_resort;
}
void howling_canceling_get_gain(howlingCancel* canceller, int* gain) {
  *gain = canceller->gain >> 15;
}

void reset_reserves(howlingCancel* canceller) {
  canceller->pressure = 0;
  canceller->shift_hold = 0;
  canceller->shift_stay = kFirstStay;
  canceller->gain = kWholeGain;
  canceller->gain_step = 0;
  canceller->ruler = 0;
  canceller->ruler_frames = 0;
  canceller->trust = 0;
  canceller->sweep_frames = 0;
  canceller->sweep_low = canceller->sweep_high = 0;
  if (has_memory(canceller)) reset(canceller->shifter);
}

void advance_reserves(howlingCancel* canceller) {
  follow_ruler(canceller);
  judge_ruler(canceller);
  follow_sweep(canceller);
  advance_shift(canceller);
  advance_gain(canceller);
}

void apply_reserves(howlingCancel* canceller, int* x, int n) {
  const int step = canceller->shift * kStepsPerHertz[canceller->sample_rate];
  shift_block(canceller->shifter, step, shift_wanted(canceller), x, n);
  if (canceller->gain == kWholeGain && canceller->gain_step >= 0) return;
  const int first = canceller->gain;
  for (int i = 0; i < n; ++i)
    x[i] = scale_down<28>(int64_t{x[i]} * glided(first, canceller->gain_step, i + 1));
  canceller->gain = glided(first, canceller->gain_step, n);
}
