// sonx response: what settings do to frequencies and levels, measured on the library itself.
#include <hp/sonx_hp_effect.h>

#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "aspects.h"
#include "command_line.h"
#include "commands.h"
#include "formats.h"
#include "ktv.h"
#include "messages.h"
#include "pending_file.h"
#include "rack_host.h"
#include "render.h"
#include "settings.h"

namespace sonx {

namespace {

constexpr int kTablePerOctave = 3;
constexpr double kLowest = 20, kHighest = 20000;  // Hz

const char* const kFooter =
    R"(Measures a rack, as it is shipped; with the command hp or ktv behind it a handle
of the headphone effect or of the karaoke chain. What is shown:
  level, phase, delay  against frequency, from a repeating 11 s sine sweep; the
                       start-up is over before the measurement begins. Its
                       level matters where an effect follows it, and very low
                       filters want a loud one. What distorts is shown without
                       its harmonics. Phase and group delay are what is left
                       when the latency is taken out.
  curve, distortion    the level of a steady tone and its harmonics, against the
                       level that goes in; 4 s of the tone come before
  step                 the output's level around a step of the tone's
  decay                the output's level after noise has ended

Examples:
  sonx response --preset headphones.toml --svg headphones.svg
  sonx response --preset a.toml --also "--preset b.toml" \
    --show level,delay --svg two.svg
  sonx response --set reverb.room=60 --set reverb.dry=100 --show decay
  sonx response --preset late-evening --show curve,distortion,step \
    --svg dynamics.svg
  sonx response hp --effect bass --also "--effect preset" \
    --also "--adapter 1" --svg three.svg
  sonx response ktv --gramophone --also "--eq -6,-4,-2,0,0,1,3,3,2" \
    --svg voice.svg)";

struct response_options {
  bench_settings how{.rate = 0};  // 0: the chain's own
  std::vector<std::string> show = {"level"};
  int smoothing = -1;
  std::vector<std::string> also;
  std::vector<double> hertz;  // of the table
  std::string svg;
  std::string csv;
};

// A process over 24-bit samples in their format.
template <typename Process>
block_process in_24_bits(Process process) {
  return [process, period = period_buffer(SONX_FORMAT_24_IN_32, kBlock),
          words = std::vector<int32_t>(2 * kBlock)](std::vector<float>& in,
                                                    std::vector<float>& out) mutable {
    period.encode(in.data());
    period.decode(in.data(), words.data());
    process(period);
    period.decode(out.data(), words.data());
  };
}

// Each chain with its options: what the command line needs of it.

struct rack_chain {
  static constexpr double kLevel = kRackSweepLevel;
  static constexpr bool kStereoIn = true;
  inline static const std::vector<int> kRates = {8000, 16000, 32000, 44100, 48000, 96000, 192000};
  rack_options options;

  void add_to(CLI::App& app) { options.add_to(app); }
  int usual_rate() const { return options.recipe().rate_for(48000); }
  std::string title(int rate) const { return rack(options.recipe(), rate).title(); }
  device make(int rate) const {
    if (options.preset.empty() && options.sets.empty())
      throw std::runtime_error("a --preset or a --set is missing");
    return make_device(options.recipe(), rate);
  }
};

struct hp_chain {
  static constexpr double kLevel = -30;
  static constexpr bool kStereoIn = true;
  inline static const std::vector<int> kRates = {44100, 48000};
  effect_options options;

  void add_to(CLI::App& app) { options.add_to(app); }
  int usual_rate() const { return 48000; }
  static std::string title(int) { return "Headphone effect"; }
  device make(int rate) const {
    const effect_settings settings = options.settings();
    const audio_effect_control_acdb_t record = settings.record();
    if (const std::string idle = settings.idle_words(); !idle.empty()) warn(idle);
    return {settings.describe(), chain_delay(rate), [rate, record] {
              auto effect = std::make_shared<hp_effect>(rate, SONX_FORMAT_24_IN_32);
              effect->set(record);
              return in_24_bits([effect](period_buffer& period) {
                effect->process(period.data(), period.bytes());
              });
            }};
  }
};

struct ktv_chain {
  static constexpr double kLevel = -30;
  static constexpr bool kStereoIn = false;
  inline static const std::vector<int> kRates = {kKaraokeRate};
  stage_options options;

