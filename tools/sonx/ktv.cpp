// sonx ktv: a voice through the karaoke chain.
#include "ktv.h"

#include <ktv/sonx_ktv.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>

#include "commands.h"
#include "formats.h"
#include "messages.h"
#include "settings.h"

namespace sonx {

namespace {

constexpr int kUnity = 8192;  // Q13
constexpr int kBands = 10;
constexpr double kLowestGain = -40, kHighestGain = 12;  // dB

const char* const kFooter =
    R"(Takes a voice, mono or the mean of a stereo file, and gives stereo. The chain
works at 48000 Hz, to which a file at another rate is converted, and back, and
in 16 bits; OUT has 24 where IN has more than 16. Only the stages that are named
run. Levels are a percentage of 1.0 or the Q13 word (8192 is 1.0). The voice
gain is heard through the compressor, which --voice-gain switches on. The output
is as long as the input: an echo's or a reverb's tail comes
with --tail.

Examples:
  sonx ktv voice.wav out.wav --reverb room=70%,damp=40%,wet=60%,dry=50% \
    --tail 2
  sonx ktv voice.wav out.wav --echo delay=250,feedback=60% --tail 2
  sonx ktv voice.wav out.wav --eq 0,0,-3,0,0,2,3,2,0,0 --voice-gain 6
  sonx ktv voice.wav out.wav --gramophone)";

// A named value of a stage, with the entry point that takes it.
struct stage_value {
  const char* name;
  void (*set)(void*, int);
  int initial;
  int highest;
  bool level;  // Q13, or a percentage of 1.0; otherwise a plain number
  const char* help;
};

constexpr stage_value kReverb[] = {
    {"room", sonx_ktv_reverb_setroomsize, 4096, kUnity, true, "size"},
    {"damp", sonx_ktv_reverb_setdamp, 4096, kUnity, true, "loss of treble in the tail"},
    {"wet", sonx_ktv_reverb_setwet, 5461, kUnity, true, "reverberation"},
    {"dry", sonx_ktv_reverb_setdry, 4096, kUnity, true, "direct sound, 50% is unity"},
    {"width", sonx_ktv_reverb_setwidth, 8192, kUnity, true, "stereo width"},
    {"gain", sonx_ktv_reverb_setgain, 127, kUnity, true, "level into the reverberator"},
};

constexpr stage_value kEcho[] = {
    {"delay", sonx_ktv_iirecho_setdelay, 250, 350, false, "milliseconds"},
    {"feedback", sonx_ktv_iirecho_setfeedback, 4096, kUnity, true, "how many repeats"},
    {"wet", sonx_ktv_iirecho_setwet, 3277, kUnity, true, "the voice with its repeats"},
    {"dry", sonx_ktv_iirecho_setdry, 4915, kUnity, true, "the voice alone"},
};

struct chosen_value {
  const stage_value* value;
  int word;
};

// The values of a stage: those named in "name=value,..", the others at their initial ones.
template <size_t count>
std::vector<chosen_value> choose(const stage_value (&values)[count], const std::string& text) {
  std::vector<chosen_value> chosen;
  for (const stage_value& value : values) chosen.push_back({&value, value.initial});
  if (text.empty()) return chosen;
  for (const auto& [name, given] : parse_pairs(text)) {
    const auto match = std::find_if(chosen.begin(), chosen.end(), [&](const chosen_value& one) {
      return one.value->name == name;
    });
    if (match == chosen.end()) {
      std::vector<std::string> known;
      for (const stage_value& value : values) known.push_back(value.name);
      throw std::runtime_error("there is no setting '" + name + "'" + suggestion(name, known));
    }
    const stage_value& value = *match->value;
    match->word = value.level ? parse_level(given, name, kUnity, value.highest)
                              : parse_in_range(given, name, 0, value.highest);
  }
  return chosen;
}

std::string describe(const char* stage, const std::vector<chosen_value>& chosen) {
  std::string text = stage;
  for (const auto& [value, word] : chosen) {
    char part[64];
    if (value->level)
      std::snprintf(part, sizeof part, " %s %d in Q13 (%.4g %%)", value->name, word,
                    100.0 * word / kUnity);
    else
      std::snprintf(part, sizeof part, " %s %d %s", value->name, word, value->help);
    text += (&value == &chosen.front().value ? "" : ",") + std::string(part);
  }
  return text;
}

std::string help_of(const char* stage, const stage_value* begin, const stage_value* end) {
  std::string text = std::string(stage) + ", with NAME=VALUE,..:";
  for (const stage_value* value = begin; value != end; ++value) {
    char part[128];
    if (value->level)
      std::snprintf(part, sizeof part, " %s (%s) [%.4g%%]", value->name, value->help,
                    100.0 * value->initial / kUnity);
    else
      std::snprintf(part, sizeof part, " %s (%s) [%d]", value->name, value->help, value->initial);
    text += part;
  }
  return text;
}

std::vector<int> parse_equalizer(const std::string& text) {
  std::vector<int> gains;
  for (const std::string& part : split(text, ",/"))
    gains.push_back(parse_in_range(part, "an equalizer band (dB)", -15, 15));
  if (gains.size() > kBands) throw std::runtime_error("the equalizer has ten bands");
  gains.resize(kBands);
  return gains;
}

int parse_voice_gain(const std::string& text) {
  const double gain = parse_number(text, "--voice-gain");
  if (gain < kLowestGain || gain > kHighestGain)
    throw std::runtime_error("--voice-gain must be from -40 to 12 dB, not '" + text + "'");
  return static_cast<int>(std::lround(kUnity * std::pow(10.0, gain / 20)));
}

struct ktv_arguments {
  file_options files;
  stage_options stages;
  int period = 240;
  std::string tail = "0";
};

void run(const ktv_arguments& arguments) {
  const karaoke_stages stages = arguments.stages.stages();
  karaoke_options options = parse_stages(stages);
  options.period = arguments.period;
  options.tail = parse_seconds(arguments.tail, "--tail");
  file_job job(arguments.files, kKaraokeRates);
  job.open_output(job.reader().bits());
  const stream_report report = render_karaoke(job.reader(), job.writer(), options, "sonx ktv");
  job.finish(options.tail);
  say("%s\n%s\n", job.describe(report.frames).c_str(), describe(stages).c_str());
  print_levels(report);
}

}  // namespace

