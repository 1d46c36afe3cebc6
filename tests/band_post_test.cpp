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

TEST_F(BandPost, LogarithmIsWithinTwoSteps) {
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
TEST_F(BandPost, SigmoidIsTheLogisticFunction) {
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

// A deviation of 960.0 is 19 widths above the middle: 129 * 1774 + 56 * ln 3 + 2 * ln 10 = 245760
// in Q8; 37 * ln 5 + 2 * ln 28 instead make one less. And with half of the history filled, a
// steady sound's spread is 50 ln(peak / 2 + 1): 290 at a peak of 659 (-34 dB), and a little later
// for the smoothing.
TEST_F(BandPost, EndsTheProcessWhenASteadySoundSetsIn) {
  expect_end([&] { app({{3, 56}, {10, 2}}, -10); }, kSigmoidEnds);
  EXPECT_EQ(app_anew({{5, 37}, {28, 2}}, -10), 9829);
  expect_end([&] { play(100, square(680)); }, kSigmoidEnds);
  play(100, square(640));
  EXPECT_LT(bp->presence, 10) << "the history is full of one peak";
}

TEST_F(BandPost, FadesInOver656Samples) {
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
TEST_F(BandPost, HoldsATransientAtTwiceTheLastMaxima) {
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
