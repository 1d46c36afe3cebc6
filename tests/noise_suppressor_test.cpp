#include "ns/noise_suppressor.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <numeric>

#include "support/owned.h"
#include "support/pcm16.h"
#include "support/steady_noise.h"

namespace {

enum prior { kPresence, kOwn };

constexpr int kRates[] = {8000, 16000, 32000};

struct suppressor : owned<NsxInst_t_, tekaNs_FreeCore> {
  explicit suppressor(int rate, prior source = kOwn, int chosen_policy = 2)
      : owned(tekaNs_InitCore, static_cast<unsigned>(rate)) {
    EXPECT_EQ(initialized, 1);
    EXPECT_EQ(tekaNs_set_policy_core(this, chosen_policy), 0);
    EXPECT_EQ(tekaNs_set_prior_source(this, source), 0);
  }

  size_t block() const { return static_cast<size_t>(block_length); }
  size_t latency() const { return static_cast<size_t>(frame_length - block_length); }

  // Whole blocks; what is over at the end is dropped.
  pcm run(pcm x) {
    x.resize(x.size() / block() * block());
    for (size_t at = 0; at < x.size(); at += block())
      EXPECT_EQ(tekaNs_ProcessCore(this, &x[at], &x[at]), 0);
    return x;
  }
};

double power(const pcm& x, size_t from = 0) {
  double sum = 0.0;
  for (size_t i = from; i < x.size(); ++i) sum += double(x[i]) * x[i];
  return sum / static_cast<double>(std::max<size_t>(x.size() - from, 1));
}

// Of the last `seconds`, in dB.
double attenuation(const pcm& in, const pcm& out, int rate, double seconds) {
  const auto from = out.size() - static_cast<size_t>(seconds * rate);
  return 10.0 * std::log10(power({in.begin(), in.begin() + long(out.size())}, from) /
                           (power(out, from) + 1e-9));
}

pcm noise_of(noise_kind kind, int rate, double seconds, double dbfs) {
  return to_pcm(steady_noise(kind, rate, seconds, dbfs));
}

// Syllables: 20 harmonics of a gliding 120 Hz, each a fifth of a second long, over a faint noise.
pcm speech_like(int rate, double seconds, double dbfs) {
  std::vector<double> x(static_cast<size_t>(seconds * rate));
  double turns = 0.0;
  for (size_t i = 0; i < x.size(); ++i) {
    const double t = double(i) / rate, swell = std::sin(std::numbers::pi * std::fmod(t, 0.4) / 0.2);
    turns += (120.0 + 25.0 * std::sin(3.0 * t)) / rate;
    for (int k = 1; k <= 20; ++k)
      x[i] += std::max(swell, 0.0) * std::sin(2.0 * std::numbers::pi * turns * k + k * k) / k;
  }
  scale_to(x, dbfs);
  const auto hiss = steady_noise(kWhite, rate, seconds, -80.0);
  for (size_t i = 0; i < x.size(); ++i) x[i] += hiss[i];
  return to_pcm(x);
}

pcm square(size_t n, size_t half_period) {
  pcm x(n);
  for (size_t i = 0; i < n; ++i) x[i] = i / half_period % 2 ? INT16_MAX : INT16_MIN;
  return x;
}

}  // namespace

TEST(NoiseSuppressorTables, AreTheirClosedForms) {
  for (int k = 0; k < 9; ++k)
    EXPECT_EQ(tekaNsx_kLogTable[k], std::lround(256.0 * k * std::numbers::ln2)) << k;
  for (int k = 0; k <= 200; ++k)
    EXPECT_EQ(tekaNsx_kCounterDiv[k], std::min(32767L, std::lround(32768.0 / (k + 1)))) << k;
}

