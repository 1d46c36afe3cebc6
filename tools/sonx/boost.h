// The speaker boost over a file, and its settings by name.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "file_job.h"
#include "stream.h"

struct speaker_boost_system_t;

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

stream_report render_boost(audio_reader& reader, audio_writer& writer, const boost_options& options,
                           const std::string& label);

}  // namespace sonx
