// The speaker boost over a file, and its settings by name.
#pragma once

#include <effects/speaker_boost_system.h>

#include <cstdint>
#include <string>
#include <vector>

#include "file_job.h"
#include "stream.h"

namespace CLI {
class App;
}

namespace sonx {

// One setting of one controller or of the harmonics, as a setter and the value for it.
struct boost_setting {
  void (*set)(speaker_boost_system_t*, int);
  int value;
};

struct boost_options {
  std::vector<boost_setting> settings;
  int period = 256;  // frames per call, at most 256
  double tail = 0;   // seconds of silence after the input
};

// Samples by which the boost delays the sound, at every rate.
constexpr int kBoostDelay = 240;

// There are filters for these rates.
extern const effect_rates kBoostRates;

// The options that name the settings.
class boost_setting_options {
 public:
  void add_to(CLI::App& app);
  std::vector<boost_setting> settings() const;
  std::string describe() const;  // "volume 200%, low-threshold 50%": what was given

 private:
  static constexpr size_t kBands = 4, kParameters = 5;
  std::string nld_gain_;
  std::string values_[kBands][kParameters];
};

// The module with its rate and settings, ended with its owner.
class boost_module {
 public:
  static constexpr size_t kMaxPeriod = 256;

  boost_module(int rate, const std::vector<boost_setting>& settings);
  ~boost_module();
  boost_module(const boost_module&) = delete;
  boost_module& operator=(const boost_module&) = delete;

  // Interleaved stereo of up to kMaxPeriod frames, in place.
  void process(int32_t* stereo, size_t frames);

 private:
  speaker_boost_system_t module_{};
  int left_[kMaxPeriod];
  int right_[kMaxPeriod];
};

stream_report render_boost(audio_reader& reader, audio_writer& writer, const boost_options& options,
                           const std::string& label);

}  // namespace sonx
