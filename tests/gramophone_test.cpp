#include "ktv/gramophone.h"

#include <gtest/gtest.h>

#include "support/signals.h"
#include "support/splits.h"

namespace {

int overdriven(int x) {
  overdrive_process(&x, &x);
  return x;
}

int bit_shifted(int y) {
  bit_shift_porocess(&y, &y);
  return y;
}

// Every test here works on a fresh one.
struct Gramophone : testing::Test {
  gramophone effect;
  Gramophone() { gramophone_init(&effect); }
  ~Gramophone() override { gramophone_end(&effect); }

  samples played(samples x) {
    gramophone_process(&effect, x.data(), x.data(), static_cast<int>(x.size()));
    return x;
  }

  // Gain of the band-pass alone, measured on a settled full-scale tone.
  double band_pass_db(double frequency) {
    elliptic_resetstate(effect.filter);
    samples in = sine(14400, frequency, 48000.0, kFullScale), out(in.size());
    for (size_t i = 0; i < in.size(); ++i) elliptic_process(effect.filter, &in[i], &out[i]);
    return gain_db(in, out, frequency, 48000.0, 4800);
  }
};

}  // namespace

TEST(Overdrive, JoinsItsThreePiecesBitForBitOnBothSides) {
  const struct {
    int x, y;
  } joints[] = {{0, 0},
                {1, 4},
                {1398100, 5592400},  // last linear value
                {1398101, 5592405},  // first bent one
                {2097152, 7689557},  // t = 4194302, t^2 / 6 = 699050 * 2^22 + 2/3
                {2796202, 8388607},  // last bent one, t = 2
                {2796203, 8388607},
                {3000000, 8388607}};
  for (const auto [x, y] : joints) {
    EXPECT_EQ(overdriven(x), y);
    EXPECT_EQ(overdriven(-x), -y);
  }
}

TEST(Overdrive, FollowsTheParabolaAtEveryInputOfTheMiddlePiece) {
  for (int x = 1398101; x <= 2796202; ++x) {
    const int64_t t = 16777214 - 6LL * x;
    const int y = 8388607 - static_cast<int>(t * t / 6 >> 22);
    if (overdriven(x) != y || overdriven(-x) != -y) FAIL() << "at " << x;
  }
}

TEST(Overdrive, WrapsTheDoubledInputFarOutsideOfTheFormat) {
  constexpr int kTurn = 1 << 30;
  EXPECT_EQ(overdriven(kTurn - 1), 8388607);
  EXPECT_EQ(overdriven(kTurn), 0);
  EXPECT_EQ(overdriven(kTurn + 1), -8388607);
  EXPECT_EQ(overdriven(-kTurn + 1), -8388607);
  EXPECT_EQ(overdriven(-kTurn), 0);
  EXPECT_EQ(overdriven(-kTurn - 1), 8388607);
  EXPECT_EQ(overdriven(INT32_MAX), -4);
  EXPECT_EQ(overdriven(INT32_MIN), 0);
  EXPECT_EQ(overdriven(INT32_MIN + 1398101), 5592405);
  EXPECT_EQ(overdriven(INT32_MAX - 1398100), -5592405);
}

TEST(BitShift, AddsTheLowBitsOfTheMagnitudeOnBothBranches) {
  EXPECT_EQ(bit_shifted(0), 0);
  EXPECT_EQ(bit_shifted(0x12345), 0x12345 + 0x2345);
  EXPECT_EQ(bit_shifted(65535), 131070);
  EXPECT_EQ(bit_shifted(65536), 65536);
  EXPECT_EQ(bit_shifted(-1), -1);
  EXPECT_EQ(bit_shifted(-2), -3);
  EXPECT_EQ(bit_shifted(-65536), -65536 - 65535);
  EXPECT_EQ(bit_shifted(-65537), -65537);
  EXPECT_EQ(bit_shifted(INT32_MAX), INT32_MIN + 65534);
  EXPECT_EQ(bit_shifted(INT32_MIN), INT32_MAX - 65534);
}

