#include "ns/band_post.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>

#include "ns/band_post_internal.h"
#include "support/pcm16.h"

namespace {

constexpr int kFrame = 160;

// Distances from the mean and how many bins (or peaks) lie there.
struct group {
  int distance, count;
};

// Every test here works on a fresh instance of 129 bins.
struct BandPost : testing::Test {
  BPInfo_tag* bp = BP_ns_init(16000, 129);
  ~BandPost() override { BP_ns_delete(bp); }

  // A spectrum with a mean of 0, so that its values are the distances; the other bins at the mean.
  short app(std::initializer_list<group> groups, int shift = 0) {
    std::vector<unsigned short> spectrum;
    for (const auto [distance, count] : groups)
      spectrum.insert(spectrum.end(), size_t(count), static_cast<unsigned short>(distance));
    spectrum.resize(size_t(std::max(bp->bins, 0)));
    return BP_ns_app(bp, spectrum.data(), 0, static_cast<short>(shift));
  }

  void set_peaks(std::initializer_list<group> groups) {
    short* next = std::fill_n(bp->peak_history, 50, short{0}) - 50;
    for (const auto [distance, count] : groups)
      next = std::fill_n(next, count, static_cast<short>(distance));
    bp->peak_mean = 0;
  }

  pcm post(const pcm& x) {
    pcm y = x;
    BP_ns_post(bp, y.data(), int(y.size()), y.data());
    return y;
  }
};

pcm square(int amplitude, int n = kFrame) {
  pcm x(static_cast<size_t>(n));
  for (size_t i = 0; i < x.size(); ++i) x[i] = static_cast<short>(i % 2 ? -amplitude : amplitude);
  return x;
}

// For death tests, which look at standard error.
void show_standard_output() { dup2(STDERR_FILENO, STDOUT_FILENO); }

const auto kEndsWell = testing::ExitedWithCode(0);

}  // namespace

TEST(BandPostArithmetic, TakesLogarithmsAsWorkedOutByHand) {
  EXPECT_EQ(log_q8(1), 0);
  EXPECT_EQ(log_q8(2), 177);            // 256 * 45426 >> 16
  EXPECT_EQ(log_q8(3), 281);            // log2: 256 + 150
  EXPECT_EQ(log_q8(28), 853);           // 1024 + 207
  EXPECT_EQ(log_q8(0xFFFFFFFF), 5677);  // 31 * 256 + 255
  EXPECT_EQ(log_q8(0), 0);
  for (double x = 1.0; x < 4294967295.0; x *= 1.001) {
    const auto value = static_cast<uint32_t>(x);
    const double error = log_q8(value) - 256.0 * std::log(value);
    ASSERT_TRUE(error > -2.3 && error < 0.4) << value;
  }
}

TEST(BandPostArithmetic, BendsLikeTheLogisticFunction) {
  EXPECT_EQ(sigmoid(0), 16383);
  for (int x = -622591; x <= 622591; x += 101)
    ASSERT_NEAR(sigmoid(x), 32768.0 / (1.0 + std::exp(-x / 32768.0)), 25.1) << x;
  // From 11.1 on (ln 2^16 and a little for the truncated series) e^x has outgrown 31 bits.
  for (int x : {363725, 400000, 622591}) {
    EXPECT_EQ(sigmoid(x), 32767);
    EXPECT_EQ(sigmoid(-x), 0);
  }
}

TEST(BandPostArithmetic, DividesToFifteenBits) {
  EXPECT_EQ(s16_div_s16_s16(0, 5), 0);
  EXPECT_EQ(s16_div_s16_s16(1, 3), 10922);
  EXPECT_EQ(s16_div_s16_s16(16383, 32767), 16383);
  EXPECT_EQ(s16_div_s16_s16(32766, 32767), 32766);
  EXPECT_EQ(s16_div_s16_s16(5, 5), 32767);
}

