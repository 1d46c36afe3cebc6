#include "ns/band_post.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>

#include "ns/band_post_math.h"
#include "support/pcm16.h"

namespace {

constexpr int kFrame = 160;

// Distances from the mean, each with the number of bins (or peaks) that lie there.
using groups = std::initializer_list<std::pair<short, int>>;

// A fresh instance of 129 bins. The code under test can end the process with status 0: in the midst
// of a test that must not pass for success.
struct BandPost : testing::Test {
  BPInfo_tag* bp = BP_ns_init(16000, 129);
  static inline bool running;
  BandPost() {
    static const int once = std::atexit([] { running ? std::_Exit(1) : void(); });
    running = once == 0;
  }
  ~BandPost() override {
    running = false;
    BP_ns_delete(bp);
  }

  // The other bins or peaks lie at the mean.
  static pcm spread_out(groups distances, int n) {
    pcm x;
    for (const auto& [distance, count] : distances) x.insert(x.end(), size_t(count), distance);
    x.resize(size_t(n));
    return x;
  }
  // A spectrum with a mean of 0, so that its values are the distances.
  short app(groups bins, int shift = 0) {
    const pcm x = spread_out(bins, bp->bins);
    std::vector<unsigned short> spectrum(x.begin(), x.end());
    return BP_ns_app(bp, spectrum.data(), 0, static_cast<short>(shift));
  }
  short app_anew(groups bins, int shift = 0) {
    bp->presence = 0;
    return app(bins, shift);
  }
  void set_peaks(groups peaks) {
    std::ranges::copy(spread_out(peaks, 50), bp->peak_history);
    bp->peak_mean = 0;
  }

  pcm post(pcm x) {
    BP_ns_post(bp, x.data(), int(x.size()), x.data());
    return x;
  }

  void play(int frames, const pcm& x) {
    for (int i = 0; i < frames; ++i) {
      BP_ns_pre(bp, pcm(x).data(), kFrame, nullptr);
      app({});
    }
  }
};

pcm square(int amplitude) {
  pcm x(kFrame);
  for (size_t i = 0; i < x.size(); ++i) x[i] = static_cast<short>(i % 2 ? -amplitude : amplitude);
  return x;
}

// Expects the end of the process, without an error and with a line of text. Output not written out
// before would be lost here: a file is buffered.
template <typename Call>
void expect_end(Call call, const char* text) {
  // Death tests look at standard error.
  EXPECT_EXIT(BandPost::running = false; dup2(STDERR_FILENO, STDOUT_FILENO);
              call(), testing::ExitedWithCode(0), text);
}

constexpr const char* kSigmoidEnds = "^Division Error var1=32767  var2=-32768\n$";

}  // namespace

TEST_F(BandPost, TakesLogarithmsAsWorkedOutByHand) {
  // 256 x 45426 >> 16; log2 256 + 150; 1024 + 207; 31 x 256 + 255
  const std::pair<uint32_t, int> kByHand[] = {{0, 0},   {1, 0},    {2, 177},
                                              {3, 281}, {28, 853}, {0xFFFFFFFF, 5677}};
  for (const auto& [value, log] : kByHand) EXPECT_EQ(log_q8(value), log);
  for (double x = 1.0; x < 4294967295.0; x *= 1.001) {
    const double error = log_q8(static_cast<uint32_t>(x)) - 256.0 * std::log(std::floor(x));
    ASSERT_TRUE(error > -2.3 && error < 0.4) << x;
  }
}

// From 11.1 on (ln 2^16 and a little for the truncated series) e^x has outgrown 31 bits.
TEST_F(BandPost, DividesAndBendsLikeTheLogisticFunction) {
  constexpr short kQuotients[][3] = {
      {0, 5, 0}, {1, 3, 10922}, {16383, 32767, 16383}, {32766, 32767, 32766}, {5, 5, 32767}};
  for (const auto& [num, den, quotient] : kQuotients)
    EXPECT_EQ(s16_div_s16_s16(num, den), quotient);
  EXPECT_EQ(sigmoid(0), 16383);
  for (int x = -622591; x <= 622591; x += 101)
    ASSERT_NEAR(sigmoid(x), 32768.0 / (1.0 + std::exp(-x / 32768.0)), 25.1) << x;
  for (int x : {363725, 400000, 622591})
    EXPECT_EQ(std::pair(sigmoid(x), sigmoid(-x)), std::pair(short{32767}, short{0}));
}

