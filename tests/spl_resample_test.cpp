// The by-two samplers and the fixed-ratio kernels: what they do to a tone, to full scale, to
// streams.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "spl/by_two.h"
#include "spl/resample.h"
#include "support/pcm16.h"
#include "support/splits.h"

namespace {

// A kernel as a function from a stream (whole blocks) to a stream.
struct converter {
  const char* name;
  int in_rate, out_rate;
  int block;  // input samples per call
  std::function<pcm(const pcm&)> convert;

  int lower() const { return std::min(in_rate, out_rate); }
};

template <typename State, typename Reset, typename Run>
converter fixed_ratio(const char* name, int in_rate, int out_rate, int block_in, int block_out,
                      int scratch_words, Reset reset, Run run) {
  return {name, in_rate, out_rate, block_in, [=](const pcm& in) {
            State state;
            reset(&state);
            std::vector<int> scratch(static_cast<size_t>(scratch_words), -1);
            pcm out(in.size() / static_cast<size_t>(block_in) * static_cast<size_t>(block_out));
            short* to = out.data();
            for (size_t from = 0; from < in.size(); from += static_cast<size_t>(block_in)) {
              run(&in[from], to, &state, scratch.data());
              to += block_out;
            }
            return out;
          }};
}

pcm up_by_2(const pcm& in) {
  int state[tekaSpl_kBy2StateWords] = {};
  pcm out(2 * in.size());
  tekaSpl_UpsampleBy2(in.data(), static_cast<int>(in.size()), out.data(), state);
  return out;
}

pcm down_by_2(const pcm& in) {
  int state[tekaSpl_kBy2StateWords] = {};
  pcm out(in.size() / 2);
  tekaSpl_DownsampleBy2(in.data(), static_cast<int>(in.size()), out.data(), state);
  return out;
}

const std::vector<converter>& converters() {
#define KERNEL(name, ...)                                                      \
  fixed_ratio<tekaSpl_State##name>(#name, __VA_ARGS__, tekaSpl_kScratch##name, \
                                   tekaSpl_ResetResample##name, tekaSpl_Resample##name)
  static const std::vector<converter> all = {
      {"UpsampleBy2", 24000, 48000, 1, up_by_2},    {"DownsampleBy2", 48000, 24000, 2, down_by_2},
      KERNEL(16khzTo48khz, 16000, 48000, 160, 480), KERNEL(48khzTo16khz, 48000, 16000, 480, 160),
      KERNEL(8khzTo22khz, 8000, 22000, 80, 220),    KERNEL(16khzTo22khz, 16000, 22000, 160, 220),
      KERNEL(22khzTo16khz, 22000, 16000, 220, 160), KERNEL(22khzTo8khz, 22000, 8000, 220, 80)};
#undef KERNEL
  return all;
}

constexpr double kAmplitude = 30000.0;

// A tone through a converter: 50 ms to settle, 100 ms measured (frequencies in steps of 10 Hz).
tone_report play(const converter& c, int hertz) {
  const pcm out = c.convert(pcm_sine(c.in_rate * 15 / 100, hertz, c.in_rate, kAmplitude));
  return tone_in(out, hertz, c.out_rate, c.out_rate / 10);
}

double level_db(double amplitude) { return 20.0 * std::log10(amplitude / kAmplitude); }

double snr_db(const tone_report& r) {
  return 10.0 * std::log10(std::norm(r.tone) / 2.0 / r.rest_power);
}

// Group delay around a frequency, in milliseconds.
double delay_ms(const converter& c, int hertz) {
  const auto below = play(c, hertz - 10).tone, above = play(c, hertz + 10).tone;
  const double turn = std::arg(above / below);
  return -1000.0 * turn / (2.0 * std::numbers::pi * 20.0);
}

struct quality {
  int pass_edge, stop_edge;  // Hz
  double ripple, rejection;  // dB
  double delay, delay_high;  // ms, at 1 kHz and at 0.4 of the lower rate
  double snr_low, snr_high;  // dB, at 1010 Hz and at 0.8 of the lower Nyquist frequency
};

// In the order of converters(): the figures that the headers document.
constexpr quality kDocumented[] = {{11520, 12480, 0.001, 81.4, 0.065, 0.193, 83.8, 85.3},
                                   {11520, 12480, 0.001, 81.5, 0.044, 0.172, 95.6, 102.9},
                                   {6510, 8000, 0.004, 73.6, 1.490, 1.490, 86.8, 88.5},
                                   {6510, 8000, 0.005, 69.1, 1.490, 1.490, 96.3, 99.1},
                                   {3250, 4000, 0.003, 74.0, 2.994, 2.994, 83.4, 79.5},
                                   {6510, 8000, 0.004, 73.9, 1.497, 1.497, 83.0, 79.5},
                                   {6460, 8000, 0.003, 73.0, 1.452, 1.452, 83.1, 81.5},
                                   {3230, 4000, 0.003, 68.3, 2.903, 2.903, 81.9, 84.8}};

double ripple_db(const converter& c, int pass_edge) {
  double lowest = 1000.0, highest = -1000.0;
  for (int i = 1; i <= 24; ++i) {
    const double gain = level_db(std::abs(play(c, pass_edge * i / 240 * 10).tone));
    lowest = std::min(lowest, gain);
    highest = std::max(highest, gain);
  }
  return highest - lowest;
}

// A tone below the lower Nyquist frequency leaves images, one above it nothing but aliases.
double rejection_db(const converter& c, int stop_edge) {
  const int nyquist = c.lower() / 2;
  double worst = 1000.0;
  for (int i = 1; i <= 96; ++i) {
    const int hertz = (c.in_rate / 2 - 10) * i / 960 * 10;
    if (hertz > 2 * nyquist - stop_edge && hertz < stop_edge) continue;  // transition band
    const tone_report r = play(c, hertz);
    const double power = r.rest_power + (hertz < nyquist ? 0.0 : std::norm(r.tone) / 2.0);
    worst = std::min(worst, -level_db(std::sqrt(2.0 * power)));
  }
  return worst;
}

pcm scaled(pcm x, int factor) {
  for (short& v : x) v = static_cast<short>(v * factor);
  return x;
}

// Full-scale squares of several periods, telegraph noise, and the rails at random.
std::vector<pcm> loud_signals(int n, int amplitude) {
  std::vector<pcm> all;
  for (int half_period : {1, 2, 3, 5, 8, 13, 40, 111}) {
    pcm x(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i)
      x[size_t(i)] = static_cast<short>(i / half_period % 2 ? -amplitude : amplitude);
    all.push_back(x);
  }
  pcm telegraph = pcm_noise(n, 1000, 7);
  for (short& v : telegraph) v = static_cast<short>(v < 0 ? -amplitude : amplitude);
  all.push_back(telegraph);
  return all;
}

}  // namespace

