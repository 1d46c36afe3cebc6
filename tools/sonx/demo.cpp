// sonx demo: one recording through every headphone effect, and a table of what came out.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <effects/speaker_boost_system.h>

#include "boost.h"
#include "commands.h"
#include "denoise.h"
#include "ktv.h"
#include "render.h"
#include "settings.h"

namespace sonx {

namespace {

namespace fs = std::filesystem;

const char* const kFooter =
    R"(Writes OUTDIR/NAME-EFFECT.wav for each effect, and OUTDIR/NAME-switch-over.wav,
which walks through all of them in one go, and OUTDIR/NAME-boost.wav for the
speaker boost. With --voice also OUTDIR/NAME-ktv-STAGE.wav, the file as a
singer's voice through each stage of the karaoke chain and through a full
setting, and OUTDIR/NAME-denoise.wav, through the noise suppressor. A file at a
rate at which an effect does not work is converted first, and stays so. The steps at a switch are those of the
switch-over rendering (for which a short file is repeated), over 0.1 s from the
change into the effect of that row, beside the largest step that the input has
there.)";

constexpr int kFormat = 4;  // 24 bits in 32
constexpr size_t kPeriod = 480;
// Of the speaker boost's limiters of the sum: loud recordings come out just below full scale.
constexpr int kBoostThreshold = 19660;  // 60 %
constexpr double kShortestStretch = 2;  // seconds per effect in the switch-over rendering

struct demo_options {
  std::string in;
  std::string folder;
  bool voice = false;
};

struct demo_effect {
  const char* name;  // in the table and in file names
  std::vector<std::pair<const char*, const char*>> settings;
  double tail;  // seconds
};

const std::vector<demo_effect>& demo_effects() {
  static const std::vector<demo_effect> effects = {
      {"none", {}, 0},
      {"widening", {{"effect", "widening"}}, 0},
      {"preset", {{"effect", "preset"}}, 0},
      {"reverb-room", {{"effect", "reverb"}, {"room", "35%"}, {"damp", "60%"}, {"wet", "70%"}}, 1},
      {"reverb-hall", {{"effect", "reverb"}, {"room", "88%"}, {"damp", "25%"}, {"wet", "85%"}}, 4},
      {"eq", {{"effect", "eq"}, {"eq", "6/4/2/0/-1/-1/0/2/4/5"}}, 0},
      {"adapter-1", {{"adapter", "1"}}, 0},
      {"bass", {{"effect", "bass"}}, 0},  // last: its make-up gain is heard to stay
  };
  return effects;
}

struct demo_karaoke {
  const char* name;
  karaoke_stages stages;
  double tail;  // seconds
};

const std::vector<demo_karaoke>& demo_karaokes() {
  const std::string curve = "-6/-4/-2/0/0/1/3/3/2/0";
  static const std::vector<demo_karaoke> settings = {
      {"ktv-gramophone", {.gramophone = true}, 0},
      {"ktv-eq", {.equalizer = curve}, 0},
      {"ktv-reverb", {.reverb = true, .reverb_settings = "room=70%,damp=40%,wet=80%"}, 3},
      {"ktv-echo", {.echo = true, .echo_settings = "delay=250,feedback=60%"}, 3},
      {"ktv-compressor", {.voice_gain = "6"}, 0},
      {"ktv-full",
       {.equalizer = curve,
        .reverb = true,
        .reverb_settings = "room=60%,damp=50%,wet=60%",
        .echo = true,
        .echo_settings = "delay=180,feedback=40%",
        .voice_gain = "3"},
       3},
  };
  return settings;
}

audio_effect_control_acdb_t record_of(const demo_effect& effect) {
  effect_settings settings;
  for (const auto& [name, value] : effect.settings) settings.set(name, value);
  return settings.record();
}

class demo {
 public:
  explicit demo(const demo_options& options) : options_(options) {
    fs::create_directories(options.folder);
    stem_ = fs::path(options.in).stem().string();
  }

  void run() {
    announce();
    const render_report walk = render_switch_over();
    print_head();
    // The walk begins and ends with no effect: the row of "none" shows the switch back to it.
    for (size_t i = 0; i < demo_effects().size(); ++i) {
      const demo_effect& effect = demo_effects()[i];
      const render_report report = render_one(effect);
      print_row(effect.name, decibels(report.stretches.back().gain_db), report,
                i == 0 ? walk.stretches.back() : walk.stretches[i]);
    }
    float step_in = 0;
    float step_out = 0;
    for (size_t i = 1; i < walk.stretches.size(); ++i) {
      step_in = std::max(step_in, walk.stretches[i].step_in);
      step_out = std::max(step_out, walk.stretches[i].step_out);
    }
    stretch_report all = walk.stretches.front();
    all.step_in = step_in;
    all.step_out = step_out;
    print_row("switch-over", "", walk, all);
    print_boost();
    if (options_.voice) {
      for (const demo_karaoke& karaoke : demo_karaokes()) print_karaoke(karaoke);
      print_denoise();
    }
    print_times(walk);
  }

 private:
  fs::path output(const std::string& name) const {
    return fs::path(options_.folder) / (stem_ + "-" + name + ".wav");
  }

  render_report render_to(const std::string& name, const render_options& how, int times = 1) {
    audio_reader reader(options_.in);
    reader.convert_to(rate_);
    reader.repeat(times);
    audio_writer writer(output(name), {.rate = rate_, .bits = 24, .frames = reader.frames()});
    render_report report = render(reader, writer, how, stem_ + "-" + name);
    writer.commit(report.frames);
    if (times_rendered_++ == 0) reader.warn_of_faults();
    return report;
  }

