#include "ktv/iirecho.h"

#include <gtest/gtest.h>

#include "dsp/fixed.h"
#include "support/signals.h"
#include "support/splits.h"

namespace {

constexpr double kRate = 48000.0;

struct stereo {
  samples left, right;
};

// Every test here works on a fresh one.
struct Echo : testing::Test {
  iirecho echo;
  Echo() { iirecho_init(&echo); }
  ~Echo() override { iirecho_end(&echo); }

  void set(int milliseconds, int feedback, int dry, int wet) {
    iirecho_setdelay(&echo, milliseconds);
    iirecho_setfeedback(&echo, feedback);
    iirecho_setdry(&echo, dry);
    iirecho_setwet(&echo, wet);
  }

  stereo played(const samples& left, const samples& right) {
    stereo x{left, right};
    iirecho_processStereo(&echo, x.left.data(), x.right.data(), x.left.data(), x.right.data(),
                          static_cast<int>(left.size()));
    return x;
  }
  stereo played(const samples& mono) { return played(mono, mono); }
  stereo silence(int n) { return played(samples(static_cast<size_t>(n))); }

  void expect_loops(int left, int right) {
    int delay = 0;
    iircomber_getdelay(echo.comb_left, &delay);
    EXPECT_EQ(delay, left);
    iircomber_getdelay(echo.comb_right, &delay);
    EXPECT_EQ(delay, right);
  }
};

int loudest(const stereo& x) { return std::max(peak(x.left), peak(x.right)); }

}  // namespace

TEST_F(Echo, IsOnWhenFreshWithAGentleEchoAndUnityForTheDirectSignal) {
  int value = 0;
  iirecho_getstatus(&echo, &value);
  EXPECT_EQ(value, 1);
  iirecho_getfeedback(&echo, &value);
  EXPECT_EQ(value, 4096);
  iirecho_getdelay(&echo, &value);
  EXPECT_EQ(value, 1);
  iirecho_getdry(&echo, &value);
  EXPECT_EQ(value, 2703);
  iirecho_getwet(&echo, &value);
  EXPECT_EQ(value, 5489);
  expect_loops(48, 72);
  const samples start = noise(48, kFullScale, 1);
  for (int v : start) EXPECT_EQ(played({v}).left[0], silence_minus_one(v)) << "dry + wet = 8192";
  iirecho_end(&echo);
  EXPECT_EQ(echo.comb_left, nullptr);
  EXPECT_EQ(echo.comb_right, nullptr);
  iirecho_end(&echo);
}

TEST_F(Echo, DerivesItsLoopsFromTheDelayWithinTheirCapacity) {
  int delay = 0;
  iirecho_setdelay(&echo, 400);
  iirecho_getdelay(&echo, &delay);
  EXPECT_EQ(delay, 350);
  expect_loops(16800, 16824);
  iirecho_setdelay(&echo, 100);
  expect_loops(4800, 4824);
  iirecho_setdelay(&echo, -1);
  iirecho_getdelay(&echo, &delay);
  EXPECT_EQ(delay, -1);
  expect_loops(-48, -24);
  iirecho_setdelay(&echo, -89478485);  // * 48 = 16 - 2^32
  expect_loops(16, 40);
  iirecho_setdelay(&echo, INT32_MIN);
  expect_loops(0, 24);
}

// The loop filter's answer to 8192, at a loop gain of 1: 4096 first, then 4096 - 0.69995 * 4096 =
// 1229, and from there on times -0.69995, rounded down.
TEST_F(Echo, RepeatsAnImpulseAsWorkedOutByHandHalfAMillisecondLaterOnTheRight) {
  const int repeat[] = {4096, 1229, -861, 602, -422};
  for (int milliseconds : {1, 7, 350}) {
    set(milliseconds, 8192, 0, 8192);
    const int right = milliseconds * 48 + 24;
    samples expected = impulse(right + 5, 8192);
    std::copy_n(repeat, 5, expected.begin() + right);
    const stereo y = played(impulse(right + 5, 8192));
    EXPECT_EQ(y.right, expected);
    expected.erase(expected.begin() + 1, expected.begin() + 25);  // 24 samples less of silence
    EXPECT_EQ(samples(y.left.begin(), y.left.end() - 24), expected);
  }
}

// Against the closed form g F, F(z) = 0.5 (1 + z^-1) / (1 + 0.69995 z^-1): feedback / 13926 at 0
// Hz, hardly less at 10 kHz, clearly less at 20 kHz.
TEST_F(Echo, FadesFromRepeatToRepeatByTheLoopFiltersGainAtEveryFrequency) {
  constexpr int kLoop = 480, kHeight = 1 << 26;
  for (int feedback : {4096, 8192, -8192, 12000}) {
    set(10, feedback, 0, 8192);
    const samples y = played(impulse(4 * kLoop, kHeight)).left;
    for (double frequency : {0.0, 1000.0, 10000.0, 20000.0}) {
      const std::complex<double> z = std::polar(1.0, -2.0 * std::numbers::pi * frequency / kRate);
      const std::complex<double> fade =
          feedback / 8192.0 * 0.5 * (1.0 + z) / (1.0 + 5734.0 / 8192.0 * z);
      if (frequency == 0.0) {
        EXPECT_NEAR(fade.real(), feedback / 13926.0, 1e-12);
      }
      std::complex<double> expected = kHeight;
      for (int k = 0; k < 4; ++k, expected *= fade) {
        const samples one(y.begin() + k * kLoop, y.begin() + (k + 1) * kLoop);
        EXPECT_LT(std::abs(spectrum_at(one, frequency, kRate) / expected - 1.0), 1e-4)
            << "repeat " << k << " at " << frequency << " Hz, feedback " << feedback;
      }
    }
  }
}

