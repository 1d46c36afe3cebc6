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

// What the shipped equalizer makes of ten rows.
tones::response measured(const int* words, const tones& signal) {
  parameter_equalizer_t eq;
  parameter_equalizer_init(&eq);
  parameter_equalizer_setparameter_left(&eq, reinterpret_cast<const int(*)[6]>(words));
  return signal.measure(
      [&eq](int* in, int* out, int n) { parameter_equalizer_process_mono(&eq, in, out, n); });
}

}  // namespace

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
