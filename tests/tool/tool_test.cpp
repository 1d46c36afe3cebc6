// The host tool as a user runs it: its program is started on small files in a folder of its own.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <numbers>
#include <random>
#include <sndfile.hh>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

struct audio {
  int rate = 0;
  int channels = 0;
  std::vector<short> samples;  // interleaved

  size_t frames() const { return samples.size() / static_cast<size_t>(channels); }
};

std::string read_text(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

class Tool : public testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = testing::TempDir() + "sonx_tool_XXXXXX";
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
  }
  void TearDown() override { fs::remove_all(folder_); }

  fs::path path(const std::string& name) const { return folder_ / name; }

  // Runs the tool in the folder; its exit status. output_ holds both its streams.
  int run(const std::string& arguments) {
    const std::string command = "cd '" + folder_.string() + "' && '" SONX_TOOL "' " + arguments +
                                " >../" + folder_.filename().string() + ".txt 2>&1";
    const int status = std::system(command.c_str());
    const fs::path text = folder_.string() + ".txt";
    output_ = read_text(text);
    fs::remove(text);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  size_t files() const {
    return static_cast<size_t>(
        std::distance(fs::directory_iterator(folder_), fs::directory_iterator()));
  }

  void write(const std::string& name, const audio& sound) const {
    SndfileHandle file(path(name).string(), SFM_WRITE, SF_FORMAT_WAV | SF_FORMAT_PCM_16,
                       sound.channels, sound.rate);
    const auto count = static_cast<sf_count_t>(sound.samples.size());
    ASSERT_EQ(file.write(sound.samples.data(), count), count);
  }

  // Full scale at 2^31.
  std::vector<int> read(const std::string& name) const {
    SndfileHandle file(path(name).string());
    EXPECT_EQ(file.channels(), 2);
    std::vector<int> words(static_cast<size_t>(file.frames()) * 2);
    file.read(words.data(), static_cast<sf_count_t>(words.size()));
    return words;
  }

  fs::path folder_;
  std::string output_;
};

audio noise(int rate, int channels, double seconds) {
  audio sound{rate, channels, {}};
  sound.samples.resize(static_cast<size_t>(seconds * rate) * static_cast<size_t>(channels));
  std::mt19937 random(7);
  std::uniform_int_distribution<int> level(-8000, 8000);
  for (short& sample : sound.samples) sample = static_cast<short>(level(random));
  return sound;
}

audio tone(int rate, double hertz, double amplitude, double seconds) {
  audio sound{rate, 1, {}};
  sound.samples.resize(static_cast<size_t>(seconds * rate));
  for (size_t i = 0; i < sound.samples.size(); ++i) {
    const double phase = 2 * std::numbers::pi * hertz * static_cast<double>(i) / rate;
    sound.samples[i] = static_cast<short>(std::lround(32767 * amplitude * std::sin(phase)));
  }
  return sound;
}

// What the chain makes of a 16-bit sample below the limiter's threshold, full scale at 2^31. The
// limiter's gain approaches unity by halves and rests one step short of it, at 8191 / 8192.
int at_rest(int sample, int format) {
  const int word = static_cast<int>((sample * 256 * int64_t{8191}) >> 13);  // 24 bits
  return format == 1 ? ((word + 128) >> 8) * 65536 : word * 256;
}

TEST_F(Tool, AFileAtARateThatTheEffectBypassesIsRefused) {
  write("in.wav", noise(22050, 2, 0.1));
  EXPECT_EQ(run("hp in.wav out.wav"), 1);
  EXPECT_NE(output_.find("22050"), std::string::npos) << output_;
  EXPECT_NE(output_.find("44100 and 48000 Hz"), std::string::npos) << output_;
  EXPECT_EQ(files(), 1u);
}

TEST_F(Tool, WithoutAnEffectTheOutputIsTheInputDelayedOnceTheStartIsOver) {
  const std::map<int, size_t> delays = {{44100, 440}, {48000, 480}};
  for (const auto& [rate, delay] : delays) {
    for (int channels = 1; channels <= 2; ++channels) {
      const audio in = noise(rate, channels, 1.5);
      write("in.wav", in);
      for (int format = 1; format <= 4; ++format) {
        SCOPED_TRACE(testing::Message() << rate << " Hz, format " << format);
        ASSERT_EQ(run("hp in.wav out.wav --format " + std::to_string(format)), 0) << output_;
        const auto out = read("out.wav");
        ASSERT_EQ(out.size(), 2 * in.frames());
        size_t wrong = 0;
        for (size_t i = static_cast<size_t>(rate); i < in.frames(); ++i) {
          const size_t from = (i - delay) * static_cast<size_t>(channels);
          const int left = in.samples[from];
          const int right = in.samples[from + static_cast<size_t>(channels) - 1];
          wrong += out[2 * i] != at_rest(left, format) || out[2 * i + 1] != at_rest(right, format);
        }
        EXPECT_EQ(wrong, 0u);
      }
    }
  }
}

