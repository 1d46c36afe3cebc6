#include "world.h"

#include <algorithm>

#include "loop.h"
#include "voice_level.h"

namespace {

constexpr unsigned kNarrow = 100000;  // first seed of that family
constexpr double kTurn = 2.0 * std::numbers::pi;

class dice {
 public:
  explicit dice(unsigned seed) : generator_(seed) {}
  double uniform(double low, double high) {
    return low + (high - low) * (generator_() / 4294967296.0);
  }
  double geometric(double low, double high) { return low * std::pow(high / low, uniform(0, 1)); }
  bool once_in(unsigned n) { return generator_() % n == 0; }
  unsigned roll(unsigned n) { return static_cast<unsigned>(generator_() % n); }
  double gaussian() {
    double sum = 0.0;
    for (int i = 0; i < 12; ++i) sum += uniform(-0.5, 0.5);
    return sum;
  }

 private:
  std::mt19937 generator_;
};

// Two poles at a frequency, gain 1 at DC.
struct formant {
  double y1 = 0.0, y2 = 0.0;
  double run(double x, double frequency, double width) {
    const double r = std::exp(-std::numbers::pi * width / kRate);
    const double c = 2.0 * r * std::cos(kTurn * frequency / kRate);
    const double y = (1.0 - c + r * r) * x + c * y1 - r * r * y2;
    y2 = y1;
    y1 = y;
    return y;
  }
};

// First, second, third formant of open and close vowels.
constexpr double kVowels[][3] = {{730, 1090, 2440}, {270, 2290, 3010}, {300, 870, 2240},
                                 {530, 1840, 2480}, {570, 840, 2410},  {660, 1720, 2410},
                                 {490, 1350, 1690}, {440, 1020, 2240}};

// A larynx, four formants, hiss; the caller says when what sounds.
class throat {
 public:
  explicit throat(dice& d) : dice_(d), scale_(d.uniform(0.9, 1.2)) {}

  void aim(const double (&vowel)[3]) { std::copy_n(vowel, 3, target_); }

  double run(double pitch, double voiced, double hiss) {
    turn_ += pitch * (1.0 + jitter_) / kRate;
    if (turn_ >= 1.0) {  // no two periods are the same
      turn_ -= 1.0;
      jitter_ = 0.012 * dice_.uniform(-1, 1);
    }
    // A glottal pulse: open for 60 % of its time, closing fast; its derivative is what is heard.
    const double open = turn_ / 0.6;
    const double flow = open < 1.0 ? open * open * (1.0 - open) * 6.75 : 0.0;
    double x = (flow - flow_) * 20.0 * voiced;
    flow_ = flow;
    x += 0.02 * voiced * dice_.uniform(-1, 1) * flow;
    for (int k = 0; k < 3; ++k) now_[k] += (target_[k] - now_[k]) * 0.0006;
    double y = x;
    for (int k = 0; k < 3; ++k) y = stages_[k].run(y, now_[k] * scale_, 60.0 + 40.0 * k);
    y = stages_[3].run(y, 3500.0 * scale_, 200.0) * 3.0;
    const double noise = dice_.uniform(-1, 1);
    const double bright = noise - last_noise_;
    last_noise_ = noise;
    return y + 0.1 * hiss * fricative_.run(bright, 5200.0 * scale_, 2500.0);
  }

