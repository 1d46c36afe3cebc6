// The karaoke chain over a voice recording, and its settings by name.
#pragma once

#include <string>
#include <vector>

#include "file_job.h"
#include "stream.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

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

// The options that name the stages.
class stage_options {
 public:
  void add_to(CLI::App& app);
  karaoke_stages stages() const;

 private:
  karaoke_stages stages_;
  const CLI::Option* reverb_ = nullptr;
  const CLI::Option* echo_ = nullptr;
};

// "gramophone, echo delay 250 ms ..": the stages that are on and how each value was taken.
std::string describe(const karaoke_stages& stages);

// A handle of the karaoke chain, ended with its owner.
class karaoke {
 public:
  explicit karaoke(const karaoke_options& options);
  ~karaoke();
  karaoke(const karaoke&) = delete;
  karaoke& operator=(const karaoke&) = delete;

  // The mean of the channels of interleaved stereo, full scale 1.0, becomes the voice; all three
  // get its length.
  void process(const std::vector<float>& stereo, stopwatch& busy);

  const std::vector<short>& voice() const { return voice_; }
  const std::vector<short>& left() const { return left_; }
  const std::vector<short>& right() const { return right_; }

 private:
  void* handle_;
  std::vector<short> voice_, left_, right_;
};

// The reader must be at kKaraokeRate; stereo is taken as the mean of its channels.
stream_report render_karaoke(audio_reader& reader, audio_writer& writer,
                             const karaoke_options& options, const std::string& label);

}  // namespace sonx
