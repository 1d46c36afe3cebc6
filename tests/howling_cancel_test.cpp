#include "ktv/howling_cancel.h"

#include <gtest/gtest.h>

#include <complex>

#include "support/signals.h"

namespace {

constexpr double kRate = 48000.0;
constexpr int kPeriod = 240;

// A loudspeaker's resonance and four reflections on the way back to the microphone: the loop turns
// by whole circles every 76 Hz and is loudest near the resonance. Unprotected it holds up to a gain
// of about 1. A hall has a broad resonance and more echoes: its loop is loud at many frequencies.
class small_room {
 public:
  small_room(double resonance, double gain, bool hall = false) : gain_(gain), hall_(hall) {
    const double w = 2.0 * std::numbers::pi * resonance / kRate, r = hall ? 0.9 : 0.99;
    a1_ = -2.0 * r * std::cos(w);
    a2_ = r * r;
    b_ = (1.0 - r * r) / 2.0;
  }
  // What the microphone hears of one period of the loudspeaker, added to x.
  void add_to(int* x) {
    for (int i = 0; i < kPeriod; ++i) {
      const auto echo = [&](size_t delay) {
        return past_[(now_ + past_.size() - delay) % past_.size()];
      };
      double y = 0.7 * echo(390) - 0.2 * echo(523) + 0.1 * (echo(611) + echo(897));
      if (hall_) y += 0.4 * (echo(1333) - echo(1777) + echo(2311) + echo(2903) - echo(3301));
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
  void play(const int* x) { std::copy_n(x, kPeriod, speaker_); }

 private:
  std::vector<double> past_ = std::vector<double>(4096);
  int speaker_[kPeriod] = {};
  size_t now_ = 0;
  double gain_;
  bool hall_;
  double b_, a1_, a2_, x1_ = 0, x2_ = 0, y1_ = 0, y2_ = 0;
};

struct Howling : testing::Test {
  howlingCancel canceller;
  Howling() { howling_canceling_init(&canceller); }
  ~Howling() override { howling_canceling_end(&canceller); }

  samples played(samples x) {
    howling_canceling_process(&canceller, x.data(), x.data(), static_cast<int>(x.size()));
    return x;
  }
  int placed() const {
    int count = 0;
    for (const howling_place& place : canceller.places) count += place.depth > 0;
    return count;
  }
  int gain_left() {
    int gain = 0;
    howling_canceling_get_gain(&canceller, &gain);
    return gain;
  }
};

// A buzz through three vowel resonances, a new vowel and a gliding pitch every 0.2 s, with pauses.
samples voice(double seconds, double amplitude, unsigned seed = 1) {
  std::mt19937 generator(seed);
  const auto uniform = [&](double low, double high) {
    return low + (high - low) * (generator() / 4294967296.0);
  };
  const int n = static_cast<int>(seconds * kRate), syllable = 9600;
  std::vector<double> x(static_cast<size_t>(n));
  double pitch = 120.0, glide = 0.0, turn = 0.0, formant[3] = {}, state[3][2] = {};
  bool pause = false;
  for (int i = 0; i < n; ++i) {
    if (i % syllable == 0) {
      pitch = uniform(95.0, 230.0);
      glide = uniform(-0.3, 0.3) / syllable;
      pause = generator() % 5 == 0;
      formant[0] = uniform(300.0, 800.0);
      formant[1] = uniform(900.0, 2200.0);
      formant[2] = uniform(2400.0, 3200.0);
    }
    pitch *= 1.0 + glide;
    turn += pitch / kRate;
    double pulse = 0.0;
    if (turn >= 1.0) {
      turn -= 1.0;
      pulse = pause ? 0.0 : 1.0;
    }
    for (int k = 0; k < 3; ++k) {
      const double r = std::exp(-std::numbers::pi * 90.0 / kRate);
      const double y =
          pulse + 2.0 * r * std::cos(2.0 * std::numbers::pi * formant[k] / kRate) * state[k][0] -
          r * r * state[k][1];
      state[k][1] = state[k][0];
      state[k][0] = y;
      x[static_cast<size_t>(i)] += y / (k + 1);
    }
  }
  double largest = 0.0;
  for (double v : x) largest = std::max(largest, std::abs(v));
  samples out;
  for (double v : x) out.push_back(static_cast<int>(std::lround(amplitude * v / largest)));
  return out;
}

// RMS at the loudspeaker over the last second.
double loop_level(const samples& sung, double resonance, double gain, howlingCancel* canceller,
                  bool hall = false) {
  small_room room(resonance, gain, hall);
  const int n = static_cast<int>(sung.size()) / kPeriod * kPeriod;
  double power = 0.0;
  for (int start = 0; start < n; start += kPeriod) {
    int x[kPeriod];
    std::copy_n(sung.begin() + start, kPeriod, x);
    room.add_to(x);
    if (canceller) howling_canceling_process(canceller, x, x, kPeriod);
    room.play(x);
    if (start >= n - 48000)
      for (int v : x) power += double(v) * v / 48000.0;
  }
  return std::sqrt(power);
}

double rms(const samples& x, size_t first) {
  double power = 0.0;
  for (size_t i = first; i < x.size(); ++i) power += double(x[i]) * x[i];
  return std::sqrt(power / static_cast<double>(x.size() - first));
}

}  // namespace

TEST_F(Howling, KeepsALoopFromHowling) {
  const samples sung = voice(5.0, 400000.0);
  const double alone = rms(sung, sung.size() - 48000);
  for (const double resonance : {480.0, 1250.0, 2900.0, 4700.0}) {
    howling_canceling_reset(&canceller);
    EXPECT_GT(loop_level(sung, resonance, 1.9, nullptr), 20.0 * alone) << resonance;
    EXPECT_LT(loop_level(sung, resonance, 1.9, &canceller), 2.0 * alone) << resonance;
    EXPECT_GE(placed(), 1);
  }
}

TEST_F(Howling, EndsASaturatedHowl) {
  small_room room(1250.0, 1.9);
  int x[kPeriod] = {100000};
  double before = 0.0, after = 0.0;
  for (int p = 0; p < 400; ++p) {  // 1 s without, 1 s with; the level in the last 50 ms of each
    if (p > 0) std::fill_n(x, kPeriod, 0);
    room.add_to(x);
    if (p >= 200) howling_canceling_process(&canceller, x, x, kPeriod);
    room.play(x);
    for (int v : x) {
      if (p >= 190 && p < 200) before += double(v) * v;
      if (p >= 290 && p < 300) after += double(v) * v;  // half a second after
    }
  }
  EXPECT_GT(before, 2400.0 * 0.1 * kFullScale * double{kFullScale});
  EXPECT_LT(10.0 * std::log10(after / before), -20.0);
}

TEST_F(Howling, PassesSpeechBitForBit) {
  for (unsigned seed : {2U, 3U, 4U}) {
    howling_canceling_reset(&canceller);
    const samples x = voice(4.0, 1500000.0, seed);
    EXPECT_TRUE(played(x) == x) << seed;
  }
}

TEST_F(Howling, LeavesAChordAlone) {
  samples chord(5 * 48000);
  for (const double f : {261.6, 329.6, 392.0, 523.3})
    for (int harmonic = 1; harmonic <= 8; ++harmonic) {
      const samples tone =
          sine(static_cast<int>(chord.size()), f * harmonic, kRate, 2e5 / harmonic);
      for (size_t i = 0; i < chord.size(); ++i) chord[i] += tone[i];
    }
  const samples out = played(chord);
  EXPECT_GT(decibels(rms(out, 0) / rms(chord, 0)), -0.5);
}

// A pure tone is taken for a howl at first, but goes on in front of the notch.
TEST_F(Howling, GivesAToneFromOutsideBack) {
  const samples tone = sine(3 * 48000, 1000.0, kRate, 3e6);
  const samples out = played(tone);
  int most = 0;
  for (const howling_outsider& o : canceller.outsiders) most = std::max(most, o.position);
  EXPECT_NEAR(most * 93.75 / 256.0, 1000.0, 5.0);
  EXPECT_GT(decibels(rms(out, 0) / rms(tone, 0)), -1.0);
  EXPECT_EQ(placed(), 0);
}

TEST_F(Howling, KeepsSilenceSilent) {
  loop_level(voice(2.0, 400000.0), 1250.0, 1.9, &canceller);
  ASSERT_GE(placed(), 1);
  samples out;
  for (int i = 0; i < 3; ++i) out = played(samples(24000));
  EXPECT_EQ(peak(out), 0);
}

TEST_F(Howling, FadesItsNotches) {
  samples tone = sine(2 * 48000, 1000.0, kRate, 3e6);
  const samples out = played(tone);
  // The steepest bend of the tone is amplitude w^2; the fades may add as much again.
  const double w = 2.0 * std::numbers::pi * 1000.0 / kRate;
  for (size_t i = 2; i < out.size(); ++i)
    ASSERT_LT(std::abs(double(out[i]) - 2.0 * out[i - 1] + out[i - 2]), 2.0 * 3e6 * w * w) << i;
}

// What is at a frequency in the second half of x, as the amplitude of a sine; Hann window.
double amplitude_at(const samples& x, double frequency) {
  std::complex<double> sum = 0.0;
  const size_t half = x.size() / 2;
  for (size_t i = 0; i < half; ++i) {
    const double t = static_cast<double>(i), n = static_cast<double>(half);
    sum += (1.0 - std::cos(2.0 * std::numbers::pi * t / n)) * x[half + i] *
           std::polar(2.0 / n, -2.0 * std::numbers::pi * frequency * t / kRate);
  }
  return std::abs(sum);
}

TEST_F(Howling, ShiftsAllFrequenciesAlike) {
  for (const auto& [rate, per_hertz] :
       {std::pair{SAMPLE_RATE_48000, 1.0}, {SAMPLE_RATE_96000, 0.5}})
    for (const double f : {80.0, 137.0, 440.0, 1000.0, 3700.0, 9000.0, 16000.0}) {
      howling_canceling_reset(&canceller);
      howling_canceling_set_sample_rate(&canceller, rate);
      howling_canceling_set_shift(&canceller, 4);
      const double amplitude = 40000.0, by = 4.0 * per_hertz;  // too soft for a notch
      const samples out = played(sine(2 * 48000, f, kRate, amplitude));
      EXPECT_NEAR(decibels(amplitude_at(out, f + by) / amplitude), 0.0, 0.1) << f;
      EXPECT_LT(decibels(amplitude_at(out, f - by) / amplitude), -60.0) << f;
      EXPECT_LT(decibels(amplitude_at(out, f) / amplitude), -60.0) << f;
    }
}

// Loops of one frequency each, a multiple of 200 Hz: resonances that the loudspeaker feeds one period
// later.
class narrow_loops {
 public:
  explicit narrow_loops(std::initializer_list<double> frequencies) {
    for (const double f : frequencies)
      modes_.push_back({2.0 * kRadius * std::cos(2.0 * std::numbers::pi * f / kRate)});
  }
  // So many periods in which the first few are closed; the highest peak in the last 50 ms.
  int run(int periods, size_t closed, howlingCancel* canceller) {
    int highest = 0;
    for (int p = 0; p < periods; ++p) {
      for (int& v : period_) v = heard(v, closed);
      if (p >= periods - 10) highest = std::max(highest, peak(samples(period_, period_ + kPeriod)));
      howling_canceling_process(canceller, period_, period_, kPeriod);
    }
    return highest;
  }

