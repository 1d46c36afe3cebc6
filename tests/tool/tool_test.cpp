// The subcommands that drive the library's modules.
#include <sys/wait.h>

#include <iterator>
#include <map>
#include <tuple>

#include "tool.h"

namespace {

// What the chain makes of a 16-bit sample below the limiter's threshold, full scale at 2^31. The
// limiter's gain approaches unity by halves and rests one step short of it, at 8191 / 8192.
int at_rest(int sample, int format) {
  const int word = static_cast<int>((sample * 256 * int64_t{8191}) >> 13);  // 24 bits
  return format == 1 ? ((word + 128) >> 8) * 65536 : word * 256;
}

TEST_F(Tool, WithoutAnEffectTheOutputIsTheInputDelayedOnceTheStartIsOver) {
  for (const auto& [rate, delay] : {std::pair{44100, size_t{440}}, {48000, size_t{480}}})
    for (size_t channels : {1, 2}) {
      const audio in = noise(rate, static_cast<int>(channels), 1.5);
      write("in.wav", in);
      for (int format = 1; format <= 4; ++format) {
        SCOPED_TRACE(testing::Message() << rate << " Hz, format " << format);
        ASSERT_EQ(run("hp in.wav out.wav --format " + std::to_string(format)), 0) << output_;
        const auto out = read("out.wav");
        ASSERT_EQ(out.size(), 2 * in.samples.size() / channels);
        size_t wrong = 0;
        for (auto i = 2 * static_cast<size_t>(rate); i < out.size(); ++i) {
          const size_t from = (i / 2 - delay) * channels + (i % 2) * (channels - 1);
          wrong += out[i] != at_rest(in.samples[from], format);
        }
        EXPECT_EQ(wrong, 0u);
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
    for (double i = from * 96000; i < to * 96000; ++i)
      highest = std::max(highest, std::abs(out[static_cast<size_t>(i)] / 2147483648.0));
    return 20 * std::log10(highest / amplitude);
  };
  EXPECT_NEAR(peak(1.2, 1.5), 0.0, 0.01);
  EXPECT_NEAR(peak(2.5, 3.0), -13.0, 0.05);
  double step = 0;
  for (size_t i = 2 * 72000; i < 2 * 80000; ++i)
    step = std::max(step, std::abs((double{1} * out[i] - out[i - 2]) / 2147483648.0));
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

TEST_F(Tool, AWrongCommandLineSaysInOneLineWhatIsWrongAndLeavesTheOldOutputAlone) {
  write("in.wav", noise(48000, 2, 0.1));
  write("slow.wav", noise(22050, 2, 0.1));
  write("empty.wav", {48000, 1, {}});
  std::ofstream(path("out.wav")) << "precious";
  expect_refused(
      {// and a part of what is said
       {"", "a command is missing"},
       {"preset", "a command is missing"},
       {"respnse", "there is no command 'respnse'; did you mean 'response'?"},
       {"hpp in.wav out.wav", "there is no command 'hpp'; did you mean 'hp'?"},
       {"hp in.wav out.wav --romo 3", "no option '--romo'; did you mean '--room'?"},
       {"hp in.wav", "OUT is required"},
       {"hp in.wav out.wav more.wav", "one argument too many: 'more.wav'"},
       {"hp in.wav out.wav --format 5", "not in range"},
       {"hp in.wav out.wav --period", "--period needs a value"},
       {"hp missing.wav out.wav", "there is no file 'missing.wav'"},
       {"hp out.wav in.wav", "cannot read 'out.wav' as audio"},
       {"hp empty.wav out.wav", "'empty.wav' holds no sound"},
       {"hp in.wav in.wav", "'in.wav' is the input itself"},
       {"hp in.wav missing/out.wav", "there is no folder 'missing'"},
       {"hp in.wav out.mp3", ".wav, .flac, .ogg, .caf or .w64"},
       {"response hp --svg p.png", "must end in .svg"},
       {"response kvt", "no command 'kvt'; did you mean 'ktv'?"},
       {"response hp --also '--romo 1'", "did you mean '--room'?"},
       {"hp in.wav out.wav --effect revreb", "no effect 'revreb'; did you mean 'reverb'?"},
       {"hp in.wav out.wav --effect bass --room 10%", "'room' needs effect reverb"},
       {"hp in.wav out.wav --room 101%", "room must be from 0% to 100%"},
       {"hp in.wav out.wav --eq 1,99", "from -15 to 15"},
       {"hp in.wav out.wav --eq 0,0,0,0,0,0,0,0,0,0,0", "ten bands"},
       {"hp in.wav out.wav --adapter 8", "from 0 to 7"},
       {"hp in.wav out.wav --words 31=1", "from 2 to 30"},
       {"hp in.wav out.wav --at x:effect=1", "must be a number"},
       {"hp in.wav out.wav --at 1:efect=1", "no setting 'efect'; did you mean 'effect'?"},
       {"hp slow.wav out.wav --no-convert",
        "22050 Hz; the headphone effect works at 44100 and 48000"},
       {"ktv slow.wav out.wav --no-convert", "22050 Hz; the karaoke chain works at 48000 Hz"},
       {"denoise slow.wav out.wav --no-convert", "works at 8000, 16000 and 32000 Hz"},
       {"ktv in.wav out.wav --echo delay=351", "from 0 to 350"},
       {"ktv in.wav out.wav --reverb romo=1", "no setting 'romo'; did you mean 'room'?"},
       {"ktv in.wav out.wav --voice-gain loud", "must be a number"},
       {"denoise in.wav out.wav --policy 4", "not in range"},
       {"denoise in.wav out.wav --prior both", "both"},
       {"resample in.wav out.wav --rate 44100", "reaches 4000 8000 12000 16000 24000 32000"}});
  EXPECT_EQ(read_text(path("out.wav")), "precious");
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_), {}), 4);
}