 private:
  dice& dice_;
  double scale_, turn_ = 0.0, jitter_ = 0.0, flow_ = 0.0, last_noise_ = 0.0;
  double target_[3] = {500, 1500, 2500}, now_[3] = {500, 1500, 2500};
  formant stages_[4], fricative_;
};

signal speech_of(dice& d, double seconds) {
  signal x(static_cast<size_t>(seconds * kRate));
  throat mouth(d);
  const double base = d.geometric(90.0, 250.0);
  size_t end = 0;
  double pitch = base, pitch_to = base, voiced = 0, voiced_to = 0, hiss = 0, hiss_to = 0, glide = 0;
  int syllables = 0;
  for (size_t i = 0; i < x.size(); ++i) {
    if (i == end) {  // a consonant, a vowel or a pause
      const bool pause = ++syllables % (8 + d.roll(8)) == 0;
      const bool consonant = !pause && syllables % 2 == 0;
      mouth.aim(kVowels[d.roll(8)]);
      voiced_to = pause ? 0.0 : consonant ? (d.once_in(2) ? 0.3 : 0.0) : d.uniform(0.5, 1.0);
      hiss_to = consonant ? d.uniform(0.2, 1.0) : 0.0;
      pitch_to = base * d.uniform(0.8, 1.4);
      glide =
          d.uniform(0.3, 1.2) * (d.once_in(3) ? 1.0 : -1.0) / kRate;  // speech never holds a pitch
      const double length = pause       ? d.uniform(0.2, 0.7)
                            : consonant ? d.uniform(0.04, 0.12)
                                        : d.uniform(0.08, 0.28);
      end = i + static_cast<size_t>(length * kRate);
    }
    pitch_to *= 1.0 + glide;
    pitch += (pitch_to - pitch) * 0.0003;
    voiced += (voiced_to - voiced) * 0.002;
    hiss += (hiss_to - hiss) * 0.002;
    x[i] = static_cast<float>(mouth.run(pitch, voiced, hiss));
  }
  return x;
}

double key(dice& d) { return 110.0 * std::pow(2.0, (3 + static_cast<int>(d.roll(24))) / 12.0); }

signal singing_of(dice& d, double seconds) {
  signal x(static_cast<size_t>(seconds * kRate));
  throat mouth(d);
  size_t end = 0, begin = 0;
  double pitch = 220.0, pitch_to = 220.0, voiced = 0, voiced_to = 0;
  const double depth = d.uniform(0.004, 0.012), speed = d.uniform(5.0, 6.5);
  for (size_t i = 0; i < x.size(); ++i) {
    if (i == end) {
      begin = i;
      voiced_to = d.once_in(8) ? 0.0 : d.uniform(0.6, 1.0);
      pitch_to = key(d);
      mouth.aim(kVowels[d.roll(8)]);
      end = i + static_cast<size_t>(d.geometric(0.25, 2.0) * kRate);
    }
    pitch += (pitch_to - pitch) * 0.0008;
    voiced += (voiced_to - voiced) * 0.001;
    const double t = static_cast<double>(i - begin) / kRate;
    const double vibrato = 1.0 + depth * std::min(t / 0.4, 1.0) * std::sin(kTurn * speed * t);
    x[i] = static_cast<float>(mouth.run(pitch * vibrato, voiced, 0.0));
  }
  return x;
}

// Sums of decaying partials, three notes and a bass; a new chord every second or so.
signal chords_of(dice& d, double seconds) {
  signal x(static_cast<size_t>(seconds * kRate));
  for (double at = 0.0; at < seconds; at += d.uniform(0.8, 3.0)) {
    const double root = d.geometric(110.0, 220.0), decay = d.once_in(2) ? 0.3 : 3.0;
    const double thirds[2][4] = {{0.5, 1.0, 1.2599, 1.4983}, {0.5, 1.0, 1.1892, 1.4983}};
    const auto& ratios = thirds[d.roll(2)];
    const double length = d.uniform(0.8, 3.0);
    for (double ratio : ratios)
      for (int partial = 1; partial <= 8; ++partial) {
        const double f = root * ratio * partial * d.uniform(0.999, 1.001);
        const double a = d.uniform(0.5, 1.0) / partial, phase = d.uniform(0, kTurn);
        const auto first = static_cast<size_t>(at * kRate);
        const auto last = std::min(x.size(), first + static_cast<size_t>(length * kRate));
        for (size_t i = first; i < last; ++i) {
          const double t = static_cast<double>(i - first) / kRate;
          const double fade = std::min({1.0, t / 0.01, (length - t) / 0.05});
          x[i] +=
              static_cast<float>(a * fade * std::exp(-t / decay) * std::sin(kTurn * f * t + phase));
        }
      }
  }
  return x;
}

template <typename Sound>
signal notes(unsigned seed, Sound sound) {
  dice d(seed);
  signal x(static_cast<size_t>(20.0 * kRate));
  size_t at = 0;
  while (at < x.size()) {
    const double f = d.geometric(200.0, 2500.0), length = d.geometric(0.2, 3.0);
    const double attack = d.geometric(0.01, 0.2), release = d.geometric(0.02, 0.2);
    const double level = std::pow(10.0, d.uniform(-36.0, -14.0) / 20.0);
    const auto n = static_cast<size_t>(length * kRate);
    for (size_t i = 0; i < n && at + i < x.size(); ++i) {
      const double t = static_cast<double>(i) / kRate;
      const double fade = std::min({1.0, t / attack, (length - t) / release});
      x[at + i] += static_cast<float>(1.414 * level * fade * sound(d, f, t));
    }
    at += n + static_cast<size_t>(d.uniform(0.0, 0.3) * kRate);
  }
  return x;
}

signal through_hand(signal h, dice& d) {
  section::peak(d.geometric(800.0, 2500.0), d.uniform(1.5, 4.0), d.uniform(4.0, 8.0)).run(h);
  section::low_pass(3500.0).run(h);
  return h;
}

signal room_of(dice& d, bool narrow) {
  const double decay = d.uniform(0.15, 0.6), ratio_db = d.uniform(-3.0, 6.0);
  const int delay = static_cast<int>(d.uniform(3.0, 15.0) * 48.0);
  const int length = delay + static_cast<int>(decay * kRate);
  signal h(static_cast<size_t>(length));
  double energy = 0.0, low = 0.0;
  for (int i = delay + 96; i < length; ++i) {
    const double t = (i - delay) / kRate, white = d.gaussian();
    low += 0.25 * (white - low);
    const double v =
        low * std::exp(-6.9 * t / decay) + (white - low) * 0.5 * std::exp(-13.8 * t / decay);
    h[static_cast<size_t>(i)] = static_cast<float>(v);
    energy += v * v;
  }
  const double direct = std::sqrt(energy) * std::pow(10.0, ratio_db / 20.0);
  h[static_cast<size_t>(delay)] += static_cast<float>(direct);
  for (int r = 0; r < 8; ++r) {
    const auto at = static_cast<size_t>(delay + static_cast<int>(d.uniform(48.0, 1200.0)));
    if (at < h.size()) h[at] += static_cast<float>(direct * d.uniform(-0.5, 0.5));
  }
  const bool usual = narrow || d.once_in(2);
  section::high_pass(usual ? 200.0 : d.geometric(120.0, 350.0)).run(h);
  section::low_pass(usual ? 7000.0 : d.geometric(4000.0, 9000.0)).run(h);
  for (unsigned r = d.roll(narrow ? 3 : 4); r > 0; --r)
    section::peak(d.geometric(300.0, 6000.0), d.geometric(1.5, 8.0), d.uniform(3.0, 9.0)).run(h);
  return h;
}

signal levelled(signal x, double level_db) {
  bring_to(x, level_db);
  return x;
}

}  // namespace