// A window that adds up: where two frames overlap the squares come to 1, elsewhere it is 1.
TEST(NoiseSuppressor, TakesItsSizesFromTheRate) {
  const struct {
    int rate, block, length, bins, stages;
  } expected[] = {{8000, 80, 128, 65, 7}, {16000, 160, 256, 129, 8}, {32000, 160, 256, 129, 8}};
  for (const auto& [rate, block, length, bins, stages] : expected) {
    NsxInst_t_ ns;
    std::memset(&ns, 0x55, sizeof ns);
    ASSERT_EQ(tekaNs_InitCore(&ns, static_cast<unsigned>(rate)), 0);
    EXPECT_EQ(ns.block_length, block);
    EXPECT_EQ(ns.frame_length, length);
    EXPECT_EQ(ns.bins, bins);
    EXPECT_EQ(ns.band_post->bins, bins);
    EXPECT_EQ(ns.stages, stages);
    EXPECT_EQ(ns.prior_non_speech, 8192);
    for (int i = 0; i < block; ++i) {
      const double a = ns.window[i] / 16384.0;
      const double b = i + block < length ? ns.window[i + block] / 16384.0 : 0.0;
      ASSERT_NEAR(a * a + b * b, 1.0, 2e-4) << i;
    }
    EXPECT_EQ(tekaNs_FreeCore(&ns), 0);
    EXPECT_EQ(ns.band_post, nullptr);
  }
}

TEST(NoiseSuppressor, RefusesWhatItCannotTake) {
  EXPECT_EQ(tekaNs_InitCore(nullptr, 16000), -1);
  EXPECT_EQ(tekaNs_FreeCore(nullptr), 0);
  NsxInst_t_ blank{};
  pcm x(160, 5);
  for (unsigned rate : {0u, 11025u, 44100u, 48000u, 4294967295u})
    EXPECT_EQ(tekaNs_InitCore(&blank, rate), -1) << rate;
  EXPECT_EQ(blank.initialized, 0);
  EXPECT_EQ(tekaNs_ProcessCore(&blank, x.data(), x.data()), -1);
  EXPECT_EQ(x, pcm(160, 5));

  const struct {
    int overdrive, bound, on;
  } rows[] = {{256, 8192, 0}, {256, 4096, 1}, {282, 2048, 1}, {320, 1475, 1}};
  suppressor ns(16000, kPresence, 0);
  for (int policy : {3, 0, 2, 1, 0}) {
    EXPECT_EQ(tekaNs_set_policy_core(&ns, policy), 0);
    for (int wrong : {-1, 4, INT32_MIN, INT32_MAX})
      EXPECT_EQ(tekaNs_set_policy_core(&ns, wrong), -1) << wrong;
    EXPECT_EQ(ns.overdrive, rows[policy].overdrive);
    EXPECT_EQ(ns.denoise_bound, rows[policy].bound);
    EXPECT_EQ(ns.gain_factor_on, rows[policy].on);
  }
  int value = -1;
  for (int source : {1, 0, 1}) {
    EXPECT_EQ(tekaNs_set_prior_source(&ns, source), 0);
    for (int wrong : {-1, 2}) EXPECT_EQ(tekaNs_set_prior_source(&ns, wrong), -1);
    EXPECT_EQ(tekaNs_get_prior_source(&ns, &value), 0);
    EXPECT_EQ(value, source);
  }
  tekaNs_canceling_setstatus(&ns, -77);
  ns.run(pcm(1600, 100));
  tekaNs_canceling_getstatus(&ns, &value);
  EXPECT_EQ(value, -77) << "the owner's word";
  EXPECT_EQ(ns.status, -77);

  ASSERT_EQ(tekaNs_FreeCore(&ns), 0);
  ASSERT_EQ(tekaNs_InitCore(&ns, 8000), 0) << "again, at another rate";
  EXPECT_EQ(ns.policy, 0);
  EXPECT_EQ(ns.prior_source, 0);
  tekaNs_set_prior_source(&ns, 1);
  suppressor fresh(8000, kOwn, 0);
  const pcm again = speech_like(8000, 1.0, -30.0);
  EXPECT_EQ(ns.run(again), fresh.run(again));
}

