// sonx response: the magnitude response of settings, measured on the library
// itself.
#include <hp/sonx_hp_effect.h>

#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "boost.h"
#include "command_line.h"
#include "commands.h"
#include "formats.h"
#include "ktv.h"
#include "messages.h"
#include "pending_file.h"
#include "rack_host.h"
#include "render.h"
#include "settings.h"
#include "svg_plot.h"
#include "sweep_measurement.h"

namespace sonx {

namespace {

constexpr double kPlotFrom = 20;  // Hz
constexpr double kPlotTo = 20000;
constexpr int kPlotPerOctave = 48;
constexpr int kTablePerOctave = 3;
constexpr int kCombSmoothing = 12;

const char* const kFooter =
    R"(Measures a rack, as it is shipped; with the command hp, ktv or boost behind it the
headphone effect, the karaoke chain or the speaker boost. A repeating 11 s sine sweep runs through the
library and the spectra are compared; the start-up is over before the
measurement begins. The level matters where an effect follows it: the default
stays clear of limiters. What distorts is shown without its harmonics.

Phase and group delay are what is left when the latency is taken out; the phase
is unrolled from the lowest frequency on.

Examples:
  sonx response --preset headphones.toml --svg headphones.svg
  sonx response --preset a.toml --also "--preset b.toml" --show delay --svg two.svg
  sonx response --set reverb.room=60 --set reverb.dry=100 --input left --csv left.csv
  sonx response hp --effect bass --also "--effect preset" --also "--adapter 1" --svg three.svg
  sonx response ktv --gramophone --also "--eq -6,-4,-2,0,0,1,3,3,2" --svg voice.svg
  sonx response boost --also "--nld-gain 0" --svg boost.svg)";

struct response_options {
  int rate = 48000;
  double level = -30;  // dBFS, of the sweep
  std::string input = "both";
  std::string show = "level";
  int smoothing = -1;
  std::vector<std::string> also;
  std::vector<double> hertz;  // of the table
  std::string svg;
  std::string csv;
};

// What one curve is of.
struct subject {
  std::string label;
  bool combed;  // by delays and reverberation
  sweep_process process;
  int latency = 0;  // frames
};

// What can be shown of a response.
struct view {
  const char *name, *value, *unit;
};
constexpr view kViews[] = {{"level", "level, dB", "dB"},
                           {"phase", "phase, degrees", "deg"},
                           {"delay", "group delay, ms", "ms"}};

const view& find_view(const std::string& name) {
  return *std::find_if(std::begin(kViews), std::end(kViews),
                       [&](const view& one) { return name == one.name; });
}

// Each chain with its options: what the command line needs of it.

struct rack_chain {
  static constexpr const char* kTitle = "Rack";
  static constexpr bool kStereoIn = true;
  inline static const std::vector<int> kRates = {8000, 16000, 32000, 44100, 48000, 96000, 192000};
  rack_options options;

  void add_to(CLI::App& app) { options.add_to(app); }

  subject make(int rate) const {
    const rack_recipe recipe = options.recipe();
    auto its = std::make_shared<rack>(recipe, rate);
    std::string label = recipe.label;
    for (const assignment& one : recipe.sets) label += (label.empty() ? "" : ", ") + one.text;
    if (label.empty()) throw std::runtime_error("a --preset or a --set is missing");
    const bool long_tail = its->tail() < 0 || its->tail() > rate / 2;
    return {label, long_tail,
            [=, planes = std::vector<float>(2 * kSweepPeriod)](auto& in, auto& out) mutable {
              float* const at[] = {planes.data(), planes.data() + kSweepPeriod};
              for (size_t i = 0; i < in.size(); ++i) {
                in[i] = std::rint(in[i] * 0x1p23F) / 0x1p23F;
                at[i % 2][i / 2] = in[i];
              }
              its->process(at, 2, static_cast<int>(kSweepPeriod));
              for (size_t i = 0; i < out.size(); ++i) out[i] = at[i % 2][i / 2];
            },
            its->latency()};
  }
};

struct hp_chain {
  static constexpr const char* kTitle = "Headphone effect";
  static constexpr bool kStereoIn = true;
  inline static const std::vector<int> kRates = {44100, 48000};
  effect_options options;

  void add_to(CLI::App& app) { options.add_to(app); }

  subject make(int rate) const {
    const effect_settings settings = options.settings();
    const audio_effect_control_acdb_t record = settings.record();
    if (const std::string idle = settings.idle_words(); !idle.empty()) warn(idle);
    auto effect = std::make_shared<hp_effect>(rate, SONX_FORMAT_24_IN_32);
    effect->set(record);
    period_buffer period(SONX_FORMAT_24_IN_32, kSweepPeriod);
    return {settings.describe(),
            record.effect_type == SONX_EFFECT_STEREO_WIDENING ||
                record.effect_type == SONX_EFFECT_REVERB,
            [=, words = std::vector<int32_t>(2 * kSweepPeriod)](auto& in, auto& out) mutable {
              period.encode(in.data());
              period.decode(in.data(), words.data());
              effect->process(period.data(), period.bytes());
              period.decode(out.data(), words.data());
            },
            chain_delay(rate)};
  }
};

struct ktv_chain {
  static constexpr const char* kTitle = "Karaoke chain";
  static constexpr bool kStereoIn = false;
  inline static const std::vector<int> kRates = {kKaraokeRate};
  stage_options options;