TEST_F(BandPost, EndsTheProcessWithoutAnErrorOverADivisionThatCannotBeMade) {
  expect_end([] { s16_div_s16_s16(2, 1); }, "^Division Error var1=2  var2=1\n$");
  expect_end([] { s16_div_s16_s16(-1, 3); }, "^Division Error var1=-1  var2=3\n$");
  expect_end([] { s16_div_s16_s16(0, 0); }, "^Division by 0, Fatal error \n$");
  for (int x : {622592, INT32_MAX}) expect_end([=] { sigmoid(x); }, kSigmoidEnds);
  for (int x : {-622592, INT32_MIN})
    expect_end([=] { sigmoid(x); }, "^Division Error var1=0  var2=-32768\n$");
}

TEST_F(BandPost, NotesTheLargestPositiveSampleOfAllButTheLast) {
  short x[] = {5, 900, -32768, 32767}, negative[] = {-5, -900, 0};
  BP_ns_pre(bp, x, 4, nullptr);
  BP_ns_pre(bp, negative, 2, nullptr);
  EXPECT_EQ(pcm({bp->peak_history[48], bp->peak_history[49]}), pcm({900, 1}));
  EXPECT_EQ(bp->peak_mean, 18) << "901 / 50";
  for (int n : {1, 0, -3}) BP_ns_pre(bp, x + 3, n, nullptr);
  for (int i = 0; i < 46; ++i) BP_ns_pre(bp, x, 4, nullptr);
  EXPECT_EQ(bp->peak_history[0], 1) << "the first has left";
  EXPECT_EQ(bp->peak_mean, (46 * 900 + 4) / 50);
}