// Any gain of 1 gives the signal back, the latency later.
TEST(NoiseSuppressor, SynthesisUndoesAnalysis) {
  for (int rate : kRates)
    for (int amplitude : {40, 3000, 32767}) {
      suppressor ns(rate, kOwn, 0);
      const pcm in = pcm_noise(int(ns.block()) * 30, amplitude, 3);
      pcm x = in;
      unsigned short magnitudes[kNsxMaxBins];
      for (size_t at = 0; at < x.size(); at += ns.block()) {
        tekaNsx_DataAnalysis(&ns, &x[at], magnitudes);
        std::fill(std::begin(ns.gain), std::end(ns.gain), static_cast<unsigned short>(16384));
        tekaNsx_DataSynthesis(&ns, &x[at]);
      }
      // Spectra have 16 bits for all of their range: the error is some steps of the scaling.
      const int allowed = 3 + amplitude / 800;
      int worst = 0;
      for (size_t i = ns.latency(); i < x.size(); ++i)
        worst = std::max(worst, std::abs(x[i] - in[i - ns.latency()]));
      EXPECT_LE(worst, allowed) << rate << " Hz, " << amplitude;
    }
}

// A sine in the middle of a bin: half its amplitude times the window's mean.
TEST(NoiseSuppressor, MeasuresMagnitudes) {
  for (int rate : kRates)
    for (double amplitude : {100.0, 3000.0, 32000.0}) {
      suppressor ns(rate);
      const int bin = 20, n = ns.frame_length;
      const double mean = std::accumulate(ns.window, ns.window + n, 0.0) / n / 16384.0;
      pcm x = pcm_sine(4 * int(ns.block()), double(bin) / n, 1.0, amplitude);
      unsigned short magnitudes[kNsxMaxBins];
      for (size_t at = 0; at < x.size(); at += ns.block())
        tekaNsx_DataAnalysis(&ns, &x[at], magnitudes);
      const double expected = amplitude / 2.0 * mean;
      EXPECT_NEAR(ns.magnitude[bin] / 65536.0, expected, 0.01 * expected);
      EXPECT_NEAR(magnitudes[bin] / std::pow(2.0, ns.norm), expected, 0.01 * expected);
      EXPECT_EQ(std::accumulate(magnitudes, magnitudes + ns.bins, 0u), ns.magnitude_sum);
    }
}

TEST(NoiseSuppressor, TurnsFaintNoiseDownByDefault) {
  const pcm in = noise_of(kWhite, 16000, 8.0, -65.0);
  const double least[] = {5.5, 10.0, 14.0, 17.0};
  for (int policy = 0; policy < 4; ++policy)
    EXPECT_GE(attenuation(in, suppressor(16000, kPresence, policy).run(in), 16000, 3.0),
              least[policy])
        << policy;
}

TEST(NoiseSuppressor, TurnsNoiseDownToThePolicysBound) {
  const double bounds[] = {6.02, 12.04, 18.06, 20.91};
  const double levels[] = {-20.0, -50.0, -35.0};  // dBFS, by rate
  for (int r = 0; r < 3; ++r)
    for (noise_kind kind : kNoises) {
      const pcm in = noise_of(kind, kRates[r], 6.5, levels[r]);
      double before = 0.0;
      for (int policy = 0; policy < 4; ++policy) {
        SCOPED_TRACE(testing::Message() << kRates[r] << " Hz, " << kind.name << ", " << policy);
        const double db =
            attenuation(in, suppressor(kRates[r], kOwn, policy).run(in), kRates[r], 1.3);
        EXPECT_NEAR(db, bounds[policy], 1.5);
        EXPECT_GT(db, before + 1.0);
        before = db;
      }
    }
}

