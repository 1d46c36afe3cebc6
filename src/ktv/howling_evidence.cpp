#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <utility>

#include "dsp/fft_frame.h"
#include "ktv/howling_internal.h"
#include "ktv/howling_lines.h"

namespace {

constexpr int kFrames = 8;            // of history
constexpr uint64_t kLeast = 64;       // added to powers ahead of a logarithm: -75 dBFS
constexpr int kSteadyFrequency = 24;  // 9 Hz at 48 kHz
constexpr int kSteadyLevel = level_of_db(1.5);
constexpr int kFastest = level_of_db(2.0);  // what counts of a rise in one frame
constexpr int kMostGrowth = level_of_db(60.0);
constexpr int kStanding = 100;       // frames after which harmonics no longer suggest a voice
constexpr int kLongest = 10000;      // frames; counters stop there
constexpr int kMatch = 128;          // half a bin
constexpr int kGone = 4;             // frames that a suspect may be missing
constexpr int kStandingFrames = 12;  // of steadiness, for what the notches should have ended

// The usual level.
constexpr int kQuiet = level_of_dbfs(-60.0);
constexpr int kFirstUsual = level_of_dbfs(-28.0);
constexpr int kHighestUsual = level_of_dbfs(-18.0);
constexpr int kLoudestOutsider = level_of_dbfs(-6.0);  // more is a howl that fills the microphone
constexpr int kUsualRise = 7;                          // 4 dB in a second
constexpr int kUsualFall = 2;                          // 1 dB in a second
constexpr int kFirstVoice = 190;                       // frames of voice, 1 s, in which it hurries
constexpr int kHaste = 6;

constexpr int kOutsiderFrames = 560;  // 3 s
constexpr int kOutsiderWidth = 96;    // 35 Hz
constexpr int kDoubtStep = 256, kMostDoubt = 2048;

// What a peak must show to count as a howl, by its level above the usual one: to have been steady
// for some frames and to have grown, or to have been loud for some frames.
struct demand {
  int excess, growth, steady, loud;
};
constexpr int kSlowRing = 240;  // frames, 1.3 s
constexpr int kMemoryFrames =
    16;                       // for which a frame of loudness is remembered: 0.5 s fades in 9 s
constexpr int kReturns = 40;  // what a frame counts that has been remembered, in sixteenths
constexpr int kMostRecalled = 300;
constexpr demand kDemands[] = {{level_of_db(10.0), level_of_db(2.0), 10, 12},
                               {level_of_db(8.0), level_of_db(2.0), 10, 24},
                               {level_of_db(4.0), level_of_db(4.0), 16, 30},
                               {level_of_db(1.0), level_of_db(5.0), 40, 120},
                               {level_of_db(-3.0), level_of_db(8.0), 60, kSlowRing},
                               {level_of_db(-15.0), level_of_db(12.0), 60, kSlowRing + 80}};
constexpr demand kReturnDemand = {level_of_db(-6.0), level_of_db(1.5), 6, 12};
// While more howls are likely.
constexpr demand kAlertDemand = {level_of_db(3.0), level_of_db(3.0), 12, 24};
constexpr int kStrong = level_of_db(7.0);
constexpr int kOver = level_of_db(10.0);     // above the usual level: hardly a voice
constexpr int kNoVoice = level_of_db(16.0);  // nor any harmonic of one

// Slow rings.
constexpr int kSoftestLine = level_of_db(-18.0);  // above the usual level
constexpr int kEnding = level_of_db(1.0);         // fall in 21 or 43 ms

uint64_t power_at(const bin_powers& powers, int bin, int age = 0) {
  return bin < kFirstBin || bin > kLastBin ? 0 : powers.history[bin][age];
}

uint64_t three_bins(const bin_powers& powers, int bin, int age) {
  return power_at(powers, bin - 1, age) + power_at(powers, bin, age) +
         power_at(powers, bin + 1, age);
}

int nearest_bin(int position) { return (position + 128) >> 8; }

int whole_level(const bin_powers& powers) {
  uint64_t all = kLeast;
  for (int b = kFirstBin; b <= kLastBin; ++b) all += power_at(powers, b);
  return log2_q10(all);
}

// All levels are log2 Q10.
struct peak_features {
  int level;     // newest
  int slope;     // rise from frame to frame
  int residual;  // largest departure from that straight line
  int share;     // how far the whole spectrum lies above it
  int harmonic;  // how far the strongest related frequency lies below it
};

// Least squares over the eight frames, newest first: the weights 7, 5, .. -7 have 168 as the sum of
// their squares, and a frame is two of their steps.
void fit_line(const bin_powers& powers, int bin, peak_features& f) {
  int level[kFrames], mean = 0;
  for (int j = 0; j < kFrames; ++j) {
    level[j] = log2_q10(three_bins(powers, bin, j) + kLeast);
    mean += level[j];
    f.slope += (7 - 2 * j) * level[j];
  }
  mean /= kFrames;
  f.slope /= 84;
  f.level = level[0];
  for (int j = 0; j < kFrames; ++j)
    f.residual = std::max(f.residual, std::abs(level[j] - mean - f.slope * (7 - 2 * j) / 2));
}

// At thirds, halves and multiples of the frequency, a bin to either side included.
int strongest_relative(const bin_powers& powers, int position, int bin) {
  constexpr int kSixths[] = {2, 3, 4, 8, 12, 16, 18};
  uint64_t strongest = 0;
  for (const int sixths : kSixths) {
    const int b = nearest_bin(position * sixths / 6);
    if (b >= kFirstBin && b <= kLastBin && std::abs(b - bin) > 3)
      strongest = std::max(
          {strongest, power_at(powers, b - 1), power_at(powers, b), power_at(powers, b + 1)});
  }
  return log2_q10(strongest + kLeast);
}

peak_features features_of(const bin_powers& powers, int position) {
  const int bin = nearest_bin(position);
  peak_features f = {};
  fit_line(powers, bin, f);
  f.share = whole_level(powers) - f.level;
  f.harmonic = log2_q10(power_at(powers, bin) + kLeast) - strongest_relative(powers, position, bin);
  return f;
}

// Rises by up to 4 dB and falls by up to 1 dB in a second: so it settles near the level that one
// frame in five exceeds. Frames with a lasting peak are left out.
void follow_usual_level(howlingCancel* canceller) {
  const int level = whole_level(*canceller->powers);
  if (level < kQuiet) return;
  for (const howling_suspect& s : canceller->suspects)
    if (s.loud > 4 || s.steady > 12) return;
  const int haste = canceller->voice_frames < kFirstVoice ? kHaste : 1;
  canceller->voice_frames += canceller->voice_frames < kFirstVoice;
  if (level < canceller->usual_level)
    canceller->usual_level -= kUsualFall * haste;
  else if (canceller->usual_level < kHighestUsual)
    canceller->usual_level += kUsualRise * haste;
}

// A ring near the limit comes and goes with the voice, but always at the same place: how long it
// has been loud outlasts the suspect.
void remember(howlingCancel* canceller, const howling_suspect& s) {
  if (s.position == 0 || s.loud == 0) return;
  howling_memory* least = canceller->memories;
  for (howling_memory& m : canceller->memories)
    if (m.loud < least->loud) least = &m;
  if (s.loud > least->loud) *least = {s.position, s.loud};
}

int recall(howlingCancel* canceller, int position) {
  for (howling_memory& m : canceller->memories)
    if (m.position && std::abs(m.position - position) < kSteadyFrequency)
      return std::min(std::exchange(m, {}).loud * kReturns / 16, kMostRecalled);
  return 0;
}

void fade_memories(howlingCancel* canceller) {
  if (canceller->analyser->frames_heard % kMemoryFrames != 0) return;
  for (howling_memory& m : canceller->memories)
    if (m.loud == 0 || --m.loud == 0) m = {};
}

// The suspect at this frequency; else a new one, in place of the one that has grown least.
howling_suspect& suspect_at(howlingCancel* canceller, int position) {
  howling_suspect* nearest = nullptr;
  int least = kMatch;
  for (howling_suspect& s : canceller->suspects)
    if (s.position && std::abs(s.position - position) < least) {
      least = std::abs(s.position - position);
      nearest = &s;
    }
  if (nearest) return *nearest;
  howling_suspect* weakest = canceller->suspects;
  for (howling_suspect& s : canceller->suspects) {
    if (weakest->position == 0) break;
    if (s.position == 0 || s.growth < weakest->growth) weakest = &s;
  }
  remember(canceller, *weakest);
  *weakest = {position, 0, 0, recall(canceller, position), 0, 0};
  return *weakest;
}

// position is that of a marked peak.
void add_evidence(const howlingCancel* canceller, howling_suspect& s, int position) {
  const peak_features f = features_of(*canceller->powers, position);
  const int offset = position - s.position;
  s.position += offset / 4;
  s.missed = -1;
  s.level = f.level;
  const bool steady = f.residual < kSteadyLevel && std::abs(offset) < kSteadyFrequency;
  const bool alone = f.harmonic > level_of_db(12.0) || s.steady > kStanding || canceller->alert > 0;
  const bool over = f.level - canceller->usual_level > kOver;
  if (steady) {
    if (alone)
      s.growth = std::clamp(s.growth + std::clamp(f.slope, -kFastest, kFastest), 0, kMostGrowth);
    s.steady = std::min(s.steady + 1, kLongest);
  } else {
    s.growth -= s.growth / 16;
    s.steady = std::max(s.steady - 2, 0);
  }
  if (steady && (alone || over) && f.share < level_of_db(over ? 9.0 : 3.0) &&
      std::abs(f.slope) < level_of_db(0.5))
    s.loud = std::min(s.loud + 1, kLongest);
  else
    s.loud = std::max(s.loud - 2, 0);
}

bool is_outsider(const howlingCancel* canceller, int position) {
  const auto matches = [=](const howling_outsider& o) {
    return o.position && std::abs(o.position - position) < kOutsiderWidth;
  };
  return std::any_of(canceller->outsiders, std::end(canceller->outsiders), matches);
}

bool meets(const howling_suspect& s, const demand& d, int doubt) {
  return (s.steady >= d.steady && s.growth >= d.growth + doubt * level_of_db(2.0)) ||
         s.loud >= d.loud + 30 * doubt;
}

}  // namespace

