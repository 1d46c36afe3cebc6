// The subcommands that measure a rack.
#include <cmath>
#include <map>
#include <sstream>
#include <utility>

#include "support/section_theory.h"
#include "tool.h"

namespace {

class Bench : public Tool {
 protected:
  // A table that was printed: its left column by the first.
  std::map<double, double> table(const std::string& arguments) {
    EXPECT_EQ(run(arguments), 0) << output_;
    std::map<double, double> rows;
    std::istringstream lines(output_);
    double place = 0, left = 0, right = 0;
    for (std::string line; std::getline(lines, line);)
      if (std::istringstream row(line); row >> place >> left >> right) {
        rows[place] = left;
        EXPECT_EQ(left, right) << line;
      }
    return rows;
  }
};

const std::string kEqualizer = "response --set parametric-equalizer.";

// Published parametric settings, and the sections that they name.
struct published {
  const char* text;
  double preamp;
  std::vector<section> sections;
};
const published kPublished[] = {
    {"Preamp: -6.2 dB\nFilter 1: ON LSC Fc 105 Hz Gain 5.5 dB Q 0.70\n"
     "Filter 2: ON PK Fc 180 Hz Gain -2.8 dB Q 0.60\n"
     "Filter 3: ON PK Fc 3200 Hz Gain 4.1 dB Q 2.10\n"
     "Filter 4: ON HSC Fc 10000 Hz Gain -3.0 dB Q 0.70\n",
     -6.2,
     {{1, 105, 5.5, 0.7}, {0, 180, -2.8, 0.6}, {0, 3200, 4.1, 2.1}, {2, 10000, -3, 0.7}}},
    {"\xEF\xBB\xBFPreamp: -4,5 dB\r\n# by hand\r\nFilter: ON PK Fc 62,5 Hz Gain 3,9 dB Q 1,41\r\n"
     "Filter: OFF PK Fc 1000 Hz Gain 9 dB Q 1\r\nFilter: ON PK Fc 8000 Hz Gain -7,5 dB Q 4\r\n",
     -4.5,
     {{0, 62.5, 3.9, 1.41}, {0, 8000, -7.5, 4}}},
    {"filter 1: on hpq fc 30 hz q 0.9\nFilter 2: ON LP Fc 15 kHz\nFilter 3: ON AP Fc 500 Hz Q 1\n"
     "Filter 4: ON PK Fc 2000 Hz Gain -6 dB BW Oct 1",
     0,
     {{4, 30, 0, 0.9}, {3, 15000, 0, M_SQRT1_2}, {5, 500, 0, 1}, {0, 2000, -6, M_SQRT2}}}};

TEST_F(Bench, PublishedSettingsMeasureWithin005dBOfTheSectionsFormula) {
  for (const published& one : kPublished) {
    std::ofstream(path("eq.txt")) << one.text;
    ASSERT_EQ(run("import eq.txt -o eq.toml"), 0) << output_;
    ASSERT_EQ(run("response --preset eq.toml --csv eq.csv"), 0) << output_;
    std::ifstream rows(path("eq.csv"));
    std::string line;
    std::getline(rows, line);
    EXPECT_EQ(line, "frequency_hz,left_db,right_db");
    double hertz = 0, left = 0, right = 0;
    int count = 0;
    for (char comma; rows >> hertz >> comma >> left >> comma >> right; ++count) {
      double expected = one.preamp;
      for (const section& each : one.sections) expected += section_db(each, hertz, 48000);
      EXPECT_NEAR(left, expected, 0.05) << hertz << " Hz\n" << one.text;
      EXPECT_NEAR(right, expected, 0.05) << hertz << " Hz\n" << one.text;
    }
    EXPECT_GT(count, 470);
  }
}

// A GraphicEQ line's points, within what the import says that the fit leaves.
TEST_F(Bench, AGraphicLineMeasuresAsItsPointsSay) {
  std::ofstream(path("eq.txt")) << "GraphicEQ: 20 4; 60 5; 150 1; 400 -2; 1000 -1; 2500 -3; 6000 "
                                   "-6; 16000 -8";
  ASSERT_EQ(run("import eq.txt -o eq.toml"), 0) << output_;
  double rms = 99, most = 99;
  ASSERT_EQ(std::sscanf(output_.c_str(),
                        "8 points fitted by ten sections: off by %lf dB (rms), %lf", &rms, &most),
            2)
      << output_;
  auto levels = table("response --preset eq.toml --hertz 20,60,150,400,1000,2500,6000,16000");
  for (const auto& [hertz, level] : {std::pair{20, 4},
                                     {60, 5},
                                     {150, 1},
                                     {400, -2},
                                     {1000, -1},
                                     {2500, -3},
                                     {6000, -6},
                                     {16000, -8}})
    EXPECT_NEAR(levels[hertz], level, most + 0.05) << hertz << " Hz";
}

// An all-pass turns by half a turn at its frequency, where its delay is 2 Q / (pi f), whatever delay
// stands behind it.
TEST_F(Bench, PhaseAndGroupDelayLeaveTheLatencyOut) {
  const std::string all_pass = kEqualizer +
                               "band1_type=all-pass --set parametric-equalizer.band1_frequency=500 "
                               "--set parametric-equalizer.band1_q=1 --set compressor.threshold=0 "
                               "--hertz 500 --svg two.svg --show level,";
  EXPECT_NEAR(std::abs(table(all_pass + "phase")[500]), 180, 0.5);
  EXPECT_NEAR(table(all_pass + "delay")[500], 1.273, 0.01);
  EXPECT_NE(read_text(path("two.svg")).find("group delay, ms"), std::string::npos);
}

// A sine clipped at half its height: a tone of 4/pi (asin 1/2 + sqrt 3 / 4) and, by the power that
// is left, harmonics 12.66 dB below it, the first nine of which are -12.74 dB.
TEST_F(Bench, LevelsAndDistortionOfAToneAreThoseOfAClippedSine) {
  auto levels = table("response --set volume.gain=6.0206 --tone 997 --show curve");
  EXPECT_NEAR(levels[-80], -73.98, 0.02);
  EXPECT_NEAR(levels[-10], -3.98, 0.01);
  EXPECT_NEAR(levels[0], 1.71, 0.01);
  auto distortion = table("response --set volume.gain=6.0206 --tone 997 --show distortion");
  EXPECT_LT(distortion[-10], -100);
  EXPECT_NEAR(distortion[0], -12.7, 0.1);
}

// A resonance falls by 20 log10(e) pi f / Q dB a second. The compressor does nothing, late.
TEST_F(Bench, StepAndDecayBeginWhenTheSoundChanges) {
  auto step = table("response --set compressor.threshold=0 --set volume.gain=-6 --show step");
  EXPECT_NEAR(step[-0.05], -46, 0.01);
  EXPECT_NEAR(step[0.005], -16, 0.01);
  EXPECT_NEAR(step[0.95], -16, 0.01);
  EXPECT_NEAR(step[1.005], -46, 0.01);
  auto decay = table(kEqualizer +
                     "band1_type=low-pass --set parametric-equalizer.preamp=0 --set "
                     "parametric-equalizer.band1_frequency=200 --set "
                     "parametric-equalizer.band1_q=20 --show decay");
  EXPECT_NEAR(decay[0.02] - decay[0.1], 0.08 * 8.686 * M_PI * 200 / 20, 0.3);
}

// The gain of a volume is all that is between A and the recording, and the match takes it away.
TEST_F(Bench, ComparingTurnsTheLouderOneDownAndSubtracts) {
  write("in.wav", noise(48000, 2, 2));
  ASSERT_EQ(run("preset save soft.toml --set volume.gain=-6 --set smart-volume.enabled=off"), 0);
  ASSERT_EQ(run("compare soft.toml bypass in.wav out"), 0) << output_;
  const std::string said = output_;
  EXPECT_NE(said.find("turned by, dB         0.0    -6.0    -6.0"), std::string::npos) << said;
  const auto a = read("out/a-soft.wav"), b = read("out/b-bypass.wav"),
             difference = read("out/difference.wav");
  ASSERT_EQ(difference.size(), 192000u);
  EXPECT_NEAR(power_db(a, 0, 192000), power_db(b, 0, 192000), 0.01);
  EXPECT_LT(power_db(difference, 0, 192000), power_db(b, 0, 192000) - 50);
  for (size_t i = 0; i < a.size(); i += 999) EXPECT_NEAR(a[i] - b[i], difference[i], 512);
  EXPECT_NE(read_text(path("out/response.svg")).find("B: bypass"), std::string::npos);
}

// A tone of 997 Hz in both channels is as loud in LUFS as it is high in dBFS (ITU-R BS.1770).
TEST_F(Bench, AReportHoldsItsFiguresAndNeedsNothingElse) {
  write("in.wav", tone(48000, 997, 0.1, 4));
  ASSERT_EQ(run("preset save soft.toml --set volume.gain=-6 --set echo.enabled=off --set "
                "parametric-equalizer.band3_gain=0.5"),
            0);
  ASSERT_EQ(run("report --preset soft.toml --in in.wav -o r.html --seconds 2"), 0) << output_;
  const std::string page = read_text(path("r.html"));
  for (const char* part :
       {"\u221226.0<span class='unit'>LUFS", "from \u221220.0, \u22126.0 LU", "switched off",
        "<tr><th scope='row'>band 3</th>", "0.5 dB", "data:audio/flac;base64,ZkxhQ",
        "data:image/png;base64,iVBORw0KGgo", "Group delay", "60 dB down after",
        "sonx play IN OUT --preset soft.toml --bits 24"})
    EXPECT_NE(page.find(part), std::string::npos) << part;
  for (const char* part : {"src='http", "href=", "url(", "@import", "fetch("})
    EXPECT_EQ(page.find(part), std::string::npos) << part;

  // The hash is that of what the command on the page writes.
  ASSERT_EQ(run("play in.wav out.wav --preset soft.toml --bits 24"), 0) << output_;
  ASSERT_EQ(std::system(("cd '" + folder_.string() +
                         "' && tail -c 576000 out.wav | sha256sum | cut -c1-64 >sum")
                            .c_str()),
            0);
  const std::string sum = read_text(path("sum")).substr(0, 64);
  EXPECT_NE(page.find("<code>" + sum + "</code>"), std::string::npos) << sum;
}

TEST_F(Bench, WhatCannotBeComparedOrReportedIsSaidInOneLine) {
  write("in.wav", noise(48000, 2, 0.5));
  ASSERT_EQ(run("preset save room.toml --set reverb.room=2"), 0) << output_;
  expect_refused(
      {{"compare room.toml missing.toml in.wav out", "there is no preset 'missing.toml'"},
       {"compare room.toml bypass missing.wav out", "there is no file 'missing.wav'"},
       {"report --in in.wav -o r.html", "a --preset or a --set is missing"},
       {"report --preset room.toml --in in.wav -o r.pdf", "must end in .html"},
       {"report --preset room.toml --in in.wav -o r.html --from 1", "--from lies behind the end"},
       {"response", "a --preset or a --set is missing"},
       {"response --preset room.toml --show level,step --csv r.csv", "don't stand over the same"}});
  EXPECT_FALSE(fs::exists(path("out")) || fs::exists(path("r.html")));
}

}  // namespace