// One frame at two policies from the same state: SNR / (overdrive + SNR) above the bound.
TEST(NoiseSuppressor, OverdriveTakesMoreOfTheSameSnr) {
  suppressor mild(16000, kOwn, 0);
  mild.run(noise_of(kPink, 16000, 1.0, -40.0));
  mild.run(speech_like(16000, 0.1, -30.0));
  NsxInst_t_ strong = mild;  // shares the band post-processing, and so doesn't free it
  ASSERT_EQ(tekaNs_set_policy_core(&strong, 3), 0);
  pcm x = pcm_sine(160, 700.0, 16000.0, 1500.0), y = x;
  tekaNs_ProcessCore(&mild, x.data(), x.data());
  tekaNs_ProcessCore(&strong, y.data(), y.data());
  int compared = 0;
  for (int k = 0; k < mild.bins; ++k) {
    const double gain = mild.gain[k] / 16384.0, snr = gain / (1.0 - gain);
    if (gain < 0.501 || gain > 0.97) continue;
    EXPECT_NEAR(strong.gain[k] / 16384.0, snr / (1.25 + snr), 0.003) << k;
    ++compared;
  }
  EXPECT_GT(compared, 10);
}

TEST(NoiseSuppressor, LeavesAClearVoiceAlone) {
  for (int rate : kRates) {
    pcm in = noise_of(kWhite, rate, 1.0, -80.0);
    const pcm voice = speech_like(rate, 3.0, -24.0);
    in.insert(in.end(), voice.begin(), voice.end());
    for (int policy : {0, 1, 2, 3}) {
      const double loss = attenuation(in, suppressor(rate, kOwn, policy).run(in), rate, 3.0);
      EXPECT_TRUE(loss > -0.5 && loss < 1.0) << rate << ", policy " << policy << ": " << loss;
    }
  }
}

// The burst's middle against the input, the documented delay before; errors from -20 dB on.
TEST(NoiseSuppressor, DelaysByItsLatency) {
  for (int rate : kRates) {
    suppressor ns(rate);
    ASSERT_EQ(ns.latency(), rate == 8000 ? 48u : 96u);
    pcm in = noise_of(kWhite, rate, 1.2, -70.0);
    const auto start = static_cast<size_t>(rate), length = in.size() - start;
    const pcm tone = pcm_sine(int(length), 1000.0, rate, 12000.0);
    for (size_t i = 0; i < length; ++i) in[start + i] = static_cast<short>(in[start + i] + tone[i]);
    const pcm out = ns.run(in);
    double error = 0.0, signal = 0.0;
    for (size_t i = start + length / 4; i < start + length / 2; ++i) {
      error += std::pow(out[i + ns.latency()] - in[i], 2);
      signal += std::pow(in[i], 2);
    }
    EXPECT_LT(10.0 * std::log10(error / signal), -20.0) << rate;
  }
}

TEST(NoiseSuppressor, SilenceStaysSilent) {
  for (int rate : kRates) {
    suppressor ns(rate);
    const pcm silence(ns.block() * 20);
    EXPECT_EQ(ns.run(silence), silence);
    EXPECT_EQ(ns.frame_count, 0);
    pcm out = ns.run(noise_of(kPink, rate, 1.0, -20.0));
    EXPECT_GT(power(out), 0.0);
    out = ns.run(silence);
    EXPECT_NE(out, silence);
    std::fill_n(out.begin(), 2 * ns.frame_length, short{0});
    EXPECT_EQ(out, silence) << "what is left in both buffers, then zeros";
  }
}

// Full scale at a steady sign for 2.5 ms and more: away from the edges the output has that sign, or
// is small. A wrap would be large and of the other.
TEST(NoiseSuppressor, FullScaleDoesNotWrap) {
  for (int rate : kRates)
    for (int policy : {0, 3})
      for (size_t half_period : {size_t(rate) / 400, size_t(rate) / 50, size_t(rate)}) {
        suppressor ns(rate, kOwn, policy);
        const pcm in = square(size_t(rate), half_period);
        const pcm out = ns.run(in);
        int wrong = 0;
        for (size_t i = ns.latency(); i < out.size(); ++i) {
          const size_t place = (i - ns.latency()) % half_period;
          if (place < half_period / 4 || place > half_period * 3 / 4) continue;
          wrong += (out[i] < 0) != (in[i - ns.latency()] < 0) && std::abs(out[i]) > 12000;
        }
        EXPECT_EQ(wrong, 0) << rate << " Hz, " << half_period;
      }
  for (int rate : kRates) {
    suppressor ns(rate);
    const pcm in = pcm_wild(rate, 5), out = ns.run(in);
    double error = 0.0;
    for (size_t i = ns.latency(); i < out.size(); ++i)
      error += std::pow(out[i] - in[i - ns.latency()], 2);
    EXPECT_LT(error, power(in) * rate) << "nearer to the input than silence is";
    const pcm lowest = ns.run(pcm(size_t(rate), INT16_MIN));
    EXPECT_LT(*std::max_element(lowest.end() - rate / 2, lowest.end()), 1000);
  }
}

