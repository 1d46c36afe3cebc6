// Published equalizer settings as presets: what they do, and what is refused.
#include <gtest/gtest.h>
#include <sonx/rack.h>

#include <array>
#include <cmath>
#include <complex>
#include <memory>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

#include "support/import_faults.h"
#include "support/section_theory.h"

namespace {

constexpr int kRate = 48000;

struct imported {
  int result;
  std::string preset, report;
};

imported import(const std::string& text, bool auto_preamp = false) {
  char preset[8192], report[4096];
  const int result =
      sonx_rack_import(text.c_str(), auto_preamp, preset, sizeof preset, report, sizeof report);
  return {result, preset, report};
}

using rack = std::unique_ptr<sonx_rack, decltype(&sonx_rack_destroy)>;

rack load(const std::string& preset) {
  rack made(sonx_rack_create(kRate, kRate), sonx_rack_destroy);
  char error[200] = "";
  EXPECT_EQ(sonx_rack_load(made.get(), preset.c_str(), error, sizeof error), 0) << error;
  return made;
}

double value(const rack& from, const std::string& id) {
  const sonx_effect& effect = *sonx_rack_slot(from.get(), 0);
  for (int k = 0; k < effect.parameter_count; ++k)
    if (effect.parameters[k].id == id) return sonx_rack_get(from.get(), 0, k);
  ADD_FAILURE() << id;
  return 0;
}

double band_value(const rack& from, int band, const char* key) {
  std::string id = "band";
  return value(from, id.append(std::to_string(band)).append(key));
}

double formula_db(const rack& from, double frequency) {
  double level = value(from, "preamp");
  for (int band = 1; band <= 10; ++band)
    level += section_db(
        {static_cast<int>(band_value(from, band, "_type")), band_value(from, band, "_frequency"),
         band_value(from, band, "_gain"), band_value(from, band, "_q")},
        frequency, kRate);
  return level;
}

// The levels of tones that sound together, over the last of four seconds: there, each has a whole
// number of turns, and the small constant that sections come to rest at isn't counted.
std::vector<double> measured_db(const rack& through, const std::vector<double>& frequencies) {
  constexpr int kSeconds = 4;
  constexpr float kAmplitude = 0.01F;
  const auto turned = [](double frequency, int i) {  // each begins elsewhere
    return std::polar(1.0, 2 * std::numbers::pi * std::fmod(frequency * i, kRate) / kRate +
                               frequency * frequency);
  };
  std::vector<float> samples(kSeconds * kRate);
  for (size_t i = 0; i < samples.size(); ++i)
    for (const double f : frequencies)
      samples[i] += kAmplitude * static_cast<float>(turned(f, static_cast<int>(i)).imag());
  float* const channel = samples.data();
  sonx_rack_process_f32(through.get(), &channel, &channel, 1, kSeconds * kRate);

  std::vector<double> levels;
  for (const double f : frequencies) {
    std::complex<double> sum;
    for (int i = (kSeconds - 1) * kRate; i < kSeconds * kRate; ++i)
      sum += double{samples[static_cast<size_t>(i)]} * std::conj(turned(f, i));
    levels.push_back(20 * std::log10(std::abs(sum) * 2 / kRate / kAmplitude));
  }
  return levels;
}

TEST(Import, WhatIsImportedIsWithin005dBOfTheSectionsFormula) {
  const std::pair<const char*, std::array<double, 4>> published[] = {
      // and its last section
      {"Preamp: -6.2 dB\nFilter 1: ON LSC Fc 105 Hz Gain 5.5 dB Q 0.70\n"
       "Filter 2: ON PK Fc 180 Hz Gain -2.8 dB Q 0.60\nFilter 3: ON PK Fc 3200 Hz Gain 4.1 dB Q "
       "2.10\nFilter 4: ON HSC Fc 10000 Hz Gain -3.0 dB Q 0.70\n",
       {2, 10000, -3, 0.7}},
      {"\xEF\xBB\xBFPreamp: -4,5 dB\r\n# by hand\r\nFilter: ON PK Fc 62,5 Hz Gain 3,9 dB Q 1,41\r\n"
       "Filter: OFF PK Fc 1000 Hz Gain 9 dB Q 1\r\nFilter: ON PK Fc 8000 Hz Gain -7,5 dB Q 4\r\n",
       {0, 8000, -7.5, 4}},
      {"filter 1: on hpq fc 30 hz q 0.9\nFilter 2: ON LP Fc 15 kHz\nFilter 3: ON AP Fc 500 Hz Q 1\n"
       "Filter 4: ON PK Fc 2000 Hz Gain -6 dB BW Oct 1",
       {0, 2000, -6, std::numbers::sqrt2}},
      {"GraphicEQ: 20 -1.0; 50 3.5; 120 2; 300 -1.5; 900 0; 2500 -2; 5000 3; 9000 -4; 16000 1",
       {}}};
  for (const auto& [text, last] : published) {
    const imported made = import(text);
    ASSERT_EQ(made.result, 0) << made.report;
    const rack through = load(made.preset);
    if (last[1] != 0) {
      int band = 10;
      const auto of_band = [&](const char* key) { return band_value(through, band, key); };
      while (band > 1 && of_band("_gain") == 0) --band;
      EXPECT_EQ(of_band("_type"), last[0]) << text;
      EXPECT_EQ(of_band("_frequency"), last[1]) << text;
      EXPECT_EQ(of_band("_gain"), last[2]) << text;
      EXPECT_NEAR(of_band("_q"), last[3], 1e-9) << text;
    }
    std::vector<double> frequencies;
    for (double f = 20; f < 20001; f *= std::exp2(1.0 / 4)) frequencies.push_back(std::round(f));
    frequencies.push_back(20000);
    const auto measured = measured_db(through, frequencies);
    for (size_t k = 0; k < frequencies.size(); ++k)
      EXPECT_NEAR(measured[k], formula_db(through, frequencies[k]), 0.05)
          << text << frequencies[k] << " Hz";
  }
}

// At the points themselves, where the curve bends.
TEST(Import, AGraphicCurveIsMetAsCloselyAsTheReportSays) {
  const std::pair<double, double> points[] = {{20, 4},    {60, 5},    {150, 1},   {400, -2},
                                              {1000, -1}, {2500, -3}, {6000, -6}, {16000, -8}};
  std::string text = "GraphicEQ:";
  for (const auto& [f, level] : points)
    text.append(" ").append(std::to_string(f)).append(" ").append(std::to_string(level)) += ';';
  const imported made = import(text);
  ASSERT_EQ(made.result, 0) << made.report;
  double rms = 99, most = 99;
  ASSERT_EQ(std::sscanf(made.report.c_str(),
                        "8 points fitted by ten sections: off by %lf dB (rms), %lf", &rms, &most),
            2)
      << made.report;
  EXPECT_LT(rms, 0.1);
  std::vector<double> frequencies;
  for (const auto& point : points) frequencies.push_back(point.first);
  const auto measured = measured_db(load(made.preset), frequencies);
  for (size_t k = 0; k < measured.size(); ++k)
    EXPECT_NEAR(measured[k], points[k].second, most + 0.05) << frequencies[k] << " Hz";
}

TEST(Import, TheReportSaysWhatRoomTheCurveNeeds) {
  const std::string boost = "Filter 1: ON PK Fc 1000 Hz Gain 6 dB Q 1\n";
  EXPECT_NE(import(boost).report.find("raise up to 6.00 dB (at "), std::string::npos);
  EXPECT_NE(import(boost).report.find("will clip by up to 6.00 dB"), std::string::npos);
  EXPECT_NE(import(boost + "Preamp: -7 dB").report.find("1.00 dB to spare"), std::string::npos);
  EXPECT_EQ(value(load(import(boost, true).preset), "preamp"), -6);
  std::string many;
  for (int k = 0; k < 11; ++k) many += boost;
  EXPECT_EQ(sonx_rack_slot_count(load(import(many).preset).get()), 2);
}

TEST(Import, EveryFaultIsNamedWithItsLine) {
  for (const auto& [text, message] : kImportFaults) {
    const imported made = import(text);
    EXPECT_EQ(made.result, 1) << text;
    EXPECT_TRUE(made.report.starts_with(message)) << text << '\n' << made.report;
    EXPECT_EQ(made.preset, "");
  }
  EXPECT_EQ(import("a\nb\nc").result, 3);
}

TEST(ExportC, WhatTheHandleAndTheSettersTakeIsWritten) {
  const auto text_of = [](const std::string& slot) {
    char text[8192];
    sonx_rack_export_c(load("sonx = 1\n[[effect]]\nid = " + slot).get(), text, sizeof text);
    return std::string(text);
  };
  const std::pair<const char*, const char*> slots[] = {
      // 60 % of 8192, 100 % dry = 4096
      {"\"reverb\"\nroom = 60\ndry = 100", "slot1_record = {4, 0, {4915, 4096, 2730, 4096, 8192, "},
      {"\"headphones\"\nadapter = \"on-ear\"", "slot1_record = {0, 3, {0}}"},
      {"\"parametric-equalizer\"\npreamp = -6.0206", "int slot1_gain = 4096;"},
      {"\"echo\"", "// Slot 1, echo.\n// Neither"}};
  for (const auto& [slot, part] : slots)
    EXPECT_NE(text_of(slot).find(part), std::string::npos) << text_of(slot);
}

}  // namespace