// 24 bits fade by 10.6 dB (4.6 dB) a repeat: 14 (32) repeats, and some for the rounding.
TEST_F(Echo, EndsItsTailInExactSilence) {
  const struct { int feedback, repeats; } tails[] = {{4096, 16}, {8192, 35}, {-8192, 35}};
  for (const auto [feedback, repeats] : tails) {
    for (const samples& sound :
         {noise(2000, kFullScale, 5), samples(2000, kFullScale), samples(2000, -kFullScale)}) {
      set(10, feedback, 2703, 5489);
      played(sound);
      EXPECT_GT(loudest(silence(5 * 480)), 1000);
      silence((repeats - 5) * 480);
      EXPECT_EQ(loudest(silence(1000)), 0) << "feedback " << feedback;
    }
  }
}

TEST_F(Echo, CutsTheTailWhenFeedbackOrDelayAreSetAndOnlyThen) {
  set(5, 8192, 0, 8192);
  const samples sound = noise(1000, kFullScale, 6);
  played(sound);
  iirecho_setfeedback(&echo, 8192);
  EXPECT_EQ(loudest(silence(1000)), 0);
  played(sound);
  iirecho_setdelay(&echo, 5);
  EXPECT_EQ(loudest(silence(1000)), 0);
  played(sound);
  iirecho_update(&echo);
  EXPECT_EQ(loudest(silence(1000)), 0);

  played(sound);
  const stereo tail = silence(100);
  EXPECT_GT(loudest(tail), 1000000);
  iirecho_update(&echo);
  played(sound);
  iirecho_setwet(&echo, 16384);
  iirecho_setdry(&echo, 1);
  iirecho_setstatus(&echo, 0);
  const stereo louder = silence(100);
  for (size_t i = 0; i < 100; ++i) EXPECT_EQ(louder.left[i], 2 * tail.left[i]);
}

TEST_F(Echo, PassesEveryWordButMinusOneWithoutTheWetSignal) {
  set(3, 8192, 8192, 0);
  const samples x = wild(2000, 7);
  const samples y = played(x).left;
  for (size_t i = 0; i < x.size(); ++i) ASSERT_EQ(y[i], silence_minus_one(x[i]));
}

// Channel by channel and sample by sample against the combs' own one-sample function, with any word
// for each setting, in one long call and in splits, for every way in which the four buffers can
// coincide.
TEST_F(Echo, GivesTheBitsOfSingleSamplesHoweverTheStreamIsCutAndTheBuffersCoincide) {
  constexpr int kFrames = 1500;
  const struct {
    int delay, feedback, dry, wet;
  } settings[] = {{1, 4096, 2703, 5489},
                  {9, INT32_MIN, INT32_MIN, INT32_MIN},
                  {0, -14000, INT32_MAX, -8192},
                  {-3, 8192, 1, INT32_MAX}};
  const struct {
    int in_left, in_right, out_left, out_right;
  } layouts[] = {{0, 1, 2, 3}, {0, 1, 0, 1}, {0, 1, 1, 0}, {0, 0, 0, 1},
                 {0, 0, 1, 0}, {0, 1, 2, 2}, {0, 1, 0, 0}, {0, 0, 0, 0}};
  for (const auto s : settings) {
    for (const auto p : layouts) {
      for (int longest : {1, 300, kFrames}) {
        samples expected[] = {wild(kFrames, 8), wild(kFrames, 9), samples(kFrames),
                              samples(kFrames)};
        samples got[4];
        std::copy_n(expected, 4, got);
        set(s.delay, s.feedback, s.dry, s.wet);
        for (size_t i = 0; i < kFrames; ++i) {
          const int left = expected[p.in_left][i], right = expected[p.in_right][i];
          const auto mix = [&](int x, int wet) {
            return scale_down_wrapping<13>(wrap_add64(int64_t{s.dry} * x, int64_t{s.wet} * wet));
          };
          expected[p.out_left][i] = mix(left, iircomber_process(left, echo.comb_left));
          expected[p.out_right][i] = mix(right, iircomber_process(right, echo.comb_right));
        }
        iirecho_update(&echo);
        over_random_splits(kFrames, longest, 10, [&](int start, int count) {
          iirecho_processStereo(&echo, &got[p.in_left][static_cast<size_t>(start)],
                                &got[p.in_right][static_cast<size_t>(start)],
                                &got[p.out_left][static_cast<size_t>(start)],
                                &got[p.out_right][static_cast<size_t>(start)], count);
        });
        for (int k = 0; k < 4; ++k) ASSERT_EQ(got[k], expected[k]);
      }
    }
  }
  iirecho_processStereo(&echo, nullptr, nullptr, nullptr, nullptr, 0);
  iirecho_processStereo(&echo, nullptr, nullptr, nullptr, nullptr, -5);
}