// Output that is not written out before the process ends would be lost here: a file is buffered.
TEST(BandPostArithmeticDeathTest, EndsTheProcessWithoutAnErrorOverADivisionThatCannotBeMade) {
  const auto divide = [](short num, short den) {
    show_standard_output();
    s16_div_s16_s16(num, den);
  };
  EXPECT_EXIT(divide(2, 1), kEndsWell, "^Division Error var1=2  var2=1\n$");
  EXPECT_EXIT(divide(1, 0), kEndsWell, "^Division Error var1=1  var2=0\n$");
  EXPECT_EXIT(divide(-1, 3), kEndsWell, "^Division Error var1=-1  var2=3\n$");
  EXPECT_EXIT(divide(-5, -3), kEndsWell, "^Division Error var1=-5  var2=-3\n$");
  EXPECT_EXIT(divide(0, 0), kEndsWell, "^Division by 0, Fatal error \n$");
  const auto bend = [](int x) {
    show_standard_output();
    sigmoid(x);
  };
  EXPECT_EXIT(bend(622592), kEndsWell, "^Division Error var1=32767  var2=-32768\n$");
  EXPECT_EXIT(bend(INT32_MAX), kEndsWell, "^Division Error var1=32767  var2=-32768\n$");
  EXPECT_EXIT(bend(-622592), kEndsWell, "^Division Error var1=0  var2=-32768\n$");
  EXPECT_EXIT(bend(INT32_MIN), kEndsWell, "^Division Error var1=0  var2=-32768\n$");
}

TEST_F(BandPost, NotesTheLargestPositiveSampleOfAllButTheLast) {
  EXPECT_EQ(bp->bins, 129);
  EXPECT_EQ(bp->tracker_count[0], 600);
  EXPECT_EQ(bp->tracker_count[1], 300);
  EXPECT_EQ(bp->tracker_count[2], 200);
  short x[] = {5, 900, -32768, 32767};
  EXPECT_EQ(BP_ns_pre(bp, x, 4, nullptr), 0);
  EXPECT_EQ(bp->peak_history[49], 900);
  EXPECT_EQ(bp->peak_mean, 18);
  short negative[] = {-5, -900, 0};
  BP_ns_pre(bp, negative, 2, nullptr);
  EXPECT_EQ(bp->peak_history[48], 900);
  EXPECT_EQ(bp->peak_history[49], 1);
  EXPECT_EQ(bp->peak_mean, 18) << "901 / 50";
  for (int n : {1, 0, -3}) BP_ns_pre(bp, x + 3, n, nullptr);
  EXPECT_EQ(bp->peak_history[49], 1);
  for (int i = 0; i < 46; ++i) BP_ns_pre(bp, x, 4, nullptr);
  EXPECT_EQ(bp->peak_history[0], 1) << "the first has left";
  EXPECT_EQ(bp->peak_mean, (46 * 900 + 4) / 50);
}

// Four bins, distances 0, 28, 28, 0 from their mean: 2 * 853 in Q8, and the scaling's logarithm
// per bin, as far as a bin stays positive.
TEST_F(BandPost, SumsTheDistancesOfTheBinsFromTheirMean) {
  unsigned short spectrum[] = {100, 128, 72, 100};
  bp->bins = 4;
  const auto measured = [&](unsigned total, short shift) {
    BP_ns_app(bp, spectrum, total, shift);
    return bp->dev_smooth;
  };
  EXPECT_EQ(measured(400, 0), 1706 << 7);
  EXPECT_EQ(measured(403, 0), 1706 << 7) << "the mean is rounded down";
  EXPECT_EQ(measured(400, -2), (1706 + 4 * 355) << 7);
  EXPECT_EQ(measured(400, 2), (1706 - 2 * 355) << 7);
  EXPECT_EQ(measured(400, 8), 0) << "853 - 1420 is below 0";
  EXPECT_EQ(measured(400, -15), (1706 + 4 * 2662) << 7);
  EXPECT_EQ(measured(400, -16), (1706 + 4 * 2662) << 7);
  EXPECT_EQ(measured(400, INT16_MIN), (1706 + 4 * 2662) << 7);
  spectrum[1] = spectrum[2] = 100;
  EXPECT_EQ(measured(400, 0), 0);
  EXPECT_EQ(bp->frame_count, 9);
  for (int bins : {0, -1}) {
    bp->bins = bins;
    bp->frame_count = bp->presence = 0;
    bp->dev_smooth = 1;
    EXPECT_EQ(BP_ns_app(bp, nullptr, 400, -8), 0);
    EXPECT_EQ(bp->dev_smooth, 0);
  }
}

