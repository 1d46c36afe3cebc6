// The tables are hidden in the library, so the test compiles its own copy of them.
#include "hp/tuning_tables.cpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <vector>

#include "effects/parameter_equalizer.h"
#include "support/signals.h"
#include "support/tones.h"

namespace {

samples row(const int* words) { return samples(words, words + 6); }

// What the shipped equalizer makes of ten rows.
tones::response measured(const int* words, const tones& signal) {
  parameter_equalizer_t eq;
  parameter_equalizer_init(&eq);
  parameter_equalizer_setparameter_left(&eq, reinterpret_cast<const int(*)[6]>(words));
  return signal.measure(
      [&eq](int* in, int* out, int n) { parameter_equalizer_process_mono(&eq, in, out, n); });
}

}  // namespace

// One row of each kind; the generator's own check compares the others.
TEST(TuningTables, HaveTheRowsThatMustNeverChange) {
  const auto& preset = tuning::kParametricPreset;
  const auto& adapters = tuning::kAdapterCorrection;
  EXPECT_EQ(row(preset[0][0]),
            (samples{3, 268066611, -533162405, 265217574, 533162405, -264848730}));
  EXPECT_EQ(row(preset[1][0]),
            (samples{3, 268096392, -533470927, 265477386, 533470927, -265138322}));
  EXPECT_EQ(row(preset[1][9]), (samples{0, 268435456, 0, 0, 0, 0}));
  EXPECT_EQ(row(adapters[0][0] + 3),
            (samples{3, 268985936, -527539437, 258862062, 527539437, -259412543}));
  EXPECT_EQ(row(adapters[0][0] + 27)[0], 1) << "the lone row with a flag of 1";
  for (int rate : {0, 1})
    for (const auto& words : adapters[rate]) {
      EXPECT_EQ(samples(words, words + 3), (samples{0, 8192, 8192}));
      EXPECT_TRUE(std::equal(words + 3, words + 63, words + 63)) << "left and right";
    }
  const samples bass = {0, 8192, 4096, 6144, 8192, 274666, 549332, 274666, 512037650, -244700858};
  const samples slow = {0, 8192, 4096, 6144, 8192, 324108, 648216, 324108, 509844742, -242705718};
  for (int rate = 0; rate < 4; ++rate)
    EXPECT_TRUE(std::ranges::equal(tuning::kVirtualBassRow[rate], rate == 0 ? slow : bass));
}

// What docs/tuning.md says they are meant to do to the sound, measured. Number 0 is the
// preset, 1..7 are the adapters; the gain at a frequency, against that at another one if given, is
// in a range.
TEST(TuningTables, DoWhatTheirDescriptionsSay) {
  // Number, Hz, Hz against, lowest and highest dB.
  const double figures[][5] = {
      {0, 160, 0, -99, -2.0},     {0, 400, 0, -99, -1.3},     {0, 3000, 0, 1.4, 1.8},
      {0, 6500, 0, -99, -0.5},    {0, 16000, 0, 1.7, 2.1},    {1, 100, 1000, -99, -1.8},
      {1, 260, 1000, 0.2, 99},    {2, 40, 1000, 2.6, 3.2},    {2, 8800, 1000, -99, -2.5},
      {3, 40, 1000, 3.3, 3.9},    {3, 220, 1000, -99, -1.5},  {3, 3600, 1000, -99, -2.5},
      {3, 5200, 3600, 1.5, 99},   {4, 60, 1000, -3.4, -2.8},  {4, 7600, 1000, -4.2, -3.6},
      {5, 40, 1000, 3.9, 4.5},    {5, 6000, 1000, -99, -3.5}, {6, 100, 1000, 6.0, 99},
      {6, 2700, 1000, -99, -1.2}, {6, 16000, 1000, 3.0, 99},  {7, 60, 0, -99, -7.5},
      {7, 300, 1000, 2.0, 99},    {7, 6000, 1000, 5.0, 99}};
  std::set<int> band;  // the figures' frequencies and a grid
  for (const auto& figure : figures) band.insert({int(figure[1]), std::max(20, int(figure[2]))});
  for (int f = 20; f < 20000; f = std::max(f + 20, f * 7 / 6 / 20 * 20)) band.insert(f);
  for (int rate = 0; rate < 2; ++rate) {
    const tones signal(rate == 0 ? 44100 : 48000, 100000.0, {band.begin(), band.end()});
    std::vector<tones::response> of = {measured(tuning::kParametricPreset[rate][0], signal)};
    for (const auto& adapter : tuning::kAdapterCorrection[rate])
      of.push_back(measured(adapter + 3, signal));
    for (const auto& [number, hertz, against, lowest, highest] : figures) {
      auto& response = of[size_t(number)];
      const double gain = response[int(hertz)] - (against > 0 ? response[int(against)] : 0.0);
      EXPECT_TRUE(gain >= lowest && gain <= highest) << number << ": " << gain << " at " << hertz;
    }
    for (size_t number = 0; number <= 7; ++number)
      for (const auto& [hertz, gain] : of[number])
        EXPECT_LE(gain, number == 0 ? 2.19 : 1.0) << number << " " << hertz;
  }
}