// Four bins, distances 0, 28, 28, 0 from their mean (rounded down): 2 * 853 in Q8, and the
// scaling's logarithm per bin, as far as a bin stays positive: 853 - 1420 doesn't.
TEST_F(BandPost, SumsTheDistancesOfTheBinsFromTheirMean) {
  unsigned short spectrum[] = {100, 128, 72, 100};
  bp->bins = 4;
  const auto measured = [&](int shift, unsigned total = 400) {
    BP_ns_app(bp, spectrum, total, short(shift));
    return bp->dev_smooth >> 7;
  };
  constexpr int kSums[][2] = {
      {0, 1706},    {-2, 1706 + 1420}, {2, 1706 - 710}, {8, 0}, {-15, 1706 + 4 * 2662},
      {-16, 12354}, {INT16_MIN, 12354}};
  for (const auto& [shift, sum] : kSums) EXPECT_EQ(measured(shift), sum);
  EXPECT_EQ(measured(0, 403), 1706);
  spectrum[1] = spectrum[2] = 100;
  EXPECT_EQ(measured(0), 0);
  for (int bins : {0, -1}) {
    bp->bins = bins;
    bp->frame_count = bp->presence = 0;
    EXPECT_EQ(std::pair(int{BP_ns_app(bp, nullptr, 400, -8)}, bp->dev_smooth), std::pair(0, 0));
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
  const groups middle = {{7, 101}, {34, 1}};
  EXPECT_EQ(app({}), 0);
  EXPECT_EQ(app(middle), 4914) << "16383 * 0.3";
  set_peaks({{9, 42}, {28, 1}});
  EXPECT_EQ(app_anew({}), 4914);
  EXPECT_EQ(app_anew(middle), 4914) << "two halves are one half";
  EXPECT_EQ(app_anew({}, -10), 7372) << "(32767 + 16383) / 2 * 0.3: deviation 894, far above";
  bp->spread_floor = 100 << 15;
  EXPECT_EQ(app({}), 5160) << "7372 * 0.7: a measure at its floor doesn't count";
  EXPECT_EQ(app_anew(middle), 4914);
  --bp->spread_floor;
  EXPECT_EQ(app_anew(middle), 2457) << "one step above it, it does: 16383 / 2 * 0.3";
}

TEST_F(BandPost, LeavesPresenceThreeStepsShortOfFullAndFallsToZero) {
  for (int i = 0; i < 60; ++i) app({}, -10);
  EXPECT_EQ(bp->presence, 32764) << "0.3 * 3 is less than a step";
  for (int i = 0; i < 100; ++i) app({});
  EXPECT_EQ(bp->presence, 0);
}

// The trackers' ages of 600, 300 and 200 let them end their spans at frames 2, 302 and 402, and
// then every 601 frames. At frame 2 there is no range yet.
TEST_F(BandPost, RenewsTheFloorWhenATrackerEndsItsSpan) {
  constexpr int kLow = (129 * 532) << 7;  // 268.1; the loud frames between have 715.5
  std::vector<int> renewals;
  for (int frame = 1; frame <= 1700; ++frame) {
    bp->dev_floor = -1;
    app({}, frame % 2 ? -3 : -8);
    if (bp->dev_floor != -1) renewals.push_back(frame);
    EXPECT_TRUE(bp->dev_floor == -1 || bp->dev_floor == kLow);
  }
  EXPECT_EQ(renewals, (std::vector{302, 402, 603, 903, 1003, 1204, 1504, 1604}));
}

// Ranges of 200.0 and 150.0 in Q8: 51200 as above, 38400 = 42 * ln 30 + 2 * ln 38; and one step
// more: 51201 = 82 * ln 11 + ln 28, 38401 = 47 * ln 21 + 2 * ln 33.
TEST_F(BandPost, RenewsAFloorOnlyForARangeBeyondTheThreshold) {
  const auto floors_after = [&](groups bins, groups peaks) {
    bp->frame_count = 0;
    set_peaks({});
    for (int i = 0; i < 10; ++i) app({});
    bp->spread_floor = bp->dev_floor = -1;
    bp->tracker_count[1] = 601;
    set_peaks(peaks);
    app(bins);
    return std::pair(bp->dev_floor, bp->spread_floor);
  };
  EXPECT_EQ(floors_after({{7, 101}, {34, 1}}, {{29, 42}, {37, 2}}), std::pair(-1, -1));
  EXPECT_EQ(floors_after({{11, 82}, {28, 1}}, {{20, 47}, {32, 2}}), std::pair(0, 0));
}

// A deviation of 960.0 is 19 widths above the middle: 129 * 1774 + 56 * ln 3 + 2 * ln 10 = 245760
// in Q8; 37 * ln 5 + 2 * ln 28 instead make one less. And with half of the history filled, a
// steady sound's spread is 50 ln(peak / 2 + 1): 290 at a peak of 659 (-34 dB), and a little later
// for the smoothing.
TEST_F(BandPost, EndsTheProcessAtNineteenWidthsAboveTheMiddleAsWhenASteadySoundSetsIn) {
  expect_end([&] { app({{3, 56}, {10, 2}}, -10); }, kSigmoidEnds);
  EXPECT_EQ(app_anew({{5, 37}, {28, 2}}, -10), 9829);
  expect_end([&] { play(100, square(680)); }, kSigmoidEnds);
  play(100, square(640));
  EXPECT_LT(bp->presence, 10) << "the history is full of one peak";
}

TEST_F(BandPost, FadesInAndThenLeavesTheOutputAlone) {
  for (int i = 0; i < 960; i += kFrame) {
    const pcm x = square(1000), y = post(x);
    for (int k = 0; k < kFrame; ++k) {
      const int gain = std::min(50 * (i + k), 32767), plain = x[size_t(k)];
      ASSERT_EQ(y[size_t(k)], i < 800 ? plain * gain >> 15 : plain);
    }
  }
  EXPECT_EQ(pcm({bp->crest, bp->max_history[9], bp->max_history[3]}), pcm({0, 1000, 0}));
  bp->post_gain = 5;
  BP_ns_post(bp, nullptr, 0, nullptr);
  EXPECT_EQ(pcm({bp->crest, bp->max_history[9], bp->post_gain}), pcm({0, 0, 5}));
  BP_ns_delete(nullptr);
}

// 159 samples of 100 and one of 10000: ln(1600001) = 3656, ln(25901) = 2601 in Q8. The gains are
// 1000 x 65534 / 10000 = 6553 and, when 1000 has left the history and 2000 has come, 13106.
TEST_F(BandPost, HoldsATransientAtTwiceTheLargestOfTheLastTenMaxima) {
  bp->post_gain = 32767;
  post(square(1000));
  for (int i = 0; i < 9; ++i) post(square(100));
  pcm click = square(100);
  click[5] = 10000;
  const pcm first = post(click);
  EXPECT_EQ(pcm({bp->crest, bp->post_gain, bp->max_history[9]}), pcm({1055, 6553, 2000}));
  EXPECT_EQ(pcm({first[0], first[1], first[2], first[5]}), pcm({99, -20, 19, 1999}))
      << "the first sample has the old gain";
  const pcm second = post(click);
  EXPECT_EQ(pcm({second[0], second[5], bp->max_history[9]}), pcm({19, 3999, 4000}));
  const pcm after = post(square(1000));
  EXPECT_EQ(pcm({after[0], after[100]}), pcm({399, 552})) << "13106 and 50 more each sample";
  EXPECT_EQ(bp->post_gain, 13106 + 50 * kFrame);

  std::fill_n(bp->max_history, 10, short{5001});
  bp->post_gain = 32767;
  EXPECT_EQ(post(click), click) << "within twice the maxima";
  EXPECT_EQ(bp->max_history[9], 10000);
}

// 21 of 160 samples at 1 and the rest 0: ln(161) - ln(22) = 1301 - 791; with 20, ln(21) = 779.
TEST_F(BandPost, TellsATransientByACrestFactorOfESquared) {
  pcm x(kFrame);
  std::fill_n(x.begin(), 21, short{1});
  post(x);
  EXPECT_EQ(pcm({bp->crest, bp->post_gain}), pcm({510, 8000})) << "on its way up";
  x[0] = 0;
  std::fill_n(bp->max_history, 10, short{0});
  post(x);
  EXPECT_EQ(pcm({bp->crest, bp->post_gain}), pcm({522, 0})) << "nothing before it: muted";
}

// The magnitude of -32768 has no place in 16 bits.
TEST_F(BandPost, MeasuresOneBufferAndGainsTheOtherAndLosesAFullScaleMaximumToTheNextSample) {
  pcm in = {100, -101, 32767, -32768}, io = {500, -500, 500, -500};
  bp->post_gain = 16384;
  BP_ns_post(bp, in.data(), 4, io.data());
  EXPECT_EQ(io, pcm({50, -51, 16483, -16534}));  // gains 16384, 16434, 16484, 16534
  EXPECT_EQ(bp->max_history[9], 500);
  std::fill_n(bp->max_history, 10, short{0});
  bp->post_gain = 32767;
  EXPECT_EQ(post({32767, -32768, 300, -200}), pcm({32767, -32768, 300, -200}));
  EXPECT_EQ(bp->max_history[9], 300);
  post({300, -300, 300, -32768});
  EXPECT_EQ(pcm({bp->max_history[9], bp->post_gain}), pcm({-32768, -599}));  // 300 x 65534 / -32768
}

TEST(SoftGain, MovesTowardTheTargetAndStopsThere) {
  pcm in = {16384, 16384, 16384, -1, 16384}, out(5);
  short gain = 0;
  soft_gain_proc(in.data(), 5, out.data(), 100, &gain, 40);
  EXPECT_EQ(std::pair(out, gain), std::pair(pcm{0, 20, 40, -1, 50}, short{100}));
  soft_gain_proc(in.data(), 5, in.data(), 0, &gain, 40);
  EXPECT_EQ(std::pair(in, gain), std::pair(pcm{50, 30, 10, 0, 0}, short{0}));
  gain = 30000;
  soft_gain_proc(in.data(), 2, out.data(), 32767, &gain, 32767);
  EXPECT_EQ(gain, 32767) << "no wrap at 16 bits";
  out = {7, 7};
  soft_gain_proc(in.data(), 2, out.data(), 32767, &gain, 1);
  EXPECT_EQ(out, pcm({7, 7})) << "nothing to do, nothing written";
}
