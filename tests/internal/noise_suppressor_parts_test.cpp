// Parts of the noise suppressor that the shared library hides: its logarithms, and the karaoke
// chain's way through it.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

#include "ktv/noise_path_internal.h"
#include "ns/logarithm.h"
#include "ns/noise_suppressor.h"

TEST(Logarithms, AreRightWithinAStepOverTheirWholeRange) {
  EXPECT_EQ(ln_q12(1), 0);
  EXPECT_EQ(ln_q12(UINT64_MAX), std::lround(64 * std::log(2.0) * 4096));
  for (double value = 1; value < 1.8e19; value *= 1.00371) {
    const auto integer = static_cast<uint64_t>(value);
    ASSERT_NEAR(ln_q12(integer), std::log(static_cast<double>(integer)) * 4096, 0.6) << integer;
  }
  for (int x = -120000; x < 100000; x += 37)
    for (int bits : {0, 12, 16, 30}) {
      const double exact = std::ldexp(std::exp(x / 4096.0), bits);
      const double kept = std::min(exact, double{UINT32_MAX});
      ASSERT_NEAR(exp_q12(x, bits), kept, 1 + 2e-5 * kept) << x;
    }
  EXPECT_EQ(exp_q12(INT32_MIN, 30), 0u);
  EXPECT_EQ(exp_q12(INT32_MAX, 0), UINT32_MAX);
}

// The pauses' spectrum can hold the largest magnitude in many bins at once: each bin stands still
// for as long as speech is likely there. For the sanitizer, and the feature stays in its range.
TEST(SpectralDifference, HoldsTheLargestMagnitudesInEveryOtherBin) {
  NsxInst_t_ ns;
  ASSERT_EQ(tekaNs_InitCore(&ns, 16000), 0);
  tekaNs_set_prior_source(&ns, 1);
  for (int k = 0; k < ns.bins; k += 2) ns.pause_magnitude[k] = 46340u << 16;
  std::vector<short> block(160);
  for (int frame = 0; frame < 20; ++frame) {
    for (size_t i = 0; i < 160; ++i) block[i] = i % 2 == size_t(frame % 2) ? 32767 : -32768;
    ASSERT_EQ(tekaNs_ProcessCore(&ns, block.data(), block.data()), 0);
    ASSERT_GE(ns.feature[2], 0);
    ASSERT_LE(ns.feature[2], 256 << 12);
  }
  tekaNs_FreeCore(&ns);
}

// The chain itself never goes there. Bursts of a tone on an offset: the offset is taken away by the
// high-pass, the bursts come through at their level.
TEST(NoisePath, GivesTheVoiceBackWithoutItsOffset) {
  teka_audio_tx_ktv_t chain;
  teka_audio_tx_ktv_init(&chain);
  tekaNs_set_prior_source(chain.ns, 1);  // with the other one the bursts end the process
  std::vector<int> voice(240);
  std::vector<short> work(512);
  double in = 0, out = 0, offset = 0;
  for (int block = 0, n = 0; block < 400; ++block) {
    double block_in = 0;
    for (int& v : voice) {
      const double burst = block / 20 % 2 ? 8000 * std::sin(2 * std::numbers::pi * n++ / 48) : 0;
      v = static_cast<int>(burst + 2000) * 256;
      block_in += burst * burst;
    }
    noise_path(&chain, voice.data(), work.data(), 240);
    if (block < 40) continue;
    in += block_in;
    for (int v : voice) out += std::pow(v / 256.0, 2);
    for (int v : voice) offset += v / 256.0;
  }
  EXPECT_NEAR(10 * std::log10(out / in), 0.0, 1.5);
  EXPECT_NEAR(offset / (360 * 240), 0.0, 20.0) << "40 dB less";
  teka_audio_tx_ktv_end(&chain);
}
