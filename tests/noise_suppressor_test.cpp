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

enum prior { kPresence, kOwn, kTracked };

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

}  // namespace

TEST(NoiseSuppressorTables, AreTheirClosedForms) {
  for (int k = 0; k < 9; ++k)
    EXPECT_EQ(tekaNsx_kLogTable[k], std::lround(256.0 * k * std::numbers::ln2)) << k;
  for (int k = 0; k <= 200; ++k)
    EXPECT_EQ(tekaNsx_kCounterDiv[k], std::min(32767L, std::lround(32768.0 / (k + 1)))) << k;
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

  suppressor ns(16000, kPresence, 0);
  for (int wrong : {-1, 4, INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(tekaNs_set_policy_core(&ns, wrong), -1) << wrong;
    EXPECT_EQ(ns.policy, 0);
  }
  int value = -1;
  for (int source : {1, 0, 1}) {
    EXPECT_EQ(tekaNs_set_prior_source(&ns, source), 0);
    for (int wrong : {-1, 3}) EXPECT_EQ(tekaNs_set_prior_source(&ns, wrong), -1);
    EXPECT_EQ(tekaNs_get_prior_source(&ns, &value), 0);
    EXPECT_EQ(value, source);
  }
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

TEST(NoiseSuppressor, TrackedNoiseGoesDownByThePolicysBoundFromTwentyHertzOn) {
  constexpr double kBounds[] = {6.02, 12.04, 18.06, 20.92};
  for (int rate : kRates)
    for (const noise_kind kind : {kWhite, kPink, kDeepPink})
      for (int policy : {0, 1, 2, 3}) {
        const pcm in = noise_of(kind, rate, 6.0, -40.0);
        const double down = attenuation(in, suppressor(rate, kTracked, policy).run(in), rate, 3.0);
        EXPECT_NEAR(down, kBounds[policy], 0.5) << kind.name << " at " << rate << ", " << policy;
      }
}

// A step of noise is noise after 1.6 s; a voice that starts as loud stays a voice, from its first
// syllable on, and is one without a pause before it or any noise in its pauses.
TEST(NoiseSuppressor, TracksAStepOfNoiseButNotAVoice) {
  for (int rate : kRates) {
    const pcm faint = noise_of(kWhite, rate, 2.0, -60.0), loud = noise_of(kWhite, rate, 2.6, -40.0);
    pcm in = faint;
    in.insert(in.end(), loud.begin(), loud.end());
    EXPECT_NEAR(attenuation(in, suppressor(rate, kTracked).run(in), rate, 1.0), 18.06, 1.5) << rate;

    pcm voice = speech_like(rate, 1.6, -40.0), with_pause = faint;
    with_pause.insert(with_pause.end(), voice.begin(), voice.end());
    const double lost =
        attenuation(with_pause, suppressor(rate, kTracked).run(with_pause), rate, 1.6);
    EXPECT_LT(lost, 0.5) << rate;
    const pcm out = suppressor(rate, kTracked).run(voice);
    EXPECT_LT(attenuation(voice, out, rate, 1.4), 1.0) << rate;
  }
}

TEST(NoiseSuppressor, ChoosingTheTrackedPriorAgainForgetsTheNoise) {
  suppressor used(16000, kTracked), fresh(16000, kTracked);
  used.run(pcm_wild(16000, 9));
  EXPECT_EQ(tekaNs_set_prior_source(&used, kOwn), 0);
  used.run(pcm(1600));  // silence ends the overlap
  EXPECT_EQ(tekaNs_set_prior_source(&used, kTracked), 0);
  const pcm voice = speech_like(16000, 1.0, -30.0);
  EXPECT_EQ(used.run(voice), fresh.run(voice));
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