  void add_to(CLI::App& app) { options.add_to(app); }

  subject make(int) const {
    const karaoke_stages stages = options.stages();
    if (stages.howling)
      warn(
          "the howling canceller takes the sweep for a howl: its curve is "
          "what it does to that");
    auto chain = std::make_shared<karaoke>(parse_stages(stages));
    std::string label = describe(stages);
    for (size_t at; (at = label.find('\n')) != std::string::npos;) label.replace(at, 1, ", ");
    return {label, stages.reverb || stages.echo, [chain](auto& in, auto& out) {
              stopwatch unused;
              chain->process(in, unused);
              for (size_t i = 0; i < out.size(); ++i) {
                in[i] = static_cast<float>(chain->voice()[i / 2]) / 32768.0F;
                out[i] = static_cast<float>((i % 2 == 0 ? chain->left() : chain->right())[i / 2]) /
                         32768.0F;
              }
            }};
  }
};

struct boost_chain {
  static constexpr const char* kTitle = "Speaker boost";
  static constexpr bool kStereoIn = true;
  inline static const std::vector<int> kRates = {44100, 48000, 96000};
  boost_setting_options options;

  void add_to(CLI::App& app) { options.add_to(app); }

  subject make(int rate) const {
    auto boost = std::make_shared<boost_module>(rate, options.settings());
    period_buffer period(SONX_FORMAT_24_IN_32, kSweepPeriod);
    return {options.describe(), false,
            [=, words = std::vector<int32_t>(2 * kSweepPeriod)](auto& in, auto& out) mutable {
              period.encode(in.data());
              period.decode(in.data(), words.data());
              boost->process(static_cast<int32_t*>(period.data()), kSweepPeriod);
              period.decode(out.data(), words.data());
            }};
  }
};

// The settings of an --also: the chain's options anew.
template <typename Chain>
subject make_also(const std::string& text, int rate) {
  CLI::App app;
  Chain chain;
  chain.add_to(app);
  try {
    app.parse(text);
  } catch (const CLI::ParseError& error) {
    throw std::runtime_error("--also '" + text + "': " + explain(app, error));
  }
  return chain.make(rate);
}

// Around 1 kHz, the centre of the third-octave series.
std::vector<double> frequencies_around_1_khz(int per_octave) {
  std::vector<double> frequencies;
  for (int i = static_cast<int>(std::ceil(per_octave * std::log2(kPlotFrom / 1000) - 0.5));; ++i) {
    const double hertz = 1000 * std::exp2(static_cast<double>(i) / per_octave);
    if (hertz > kPlotTo * 1.02) return frequencies;
    frequencies.push_back(hertz);
  }
}

// Without the jumps from one turn to the next.
void unroll(std::vector<double>& phases) {
  for (size_t i = 1; i < phases.size(); ++i)
    phases[i] -= 360 * std::round((phases[i] - phases[i - 1]) / 360);
}

plot_curve sample(const subject& of, const response& measured, const response_options& how,
                  int smoothing, const std::vector<double>& frequencies) {
  plot_curve curve{of.label, {}, {}};
  for (const double hertz : frequencies) {
    const auto [left, right] = how.show == "phase"   ? measured.phase(hertz, of.latency)
                               : how.show == "delay" ? measured.delay(hertz, of.latency)
                                                     : measured.at(hertz, smoothing);
    curve.left.push_back(left);
    curve.right.push_back(right);
  }
  return curve;
}

// One line per frequency, each curve with left and right.
void print_table(const response_plot& table, const char* unit) {
  const bool many = table.curves.size() > 1;
  say("%s, %s\n", table.title.c_str(), table.note.c_str());
  for (size_t i = 0; i < table.curves.size(); ++i)
    say("%s%s\n", many ? (std::to_string(i + 1) + ": ").c_str() : "",
        table.curves[i].label.c_str());
  say("\n%9s", "Hz");
  for (size_t i = 0; i < table.curves.size(); ++i) {
    const std::string number = many ? std::to_string(i + 1) + " " : "";
    say(" %10s %10s", (number + "left " + unit).c_str(), (number + "right " + unit).c_str());
  }
  say("\n");
  for (size_t row = 0; row < table.frequencies.size(); ++row) {
    say("%9.1f", table.frequencies[row]);
    for (const plot_curve& curve : table.curves)
      say(" %10.2f %10.2f", curve.left[row], curve.right[row]);
    say("\n");
  }
}

std::string to_csv(const response_plot& plot, const std::string& unit) {
  std::string text = "frequency_hz";
  for (size_t i = 0; i < plot.curves.size(); ++i) {
    const std::string number = plot.curves.size() > 1 ? "_" + std::to_string(i + 1) : "";
    text += ",left" + number + "_" + unit + ",right" + number + "_" + unit;
  }
  for (size_t row = 0; row < plot.frequencies.size(); ++row) {
    char cell[64];
    std::snprintf(cell, sizeof cell, "\n%.2f", plot.frequencies[row]);
    text += cell;
    for (const plot_curve& curve : plot.curves) {
      std::snprintf(cell, sizeof cell, ",%.3f,%.3f", curve.left[row], curve.right[row]);
      text += cell;
    }
  }
  return text + "\n";
}

std::string describe_measurement(const response_options& options, bool stereo_in, int smoothing) {
  char text[160];
  std::snprintf(text, sizeof text, "measured at %d Hz with a sweep of %g dBFS%s, %s", options.rate,
                options.level,
                !stereo_in                ? ""
                : options.input == "both" ? " into both channels"
                                          : (" into " + options.input + " only").c_str(),
                smoothing > 0
                    ? ("power averaged over 1/" + std::to_string(smoothing) + " octave").c_str()
                    : "unsmoothed");
  return text;
}

template <typename Chain>
void run(const response_options& options, const Chain& chain) {
  require_extension(options.svg, ".svg");
  require_extension(options.csv, ".csv");
  std::vector<subject> subjects = {chain.make(options.rate)};
  for (const std::string& text : options.also)
    subjects.push_back(make_also<Chain>(text, options.rate));
  // Delays and reverberation comb the response; a twelfth of an octave shows
  // what the ear makes of it.
  bool combed = false;
  for (const subject& one : subjects) combed = combed || one.combed;
  const int smoothing = options.smoothing >= 0 ? options.smoothing : combed ? kCombSmoothing : 0;

  const view& shown = find_view(options.show);
  const std::string note = describe_measurement(options, Chain::kStereoIn, smoothing);
  response_plot plot{
      Chain::kTitle, note, frequencies_around_1_khz(kPlotPerOctave), {}, shown.value};
  response_plot table = plot;
  table.frequencies =
      options.hertz.empty() ? frequencies_around_1_khz(kTablePerOctave) : options.hertz;
  for (const subject& one : subjects) {
    const response measured =
        measure_response({options.rate, options.level, options.input}, one.process);
    plot.curves.push_back(sample(one, measured, options, smoothing, plot.frequencies));
    table.curves.push_back(sample(one, measured, options, smoothing, table.frequencies));
  }
  if (options.show == "phase")
    for (plot_curve& curve : plot.curves) {
      unroll(curve.left);
      unroll(curve.right);
    }
  if (!options.svg.empty()) write_text_file(options.svg, draw_svg(plot));
  if (!options.csv.empty())
    write_text_file(options.csv, to_csv(plot, std::string(shown.unit) == "dB" ? "db" : shown.unit));
  print_table(table, shown.unit);
}

template <typename Chain>
void add_chain(CLI::App& command) {
  auto options = std::make_shared<response_options>();
  auto chain = std::make_shared<Chain>();
  chain->add_to(command);
  command
      .add_option("--also", options->also,
                  "one more curve: the options of other settings, in quotes; "
                  "can be repeated")
      ->type_name("OPTIONS")
      ->expected(1)
      ->take_all();
  command.add_option("--show", options->show, "what of the response: level, phase or delay")
      ->check(CLI::IsMember({"level", "phase", "delay"}))
      ->capture_default_str();
  if (Chain::kRates.size() > 1)
    command.add_option("--rate", options->rate, "sample rate in Hz")
        ->check(CLI::IsMember(Chain::kRates))
        ->capture_default_str();
  command.add_option("--level", options->level, "level of the sweep in dBFS")
      ->check(CLI::Range(-90.0, 0.0))
      ->capture_default_str();
  if (Chain::kStereoIn)
    command.add_option("--input", options->input, "channels that get the sweep")
        ->check(CLI::IsMember({"both", "left", "right"}))
        ->capture_default_str();
  command
      .add_option("--smooth", options->smoothing,
                  "average over 1/N octave, 0 for none; without it 12 where delays or "
                  "reverberation comb the response, else none")
      ->type_name("N")
      ->check(CLI::Range(0, 48));
  command.add_option("--hertz", options->hertz, "the table's frequencies, instead of thirds")
      ->type_name("HZ,HZ,..")
      ->delimiter(',')
      ->check(CLI::Range(kPlotFrom, kPlotTo));
  command.add_option("--svg", options->svg, "picture to write, .svg");
  command.add_option("--csv", options->csv, "table to write, .csv, 48 points per octave");
  command.callback([&command, options, chain] {
    if (command.get_subcommands().empty()) run(*options, *chain);
  });
}

}  // namespace

void add_response_command(CLI::App& app) {
  CLI::App* command =
      app.add_subcommand("response", "measure frequency responses of settings, and plot them");
  command->footer(kFooter);
  add_chain<rack_chain>(*command);
  add_chain<hp_chain>(*command->add_subcommand("hp", "of the headphone effect"));
  add_chain<ktv_chain>(*command->add_subcommand("ktv", "of the karaoke chain"));
  add_chain<boost_chain>(*command->add_subcommand("boost", "of the speaker boost"));
}

}  // namespace sonx