// One equalizer band at -15 dB: the level law gives back 21 / 1680 * 32 * 4.995 = 2.0 dB.
TEST_F(Tool, ATimedChangeTakesEffectAtItsTimeWithoutAClick) {
  const double amplitude = 0.25;
  write("in.wav", tone(48000, 1000, amplitude, 3));
  ASSERT_EQ(run("hp in.wav out.wav --format 4 --at 1.5:effect=eq,eq=0/0/0/0/0/-15"), 0) << output_;
  const auto out = read("out.wav");
  const auto peak = [&](double from, double to) {
    double highest = 0;
    for (auto i = static_cast<size_t>(from * 96000); i < static_cast<size_t>(to * 96000); ++i) {
      highest = std::max(highest, std::abs(out[i] / 2147483648.0));
    }
    return 20 * std::log10(highest / amplitude);
  };
  EXPECT_NEAR(peak(1.2, 1.5), 0.0, 0.01);
  EXPECT_NEAR(peak(2.5, 3.0), -13.0, 0.05);
  double step = 0;
  for (size_t i = 2 * 72000; i < 2 * 80000; ++i) {
    step = std::max(step, std::abs((double{1} * out[i] - out[i - 2]) / 2147483648.0));
  }
  EXPECT_LT(step, amplitude * 2 * std::numbers::pi * 1000 / 48000 * 1.05);
}

TEST_F(Tool, ALevelMeansTheSameAsPercentAsFixedPointWordAndAsWordOfTheRecord) {
  write("in.wav", noise(48000, 2, 0.5));
  ASSERT_EQ(run("hp in.wav a.wav --effect reverb --room 60% --damp 25% --tail 0.5"), 0) << output_;
  EXPECT_NE(output_.find("room 60 % (4915 in Q13)"), std::string::npos) << output_;
  ASSERT_EQ(run("hp in.wav b.wav --room 4915 --damp 2048 --tail 0.5"), 0) << output_;
  EXPECT_NE(output_.find("room 4915 in Q13"), std::string::npos) << output_;
  ASSERT_EQ(run("hp in.wav c.wav --effect 4 --words 2=4915,3=2048 --tail 0.5"), 0) << output_;
  EXPECT_EQ(read("a.wav").size(), 2u * 48000);
  EXPECT_EQ(read_text(path("a.wav")), read_text(path("b.wav")));
  EXPECT_EQ(read_text(path("a.wav")), read_text(path("c.wav")));
}

TEST_F(Tool, AWrongCommandLineEndsWithStatusOneAndLeavesTheOldOutputAlone) {
  write("in.wav", noise(48000, 2, 0.1));
  std::ofstream(path("out.wav")) << "precious";
  for (const char* arguments :
       {"hp in.wav out.wav --effect wuff", "hp in.wav out.wav --eq 1,99",
        "hp in.wav out.wav --eq 0,0,0,0,0,0,0,0,0,0,0", "hp in.wav out.wav --room 101%",
        "hp in.wav out.wav --effect bass --room 10%", "hp in.wav out.wav --adapter 8",
        "hp in.wav out.wav --words 31=1", "hp in.wav out.wav --at x:effect=1",
        "hp in.wav out.wav --at 1:colour=1", "hp in.wav out.wav --format 5",
        "hp in.wav out.wav --period 0", "hp in.wav out.wav --nonesuch", "hp in.wav",
        "hp missing.wav out.wav", "hp out.wav out.wav", "nonesuch", ""}) {
    EXPECT_EQ(run(arguments), 1) << arguments;
    EXPECT_FALSE(output_.empty()) << arguments;
  }
  EXPECT_EQ(read_text(path("out.wav")), "precious");
  EXPECT_EQ(run("hp in.wav missing/out.wav"), 1);
  EXPECT_EQ(files(), 2u);
}

// Of a 60 Hz tone, the harmonics off, the boost leaves what two second-order Butterworth sections
// at 250 Hz pass: 1 / (1 + (250 / 60)^4).
TEST_F(Tool, TheBoostReplacesTheLowestBandAndFollowsItsVolume) {
  const auto level = [&](const std::string& name) {
    const auto out = read(name);
    double power = 0;
    for (size_t i = 96000; i < 144000; i += 2) power += std::pow(out[i] / 2147483648.0, 2);
    return 10 * std::log10(power / 24000 / (0.25 * 0.25 / 2));
  };
  write("bass.wav", tone(48000, 60, 0.25, 1.5));
  ASSERT_EQ(run("boost bass.wav off.wav --nld-gain 0"), 0) << output_;
  ASSERT_EQ(run("boost bass.wav on.wav"), 0) << output_;
  EXPECT_NEAR(level("off.wav"), -49.6, 0.3);
  EXPECT_GT(level("on.wav"), -35);

  write("treble.wav", tone(48000, 2000, 0.25, 1.5));
  ASSERT_EQ(run("boost treble.wav full.wav"), 0) << output_;
  ASSERT_EQ(run("boost treble.wav half.wav --volume 50%"), 0) << output_;
  EXPECT_NEAR(level("half.wav") - level("full.wav"), -6.02, 0.02);

  write("in.wav", noise(22050, 2, 0.1));
  EXPECT_EQ(run("boost in.wav out.wav"), 1);
  EXPECT_EQ(run("boost treble.wav out.wav --threshold 0"), 1);
  EXPECT_FALSE(fs::exists(path("out.wav")));
}

