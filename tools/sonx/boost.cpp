// sonx boost: a file through the speaker boost.
#include "boost.h"

#include <hp/sonx_hp_effect.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <stdexcept>

#include "commands.h"
#include "formats.h"
#include "messages.h"
#include "settings.h"

namespace sonx {

namespace {

constexpr int kUnity = 8192;               // Q13
constexpr int kHighestGain = 16 * kUnity;  // 24 dB
constexpr int kFullScale = 32767;          // of a limiter's threshold

const char* const kFooter =
    R"(Splits each channel at 250 Hz, 950 Hz and 2.8 kHz, replaces the lowest band by
harmonics around 400 Hz that a small loudspeaker can play, and limits each other
band and then the sum, with make-up volume. Each value is for both sides, or
LEFT/RIGHT. Options without a band's name are for the sum. The boost works at
44100, 48000 and 96000 Hz, to which a file at another rate is converted, and
back. OUT has 24 bits, is as long as IN and comes 240 samples later.
The limiters look ahead by 120 samples each: sudden peaks of loud material pass
them in part, so lower --threshold where the report tells of clipping.

Examples:
  sonx boost in.wav out.wav --volume 200%
  sonx boost in.wav out.wav --nld-gain 150% --low-volume 180% --low-threshold 50%
  sonx boost in.wav out.wav --nld-gain 100%/0% --release 7 --tail 0.1)";

struct controller_setter {
  const char* controller;  // "low_left"
  const char* parameter;
  void (*set)(speaker_boost_system_t*, int);
};

constexpr controller_setter kSetters[] = {
#define SONX_SETTER(controller, parameter) \
  {#controller, #parameter, speaker_boost_system_drc_##controller##_set_##parameter},
    SPEAKER_BOOST_FOR_EACH_ACCESSOR(SONX_SETTER)
#undef SONX_SETTER
};

// A parameter of the controllers as the user names and gives it; `unity` 0 means a plain number.
struct parameter_option {
  const char* name;
  const char* parameter;
  int unity;
  int lowest;
  int highest;
  const char* help;
};

constexpr parameter_option kParameterOptions[] = {
    {"volume", "volume", kUnity, 0, kHighestGain, "make-up volume, percent or Q13 [100%]"},
    {"threshold", "threshold", kFullScale, 1, kFullScale,
     "peak limit, percent of full scale or 1..32767 [100%]"},
    {"attack", "attact_order", 0, 0, 31,
     "rise of the level follower: a block goes 1/2^N of the way [0]"},
    {"release", "release_order", 0, 0, 31, "fall of the level follower, likewise [5]"},
    {"gate", "denoise_threshold", 0, 0, 1 << 23,
     "mean magnitude of 24-bit samples below which the gate closes [256]"},
};

constexpr const char* kBandNames[] = {"full", "low", "mid", "high"};

struct boost_arguments {
  file_options files;
  boost_setting_options settings;
  int period = boost_module::kMaxPeriod;
  std::string tail = "0";
};

// "VALUE" or "LEFT/RIGHT"
std::array<std::string, 2> sides(const std::string& text) {
  const size_t slash = text.find_first_of(",/");
  if (slash == std::string::npos) return {text, text};
  return {text.substr(0, slash), text.substr(slash + 1)};
}

int parse_value(const parameter_option& option, const std::string& text, const std::string& what) {
  const long long value = option.unity != 0 ? parse_level(text, what, option.unity, option.highest)
                                            : parse_integer(text, what);
  if (value < option.lowest || value > option.highest) {
    throw std::runtime_error(what + " must be from " + std::to_string(option.lowest) + " to " +
                             std::to_string(option.highest) + ", not '" + text + "'");
  }
  return static_cast<int>(value);
}

boost_setting find_setting(const std::string& controller, const char* parameter, int value) {
  for (const controller_setter& setter : kSetters) {
    if (setter.controller == controller && std::strcmp(setter.parameter, parameter) == 0) {
      return {setter.set, value};
    }
  }
  throw std::logic_error("no setter for " + controller + " " + parameter);
}

std::string option_name(size_t band, size_t parameter) {
  return (band == 0 ? "--" : std::string("--") + kBandNames[band] + "-") +
         kParameterOptions[parameter].name;
}

void run(const boost_arguments& arguments) {
  const boost_options options{arguments.settings.settings(), arguments.period,
                              parse_seconds(arguments.tail, "--tail")};
  file_job job(arguments.files, kBoostRates);
  job.open_output(24);
  const stream_report report = render_boost(job.reader(), job.writer(), options, "sonx boost");
  job.finish(options.tail);
  say("%s, delayed by %d samples at %d Hz\n%s\n", job.describe(report.frames).c_str(), kBoostDelay,
      job.reader().rate(), arguments.settings.describe().c_str());
  print_levels(report);
}

}  // namespace

const effect_rates kBoostRates = {"the speaker boost", "44100, 48000 and 96000 Hz", [](int rate) {
                                    if (rate >= 88200) return 96000;
                                    return rate % 11025 == 0 ? 44100 : 48000;
                                  }};

void boost_setting_options::add_to(CLI::App& app) {
  app.add_option("--nld-gain", nld_gain_, "level of the bass harmonics, percent or Q13 [100%]")
      ->type_name("VALUE");
  for (size_t band = 0; band < kBands; ++band)
    for (size_t i = 0; i < kParameters; ++i) {
      const std::string help = band == 0
                                   ? kParameterOptions[i].help
                                   : std::string("the same for the ") + kBandNames[band] + " band";
      app.add_option(option_name(band, i), values_[band][i], help)->type_name("VALUE");
    }
}

std::vector<boost_setting> boost_setting_options::settings() const {
  std::vector<boost_setting> settings;
  if (!nld_gain_.empty()) {
    const auto [left, right] = sides(nld_gain_);
    settings.push_back({speaker_boost_system_set_nld_gain_left,
                        parse_level(left, "--nld-gain", kUnity, kHighestGain)});
    settings.push_back({speaker_boost_system_set_nld_gain_right,
                        parse_level(right, "--nld-gain", kUnity, kHighestGain)});
  }
  for (size_t band = 0; band < kBands; ++band) {
    for (size_t i = 0; i < kParameters; ++i) {
      const std::string& text = values_[band][i];
      if (text.empty()) continue;
      const auto both = sides(text);
      for (size_t side = 0; side < both.size(); ++side) {
        const parameter_option& option = kParameterOptions[i];
        const int value = parse_value(option, both[side], option_name(band, i));
        const std::string controller =
            std::string(kBandNames[band]) + (side == 0 ? "_left" : "_right");
        settings.push_back(find_setting(controller, option.parameter, value));
      }
    }
  }
  return settings;
}

std::string boost_setting_options::describe() const {
  std::string text = nld_gain_.empty() ? "" : "nld-gain " + nld_gain_;
  for (size_t band = 0; band < kBands; ++band)
    for (size_t i = 0; i < kParameters; ++i)
      if (const std::string& value = values_[band][i]; !value.empty())
        text += (text.empty() ? "" : ", ") + option_name(band, i).substr(2) + " " + value;
  return text.empty() ? "all by default" : text;
}

boost_module::boost_module(int rate, const std::vector<boost_setting>& settings) {
  speaker_boost_system_init(&module_);
  speaker_boost_system_set_sample_rate(&module_, sample_rate_type(static_cast<unsigned int>(rate)));
  for (const boost_setting& setting : settings) setting.set(&module_, setting.value);
}

boost_module::~boost_module() { speaker_boost_system_end(&module_); }

void boost_module::process(int32_t* stereo, size_t frames) {
  for (size_t i = 0; i < frames; ++i) {
    left_[i] = stereo[2 * i];
    right_[i] = stereo[2 * i + 1];
  }
  speaker_boost_system_process_stereo(&module_, left_, right_, left_, right_,
                                      static_cast<int>(frames));
  for (size_t i = 0; i < frames; ++i) {
    stereo[2 * i] = left_[i];
    stereo[2 * i + 1] = right_[i];
  }
}

stream_report render_boost(audio_reader& reader, audio_writer& writer, const boost_options& options,
                           const std::string& label) {
  const auto length = static_cast<size_t>(options.period);
  boost_module boost(reader.rate(), options.settings);
  period_buffer period(SONX_FORMAT_24_IN_32, length);
  return stream(reader, writer, {length, options.tail, label},
                [&](std::vector<float>& stereo, std::vector<int32_t>& words, stopwatch& busy) {
                  period.encode(stereo.data());
                  busy.time([&] { boost.process(static_cast<int32_t*>(period.data()), length); });
                  period.decode(stereo.data(), words.data());
                });
}

void add_boost_command(CLI::App& app) {
  CLI::App* command = app.add_subcommand("boost", "run a file through the speaker boost");
  auto arguments = std::make_shared<boost_arguments>();
  command->footer(kFooter);
  arguments->files.add_to(*command);
  arguments->settings.add_to(*command);
  command->add_option("--period", arguments->period, "frames per call")
      ->check(CLI::Range(1, static_cast<int>(boost_module::kMaxPeriod)))
      ->capture_default_str();
  command->add_option("--tail", arguments->tail, "silence to append to the input [0]")
      ->type_name("SECONDS");
  arguments->files.add_no_convert_to(*command);
  command->callback([arguments] { run(*arguments); });
}

}  // namespace sonx