world world_of(unsigned seed) {
  dice d(seed);
  world w = {};
  const bool narrow = seed >= kNarrow;
  w.response = room_of(d, narrow);
  if (!narrow && d.once_in(4)) w.covered = through_hand(w.response, d);
  const double open_db = unprotected_limit_db(w.response);
  double limit_db = open_db;
  if (!w.covered.empty()) limit_db = std::min(limit_db, unprotected_limit_db(w.covered));
  w.open_limit_db = open_db - limit_db;
  const auto gain = static_cast<float>(std::pow(10.0, limit_db / 20.0));
  for (signal* h : {&w.response, &w.covered})
    for (float& v : *h) v *= gain;
  if (narrow) {
    dice speaker(seed % 4);
    w.level_db = -30.0;
    w.voice = levelled(speech_of(speaker, 20.0), w.level_db);
    return w;
  }
  w.level_db = d.uniform(-40.0, -18.0);
  const unsigned which = d.roll(5);
  w.kind = which < 3    ? voice_kind::speech
           : which == 3 ? voice_kind::singing
                        : voice_kind::speech_beside_music;
  w.voice = w.kind == voice_kind::singing ? singing_of(d, 24.0) : speech_of(d, 24.0);
  bring_to(w.voice, w.level_db);
  if (w.kind == voice_kind::speech_beside_music) {
    const signal music = levelled(chords_of(d, 24.0), w.level_db - d.uniform(6.0, 15.0));
    for (size_t i = 0; i < w.voice.size(); ++i) w.voice[i] += music[i];
  }
  return w;
}

signal sine_notes(unsigned seed) {
  return notes(seed, [](dice&, double f, double t) { return std::sin(kTurn * f * t); });
}

signal flute_notes(unsigned seed) {
  return notes(seed, [](dice& d, double f, double t) {
    const double turn = kTurn * (f * t + 0.0002 * f * std::sin(kTurn * 5.0 * t));
    return std::sin(turn) + 0.2 * std::sin(2 * turn) + 0.08 * std::sin(3 * turn) +
           0.02 * d.uniform(-1, 1);
  });
}

signal speech_alone(unsigned seed, double level_db) {
  dice d(seed);
  return levelled(speech_of(d, 20.0), level_db);
}
signal singing_alone(unsigned seed, double level_db) {
  dice d(seed);
  return levelled(singing_of(d, 20.0), level_db);
}
signal chords_alone(unsigned seed, double level_db) {
  dice d(seed);
  return levelled(chords_of(d, 20.0), level_db);
}