// An impulse through the echo: half of it at once from the direct path and half from the loop; the
// first repeat, in the loop filter's first word 0.5, times the feedback 0.5 and the wet level 0.5.
TEST_F(Tool, AVoiceGetsTheStagesThatAreNamedAndNoOthers) {
  audio voice{48000, 2, std::vector<short>(2 * 9600)};
  voice.samples[0] = 20000;  // left; with right 12000 the mean is 16000
  voice.samples[1] = 12000;
  write("voice.wav", voice);
  ASSERT_EQ(run("ktv voice.wav out.wav --echo delay=100,feedback=50%,wet=4096,dry=50%"), 0)
      << output_;
  EXPECT_NE(output_.find("delay 100"), std::string::npos) << output_;
  const auto out = read("out.wav");
  ASSERT_EQ(out.size(), 2u * 9600);
  EXPECT_EQ(out[0], 16000 * 65536);
  EXPECT_EQ(out[1], 16000 * 65536);
  EXPECT_EQ(out[2 * 4800], 2000 * 65536) << "left, after 100 ms";
  EXPECT_EQ(out[2 * 4800 + 1], 0);
  EXPECT_EQ(out[2 * 4824 + 1], 2000 * 65536) << "right, half a millisecond later";

  ASSERT_EQ(run("ktv voice.wav plain.wav"), 0) << output_;
  const auto plain = read("plain.wav");
  EXPECT_EQ(plain[1], 16000 * 65536);
  EXPECT_TRUE(std::all_of(plain.begin() + 2, plain.end(), [](int word) { return word == 0; }));

  write("slow.wav", noise(44100, 1, 0.1));
  EXPECT_EQ(run("ktv slow.wav no.wav"), 1);
  EXPECT_NE(output_.find("48000"), std::string::npos) << output_;
  EXPECT_EQ(run("ktv voice.wav no.wav --echo delay=351"), 1);
  EXPECT_EQ(run("ktv voice.wav no.wav --reverb size=1"), 1);
  EXPECT_EQ(run("ktv voice.wav no.wav --voice-gain loud"), 1);
  EXPECT_FALSE(fs::exists(path("no.wav")));
}

TEST_F(Tool, AFileIsConvertedToTheRatesThatTheConverterReachesAndNoOthers) {
  audio in = tone(48000, 1000, 0.5, 1);
  write("in.wav", in);
  ASSERT_EQ(run("resample in.wav out.wav --rate 32000"), 0) << output_;
  EXPECT_NE(output_.find("in.wav: 48000 Hz, 1 channel -> "), std::string::npos) << output_;
  SndfileHandle out(path("out.wav").string());
  EXPECT_EQ(out.samplerate(), 32000);
  EXPECT_EQ(out.channels(), 1);
  ASSERT_EQ(out.frames(), 32000);
  std::vector<short> words(32000);
  out.read(words.data(), 32000);
  double power = 0;  // over whole periods, away from the ends
  for (size_t i = 3200; i < 28800; ++i) power += std::pow(words[i] / 32767.0, 2);
  EXPECT_NEAR(10 * std::log10(power / 25600 / (0.5 * 0.5 / 2)), 0.0, 0.01);
  EXPECT_EQ(run("resample in.wav no.wav --rate 44100"), 1);
  EXPECT_NE(output_.find("reaches 4000 8000 12000 16000 24000 32000"), std::string::npos)
      << output_;
  EXPECT_EQ(run("resample in.wav no.wav --rate 48000"), 1);
  EXPECT_NE(output_.find("has 48000 Hz already"), std::string::npos) << output_;
  EXPECT_FALSE(fs::exists(path("no.wav")));
}

TEST_F(Tool, AMeasuredResponseAgreesWithTheSetting) {
  ASSERT_EQ(run("response --eq 0,0,0,0,0,-15 --csv r.csv --svg r.svg"), 0) << output_;
  EXPECT_EQ(read_text(path("r.svg")).rfind("<svg", 0), 0u);
  std::ifstream table(path("r.csv"));
  std::string line;
  std::getline(table, line);
  EXPECT_EQ(line, "frequency_hz,left_db,right_db");
  std::map<int, double> levels;  // by frequency
  while (std::getline(table, line)) {
    double hertz = 0;
    double left = 0;
    double right = 0;
    ASSERT_EQ(std::sscanf(line.c_str(), "%lf,%lf,%lf", &hertz, &left, &right), 3) << line;
    EXPECT_NEAR(left, right, 0.01) << line;
    levels[static_cast<int>(std::lround(hertz))] = left;
  }
  ASSERT_TRUE(levels.count(1000) == 1 && levels.count(31) == 1 && levels.count(16000) == 1);
  EXPECT_NEAR(levels[1000], -13.0, 0.05);
  EXPECT_NEAR(levels[31], 2.0, 0.1);  // the level law alone, far from the band
  EXPECT_NEAR(levels[16000], 2.0, 0.1);
}

}  // namespace
