// The tables are hidden in the library, so the test compiles its own copy of them.
#include "hp/tuning_tables.cpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "effects/parameter_equalizer.h"
#include "support/signals.h"
#include "support/tones.h"

namespace {

using row = std::vector<int>;
using channel_rows = const int (*)[6];

const row kUnity = {0, 268435456, 0, 0, 0, 0};

row row_of(const int* words, int k) { return row(words + 6 * k, words + 6 * k + 6); }

const int* adapter(int rate, int number) { return tuning::kAdapterCorrection[rate][number - 1]; }

// A grid from 20 Hz to 20 kHz and the frequencies that the descriptions name.
std::vector<int> audio_band() {
  std::vector<int> hertz = {60,   100,  160,  220,  260,  300,  400,  500,   1000, 2700,
                            3000, 3600, 5200, 6000, 6500, 7600, 8800, 16000, 20000};
  for (int f = 20; f < 20000; f = std::max(f + 20, f * 7 / 6 / 20 * 20)) hertz.push_back(f);
  std::sort(hertz.begin(), hertz.end());
  hertz.erase(std::unique(hertz.begin(), hertz.end()), hertz.end());
  return hertz;
}

// What the shipped equalizer makes of ten rows.
class measured {
 public:
  measured(const int* words, const tones& signal) {
    parameter_equalizer_t eq;
    parameter_equalizer_init(&eq);
    parameter_equalizer_setparameter_left(&eq, reinterpret_cast<channel_rows>(words));
    response_ = signal.measure(
        [&eq](int* in, int* out, int n) { parameter_equalizer_process_mono(&eq, in, out, n); });
  }

  double at(int hertz) const { return response_.at(hertz); }
  double above_mids(int hertz) const { return at(hertz) - at(1000); }

  double largest() const {
    double most = -100.0;
    for (const auto& [hertz, gain] : response_) most = std::max(most, gain);
    return most;
  }

 private:
  tones::response response_;
};

constexpr int kRates[] = {44100, 48000};

}  // namespace

TEST(TuningTables, HaveThePresetRowsThatMustNeverChange) {
  const int* sets[] = {tuning::kParametricPreset[0][0], tuning::kParametricPreset[1][0]};
  EXPECT_EQ(row_of(sets[0], 0), (row{3, 268066611, -533162405, 265217574, 533162405, -264848730}));
  EXPECT_EQ(row_of(sets[1], 0), (row{3, 268096392, -533470927, 265477386, 533470927, -265138322}));
  for (const int* set : sets) {
    const int flags[] = {3, 0, 3, 3, 3, 3, 3, 0, 0, 0};
    for (int k = 0; k < 10; ++k) EXPECT_EQ(set[6 * k], flags[k]);
    for (const int k : {1, 7, 8, 9}) EXPECT_EQ(row_of(set, k), kUnity) << k;
  }
}

TEST(TuningTables, HaveTheAdapterShapesThatMustNeverChange) {
  EXPECT_EQ(row_of(adapter(0, 1) + 3, 0),
            (row{3, 268985936, -527539437, 258862062, 527539437, -259412543}));
  const int counts[] = {5, 6, 6, 4, 4, 5, 5};
  for (int number = 1; number <= 7; ++number) {
    for (int rate = 0; rate < 2; ++rate) {
      const int* words = adapter(rate, number);
      EXPECT_EQ(row(words, words + 3), (row{0, 8192, 8192}));
      EXPECT_TRUE(std::equal(words + 3, words + 63, words + 63)) << "left and right";
      const int count = counts[number - 1];
      for (int k = 0; k < count; ++k)
        EXPECT_EQ(row_of(words + 3, k)[0], number == 1 && k == 4 ? 1 : 3);
      for (int k = count; k < 10; ++k) EXPECT_EQ(row_of(words + 3, k), kUnity);
    }
    for (int rate = 2; rate < 4; ++rate)
      EXPECT_EQ(row(adapter(rate, number), adapter(rate, number) + 123), row(123, 0));
  }
}