int newest_level(const howlingCancel* canceller, int position) {
  return log2_q10(three_bins(*canceller->powers, nearest_bin(position), 0) + kLeast);
}

int rest_level(const howlingCancel* canceller, int position) {
  const int bin = nearest_bin(position);
  uint64_t rest = kLeast;
  for (int b = kFirstBin; b <= kLastBin; ++b)
    if (std::abs(b - bin) > 2) rest += power_at(*canceller->powers, b);
  return log2_q10(rest);
}

void gather_evidence(howlingCancel* canceller, const int* found) {
  canceller->doubt -= canceller->doubt > 0 && canceller->analyser->frames_heard % 8 == 0;
  canceller->alert -= canceller->alert > 0;
  for (howling_outsider& o : canceller->outsiders)
    if (o.position && --o.timer <= 0) o = {};
  follow_usual_level(canceller);
  fade_memories(canceller);
  for (int k = 0; k < kPeaks; ++k)
    if (found[k]) add_evidence(canceller, suspect_at(canceller, found[k]), found[k]);
  for (howling_suspect& s : canceller->suspects) {
    if (s.position == 0 || ++s.missed == 0) continue;
    s.growth -= s.growth / 8;
    if (s.missed <= kGone) continue;
    remember(canceller, s);
    s = {};
  }
}

