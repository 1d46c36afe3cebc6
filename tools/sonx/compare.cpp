// sonx compare: two presets on one recording, side by side.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "aspects.h"
#include "audio_reader.h"
#include "commands.h"
#include "measure.h"
#include "messages.h"
#include "pending_file.h"
#include "rack_host.h"
#include "recording.h"
#include "settings.h"
#include "text_table.h"

namespace sonx {

namespace {

namespace fs = std::filesystem;

const char* const kBypass = "bypass";

const char* const kFooter =
    R"(A and B are presets; the word bypass stands for the recording as it is. Writes
into the folder:
  a-NAME.wav, b-NAME.wav  what each makes of IN, the louder one turned down
                          until both are equally loud (EBU R 128)
  difference.wav          the first of these less the second
  response.svg            the responses of both, measured as by 'sonx response'
Latencies are taken out, so that all lies on IN.

Examples:
  sonx compare headphones.toml bypass music.flac comparison
  sonx compare first.toml second.toml music.flac comparison --tail 2)";

struct compare_options {
  std::string presets[2], in, folder;
  std::string tail = "0";
};

struct side {
  std::string name;
  rack_recipe recipe;
  recording sound;
  loudness before, after;  // the match
  double turned = 0;       // dB
};

side make_side(const std::string& preset) {
  side one;
  one.name = preset == kBypass ? kBypass : fs::path(preset).stem().string();
  one.recipe =
      preset == kBypass ? rack_recipe{kBypass, "sonx = 1\n", {}, false} : read_recipe(preset);
  return one;
}

// The rate for a file at which both run: its own, or the next one above it, or the highest.
int common_rate(const side& a, const side& b, int file_rate) {
  const std::vector<int> its = a.recipe.rates(), others = b.recipe.rates();
  std::vector<int> both;
  std::set_intersection(its.begin(), its.end(), others.begin(), others.end(),
                        std::back_inserter(both));
  if (both.empty())
    throw std::runtime_error("'" + a.recipe.label + "' works at " + rates_text(its) + " Hz and '" +
                             b.recipe.label + "' at " + rates_text(others) + " Hz");
  const auto above = std::lower_bound(both.begin(), both.end(), file_rate);
  return above == both.end() ? both.back() : *above;
}

recording subtract(const recording& a, const recording& b) {
  recording difference = a;
  for (size_t i = 0; i < a.stereo.size(); ++i) difference.stereo[i] -= b.stereo[i];
  return difference;
}

double mean_level(const recording& sound) {
  return levels_over_time(sound, sound.seconds()).front();
}

// "+7.3 dB at 105 Hz": where A's response is furthest from B's, both turned as the recordings are.
std::string furthest_apart(const std::vector<bench>& benches, double turned, int smoothing) {
  const aspect& level = find_aspect("level");
  const auto a = benches[0].curve(level, smoothing), b = benches[1].curve(level, smoothing);
  const std::vector<double> places = benches[0].places(level);
  double most = 0, where = 0;
  for (size_t i = 0; i < places.size(); ++i)
    for (const double apart : {a.left[i] - b.left[i] + turned, a.right[i] - b.right[i] + turned})
      if (std::abs(apart) > std::abs(most)) {
        most = apart;
        where = places[i];
      }
  return print("%+.1f dB at %.0f Hz", most, where);
}

void print_table(const side& a, const side& b) {
  text_table table({"", "A", "B", "B - A"});
  table.add({"", a.name, b.name, ""});
  const auto row = [&](const char* name, double of_a, double of_b) {
    const double more = of_b - of_a;
    table.add({name, decibels(of_a), decibels(of_b),
               std::isfinite(more) ? print("%+.1f", more) : std::string()});
  };
  row("loudness, LUFS", a.before.integrated, b.before.integrated);
  row("loudness range, LU", a.before.range, b.before.range);
  row("true peak, dBTP", a.before.true_peak, b.before.true_peak);
  row("turned by, dB", a.turned, b.turned);
  row("true peak then, dBTP", a.before.true_peak + a.turned, b.before.true_peak + b.turned);
  table.print();
}

void run(const compare_options& options) {
  side sides[2] = {make_side(options.presets[0]), make_side(options.presets[1])};
  const double tail = parse_seconds(options.tail, "--tail");
  const int rate = common_rate(sides[0], sides[1], audio_reader(options.in).file_rate());
  const recording in = read_recording(options.in, rate);
  const fs::path folder = options.folder;
  fs::create_directories(folder);

  for (side& one : sides) {
    one.sound = render(one.recipe, in, tail, "sonx compare " + one.name).sound;
    one.before = measure_loudness(one.sound);
  }
  const loudness_match turns = match(sides[0].before, sides[1].before);
  sides[0].turned = turns.first;
  sides[1].turned = turns.second;
  for (side& one : sides) turn(one.sound, one.turned);
  const recording difference = subtract(sides[0].sound, sides[1].sound);

  std::vector<bench> benches;
  for (const side& one : sides)
    benches.emplace_back(make_device(one.recipe, rate),
                         bench_settings{.rate = rate, .level = kRackSweepLevel});
  const int smoothing = usual_smoothing(benches);
  picture picture{"A: " + sides[0].name + ", B: " + sides[1].name,
                  print("measured at %d Hz with a sweep of %g dBFS", rate, kRackSweepLevel),
                  {},
                  {}};
  for (const char* id : {"level", "phase", "delay"})
    picture.panels.push_back(make_panel(find_aspect(id), benches, smoothing));
  for (size_t i = 0; i < 2; ++i) picture.legend.push_back((i == 0 ? "A: " : "B: ") + sides[i].name);

  write_recording(folder / ("a-" + sides[0].name + ".wav"), sides[0].sound);
  write_recording(folder / ("b-" + sides[1].name + ".wav"), sides[1].sound);
  write_recording(folder / "difference.wav", difference);
  write_text_file(folder / "response.svg", draw_svg(picture));

  say("%s, %.1f s at %d Hz\n\n", options.in.c_str(), in.seconds(), rate);
  print_table(sides[0], sides[1]);
  const double apart = mean_level(difference);
  say("\ndifference: %s dBFS (rms), %s dB from A; A's response is furthest from B's by %s\n",
      decibels(apart).c_str(), decibels(apart - mean_level(sides[0].sound)).c_str(),
      furthest_apart(benches, sides[0].turned - sides[1].turned, smoothing).c_str());
  say("written to %s\n", options.folder.c_str());
}

}  // namespace

void add_compare_command(CLI::App& app) {
  CLI::App* command =
      app.add_subcommand("compare", "hear and see what two presets do to a recording");
  auto options = std::make_shared<compare_options>();
  command->footer(kFooter);
  command->add_option("A", options->presets[0], "preset, or bypass")
      ->type_name("PRESET")
      ->required();
  command->add_option("B", options->presets[1], "preset, or bypass")
      ->type_name("PRESET")
      ->required();
  command->add_option("IN", options->in, "audio file that libsndfile reads")
      ->type_name("FILE")
      ->required();
  command->add_option("OUTDIR", options->folder, "folder to write to, made if missing")
      ->type_name("FOLDER")
      ->required();
  command->add_option("--tail", options->tail, "silence to append to the input [0]")
      ->type_name("SECONDS");
  command->callback([options] { run(*options); });
}

}  // namespace sonx