TEST(TuningTables, HaveAVirtualBassLowPassAt500Hz) {
  const int* const rows[] = {tuning::kVirtualBassRow[0], tuning::kVirtualBassRow[1]};
  EXPECT_EQ(row(rows[0], rows[0] + 10),
            (row{0, 8192, 4096, 6144, 8192, 324108, 648216, 324108, 509844742, -242705718}));
  EXPECT_EQ(row(rows[1], rows[1] + 10),
            (row{0, 8192, 4096, 6144, 8192, 274666, 549332, 274666, 512037650, -244700858}));
  for (int rate = 2; rate < 4; ++rate)
    EXPECT_TRUE(std::equal(rows[1], rows[1] + 10, tuning::kVirtualBassRow[rate]));
  for (int rate = 0; rate < 2; ++rate) {
    std::vector<int> set(60, 0);
    std::copy_n(rows[rate] + 5, 5, set.begin() + 1);
    set[0] = 1;
    const measured low_pass(set.data(), tones(kRates[rate], 100000.0, {100, 500, 1000}));
    EXPECT_NEAR(low_pass.at(100), 0.0, 0.05);
    EXPECT_NEAR(low_pass.at(500), -3.01, 0.05);
    EXPECT_NEAR(low_pass.at(1000), -12.3, 0.2);
  }
}

// The figures are those of docs/tuning.md's text: what each is meant to do to the sound.
TEST(TuningTables, DoWhatTheirDescriptionsSay) {
  for (int rate = 0; rate < 2; ++rate) {
    const tones signal(kRates[rate], 100000.0, audio_band());
    const measured preset(tuning::kParametricPreset[rate][0], signal);
    EXPECT_LE(preset.largest(), 2.19) << "the make-up gain behind it";
    EXPECT_LT(preset.at(160), -2.0) << "less boom";
    EXPECT_LT(preset.at(400), -1.3) << "less box";
    EXPECT_NEAR(preset.at(3000), 1.6, 0.2) << "presence";
    EXPECT_LT(preset.at(6500), -0.5) << "sibilants held back";
    EXPECT_NEAR(preset.at(16000), 1.9, 0.2) << "air";

    std::vector<measured> adapters;
    for (int number = 1; number <= 7; ++number)
      adapters.emplace_back(adapter(rate, number) + 3, signal);
    const auto of = [&](int number) { return adapters[static_cast<size_t>(number - 1)]; };
    for (int number = 1; number <= 7; ++number) EXPECT_LE(of(number).largest(), 1.0) << number;
    EXPECT_LT(of(1).above_mids(100), -1.8) << "closed over-ear: hump";
    EXPECT_GT(of(1).above_mids(260), 0.2) << "dip filled";
    EXPECT_NEAR(of(2).above_mids(40), 2.9, 0.3) << "open over-ear: bass";
    EXPECT_LT(of(2).above_mids(8800), -2.5) << "peaks";
    EXPECT_NEAR(of(3).above_mids(40), 3.6, 0.3) << "on-ear: bass";
    EXPECT_LT(of(3).above_mids(220), -1.5) << "hump";
    EXPECT_LT(of(3).above_mids(3600), -2.5) << "ring";
    EXPECT_GT(of(3).at(5200), of(3).at(3600) + 1.5) << "hole";
    EXPECT_NEAR(of(4).above_mids(60), -3.1, 0.3) << "deep seal: bass lowered";
    EXPECT_NEAR(of(4).above_mids(7600), -3.9, 0.3) << "closed canal";
    EXPECT_NEAR(of(5).above_mids(40), 4.2, 0.3) << "shallow fit: bass";
    EXPECT_LT(of(5).above_mids(6000), -3.5) << "closed canal";
    EXPECT_GT(of(6).above_mids(100), 6.0) << "ear-bud: bass";
    EXPECT_LT(of(6).above_mids(2700), -1.2) << "resonance";
    EXPECT_GT(of(6).above_mids(16000), 3.0) << "top";
    EXPECT_LT(of(7).at(60), -7.5) << "bone conduction: shaking";
    EXPECT_GT(of(7).above_mids(300), 2.0) << "warmth";
    EXPECT_GT(of(7).above_mids(6000), 5.0) << "consonants";
  }
}
