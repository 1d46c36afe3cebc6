// The by-two samplers and the fixed-ratio kernels: what they do to a tone, to full scale, to
// streams.
#include <gtest/gtest.h>

#include <algorithm>

#include "spl/by_two.h"
#include "spl/resample.h"
#include "support/pcm16.h"

namespace {

struct rate_kernel {
  char letter;
  int in_rate, out_rate;
  int block;                      // the stream's length is a multiple of it
  pcm (*convert)(const pcm& in);  // from silence on
};

// Kernels that make a block shorter work in place: every other block does.
template <typename State, void (*reset)(State*), void (*run)(const short*, short*, State*, void*),
          int block_in, int block_out, int scratch_words>
pcm by_blocks(const pcm& in) {
  State state;
  reset(&state);
  std::vector<int> scratch(size_t{scratch_words}, -1);
  pcm out;
  for (size_t i = 0; i < in.size() / block_in; ++i) {
    short apart[block_out], block[block_in];
    std::copy_n(&in[i * block_in], block_in, block);
    short* to = block_out < block_in && i % 2 == 1 ? block : apart;
    run(block, to, &state, scratch.data());
    out.insert(out.end(), to, to + block_out);
  }
  return out;
}

pcm up_by_2(const pcm& in) {
  int state[tekaSpl_kBy2StateWords] = {};
  pcm out(2 * in.size());
  tekaSpl_UpsampleBy2(in.data(), int(in.size()), out.data(), state);
  return out;
}

pcm down_by_2(const pcm& in) {
  int state[tekaSpl_kBy2StateWords] = {};
  pcm out(in.size() / 2);
  tekaSpl_DownsampleBy2(in.data(), int(in.size()), out.data(), state);
  return out;
}

#define BY_BLOCKS(name, block_in, block_out)                                                    \
  by_blocks<tekaSpl_State##name, tekaSpl_ResetResample##name, tekaSpl_Resample##name, block_in, \
            block_out, tekaSpl_kScratch##name>
constexpr rate_kernel kRateKernels[] = {{'u', 24000, 48000, 1, up_by_2},
                                        {'d', 48000, 24000, 2, down_by_2},
                                        {'T', 16000, 48000, 160, BY_BLOCKS(16khzTo48khz, 160, 480)},
                                        {'t', 48000, 16000, 480, BY_BLOCKS(48khzTo16khz, 480, 160)},
                                        {'E', 8000, 22000, 80, BY_BLOCKS(8khzTo22khz, 80, 220)},
                                        {'S', 16000, 22000, 160, BY_BLOCKS(16khzTo22khz, 160, 220)},
                                        {'s', 22000, 16000, 220, BY_BLOCKS(22khzTo16khz, 220, 160)},
                                        {'e', 22000, 8000, 220, BY_BLOCKS(22khzTo8khz, 220, 80)}};
#undef BY_BLOCKS

// What the headers document, in the order of kRateKernels.
constexpr struct quality {
  int pass_edge, stop_edge;  // Hz
  double ripple, rejection;  // dB
  double delay, delay_high;  // ms, at 1 kHz and at 0.4 of the lower rate
  double snr_low, snr_high;  // dB, at 1010 Hz and 10 Hz below 0.4 of the lower rate
} kDocumented[] = {{11520, 12480, 0.001, 81.1, 0.065, 0.193, 83.8, 85.1},
                   {11520, 12480, 0.001, 81.3, 0.044, 0.172, 95.6, 95.5},
                   {6510, 8000, 0.005, 69.0, 1.490, 1.490, 86.8, 85.7},
                   {6510, 8000, 0.005, 68.6, 1.490, 1.490, 96.3, 96.1},
                   {3250, 4000, 0.005, 71.2, 2.994, 2.994, 83.4, 79.0},
                   {6510, 8000, 0.005, 71.2, 1.497, 1.497, 83.0, 79.2},
                   {6460, 8000, 0.005, 71.8, 1.452, 1.452, 83.1, 81.9},
                   {3230, 4000, 0.005, 70.0, 2.903, 2.903, 81.9, 85.0}};

constexpr double kAmplitude = 30000.0;

// A tone through a kernel: 50 ms to settle, then whole periods, which 100 ms hold for steps of
// 10 Hz.
tone_report play(const rate_kernel& k, double hertz, int tenths = 1) {
  const int n = k.in_rate / 20 / k.block * k.block + tenths * k.in_rate / 10;
  const pcm out = k.convert(pcm_sine(n, hertz, k.in_rate, kAmplitude));
  return tone_in(out, hertz, k.out_rate, tenths * k.out_rate / 10);
}

double level_db(double amplitude) { return 20.0 * std::log10(amplitude / kAmplitude); }

double snr_db(const tone_report& r) {
  return 10.0 * std::log10(std::norm(r.tone) / 2.0 / r.rest_power);
}

// Group delay around a frequency, in milliseconds.
double delay_ms(const rate_kernel& k, int hertz) {
  const double turn = std::arg(play(k, hertz + 10).tone / play(k, hertz - 10).tone);
  return -1000.0 * turn / (2.0 * std::numbers::pi * 20.0);
}

// A tone below the lower Nyquist frequency leaves images, one above it nothing but aliases. At a
// multiple of that frequency the power of an alias hangs on its phase; a close neighbour tells.
double rejection_db(const rate_kernel& k, int stop) {
  const int edge = std::min(k.in_rate, k.out_rate) / 2, coarse = k.in_rate / 4000 * 10;
  const bool shrinks = k.in_rate > k.out_rate;
  double worst = 0.0;
  const auto test = [&](double hertz, int tenths) {
    const tone_report r = play(k, hertz, tenths);
    worst = std::max(worst, 2.0 * r.rest_power + (hertz < edge ? 0.0 : std::norm(r.tone)));
  };
  for (int hertz = shrinks ? edge : 10; hertz < k.in_rate / 2; hertz += 10) {
    if (hertz % coarse != 0 && std::abs(hertz - stop) > stop / 50) continue;
    if (hertz % edge != 0 && (hertz <= 2 * edge - stop || hertz >= stop)) test(hertz, 1);
  }
  if (stop == edge) test(stop + (shrinks ? 0.1 : -0.1), 100);
  return -level_db(std::sqrt(worst));
}

// Rectangles of several periods, or random signs.
pcm loud_signal(int n, int amplitude, int half_period) {
  pcm x;
  std::mt19937 signs(7);
  for (int i = 0; i < n; ++i) {
    const unsigned turn = half_period > 0 ? unsigned(i / half_period) : signs();
    x.push_back(short(turn % 2 == 0 ? amplitude : -amplitude));
  }
  return x;
}

constexpr int whole_blocks(const rate_kernel& k) { return 1920 / k.block * k.block; }

}  // namespace