TEST_F(Gramophone, IsOffWhenFreshAndKeepsTheStatusItIsGiven) {
  int status = -1;
  gramophone_getstatus(&effect, &status);
  EXPECT_EQ(status, 0);
  gramophone_setstatus(&effect, 7);
  gramophone_getstatus(&effect, &status);
  EXPECT_EQ(status, 7);
  gramophone_end(&effect);
  EXPECT_EQ(effect.filter, nullptr);
  gramophone_end(&effect);
}

// 2^20 leaves both shaping steps as exactly 2^22, so the band-pass rings alone. Inside, 5 bits up:
// 617 * 2^27 / 2^20 = 78976, then -1060 * 2^27 / 2^20 + 5909563 * 78976 / 2^20 = 309412.8.
TEST_F(Gramophone, RingsAsWorkedOutByHandAfterAnImpulse) {
  EXPECT_EQ(played({1 << 20, 0}), samples({78976 / 32, 309412 / 32}));
}

TEST_F(Gramophone, PassesTheBandOfAHornAndNothingAroundIt) {
  const double top = band_pass_db(950.0);
  EXPECT_NEAR(top, 2.17, 0.02);
  EXPECT_NEAR(band_pass_db(814.0), top - 3.0, 0.03);
  EXPECT_NEAR(band_pass_db(1722.0), top - 3.0, 0.03);
  EXPECT_NEAR(band_pass_db(50.0), top - 63.9, 0.1);
  EXPECT_NEAR(band_pass_db(10000.0), top - 68.1, 0.1);
}

TEST_F(Gramophone, GivesTheSameBitsSampleBySampleInSplitsAndInPlace) {
  constexpr int kFrames = 3000;
  samples in = wild(kFrames, 1), expected(in.size()), out(in.size());
  for (size_t i = 0; i < in.size(); ++i) {
    int y = bit_shifted(overdriven(in[i]));
    elliptic_process(effect.filter, &y, &expected[i]);
  }
  elliptic_resetstate(effect.filter);
  over_random_splits(kFrames, 700, 2, [&](int start, int count) {
    gramophone_process(&effect, in.data() + start, out.data() + start, count);
  });
  EXPECT_EQ(out, expected);
  elliptic_resetstate(effect.filter);
  EXPECT_EQ(played(in), expected);
  gramophone_process(&effect, nullptr, nullptr, 0);
  gramophone_process(&effect, nullptr, nullptr, -5);
}

// Clipped full scale with the signs of the reversed impulse response adds up every part of it: the
// largest output there is, far from the 2^26 at which the band-pass would wrap.
TEST_F(Gramophone, StaysInsideOfTheWordOnTheWorstSignal) {
  constexpr int kHeight = 1 << 25;
  samples worst = impulse(600, kHeight);
  for (int& v : worst) elliptic_process(effect.filter, &v, &v);
  std::reverse(worst.begin(), worst.end());
  double sum = 0.0;
  for (int& v : worst) {
    sum += std::abs(v) / double(kHeight);
    v = v < 0 ? -kFullScale : kFullScale;
  }
  EXPECT_NEAR(sum, 2.16, 0.02) << "the magnitudes of the filter's impulse response";
  elliptic_resetstate(effect.filter);
  EXPECT_NEAR(played(worst).back(), sum * (kFullScale + 65535), 2e5);
}

// The recursion rounds down by half a step on average, with a gain of 2^20 / 17 at 0 Hz and 5 bits
// of scale: -0.5 * 61681 / 32 = -964.
TEST_F(Gramophone, IsSilentUntilTheFirstSoundAndThenRestsOnTheOffsetOfItsRounding) {
  EXPECT_EQ(peak(played(samples(1000))), 0);
  played(noise(1000, kFullScale, 3));
  played(samples(24000));
  const samples rest = played(samples(48000));
  EXPECT_NEAR(spectrum_at(rest, 0.0, 48000.0).real() / 48000.0, -964.0, 5.0);
  EXPECT_LT(peak(rest), 3500);
}