TEST_F(BandPost, SmoothsTheMeasuresFromTheEleventhFrameOnWithoutOverflow) {
  bp->bins = 4;
  for (int i = 0; i < 10; ++i) app({{28, 2}});
  set_peaks({{27, 2}});
  app({});
  EXPECT_EQ(bp->spread_smooth, 65507) << "1706 * 128 * 9830 / 32768, rounded down";
  EXPECT_EQ(bp->dev_smooth, 218368 - 65508) << "rounded down on the way down too";

  bp->bins = 129;
  bp->dev_smooth = 0;
  app({}, -15);  // 129 * 2662 * 128 = 43954944
  EXPECT_EQ(bp->dev_smooth, 13185946);
}

// Deviation 200.0, the middle of its sigmoid: 101 bins at ln 7 = 498 and one at ln 34 = 902 give
// 51200 in Q8. Spread 100.0, the middle of its own: 42 peaks of ln 10 = 589 and one of 862.
TEST_F(BandPost, AveragesOverTheMeasuresAboveTheirFloors) {
  EXPECT_EQ(app({}), 0);
  EXPECT_EQ(app({{7, 101}, {34, 1}}), 4914) << "16383 * 0.3";
  set_peaks({{9, 42}, {28, 1}});
  bp->presence = 0;
  EXPECT_EQ(app({}), 4914);
  bp->presence = 0;
  EXPECT_EQ(app({{7, 101}, {34, 1}}), 4914) << "two halves are one half";
  bp->presence = 0;
  EXPECT_EQ(app({}, -10), 7372) << "(32767 + 16383) / 2 * 0.3: deviation 894, far above";

  bp->spread_floor = 100 << 15;
  EXPECT_EQ(app({}), 5160) << "7372 * 0.7: a measure at its floor doesn't count";
  bp->presence = 0;
  EXPECT_EQ(app({{7, 101}, {34, 1}}), 4914);
  bp->spread_floor = (100 << 15) - 1;
  bp->presence = 0;
  EXPECT_EQ(app({{7, 101}, {34, 1}}), 2457) << "one step above it, it does: 16383 / 2 * 0.3";
}

TEST_F(BandPost, LeavesPresenceThreeStepsShortOfFullAndFallsToZero) {
  short presence = 0;
  for (int i = 0; i < 60; ++i) presence = app({}, -10);
  EXPECT_EQ(presence, 32764) << "0.3 * 3 is less than a step";
  for (int i = 0; i < 100; ++i) presence = app({});
  EXPECT_EQ(presence, 0);
}

// The trackers' ages of 600, 300 and 200 let them end their spans at frames 2, 302 and 402, and
// then every 601 frames. At frame 2 there is no range yet.
TEST_F(BandPost, RenewsTheFloorWhenATrackerEndsItsSpan) {
  constexpr int kLow = (129 * 532) << 7;  // 268.1; the loud frames between have 715.5
  std::vector<int> renewals;
  for (int frame = 1; frame <= 1700; ++frame) {
    bp->dev_floor = -1;
    app({}, frame % 2 ? -3 : -8);
    if (bp->dev_floor == -1) continue;
    EXPECT_EQ(bp->dev_floor, kLow);
    renewals.push_back(frame);
  }
  EXPECT_EQ(renewals, (std::vector<int>{302, 402, 603, 903, 1003, 1204, 1504, 1604}));
  EXPECT_EQ(bp->spread_floor, 0);
}

// Ranges of 200.0 and 150.0 in Q8: 51200 as above, 38400 = 42 * ln 30 + 2 * ln 38; and one step
// more: 51201 = 82 * ln 11 + ln 28, 38401 = 47 * ln 21 + 2 * ln 33.
TEST_F(BandPost, RenewsAFloorOnlyForARangeBeyondTheThreshold) {
  const auto span_ends_with = [&](std::initializer_list<group> bins,
                                  std::initializer_list<group> peaks) {
    bp->frame_count = 0;
    set_peaks({});
    for (int i = 0; i < 10; ++i) app({});
    bp->spread_floor = bp->dev_floor = -1;
    bp->tracker_count[1] = 601;
    set_peaks(peaks);
    app(bins);
    EXPECT_EQ(bp->tracker_count[1], 1);
  };
  span_ends_with({{7, 101}, {34, 1}}, {{29, 42}, {37, 2}});
  EXPECT_EQ(bp->dev_floor, -1);
  EXPECT_EQ(bp->spread_floor, -1);
  span_ends_with({{11, 82}, {28, 1}}, {{20, 47}, {32, 2}});
  EXPECT_EQ(bp->dev_floor, 0);
  EXPECT_EQ(bp->spread_floor, 0);
  EXPECT_EQ(bp->dev_min[1], 51201 << 7) << "the next span starts from the measure itself";
  EXPECT_EQ(bp->dev_max[1], 51201 << 7);
  EXPECT_EQ(bp->spread_min[1], 38401 << 7);
  EXPECT_EQ(bp->dev_min[0], 0) << "the others go on";
  EXPECT_EQ(bp->dev_max[0], 51201 << 7);
}