const effect_rates kKaraokeRates = {"the karaoke chain", "48000 Hz",
                                    [](int) { return kKaraokeRate; }};

karaoke_options parse_stages(const karaoke_stages& stages) {
  karaoke_options options;
  const auto set = [&](void (*setter)(void*, int), int value) {
    options.settings.push_back({setter, value});
  };
  const auto switch_on = [&](void (*enable)(void*, int), const std::vector<chosen_value>& chosen) {
    for (const auto& [value, word] : chosen) set(value->set, word);
    set(enable, 1);
  };
  if (stages.howling) set(sonx_ktv_hw_howling_canceling_enable, 1);
  if (stages.gramophone) set(sonx_ktv_gramophone_enable, 1);
  if (!stages.equalizer.empty()) options.equalizer = parse_equalizer(stages.equalizer);
  if (stages.reverb) switch_on(sonx_ktv_reverb_enable, choose(kReverb, stages.reverb_settings));
  if (stages.echo) switch_on(sonx_ktv_iirecho_enable, choose(kEcho, stages.echo_settings));
  if (!stages.voice_gain.empty()) set(sonx_ktv_set_voice_gain, parse_voice_gain(stages.voice_gain));
  if (stages.compressor || !stages.voice_gain.empty()) set(sonx_ktv_compressor_enable, 1);
  return options;
}

std::string describe(const karaoke_stages& stages) {
  std::vector<std::string> parts;
  if (stages.howling) parts.push_back("howling canceller");
  if (stages.gramophone) parts.push_back("gramophone");
  if (!stages.equalizer.empty()) {
    std::string text = "equalizer";
    for (int gain : parse_equalizer(stages.equalizer)) text += " " + std::to_string(gain);
    parts.push_back(text + " dB");
  }
  if (stages.reverb) parts.push_back(describe("reverb", choose(kReverb, stages.reverb_settings)));
  if (stages.echo) parts.push_back(describe("echo", choose(kEcho, stages.echo_settings)));
  if (!stages.voice_gain.empty()) parts.push_back("voice gain " + stages.voice_gain + " dB");
  if (stages.compressor || !stages.voice_gain.empty()) parts.push_back("compressor");
  std::string text = parts.empty() ? "no stage" : "";
  for (const std::string& part : parts) text += (text.empty() ? "" : "\n") + part;
  return text;
}