TEST(RateKernels, KeepTheirDocumentedQuality) {
  for (const rate_kernel& k : kRateKernels) {
    SCOPED_TRACE(k.letter);
    const quality* q = &kDocumented[&k - kRateKernels];
    const int high = std::min(k.in_rate, k.out_rate) * 4 / 10;
    std::vector<double> gains;
    for (int i = 1; i <= 24; ++i)
      gains.push_back(level_db(std::abs(play(k, q->pass_edge * i / 240 * 10).tone)));
    EXPECT_LE(std::ranges::max(gains) - std::ranges::min(gains), q->ripple);
    EXPECT_NEAR(delay_ms(k, 1000), q->delay, 0.001);
    EXPECT_NEAR(delay_ms(k, high), q->delay_high, 0.001);
    for (auto [measured, documented] : {std::pair{rejection_db(k, q->stop_edge), q->rejection},
                                        {snr_db(play(k, 1010)), q->snr_low},
                                        {snr_db(play(k, high - 10)), q->snr_high}})
      EXPECT_NEAR(measured, documented + 0.25, 0.25) << "documented rounded down";
  }
}

// At a quarter of the level nothing saturates, so four times that is what full scale should give,
// clamped. Each of the two is rounded by at most half a step.
TEST(RateKernels, ClampAtFullScale) {
  for (const rate_kernel& k : kRateKernels) {
    int clamped = 0;
    for (int half_period : {0, 1, 2, 3, 5, 8, 13, 40, 111}) {
      const pcm quiet = k.convert(loud_signal(whole_blocks(k), 8191, half_period));
      const pcm loud = k.convert(loud_signal(whole_blocks(k), 4 * 8191, half_period));
      for (size_t i = 0; i < loud.size(); ++i)
        ASSERT_NEAR(loud[i], std::clamp(quiet[i] * 4, INT16_MIN, INT16_MAX), 3) << k.letter;
      clamped += int(std::ranges::count(loud, INT16_MAX) + std::ranges::count(loud, INT16_MIN));
    }
    EXPECT_GT(clamped, 100) << "the signals are meant to saturate";
    k.convert(pcm_wild(whole_blocks(k), 3));  // for the sanitizer
  }
}