using BandPostDeathTest = BandPost;

// A deviation of 960.0 is 19 widths above the middle: 129 * 1774 + 56 * ln 3 + 2 * ln 10 = 245760
// in Q8; 37 * ln 5 + 2 * ln 28 instead make one less.
TEST_F(BandPostDeathTest, EndsTheProcessAtNineteenWidthsAboveTheMiddle) {
  const auto end = [&] {
    show_standard_output();
    app({{3, 56}, {10, 2}}, -10);
  };
  EXPECT_EXIT(end(), kEndsWell, "^Division Error var1=32767  var2=-32768\n$");
  EXPECT_EQ(app({{5, 37}, {28, 2}}, -10), 9829);
}

// With half of the history filled, the spread is 50 ln(peak / 2 + 1): 290 at a peak of 659, and a
// little later for the smoothing.
TEST_F(BandPostDeathTest, EndsTheProcessOverASteadySoundThatSetsInAtMinus34Decibels) {
  const auto play = [&](int peak) {
    show_standard_output();
    pcm x = square(peak);
    for (int frame = 0; frame < 100; ++frame) {
      BP_ns_pre(bp, x.data(), kFrame, nullptr);
      app({});
    }
  };
  EXPECT_EXIT(play(680), kEndsWell, "^Division Error var1=32767  var2=-32768\n$");
  pcm quieter = square(640);
  for (int frame = 0; frame < 100; ++frame) {
    BP_ns_pre(bp, quieter.data(), kFrame, nullptr);
    app({});
  }
  EXPECT_LT(bp->presence, 10) << "the history is full of one peak";
}

TEST_F(BandPost, FadesInAndThenLeavesTheOutputAlone) {
  for (int start = 0; start < 960; start += kFrame) {
    const pcm y = post(square(1000));
    for (int i = 0; i < kFrame; ++i) {
      const int gain = std::min(50 * (start + i), 32767);
      if (start < 800) {
        ASSERT_EQ(y[size_t(i)], (i % 2 ? -1000 : 1000) * gain >> 15);
      } else {
        ASSERT_EQ(y[size_t(i)], i % 2 ? -1000 : 1000) << "not touched";
      }
    }
  }
  EXPECT_EQ(bp->crest, 0);
  EXPECT_EQ(bp->max_history[9], 1000);
  EXPECT_EQ(bp->max_history[3], 0);

  BPInfo_tag* silent = BP_ns_init(8000, 65);
  pcm zeros(80);
  for (int i = 0; i < 3; ++i) BP_ns_post(silent, zeros.data(), 80, zeros.data());
  EXPECT_EQ(silent->crest, 0);
  EXPECT_EQ(silent->post_gain, 3 * 80 * 50);
  BP_ns_post(silent, nullptr, 0, nullptr);
  EXPECT_EQ(silent->post_gain, 3 * 80 * 50);
  BP_ns_delete(silent);
  BP_ns_delete(nullptr);
}