  void add_to(CLI::App& app) { options.add_to(app); }
  int usual_rate() const { return kKaraokeRate; }
  static std::string title(int) { return "Karaoke chain"; }
  device make(int) const {
    const karaoke_stages stages = options.stages();
    if (stages.howling)
      warn("the howling canceller takes the sweep for a howl: its curve is what it does to that");
    std::string label = describe(stages);
    for (size_t at; (at = label.find('\n')) != std::string::npos;) label.replace(at, 1, ", ");
    return {label, 0, [stages]() -> block_process {
              auto chain = std::make_shared<karaoke>(parse_stages(stages));
              return [chain](std::vector<float>& in, std::vector<float>& out) {
                stopwatch unused;
                chain->process(in, unused);
                for (size_t i = 0; i < out.size(); ++i) {
                  const std::vector<short>& side = i % 2 == 0 ? chain->left() : chain->right();
                  in[i] = static_cast<float>(chain->voice()[i / 2]) / 32768.0F;
                  out[i] = static_cast<float>(side[i / 2]) / 32768.0F;
                }
              };
            }};
  }
};

// The settings of an --also: the chain's options anew.
template <typename Chain>
device make_also(const std::string& text, int rate) {
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

// Where the table looks; the plot looks everywhere.
std::vector<double> rows_of(const aspect& of, const response_options& options) {
  switch (of.over) {
    case abscissa::frequency:
      return options.hertz.empty() ? frequencies_around_1_khz(kTablePerOctave, options.how.rate)
                                   : options.hertz;
    case abscissa::input_level:
      return {-80, -70, -60, -50, -40, -30, -20, -10, -6, 0};
    case abscissa::step_time:
      return {-0.05, 0.005, 0.01, 0.02, 0.05, 0.1, 0.2, 0.5, 0.95,
              1.005, 1.01,  1.02, 1.05, 1.1,  1.2, 1.5, 2,   2.9};
    default:
      return {0.01, 0.02, 0.05, 0.1, 0.2, 0.3, 0.5, 0.75, 1, 1.5, 2, 3, 4, 5};
  }
}

// One line per place, each curve with left and right.
void print_table(const aspect& of, const std::vector<bench>& benches,
                 const response_options& options, int smoothing) {
  std::vector<double> places = rows_of(of, options);
  const double last = benches.front().places(of).back();
  if (of.over != abscissa::frequency) std::erase_if(places, [&](double at) { return at > last; });
  const bool many = benches.size() > 1;
  std::vector<bench::values> columns;
  say("\n%9s", of.over == abscissa::frequency     ? "Hz"
               : of.over == abscissa::input_level ? "dBFS in"
                                                  : "s");
  for (size_t i = 0; i < benches.size(); ++i) {
    const std::string number = many ? std::to_string(i + 1) + " " : "";
    say(" %10s %10s", (number + "left " + of.unit).c_str(), (number + "right " + of.unit).c_str());
    columns.push_back(benches[i].look(of, places, smoothing));
  }
  say("\n");
  for (size_t row = 0; row < places.size(); ++row) {
    say(of.over == abscissa::frequency ? "%9.1f" : "%9.3f", places[row]);
    for (const bench::values& one : columns) say(" %10.2f %10.2f", one.left[row], one.right[row]);
    say("\n");
  }
  if (of.over == abscissa::decay_time)
    for (const bench& one : benches) {
      const double seconds = time_above(one.decay(), -60);
      if (seconds < 0)
        say("not 60 dB down after %.0f s\n", one.decay().x.back());
      else
        say("60 dB down after %.2f s\n", seconds);
    }
}

// The aspects stand over the same places.
std::string to_csv(const std::vector<const aspect*>& aspects, const std::vector<bench>& benches,
                   int smoothing) {
  static const char* const kFirst[] = {"frequency_hz", "input_dbfs", "time_s", "time_s"};
  std::string text = kFirst[static_cast<size_t>(aspects.front()->over)];
  std::vector<bench::values> columns;
  for (const aspect* of : aspects)
    for (size_t i = 0; i < benches.size(); ++i) {
      const std::string number = benches.size() > 1 ? "_" + std::to_string(i + 1) : "";
      std::string unit = of->unit;
      std::transform(unit.begin(), unit.end(), unit.begin(),
                     [](unsigned char c) { return std::tolower(c); });
      if (aspects.size() > 1) unit = std::string(of->id) + "_" + unit;
      text += ",left" + number + "_" + unit + ",right" + number + "_" + unit;
      columns.push_back(benches[i].curve(*of, smoothing));
    }
  const std::vector<double> places = benches.front().places(*aspects.front());
  for (size_t row = 0; row < places.size(); ++row) {
    text += print(aspects.front()->over == abscissa::frequency ? "\n%.2f" : "\n%.4f", places[row]);
    for (const bench::values& one : columns)
      text += print(",%.3f,%.3f", one.left[row], one.right[row]);
  }
  return text + "\n";
}

std::string describe_measurement(const response_options& options,
                                 const std::vector<const aspect*>& shown, bool stereo_in,
                                 int smoothing) {
  const bench_settings& how = options.how;
  std::string text = "measured at " + std::to_string(how.rate) + " Hz";
  bool swept = false, toned = false;
  for (const aspect* one : shown) {
    swept = swept || one->over == abscissa::frequency;
    toned = toned || one->over == abscissa::input_level || one->over == abscissa::step_time;
  }
  if (swept) text += print(" with a sweep of %g dBFS", how.level);
  if (toned) text += print("%s with a tone of %d Hz", swept ? " and" : "", how.hertz);
  if (stereo_in)
    text += how.input == "both" ? " into both channels" : " into " + how.input + " only";
  if (swept)
    text += smoothing > 0 ? ", power averaged over 1/" + std::to_string(smoothing) + " octave"
                          : ", unsmoothed";
  return text;
}

std::vector<const aspect*> shown_aspects(const response_options& options) {
  std::vector<const aspect*> shown;
  for (const std::string& id : options.show) shown.push_back(&find_aspect(id));
  if (!options.csv.empty())
    for (const aspect* one : shown)
      if (one->over != shown.front()->over)
        throw std::runtime_error(std::string("--csv: ") + one->id + " and " + shown.front()->id +
                                 " don't stand over the same axis");
  return shown;
}

int smoothing_of(const response_options& options, const std::vector<bench>& benches,
                 const std::vector<const aspect*>& shown) {
  const bool swept = std::any_of(shown.begin(), shown.end(), [](const aspect* one) {
    return one->over == abscissa::frequency;
  });
  if (options.smoothing >= 0 || !swept) return std::max(options.smoothing, 0);
  return usual_smoothing(benches);
}

template <typename Chain>
void run(response_options options, const Chain& chain) {
  require_extension(options.svg, ".svg");
  require_extension(options.csv, ".csv");
  const auto shown = shown_aspects(options);
  if (options.how.rate == 0) options.how.rate = chain.usual_rate();
  std::vector<bench> benches;
  benches.emplace_back(chain.make(options.how.rate), options.how);
  for (const std::string& text : options.also)
    benches.emplace_back(make_also<Chain>(text, options.how.rate), options.how);
  const int smoothing = smoothing_of(options, benches, shown);

  picture picture{chain.title(options.how.rate),
                  describe_measurement(options, shown, Chain::kStereoIn, smoothing),
                  {},
                  {}};
  for (const aspect* of : shown) picture.panels.push_back(make_panel(*of, benches, smoothing));
  for (size_t i = 0; i < benches.size(); ++i) {
    bool two = false;
    for (const plot_panel& panel : picture.panels)
      for (const plot_line& line : panel.lines) two = two || (line.colour == i && line.dashed);
    picture.legend.push_back(benches[i].label() + (two ? ", left solid, right dashed" : ""));
  }
  if (!options.svg.empty()) write_text_file(options.svg, draw_svg(picture));
  if (!options.csv.empty()) write_text_file(options.csv, to_csv(shown, benches, smoothing));
  say("%s, %s\n", picture.title.c_str(), picture.note.c_str());
  for (size_t i = 0; i < benches.size(); ++i)
    say("%s%s\n", benches.size() > 1 ? (std::to_string(i + 1) + ": ").c_str() : "",
        benches[i].label().c_str());
  for (const aspect* of : shown) print_table(*of, benches, options, smoothing);
}

template <typename Chain>
void add_chain(CLI::App& command) {
  auto options = std::make_shared<response_options>();
  options->how.level = Chain::kLevel;
  auto chain = std::make_shared<Chain>();
  chain->add_to(command);
  command
      .add_option("--also", options->also,
                  "one more curve: the options of other settings, in quotes; can be repeated")
      ->type_name("OPTIONS")
      ->expected(1)
      ->take_all()
      ->allow_extra_args(false);
  std::vector<std::string> ids;
  for (const aspect& one : all_aspects()) ids.emplace_back(one.id);
  command.add_option("--show", options->show, "what is measured [level]")
      ->type_name("ASPECT,ASPECT,..")
      ->delimiter(',')
      ->check(CLI::IsMember(ids));
  if (Chain::kRates.size() > 1)
    command
        .add_option("--rate", options->how.rate,
                    "sample rate in Hz [48000, or the next that works]")
        ->check(CLI::IsMember(Chain::kRates));
  command.add_option("--level", options->how.level, "level of the sweep in dBFS")
      ->check(CLI::Range(-90.0, 0.0))
      ->capture_default_str();
  command.add_option("--tone", options->how.hertz, "frequency of the tone in Hz")
      ->check(CLI::Range(20, 20000))
      ->capture_default_str();
  if (Chain::kStereoIn)
    command.add_option("--input", options->how.input, "channels that are fed")
        ->check(CLI::IsMember({"both", "left", "right"}))
        ->capture_default_str();
  command
      .add_option("--smooth", options->smoothing,
                  "average the level over 1/N octave, 0 for none; without it 12 where delays or "
                  "reverberation comb the response, else none")
      ->type_name("N")
      ->check(CLI::Range(0, 48));
  command.add_option("--hertz", options->hertz, "the table's frequencies, instead of thirds")
      ->type_name("HZ,HZ,..")
      ->delimiter(',')
      ->check(CLI::Range(kLowest, kHighest));
  command.add_option("--svg", options->svg, "picture to write, .svg")->type_name("FILE");
  command
      .add_option("--csv", options->csv, "table to write, .csv, with all that the picture shows")
      ->type_name("FILE");
  command.callback([&command, options, chain] {
    if (command.get_subcommands().empty()) run(*options, *chain);
  });
}

}  // namespace

void add_response_command(CLI::App& app) {
  CLI::App* command = app.add_subcommand("response", "measure and plot what settings do to sound");
  command->footer(kFooter);
  add_chain<rack_chain>(*command);
  add_chain<hp_chain>(*command->add_subcommand("hp", "of the headphone effect"));
  add_chain<ktv_chain>(*command->add_subcommand("ktv", "of the karaoke chain"));
}

}  // namespace sonx