  void announce() {
    const audio_reader reader(options_.in);
    if (reader.frames() == 0) throw std::runtime_error("'" + options_.in + "' holds no sound");
    rate_ = kHpRates.nearest(reader.file_rate());
    channels_ = reader.channels();
    seconds_ = static_cast<double>(reader.frames()) / reader.file_rate();
    std::printf("%s: %d Hz, %s, %.1f s", options_.in.c_str(), reader.file_rate(),
                reader.describe_channels().c_str(), seconds_);
    if (rate_ != reader.file_rate()) std::printf(", converted to %d Hz", rate_);
    std::printf("\nwritten to %s\n\n", output("*").c_str());
  }

  render_report render_switch_over() {
    const auto& effects = demo_effects();
    render_options how{kFormat, kPeriod, 0, {}};
    const auto stretches = static_cast<double>(effects.size() + 1);
    const int times = static_cast<int>(
        std::max(1.0, std::ceil(kShortestStretch * stretches / std::max(seconds_, 1e-3))));
    const double part = seconds_ * times / stretches;
    for (size_t i = 0; i <= effects.size(); ++i) {
      how.changes.push_back(
          {part * static_cast<double>(i), record_of(effects[i % effects.size()])});
    }
    const render_report report = render_to("switch-over", how, times);
    if (report.stretches.size() != how.changes.size()) {
      throw std::runtime_error("'" + options_.in + "' ended before its stated length");
    }
    return report;
  }

  render_report render_one(const demo_effect& effect) {
    return render_to(effect.name, {kFormat, kPeriod, effect.tail, {{0, record_of(effect)}}});
  }

  // The speaker boost stands outside the headphone chain and has no switch.
  void print_boost() const {
    boost_options how;
    how.settings = {{speaker_boost_system_drc_full_left_set_threshold, kBoostThreshold},
                    {speaker_boost_system_drc_full_right_set_threshold, kBoostThreshold}};
    print_stream("boost", kBoostRates, 24, 2,
                 [&](auto&... files) { return render_boost(files..., how, stem_ + "-boost"); });
  }

  void print_karaoke(const demo_karaoke& karaoke) const {
    karaoke_options how = parse_stages(karaoke.stages);
    how.tail = karaoke.tail;
    print_stream(karaoke.name, kKaraokeRates, 16, 2, [&](auto&... files) {
      return render_karaoke(files..., how, stem_ + "-" + karaoke.name);
    });
  }

  // With the tracked prior.
  void print_denoise() const {
    print_stream("denoise", kDenoiseRates, 16, channels_, [&](auto&... files) {
      return render_denoise(files..., denoise_options{}, stem_ + "-denoise");
    });
  }

  // The file at the effect's rate, and its row in the table. Without a switch, there is no step.
  template <typename Render>
  void print_stream(const char* name, const effect_rates& rates, int bits, int channels,
                    Render render) const {
    audio_reader reader(options_.in);
    reader.convert_to(rates.nearest(reader.file_rate()));
    audio_writer writer(
        output(name),
        {.rate = reader.rate(), .bits = bits, .frames = reader.frames(), .channels = channels});
    const stream_report report = render(reader, writer);
    writer.commit(report.frames);
    print_levels(name, "", report.in, report.out);
    std::printf("  %7s %7s  %8.0f\n", "", "", report.speed);
    std::fflush(stdout);
  }

  static void print_levels(const char* name, const std::string& gain, const levels& in,
                           const levels& out) {
    std::printf("%-14s %7s  %6s %6s  %6s %6s", name, gain.c_str(), decibels(in.peak_dbfs).c_str(),
                decibels(out.peak_dbfs).c_str(), decibels(in.lufs).c_str(),
                decibels(out.lufs).c_str());
  }

  static void print_head() {
    std::printf("%-14s %7s  %13s  %13s  %15s  %8s\n", "", "make-up", "peak dBFS", "loudness LUFS",
                "step at switch", "times");
    std::printf("%-14s %7s  %6s %6s  %6s %6s  %7s %7s  %8s\n", "effect", "dB", "in", "out", "in",
                "out", "in", "out", "realtime");
  }

  static void print_row(const char* name, const std::string& gain, const render_report& report,
                        const stretch_report& change) {
    print_levels(name, gain, report.in, report.out);
    std::printf("  %7.4f %7.4f  %8.0f\n", change.step_in, change.step_out, report.speed);
    std::fflush(stdout);
  }

  void print_times(const render_report& walk) const {
    std::printf("\nswitch-over:");
    for (size_t i = 0; i < walk.stretches.size(); ++i) {
      std::printf(" %.1f s %s%s", static_cast<double>(walk.stretches[i].begin) / rate_,
                  demo_effects()[i % demo_effects().size()].name,
                  i + 1 < walk.stretches.size() ? "," : "\n");
    }
    const stretch_report& last = walk.stretches.back();
    std::printf("%s", gain_note(last.record, last.gain_db).c_str());
  }

  const demo_options& options_;
  std::string stem_;
  int rate_ = 0;
  int channels_ = 0;
  int times_rendered_ = 0;
  double seconds_ = 0;
};

}  // namespace

void add_demo_command(CLI::App& app) {
  CLI::App* command = app.add_subcommand(
      "demo", "render a file through every headphone effect and print a table of levels");
  auto options = std::make_shared<demo_options>();
  command->footer(kFooter);
  command->add_option("IN", options->in, "audio file that libsndfile reads")->required();
  command->add_option("OUTDIR", options->folder, "folder to write to, made if missing")->required();
  command->add_flag("--voice", options->voice,
                    "the file is a voice: render the karaoke chain and the noise suppressor too");
  command->callback([options] { demo(*options).run(); });
}

}  // namespace sonx