bool is_howl(const howlingCancel* canceller, const howling_suspect& suspect,
             const howling_place* former) {
  if (suspect.position == 0 || is_outsider(canceller, suspect.position)) return false;
  const int excess = suspect.level - canceller->usual_level;
  if (excess < kNoVoice && is_harmonic(canceller->lines, suspect.position)) return false;
  if (former && excess > (former->hold >= kStrongHold ? kReturnDemand.excess : 0))
    return meets(suspect, kReturnDemand, 0);
  if (former) return suspect.loud > kSlowRing / 6;
  if (canceller->alert > 0 && excess > kAlertDemand.excess && meets(suspect, kAlertDemand, 0))
    return true;
  for (const demand& d : kDemands)
    if (excess > d.excess) return meets(suspect, d, canceller->doubt / kDoubtStep);
  return false;
}

bool is_strong(const howlingCancel* canceller, const howling_suspect& suspect,
               const howling_place* former) {
  return suspect.level - canceller->usual_level > (former ? 0 : kStrong);
}

bool is_slow_ring(const howlingCancel* canceller, const howling_line& line,
                  const howling_place* former) {
  const int excess = line.level - canceller->usual_level;
  if (line.position == 0 || line.level == 0 || excess < kSoftestLine ||
      is_outsider(canceller, line.position))
    return false;
  const int least = excess > 0 ? 28 : excess > level_of_db(-8.0) ? 36 : 48;  // 0.3 to 0.5 s
  if (line.evidence < (former ? 20 : least + least * canceller->lines->doubt / kDoubtStep))
    return false;
  const int fall = narrow_level(canceller->lines, line.position, kLineFrame / 4) -
                   narrow_level(canceller->lines, line.position);
  return line.slope >= -kEnding && fall <= kEnding;
}