karaoke::karaoke(const karaoke_options& options) : handle_(sonx_ktv_init()) {
  if (handle_ == nullptr) throw std::runtime_error("no memory for the karaoke chain");
  sonx_ktv_iirecho_enable(handle_, 0);
  sonx_ktv_hw_howling_canceling_enable(handle_, 0);
  sonx_ktv_compressor_enable(handle_, 0);
  for (const karaoke_setting& setting : options.settings) setting.set(handle_, setting.value);
  if (!options.equalizer.empty()) {
    std::vector<int> gains = options.equalizer;
    sonx_ktv_eq_setparameter(handle_, gains.data());
    sonx_ktv_eq_enable(handle_, 1);
  }
}

karaoke::~karaoke() { sonx_ktv_deinit(handle_); }

void karaoke::process(const std::vector<float>& stereo, stopwatch& busy) {
  const size_t period = stereo.size() / 2;
  voice_.resize(period);
  left_.resize(period);
  right_.resize(period);
  for (size_t i = 0; i < period; ++i)
    voice_[i] = to_16_bits((stereo[2 * i] + stereo[2 * i + 1]) / 2);
  busy.time([&] {
    sonx_ktv_process_16(handle_, voice_.data(), left_.data(), right_.data(),
                        static_cast<int>(period));
  });
}

stream_report render_karaoke(audio_reader& reader, audio_writer& writer,
                             const karaoke_options& options, const std::string& label) {
  karaoke chain(options);
  return stream(reader, writer, {static_cast<size_t>(options.period), options.tail, label},
                [&](std::vector<float>& stereo, std::vector<int32_t>& words, stopwatch& busy) {
                  chain.process(stereo, busy);
                  for (size_t i = 0; i < words.size(); ++i) {
                    const short sample = (i % 2 == 0 ? chain.left() : chain.right())[i / 2];
                    words[i] = sample * 65536;
                    stereo[i] = static_cast<float>(sample) / 32768.0F;
                  }
                });
}

void stage_options::add_to(CLI::App& app) {
  app.add_flag("--howling", stages_.howling, "the howling canceller");
  app.add_flag("--gramophone", stages_.gramophone, "the colour of an old record");
  app.add_option("--eq", stages_.equalizer, "ten band gains in whole dB, -15..15: 3,2,0,...")
      ->type_name("DB,DB,..");
  reverb_ = app.add_option("--reverb", stages_.reverb_settings,
                           help_of("reverb", std::begin(kReverb), std::end(kReverb)))
                ->type_name("[NAME=VALUE,..]")
                ->expected(0, 1);
  echo_ = app.add_option("--echo", stages_.echo_settings,
                         help_of("echo", std::begin(kEcho), std::end(kEcho)))
              ->type_name("[NAME=VALUE,..]")
              ->expected(0, 1);
  app.add_option("--voice-gain", stages_.voice_gain, "gain of the voice in dB, -40..12")
      ->type_name("DB");
  app.add_flag("--compressor", stages_.compressor, "limiter with a gate for silence");
}

karaoke_stages stage_options::stages() const {
  karaoke_stages stages = stages_;
  stages.reverb = reverb_->count() > 0;
  stages.echo = echo_->count() > 0;
  return stages;
}

void add_ktv_command(CLI::App& app) {
  CLI::App* command = app.add_subcommand("ktv", "run a voice through the karaoke chain");
  auto arguments = std::make_shared<ktv_arguments>();
  command->footer(kFooter);
  arguments->files.add_to(*command);
  arguments->stages.add_to(*command);
  command->add_option("--period", arguments->period, "samples per call")
      ->check(CLI::Range(1, 1 << 20))
      ->capture_default_str();
  command->add_option("--tail", arguments->tail, "silence to append to the input [0]")
      ->type_name("SECONDS");
  arguments->files.add_no_convert_to(*command);
  command->callback([arguments] { run(*arguments); });
}

}  // namespace sonx