// 159 samples of 100 and one of 10000: ln(1600001) = 3656, ln(25901) = 2601 in Q8.
TEST_F(BandPost, HoldsATransientAtTwiceTheLargestOfTheLastTenMaxima) {
  bp->post_gain = 32767;
  post(square(1000));
  for (int i = 0; i < 9; ++i) post(square(100));
  pcm click = square(100);
  click[5] = 10000;
  const pcm first = post(click);
  EXPECT_EQ(bp->crest, 1055);
  EXPECT_EQ(bp->post_gain, 6553) << "1000 * 65534 / 10000";
  EXPECT_EQ(bp->max_history[9], 2000);
  EXPECT_EQ(first[0], 99) << "the first sample has the old gain";
  EXPECT_EQ(first[1], -20) << "-100 * 6553 / 32768, rounded down";
  EXPECT_EQ(first[2], 19);
  EXPECT_EQ(first[5], 1999);

  const pcm second = post(click);  // 1000 has left the history, 2000 has come
  EXPECT_EQ(second[0], 19);
  EXPECT_EQ(second[5], 3999) << "13106 * 10000 / 32768";
  EXPECT_EQ(bp->max_history[9], 4000);

  const pcm after = post(square(1000));
  EXPECT_EQ(after[0], 399) << "13106 and 50 more each sample";
  EXPECT_EQ(after[100], 552);
  EXPECT_EQ(bp->post_gain, 13106 + 50 * kFrame);
}

TEST_F(BandPost, LeavesATransientWithinTwiceTheMaximaAlone) {
  bp->post_gain = 32767;
  post(square(5001));
  pcm click = square(100);
  click[5] = 10000;
  EXPECT_EQ(post(click), click);
  EXPECT_EQ(bp->max_history[9], 10000);
}

// 21 of 160 samples at 1 and the rest 0: ln(161) - ln(22) = 1301 - 791; with 20, ln(21) = 779.
TEST_F(BandPost, TellsATransientByACrestFactorOfESquared) {
  pcm x(kFrame);
  std::fill_n(x.begin(), 21, short{1});
  post(x);
  EXPECT_EQ(bp->crest, 510);
  EXPECT_EQ(bp->post_gain, 8000) << "on its way up";
  x[0] = 0;
  std::fill_n(bp->max_history, 10, short{0});
  post(x);
  EXPECT_EQ(bp->crest, 522);
  EXPECT_EQ(bp->post_gain, 0) << "nothing before it: muted";
}

TEST_F(BandPost, MeasuresOneBufferAndGainsTheOther) {
  bp->post_gain = 16384;
  pcm in = {100, -101, 32767, -32768}, io = {500, -500, 500, -500};
  BP_ns_post(bp, in.data(), 4, io.data());
  EXPECT_EQ(io, (pcm{50, -51, 16483, -16534}));  // gains 16384, 16434, 16484, 16534
  EXPECT_EQ(bp->max_history[9], 500);
}

// The magnitude of -32768 has no place in 16 bits.
TEST_F(BandPost, LosesAFullScaleMaximumToTheNextSample) {
  bp->post_gain = 32767;
  const pcm within = {32767, -32768, 300, -200};
  EXPECT_EQ(post(within), within);
  EXPECT_EQ(bp->max_history[9], 300);
  post({300, -300, 300, -32768});
  EXPECT_EQ(bp->max_history[9], -32768);
  EXPECT_EQ(bp->post_gain, -599) << "300 * 65534 / -32768";
}

TEST(SoftGain, MovesTowardTheTargetAndStopsThere) {
  pcm in = {16384, 16384, 16384, -1, 16384}, out(5);
  short gain = 0;
  soft_gain_proc(in.data(), 5, out.data(), 100, &gain, 40);
  EXPECT_EQ(out, (pcm{0, 20, 40, -1, 50}));  // gains 0, 40, 80, 100, 100
  EXPECT_EQ(gain, 100);
  soft_gain_proc(in.data(), 5, in.data(), 0, &gain, 40);
  EXPECT_EQ(in, (pcm{50, 30, 10, 0, 0}));  // gains 100, 60, 20, 0, 0
  EXPECT_EQ(gain, 0);
  gain = 30000;
  soft_gain_proc(out.data(), 2, out.data(), 32767, &gain, 32767);
  EXPECT_EQ(gain, 32767) << "no wrap at 16 bits";
  out = {7, 7};
  soft_gain_proc(in.data(), 2, out.data(), 32767, &gain, 1);
  EXPECT_EQ(out, (pcm{7, 7})) << "nothing to do, nothing written";
  gain = 500;
  soft_gain_proc(nullptr, 0, nullptr, 0, &gain, 1);
  EXPECT_EQ(gain, 500);
}