 private:
  static constexpr double kRadius = 0.995, kGain = 1.3;
  struct mode {
    double turn, y1 = 0.0, y2 = 0.0;
  };
  // The microphone's next sample, noise of -78 dBFS among it.
  int heard(int played, size_t closed) {
    double sum = static_cast<int>(generator_() % 2001) - 1000;
    for (size_t k = 0; k < closed; ++k) {
      auto& [turn, y1, y2] = modes_[k];
      const double y =
          kGain * (1.0 - kRadius) * (played - x2_) + turn * y1 - kRadius * kRadius * y2;
      y2 = std::exchange(y1, y);
      sum += y;
    }
    x2_ = std::exchange(x1_, played);
    return static_cast<int>(std::clamp(sum, -double{kFullScale}, double{kFullScale}));
  }

  std::vector<mode> modes_;
  std::mt19937 generator_{1};
  double x1_ = 0.0, x2_ = 0.0;
  int period_[kPeriod] = {};
};

// One after the other begins; then those return whose notches were given up, and stay notched.
void fill_places(narrow_loops& loops, howlingCancel* canceller) {
  for (size_t closed = 1; closed <= 5; ++closed) loops.run(80, closed, canceller);
  loops.run(800, 5, canceller);
}

double hertz(int position) { return position * 93.75 / 256.0; }

void expect_notches(const howlingCancel& canceller, const std::vector<double>& expected) {
  std::vector<double> found;
  for (const howling_place& place : canceller.places)
    if (place.depth > 0) found.push_back(hertz(place.position));
  std::sort(found.begin(), found.end());
  ASSERT_EQ(found.size(), expected.size());
  for (size_t i = 0; i < found.size(); ++i) EXPECT_NEAR(found[i], expected[i], 0.01 * expected[i]);
}

// Those for 800 and 1200 Hz stand closest. Each is 5/16 of its frequency wide: one over both goes from
// 675 to 1387.5 Hz.
TEST_F(Howling, JoinsTwoNotchesForASixthHowl) {
  narrow_loops loops({1200.0, 400.0, 4000.0, 800.0, 2200.0, 5600.0});
  fill_places(loops, &canceller);
  expect_notches(canceller, {400.0, 800.0, 1200.0, 2200.0, 4000.0});
  EXPECT_LT(loops.run(800, 6, &canceller), 2000);
  expect_notches(canceller, {400.0, 1031.25, 2200.0, 4000.0, 5600.0});
  const auto joined = std::find_if(
      canceller.places, canceller.places + 5,
      [](const howling_place& place) { return std::abs(hertz(place.position) - 1031.25) < 10.0; });
  ASSERT_NE(joined, canceller.places + 5);
  EXPECT_NEAR(hertz(joined->width), 712.5, 10.0);
}

// No two are close enough for one notch of 12/16.
TEST_F(Howling, GivesTheOldestNotchToASixthHowlWhereNoneJoin) {
  narrow_loops loops({1400.0, 400.0, 4200.0, 800.0, 2400.0, 5800.0});
  fill_places(loops, &canceller);
  expect_notches(canceller, {400.0, 800.0, 1400.0, 2400.0, 4200.0});
  const auto older = [](const howling_place& a, const howling_place& b) {
    return a.timer < b.timer;
  };
  const auto* oldest = std::max_element(canceller.places, canceller.places + 5, older);
  const auto taken = [&] { return std::abs(hertz(oldest->position) - 5800.0) < 58.0; };
  for (int p = 0; p < 200 && !taken(); ++p) loops.run(1, 6, &canceller);
  EXPECT_TRUE(taken());
}

// Glides from 2300 to 2390 Hz in 0.4 s, with pauses, as a howl's under the shift; or a voice's, whose
// third harmonic they are.
TEST_F(Howling, NotchesWhatGlidesAloneUnderTheShift) {
  const auto glides = [](int first, int last) {
    samples x(5 * 48000);
    for (size_t i = 0; i < x.size(); ++i) {
      const double t = static_cast<double>(i % 24000) / kRate;
      if (t > 0.4) continue;
      const double turns = 2300.0 * t + 112.5 * t * t;
      for (int k = first; k <= last; ++k)
        x[i] += static_cast<int>(2e5 * std::sin(2.0 * std::numbers::pi * turns * k / 3.0));
    }
    return x;
  };
  const samples howl = glides(3, 3), sung = glides(1, 6);
  EXPECT_TRUE(played(howl) == howl) << "without shift";
  howling_canceling_set_shift(&canceller, 5);
  played(sung);
  EXPECT_EQ(placed(), 0);
  played(howl);
  EXPECT_EQ(placed(), 1);
  EXPECT_NEAR(canceller.places[0].position * 0.366, 2345.0, 50.0);
}

// A loop that notches alone don't hold.
double hall_level(const samples& sung, howlingCancel* canceller) {
  return loop_level(sung, 1250.0, 1.6, canceller, true);
}

TEST_F(Howling, ShiftsWhenNotchesDontHold) {
  const samples sung = voice(10.0, 100000.0);
  const double alone = rms(sung, sung.size() - 48000);
  EXPECT_GT(hall_level(sung, &canceller), 10.0 * alone);
  for (const int mode : {0, 1}) {
    howling_canceling_reset(&canceller);
    howling_canceling_set_shift(&canceller, 5);
    howling_canceling_set_shift_mode(&canceller, mode);
    EXPECT_LT(hall_level(sung, &canceller), 4.0 * alone) << mode;
  }
  howling_canceling_reset(&canceller);  // 1 is still set
  EXPECT_TRUE(played(sung) == sung);
}

TEST_F(Howling, TakesGainAsTheLastResort) {
  const samples sung = voice(10.0, 100000.0);
  howling_canceling_set_last_resort(&canceller, 1);
  EXPECT_TRUE(played(sung) == sung);
  EXPECT_EQ(gain_left(), 8192);
  EXPECT_LT(hall_level(sung, &canceller), 4.0 * rms(sung, sung.size() - 48000));
  EXPECT_LT(gain_left(), 7000);
  EXPECT_GT(gain_left(), 800);
  for (int i = 0; i < 100; ++i) played(samples(48000));
  EXPECT_EQ(gain_left(), 8192);
}

// A tone is as good as a sixth howl, for the 0.2 s until the notches try it. It stands from its 20th frame
// on, and then takes 26 dB of gain in a second; if it is loud for what was heard before, doesn't fade
// and is more than a quarter of all that is heard.
TEST_F(Howling, TakesGainWhileASixthHowlStands) {
  howling_canceling_set_last_resort(&canceller, 1);
  const auto gain_after = [&](int tones, double dbfs, double fall) {
    howling_canceling_reset(&canceller);
    narrow_loops loops({1200.0, 400.0, 4000.0, 800.0, 2200.0});
    fill_places(loops, &canceller);
    EXPECT_EQ(gain_left(), 8192);
    samples x(9600);
    for (int k = 0; k < tones; ++k) {
      const samples tone = sine(9600, 3000.0 + 490.0 * k, kRate, kFullScale);
      for (size_t i = 0; i < x.size(); ++i)
        x[i] += static_cast<int>(tone[i] * std::pow(10.0, (dbfs - fall * i / kRate) / 20.0));
    }
    played(x);
    EXPECT_EQ(placed(), 5);
    return decibels(gain_left() / 8192.0);
  };
  EXPECT_NEAR(gain_after(1, -29.0, 0.0), -26.0 * (0.2 - 20 * 256 / kRate), 0.3);
  EXPECT_EQ(gain_after(1, -32.0, 0.0), 0.0) << "hardly louder than usual";
  EXPECT_EQ(gain_after(1, -7.0, 110.0), 0.0) << "fading";
  EXPECT_EQ(gain_after(6, -29.0, 0.0), 0.0) << "one of many";
}

// A tone through one, with and without another at work and a third made and ended meanwhile.
TEST(HowlingCancellers, ShareNothing) {
  const auto played = [](bool beside) {
    howlingCancel one, other, third;
    howling_canceling_init(&one);
    howling_canceling_init(&other);
    samples x = sine(48000, 1250.0, kRate, 3e6), y = sine(48000, 2900.0, kRate, 3e6);
    for (size_t start = 0; start < x.size(); start += kPeriod) {
      howling_canceling_process(&one, &x[start], &x[start], kPeriod);
      if (!beside) continue;
      howling_canceling_process(&other, &y[start], &y[start], kPeriod);
      howling_canceling_init(&third);
      howling_canceling_end(&third);
    }
    howling_canceling_end(&one);
    howling_canceling_end(&other);
    return x;
  };
  const samples alone = played(false);
  EXPECT_TRUE(alone != sine(48000, 1250.0, kRate, 3e6)) << "a notch was at work";
  EXPECT_TRUE(played(true) == alone);
}