TEST(RateKernels, KeepTheQualityThatTheirHeadersDocument) {
  for (size_t i = 0; i < converters().size(); ++i) {
    const converter& c = converters()[i];
    const quality& q = kDocumented[i];
    SCOPED_TRACE(c.name);
    const double ripple = ripple_db(c, q.pass_edge), rejection = rejection_db(c, q.stop_edge);
    EXPECT_LE(ripple, q.ripple);
    EXPECT_GE(rejection, q.rejection);
    EXPECT_LE(rejection, q.rejection + 0.5) << "better than documented";
    EXPECT_NEAR(delay_ms(c, 1000), q.delay, 0.001);
    EXPECT_NEAR(delay_ms(c, c.lower() * 4 / 10), q.delay_high, 0.001);
    const double low = snr_db(play(c, 1010)), high = snr_db(play(c, c.lower() * 4 / 10));
    EXPECT_GE(low, q.snr_low);
    EXPECT_LE(low, q.snr_low + 0.5) << "better than documented";
    EXPECT_GE(high, q.snr_high);
    EXPECT_LE(high, q.snr_high + 0.5) << "better than documented";
  }
}

// A sum of two all-pass branches: |H(f)|^2 + |H(24 kHz - f)|^2 = 1, in the transition band too. The
// second of the two tones arrives as an alias at the place of the first.
TEST(RateKernels, ByTwoFilterSplitsThePowerBetweenABandAndItsMirror) {
  const converter& down = converters()[1];
  for (int hertz : {3000, 11600, 11800, 11950, 11990}) {
    const pcm mirrored = down.convert(pcm_sine(7200, 24000 - hertz, 48000, kAmplitude));
    const double passed = std::norm(play(down, hertz).tone),
                 aliased = std::norm(tone_in(mirrored, hertz, 24000, 2400).tone);
    EXPECT_NEAR((passed + aliased) / (kAmplitude * kAmplitude), 1.0, 0.001) << hertz;
  }
}

// At a quarter of the level nothing saturates, so four times that is what full scale should give,
// clamped. Each of the two is rounded by at most half a step.
TEST(RateKernels, ClampAtFullScaleAndNeverWrap) {
  for (const converter& c : converters()) {
    SCOPED_TRACE(c.name);
    int clamped = 0;
    for (const pcm& quiet : loud_signals(c.block * (1920 / c.block), 8191)) {
      const pcm expected = c.convert(quiet), loud = c.convert(scaled(quiet, 4));
      for (size_t i = 0; i < loud.size(); ++i) {
        const int clean = std::clamp(expected[i] * 4, INT16_MIN, INT16_MAX);
        ASSERT_NEAR(loud[i], clean, 3) << "at " << i;
        clamped += loud[i] == INT16_MAX || loud[i] == INT16_MIN;
      }
    }
    EXPECT_GT(clamped, 100) << "the signals are meant to saturate";
    c.convert(pcm_wild(c.block * (1920 / c.block), 3));  // for the sanitizer
  }
}