TEST_F(Tool, WhatGoesWrongSilentlyIsWarnedOf) {
  write("in.wav", noise(48000, 2, 0.5));
  fs::copy(path("in.wav"), path("cut.wav"));
  fs::resize_file(path("cut.wav"), fs::file_size(path("cut.wav")) / 2);
  std::vector<float> samples(48000, 0.5f);
  samples[10] = std::nanf("");
  samples[20] = samples[30] = -2;
  SndfileHandle(path("float.wav").string(), SFM_WRITE, SF_FORMAT_WAV | SF_FORMAT_FLOAT, 1, 48000)
      .write(samples.data(), 48000);
  const std::pair<const char*, const char*> warned[] = {
      {"hp in.wav out.wav --at 1:effect=bass", "at 1.000 s: left out, since the sound ends at 0.5"},
      {"hp in.wav out.wav --at 0.2:effect=eq,eq=6/3/0,adapter=2", "adapter 2 is not applied"},
      {"hp in.wav out.wav --at 0.2:effect=bass --period 384",
       "384 frames cuts the fade of a change"},
      {"response hp --eq 1 --adapter 2", "adapter 2 is not applied beside effect eq"},
      {"ktv cut.wav out.wav", "ends early, after 11994 frames: 50.0 %"},
      {"hp float.wav out.wav", "samples in 1 frame are no numbers"},
      {"hp float.wav out.wav", "2 frames above full scale, by up to 6.0 dB"}};
  for (const auto& [arguments, part] : warned) {
    EXPECT_EQ(run(arguments), 0) << output_;
    EXPECT_NE(output_.find("sonx: warning: "), std::string::npos) << arguments;
    EXPECT_NE(output_.find(part), std::string::npos) << arguments << '\n' << output_;
  }
  ASSERT_EQ(run("hp in.wav out.wav --at 0.1:effect=bass --at 0.2:effect=none"), 0) << output_;
  EXPECT_EQ(output_.find("warning"), std::string::npos) << output_;
  EXPECT_NE(output_.find("the make-up gain of the one before stays: -5.0 dB"), std::string::npos);
}