bool howl_stands(const howlingCancel* canceller) {
  const auto stands = [=](const howling_suspect& s) {
    if (s.position == 0 || s.missed > 0 || s.steady < kStandingFrames ||
        is_outsider(canceller, s.position))
      return false;
    const peak_features f = features_of(*canceller->powers, s.position);
    return f.share < level_of_db(6.0) && f.slope > -level_of_db(0.25) &&
           s.level - canceller->usual_level > level_of_db(3.0);
  };
  return std::any_of(canceller->suspects, std::end(canceller->suspects), stands);
}

int ruling_tone(const howlingCancel* canceller, bool gliding) {
  const int share = level_of_db(gliding ? 3.0 : 2.0);
  const int least = gliding ? std::min(canceller->usual_level + kNoVoice, kLoudestOutsider)
                            : std::min(canceller->usual_level + kOver, kHighestUsual);
  for (const howling_suspect& s : canceller->suspects)
    if (s.position && s.missed == 0 && s.level > least &&
        (gliding || !is_harmonic(canceller->lines, s.position)) &&
        whole_level(*canceller->powers) - s.level < share)
      return s.position;
  return 0;
}

void forget_evidence(howlingCancel* canceller) {
  for (howling_suspect& s : canceller->suspects) s = {};
  for (howling_outsider& o : canceller->outsiders) o = {};
  canceller->usual_level = kFirstUsual;
  canceller->voice_frames = 0;
  for (howling_memory& m : canceller->memories) m = {};
  canceller->doubt = 0;
  canceller->alert = 0;
}

void forget_outsiders(howlingCancel* canceller) {
  for (howling_outsider& o : canceller->outsiders) o = {};
  canceller->usual_level = std::min(canceller->usual_level, kFirstUsual);
  canceller->doubt = 0;
}

void learn_outsider(howlingCancel* canceller, int position, int level) {
  howling_outsider* shortest = canceller->outsiders;
  for (howling_outsider& o : canceller->outsiders)
    if (o.timer < shortest->timer) shortest = &o;
  *shortest = {position, kOutsiderFrames};
  canceller->usual_level = std::max(canceller->usual_level, std::min(level, kLoudestOutsider));
  canceller->doubt = std::min(canceller->doubt + kDoubtStep, kMostDoubt);
  canceller->lines->doubt = std::min(canceller->lines->doubt + kDoubtStep, kMostDoubt);
}