// The rows of a fixed-ratio kernel add up to one, exactly; the by-two branches come within a step.
TEST(RateKernels, PassAConstant) {
  for (const converter& c : converters())
    for (int level : {-32768, -12345, 1, 32767}) {
      const pcm out = c.convert(pcm(size_t(c.block) * (1920 / size_t(c.block)), short(level)));
      const int slack = c.block <= 2 ? 1 : 0;
      for (size_t i = out.size() / 2; i < out.size(); ++i)
        ASSERT_NEAR(out[i], level, slack) << c.name << " at " << i;
    }
}

TEST(RateKernels, FixedRatioImpulseResponsesAreSymmetrical) {
  // One phase per output sample and no step over inputs: the response itself comes out.
  const converter& up = converters()[2];
  pcm in(160);
  in[0] = 32767;
  const pcm h = up.convert(in);
  for (size_t i = 0; i < 72; ++i) EXPECT_NEAR(h[i], h[143 - i], 1) << i;
  for (size_t i = 144; i < h.size(); ++i) EXPECT_EQ(h[i], 0);
  EXPECT_GT(h[71], 25000);
}

TEST(ByTwo, GivesTheSameSamplesHoweverTheStreamIsCut) {
  const pcm in = pcm_wild(5000, 11), up = up_by_2(in), down = down_by_2(in);
  pcm cut_up(up.size()), cut_down(down.size());
  int up_state[8] = {}, down_state[8] = {};
  over_random_splits(2500, 40, 5, [&](int start, int count) {
    tekaSpl_UpsampleBy2(&in[size_t(start)], count, &cut_up[2 * size_t(start)], up_state);
    tekaSpl_DownsampleBy2(&in[2 * size_t(start)], 2 * count, &cut_down[size_t(start)], down_state);
  });
  EXPECT_TRUE(std::equal(cut_up.begin(), cut_up.begin() + 5000, up.begin()));
  EXPECT_EQ(cut_down, down);
}

TEST(ByTwo, DecimatesInPlaceAndUpsamplesFromTheEndOfItsOutput) {
  const pcm in = pcm_wild(600, 12), up = up_by_2(in), down = down_by_2(in);
  int state[8] = {};
  pcm buffer = in;
  tekaSpl_DownsampleBy2(buffer.data(), 600, buffer.data(), state);
  EXPECT_TRUE(std::equal(down.begin(), down.end(), buffer.begin()));
  std::fill_n(state, 8, 0);
  buffer.resize(1200);
  std::copy(in.begin(), in.end(), buffer.begin() + 600);
  tekaSpl_UpsampleBy2(buffer.data() + 600, 600, buffer.data(), state);
  EXPECT_EQ(buffer, up);
}

TEST(ByTwo, DropsTheLastSampleOfAnOddLengthWithoutATrace) {
  int state[8] = {}, expected_state[8] = {};
  const pcm in = pcm_noise(7, 20000, 13);
  short out[4] = {1, 2, 3, 4}, expected[3];
  tekaSpl_DownsampleBy2(in.data(), 6, expected, expected_state);
  tekaSpl_DownsampleBy2(in.data(), 7, out, state);
  EXPECT_TRUE(std::equal(expected, expected + 3, out));
  EXPECT_EQ(out[3], 4);
  EXPECT_TRUE(std::equal(state, state + 8, expected_state));
  tekaSpl_DownsampleBy2(in.data(), 1, out, state);
  tekaSpl_UpsampleBy2(in.data(), 0, out, state);
  EXPECT_TRUE(std::equal(state, state + 8, expected_state));
}

TEST(ByTwo, FallsSilentToTheLastBitOfItsState) {
  int state[8] = {};
  const pcm loud = pcm_wild(1000, 14), silence(8000);
  pcm out(16000);
  tekaSpl_UpsampleBy2(loud.data(), 1000, out.data(), state);
  tekaSpl_UpsampleBy2(silence.data(), 8000, out.data(), state);
  for (int word : state) EXPECT_EQ(word, 0);
  EXPECT_EQ(out.back(), 0);
}

TEST(FixedRatio, KernelsThatShrinkWorkInPlace) {
  for (size_t i : {size_t{3}, size_t{6}, size_t{7}}) {
    const converter& c = converters()[i];
    pcm in = pcm_wild(c.block, 15);
    const pcm expected = c.convert(in);
    std::vector<int> scratch(496);
    tekaSpl_State48khzTo16khz thirds = {};
    tekaSpl_State22khzTo16khz to16 = {};
    tekaSpl_State22khzTo8khz to8 = {};
    if (i == 3) tekaSpl_Resample48khzTo16khz(in.data(), in.data(), &thirds, scratch.data());
    if (i == 6) tekaSpl_Resample22khzTo16khz(in.data(), in.data(), &to16, scratch.data());
    if (i == 7) tekaSpl_Resample22khzTo8khz(in.data(), in.data(), &to8, scratch.data());
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), in.begin())) << c.name;
  }
}