TEST(NoiseSuppressor, WorksBesideAnotherInstance) {
  const pcm a = speech_like(16000, 1.0, -30.0), b = noise_of(kPink, 8000, 1.0, -30.0);
  const pcm alone_a = suppressor(16000, kOwn, 3).run(a), alone_b = suppressor(8000).run(b);
  suppressor one(16000, kOwn, 3), two(8000);
  pcm in_a = a, in_b = b, out_a(a.size()), out_b(b.size());
  for (size_t f = 0; f < 100; ++f) {
    tekaNs_ProcessCore(&one, &in_a[160 * f], &out_a[160 * f]);
    tekaNs_ProcessCore(&two, &in_b[80 * f], &out_b[80 * f]);
  }
  EXPECT_EQ(out_a, alone_a);
  EXPECT_EQ(out_b, alone_b);
  EXPECT_EQ(in_a, a) << "the input is not written to";
}

namespace {

int calls = 0;
void (*portable_analysis)(NsxInst_t_*, const short*, short*) = nullptr;
void counting_analysis(NsxInst_t_* ns, const short* block, short* frame) {
  ++calls;
  portable_analysis(ns, block, frame);
}

}  // namespace

TEST(NoiseSuppressor, TakesReplacedStages) {
  const pcm in = speech_like(16000, 0.3, -30.0);
  const pcm expected = suppressor(16000).run(in);
  EXPECT_TRUE(tekaNsx_NoiseEstimation && tekaNsx_PrepareSpectrum && tekaNsx_SynthesisUpdate &&
              tekaNsx_Denormalize && tekaNsx_CreateComplexBuffer);
  suppressor ns(16000);
  portable_analysis = tekaNsx_AnalysisUpdate;
  ASSERT_NE(portable_analysis, nullptr);
  tekaNsx_AnalysisUpdate = counting_analysis;
  EXPECT_EQ(ns.run(in), expected);
  EXPECT_EQ(calls, 30);
  suppressor other(8000);
  EXPECT_EQ(tekaNsx_AnalysisUpdate, portable_analysis);
}

TEST(NoiseSuppressorDeathTest, LoudSpeechEndsTheProcess) {
  const pcm in = speech_like(16000, 1.0, -20.0);
  const auto run = [&](prior source) {
    dup2(STDERR_FILENO, STDOUT_FILENO);
    suppressor(16000, source).run(in);
    _exit(3);
  };
  EXPECT_EXIT(run(kPresence), testing::ExitedWithCode(0),
              "^Division Error var1=32767  var2=-32768");
  EXPECT_EXIT(run(kOwn), testing::ExitedWithCode(3), "^$");
}

// All there is, at all policies; then noise is turned down as by a new instance.
TEST(NoiseSuppressor, ForgetsAMixedSignal) {
  for (int rate : kRates) {
    const pcm noise = noise_of(kWhite, rate, 9.0, -40.0);
    suppressor used(rate), fresh(rate);
    for (int policy : {3, 0, 1, 2}) {
      ASSERT_EQ(tekaNs_set_policy_core(&used, policy), 0);
      used.run(speech_like(rate, 0.6, -20.0));
      used.run(pcm_wild(rate / 3, unsigned(policy)));
      used.run(square(size_t(rate) / 3, 40));
      used.run(pcm(size_t(rate) / 4));
      used.run(noise_of(kFan, rate, 0.6, -20.0));
    }
    const double db = attenuation(noise, used.run(noise), rate, 2.0);
    EXPECT_NEAR(db, attenuation(noise, fresh.run(noise), rate, 2.0), 0.5) << rate;
  }
}
