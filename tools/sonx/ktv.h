// The karaoke chain over a voice recording, and its settings by name.
#pragma once

#include <string>
#include <vector>

#include "file_job.h"
#include "stream.h"

namespace sonx {

constexpr int kKaraokeRate = 48000;
extern const effect_rates kKaraokeRates;

// One setting of the chain, as its entry point and the value for it.
struct karaoke_setting {
  void (*set)(void* handle, int value);
  int value;
};

struct karaoke_options {
  std::vector<karaoke_setting> settings;
  std::vector<int> equalizer;  // ten band gains in dB, or none
  int period = 240;            // samples per call
  double tail = 0;             // seconds of silence after the input
};

// The stages that a user names, each with its settings; a stage that isn't named is off.
struct karaoke_stages {
  bool howling = false;
  bool gramophone = false;
  bool compressor = false;
  std::string equalizer = {};  // "3,2,0,..", dB; empty = off
  bool reverb = false;
  std::string reverb_settings = {};  // "room=60%,gain=200"
  bool echo = false;
  std::string echo_settings = {};  // "delay=250,feedback=40%"
  std::string voice_gain = {};     // dB; switches the compressor on, through which it is heard
};

// Throws std::runtime_error for an unknown name or a value out of range.
karaoke_options parse_stages(const karaoke_stages& stages);

// "gramophone, echo delay 250 ms ..": the stages that are on and how each value was taken.
std::string describe(const karaoke_stages& stages);

// The reader must be at kKaraokeRate; stereo is taken as the mean of its channels.
stream_report render_karaoke(audio_reader& reader, audio_writer& writer,
                             const karaoke_options& options, const std::string& label);

}  // namespace sonx
