// The host tool as a user runs it: its program is started on small files in a folder of its own.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <sndfile.hh>
#include <sstream>
#include <string>
#include <vector>

#include "support/pcm16.h"

namespace fs = std::filesystem;

struct audio {
  int rate, channels;
  pcm samples;  // interleaved
};

inline std::string read_text(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

class Tool : public testing::Test {
 protected:
  Tool() {
    std::string pattern = testing::TempDir() + "sonx_tool_XXXXXX";
    folder_ = mkdtemp(pattern.data());
  }
  ~Tool() override { fs::remove_all(folder_); }

  fs::path path(const std::string& name) const { return folder_ / name; }

  // Runs the tool in the folder; its exit status. output_ holds both its streams.
  int run(const std::string& arguments) {
    const std::string folder = folder_.string(), text = folder + ".txt";
    const int status = std::system(
        ("cd '" + folder + "' && '" SONX_TOOL "' " + arguments + " >'" + text + "' 2>&1").c_str());
    output_ = read_text(text);
    fs::remove(text);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  // Each command ends with 1 and one line that holds a part.
  struct refusal {
    const char *arguments, *part;
  };
  void expect_refused(std::initializer_list<refusal> refusals) {
    for (const auto& [arguments, part] : refusals) {
      EXPECT_EQ(run(arguments), 1) << arguments;
      EXPECT_TRUE(output_.starts_with("sonx: ") && output_.find('\n') == output_.size() - 1)
          << arguments << '\n'
          << output_;
      EXPECT_NE(output_.find(part), std::string::npos) << arguments << '\n' << output_;
    }
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

inline audio noise(int rate, int channels, double seconds) {
  return {rate, channels, pcm_noise(static_cast<int>(seconds * rate) * channels, 8000, 7)};
}

inline audio tone(int rate, double hertz, double amplitude, int seconds) {
  return {rate, 1, pcm_sine(seconds * rate, hertz, rate, 32767 * amplitude)};
}

// Mean power of every second of the words from..to, in dB of full scale, a full sine being 0.
inline double power_db(const std::vector<int>& words, size_t from, size_t to) {
  double power = 0;
  for (size_t i = from; i < to; i += 2) power += std::pow(words[i] / 2147483648.0, 2);
  return 10 * std::log10(power * 4 / static_cast<double>(to - from));
}