TEST_F(Tool, TheContainerFollowsTheExtensionAndTheBitsFollowTheInput) {
  write("in16.wav", noise(48000, 2, 0.1));
  SndfileHandle(path("in24.wav").string(), SFM_WRITE, SF_FORMAT_WAV | SF_FORMAT_PCM_24, 1, 48000)
      .write(pcm_noise(4800, 8000, 7).data(), 4800);
  const std::tuple<const char*, const char*, int> files[] = {
      {"in16.wav", "o.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16},
      {"in24.wav", "o.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_24},
      {"in16.wav", "o.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16},
      {"in24.wav", "o.FLAC", SF_FORMAT_FLAC | SF_FORMAT_PCM_24},
      {"in16.wav", "o.ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS},
      {"in24.wav", "o.caf", SF_FORMAT_CAF | SF_FORMAT_PCM_24},
      {"in16.wav", "o.w64", SF_FORMAT_W64 | SF_FORMAT_PCM_16},
      {"in24.wav", "- 2>/dev/null | dd of=o.stdout", SF_FORMAT_WAV | SF_FORMAT_PCM_24}};
  for (const auto& [in, out, format] : files) {
    ASSERT_EQ(run(std::string("hp ") + in + " " + out), 0) << output_;
    const std::string name = out[0] == '-' ? "o.stdout" : out;
    SndfileHandle file(path(name).string());
    EXPECT_EQ(file.format(), format) << in << " " << out;
    EXPECT_EQ(file.frames(), 4800) << in << " " << out;
  }
  ASSERT_EQ(run("hp in16.wav in16.wav --force"), 0) << output_;
}

// There and back a tone in the middle keeps its level, and the file its length.
TEST_F(Tool, AFileAtAnotherRateIsConvertedThereAndBack) {
  for (const auto& [command, rate] : {std::pair{"ktv", 44100},
                                      {"hp --format 4", 96000},
                                      {"hp", 22050},
                                      {"play --set speaker-boost.enabled=on", 32000},
                                      {"denoise --policy 0", 11025}}) {
    const audio in = tone(rate, 2000, 0.25, 2);
    write("in.wav", in);
    ASSERT_EQ(run(std::string(command) + " in.wav out.wav"), 0) << output_;
    EXPECT_NE(output_.find(" Hz: converted to "), std::string::npos) << output_;
    SndfileHandle out(path("out.wav").string());
    EXPECT_EQ(out.samplerate(), rate) << command;
    ASSERT_EQ(out.frames(), 2 * rate) << command;
    if (*command == 'p' || *command == 'd') continue;  // which change a tone's level
    const auto words = read("out.wav");
    const size_t second = 2 * static_cast<size_t>(rate);
    EXPECT_NEAR(power_db(words, second, second * 3 / 2) - 20 * std::log10(0.25), 0.0, 0.05)
        << command;
  }
}

// Of a 60 Hz tone, the harmonics off, the boost leaves what two second-order Butterworth sections
// at 250 Hz pass: 1 / (1 + (250 / 60)^4).
TEST_F(Tool, TheBoostReplacesTheLowestBandAndFollowsItsVolume) {
  const auto level = [&](const std::string& name) {
    return power_db(read(name), 96000, 144000) - 20 * std::log10(0.25);
  };
  const std::string all = " --channels 2 --bits 24 --set speaker-boost.enabled=on",
                    none = all +
                           " --set speaker-boost.harmonics_left=0"
                           " --set speaker-boost.harmonics_right=0",
                    half = all +
                           " --set speaker-boost.full_left_makeup=-6.02"
                           " --set speaker-boost.full_right_makeup=-6.02";
  write("bass.wav", tone(48000, 60, 0.25, 2));
  ASSERT_EQ(run("play bass.wav off.wav" + none), 0) << output_;
  ASSERT_EQ(run("play bass.wav on.wav" + all), 0) << output_;
  EXPECT_NEAR(level("off.wav"), -49.6, 0.3);
  EXPECT_GT(level("on.wav"), -35);

  write("treble.wav", tone(48000, 2000, 0.25, 2));
  ASSERT_EQ(run("play treble.wav full.wav" + all), 0) << output_;
  ASSERT_EQ(run("play treble.wav half.wav" + half), 0) << output_;
  EXPECT_NEAR(level("half.wav") - level("full.wav"), -6.02, 0.02);
}

// An impulse through the echo: half of it at once from the direct path and half from the loop; the
// first repeat, in the loop filter's first word 0.5, times the feedback 0.5 and the wet level 0.5.
TEST_F(Tool, AVoiceGetsTheStagesThatAreNamedAndNoOthers) {
  audio voice{48000, 2, pcm(2 * 9600)};
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
}

TEST_F(Tool, AFileIsConvertedToAnotherRate) {
  write("in.wav", tone(48000, 1000, 0.5, 1));
  ASSERT_EQ(run("resample in.wav out.wav --rate 32000"), 0) << output_;
  EXPECT_NE(output_.find("in.wav: 48000 Hz, 1 channel -> "), std::string::npos) << output_;
  SndfileHandle out(path("out.wav").string());
  EXPECT_EQ(out.samplerate(), 32000);
  EXPECT_EQ(out.channels(), 1);
  ASSERT_EQ(out.frames(), 32000);
  std::vector<int> words(32000);
  out.read(words.data(), 32000);
  // Over whole periods, away from the ends.
  EXPECT_NEAR(power_db(words, 3200, 28800) - 20 * std::log10(0.5), 0.0, 0.01);
  EXPECT_EQ(run("resample in.wav no.wav --rate 48000"), 1);
  EXPECT_NE(output_.find("has 48000 Hz already"), std::string::npos) << output_;
}

// Steady noise, whose correlation with itself is sharp.
TEST_F(Tool, DenoisingTurnsNoiseDownWithoutMovingIt) {
  for (const auto& [rate, channels, way] : {std::tuple{8000, 1, "at 8000 Hz; "},
                                            {16000, 2, "at 16000 Hz; "},
                                            {32000, 1, "at 32000 Hz; "},
                                            {48000, 2, "at 32000 Hz; "},
                                            {44100, 1, "at 32000 Hz; "}}) {
    SCOPED_TRACE(rate);
    audio in = noise(rate, channels, 3.1);
    for (short& v : in.samples) v = static_cast<short>(v / 20);  // peaks of -38 dBFS
    write("in.wav", in);
    double before = 0.0;
    for (const char* policy : {"0", "2"}) {
      ASSERT_EQ(run(std::string("denoise in.wav out.wav --policy ") + policy), 0) << output_;
      EXPECT_NE(output_.find("prior from the tracked noise"), std::string::npos) << output_;
      EXPECT_NE(output_.find(way), std::string::npos) << output_;
      SndfileHandle file(path("out.wav").string());
      ASSERT_EQ(file.channels(), channels);
      ASSERT_EQ(file.frames() * channels, static_cast<sf_count_t>(in.samples.size()));
      pcm out(in.samples.size());
      file.read(out.data(), file.frames() * channels);
      double highest = 0.0, power = 0.0;
      int moved = 0;
      for (int lag = -400; lag <= 400; ++lag) {
        double sum = 0.0;
        for (int i = 2 * rate; i < 3 * rate; ++i)
          sum += double(out[static_cast<size_t>(i * channels + channels - 1)]) *
                 in.samples[static_cast<size_t>((i + lag + 1) * channels - 1)];
        if (sum > highest) {
          highest = sum;
          moved = lag;
        }
      }
      EXPECT_EQ(moved, 0);
      for (int i = 2 * rate; i < 3 * rate; ++i)
        power += std::pow(out[static_cast<size_t>(i * channels + channels - 1)], 2);
      if (*policy == '0')
        before = power;
      else
        EXPECT_NEAR(10 * std::log10(before / power), 12.0, 1.5) << "from 6 to 18 dB";
    }
  }
}

// Loud noise ends the library's process; faint noise doesn't.
TEST_F(Tool, ThePresencePriorEndsInAnErrorAndLeavesTheOldOutputAlone) {
  write("in.wav", noise(16000, 2, 1.0));
  std::ofstream(path("out.wav")) << "precious";
  EXPECT_EQ(run("denoise in.wav out.wav --prior presence"), 1);
  EXPECT_NE(output_.find("the library has ended its process"), std::string::npos) << output_;
  EXPECT_EQ(output_.find("Division"), std::string::npos) << output_;
  EXPECT_EQ(read_text(path("out.wav")), "precious");
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_), {}), 2);

  audio faint = noise(16000, 2, 1.0);
  for (short& v : faint.samples) v = static_cast<short>(v / 300);
  write("in.wav", faint);
  EXPECT_EQ(run("denoise in.wav out.wav --prior presence"), 0) << output_;
  EXPECT_NE(output_.find("prior from the presence"), std::string::npos) << output_;
  EXPECT_EQ(read("out.wav").size(), 32000u);
}

TEST_F(Tool, AMeasuredResponseAgreesWithTheSetting) {
  ASSERT_EQ(run("response hp --eq 0,0,0,0,0,-15 --csv r.csv --svg r.svg"), 0) << output_;
  EXPECT_EQ(read_text(path("r.svg")).rfind("<svg", 0), 0u);
  std::ifstream table(path("r.csv"));
  std::string line;
  std::getline(table, line);
  EXPECT_EQ(line, "frequency_hz,left_db,right_db");
  std::map<int, double> levels;  // by frequency
  while (std::getline(table, line)) {
    double hertz = 0, left = 0, right = 0;
    ASSERT_EQ(std::sscanf(line.c_str(), "%lf,%lf,%lf", &hertz, &left, &right), 3) << line;
    EXPECT_NEAR(left, right, 0.01) << line;
    levels[static_cast<int>(std::lround(hertz))] = left;
  }
  ASSERT_TRUE(levels.count(1000) == 1 && levels.count(31) == 1 && levels.count(16000) == 1);
  EXPECT_NEAR(levels[1000], -13.0, 0.05);
  EXPECT_NEAR(levels[31], 2.0, 0.1);  // the level law alone, far from the band
  EXPECT_NEAR(levels[16000], 2.0, 0.1);
}

// The table's last row, without its frequency, is the response at the one that is asked for.
TEST_F(Tool, EveryChainHasAResponseAndSettingsShareAPicture) {
  const auto measure = [&](const std::string& arguments, double hertz) {
    EXPECT_EQ(run("response " + arguments + " --svg r.svg --hertz " + std::to_string(hertz)), 0)
        << output_;
    std::istringstream row(output_.substr(output_.rfind('\n', output_.size() - 2)));
    std::vector<double> levels{std::istream_iterator<double>(row), {}};
    levels.erase(levels.begin());
    return levels;
  };
  // As in the boost's test above: what the lowest band's sections leave at 60 Hz.
  EXPECT_NEAR(
      measure("--set speaker-boost.harmonics_left=0 --set speaker-boost.harmonics_right=0", 60)
          .at(0),
      -49.6, 0.3);
  const auto both = measure("ktv --voice-gain -6 --also '--eq 0,0,0,0,0,-15'", 1000);
  ASSERT_EQ(both.size(), 4u) << output_;
  EXPECT_NEAR(both[0], -6.0, 0.05);
  EXPECT_NEAR(both[3], -13.0, 0.05);
  const std::string svg = read_text(path("r.svg"));
  EXPECT_NE(svg.find("voice gain -6 dB, compressor"), std::string::npos);
  EXPECT_NE(svg.find("equalizer 0 0 0 0 0 -15"), std::string::npos);
}

TEST_F(Tool, ThePresetDoesWhatThePageOnTheTuningSaysItWasMeasuredToDo) {
  const std::string page = read_text(SONX_TUNING_PAGE),
                    command = "sonx response hp --effect preset";
  const size_t begin = page.find(command);
  ASSERT_NE(begin, std::string::npos);
  const std::string arguments = page.substr(begin + 5, page.find('\n', begin) - begin - 5);
  for (const std::string rate : {"44100", "48000"}) {
    ASSERT_EQ(run(arguments + " --rate " + rate), 0) << output_;
    std::istringstream measured(output_.substr(output_.rfind("dB\n") + 3));
    const size_t row = page.find("| the effect, measured at " + rate + " Hz |");
    ASSERT_NE(row, std::string::npos);
    std::istringstream stated(page.substr(page.find("Hz |", row) + 4));
    double hertz = 0, left = 0, right = 0, level = 0;
    int count = 0;
    for (char bar; measured >> hertz >> left >> right && stated >> level >> bar; ++count)
      EXPECT_NEAR(left, level, 0.06) << hertz << " Hz at " << rate;
    EXPECT_EQ(count, 14);
  }
}

}  // namespace
