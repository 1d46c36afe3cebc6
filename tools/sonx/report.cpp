// sonx report: what a preset makes of a recording, as a page to look at, to hear and to send.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "aspects.h"
#include "audio_reader.h"
#include "commands.h"
#include "messages.h"
#include "pending_file.h"
#include "rack_host.h"
#include "recording.h"
#include "report_page.h"
#include "settings.h"

namespace sonx {

namespace {

const char* const kFooter =
    R"(Writes one HTML file that needs nothing else: the figures, a player for before
and after (equally loud), responses, levels over time, spectra, spectrograms,
the settings in force, and what it takes to have the same output again. It holds
the loudest --seconds of the recording, without loss: some 300 KB for each.

Examples:
  sonx report --preset headphones.toml --in music.flac -o report.html
  sonx report --set reverb.room=60 --set reverb.dry=100 \
    --in voice.wav --tail 3 -o report.html
  sonx report --preset headphones.toml --in music.flac \
    --from 62 --seconds 10 -o report.html)";

constexpr double kSoftSweepLevel = -40;  // dBFS

struct report_options {
  rack_options rack;
  std::string in, out, tail = "0";
  double from = -1, seconds = 15;
};

std::string today() {
  const std::time_t now = std::time(nullptr);
  char text[16];
  std::strftime(text, sizeof text, "%Y-%m-%d", std::localtime(&now));
  return text;
}

// Where the loudest stretch of this length begins.
double loudest_from(const recording& sound, double seconds) {
  constexpr double kWindow = 0.5;
  const std::vector<double> levels = levels_over_time(sound, kWindow);
  const auto length = static_cast<size_t>(seconds / kWindow);
  double best = 0, most = -1;
  for (size_t i = 0; i + length <= levels.size(); ++i) {
    double power = 0;
    for (size_t k = 0; k < length; ++k) power += std::pow(10, levels[i + k] / 10);
    if (power <= most) continue;
    most = power;
    best = static_cast<double>(i) * kWindow;
  }
  return best;
}

std::string arguments_of(const report_options& options) {
  std::string text;
  if (!options.rack.preset.empty())
    text += " --preset " + std::filesystem::path(options.rack.preset).filename().string();
  for (const std::string& one : options.rack.sets) text += " --set " + one;
  if (options.tail != "0") text += " --tail " + options.tail;
  return text + " --bits 24";
}

void run(const report_options& options) {
  require_extension(options.out, ".html");
  if (options.rack.preset.empty() && options.rack.sets.empty())
    throw std::runtime_error("a --preset or a --set is missing");
  const rack_recipe recipe = options.rack.recipe();
  recipe.rates();  // says what is wrong before a file is touched
  const int file_rate = audio_reader(options.in).file_rate(), rate = recipe.rate_for(file_rate);
  const rack its(recipe, rate);
  report report;
  report.preset = options.rack.preset;
  report.in = options.in;
  report.arguments = arguments_of(options);
  report.date = today();
  report.its = &its;
  report.file_rate = file_rate;
  report.tail = parse_seconds(options.tail, "--tail");
  report.before = read_recording(options.in, rate);
  if (options.from >= report.before.seconds())
    throw std::runtime_error("--from lies behind the end of '" + options.in + "'");
  report.after = render(recipe, report.before, report.tail, "sonx report");
  report.before_is = measure_loudness(report.before);
  report.recorded = report.before.seconds();
  report.after_is = measure_loudness(report.after.sound);
  report.listen_seconds = options.seconds;
  report.listen_from =
      options.from >= 0 ? options.from : loudest_from(report.before, options.seconds);
  report.before.stereo.resize(report.after.sound.stereo.size());
  const device device = make_device(recipe, rate);
  report.dynamics.emplace_back(device, bench_settings{.rate = rate});
  report.responses.emplace_back(device, bench_settings{.rate = rate, .level = kRackSweepLevel});
  if (!report.dynamics.front().linear())
    report.responses.emplace_back(device, bench_settings{.rate = rate, .level = kSoftSweepLevel});
  const std::string page = make_page(report);
  write_text_file(options.out, page);
  say("written: %s, %.1f MB\n", options.out.c_str(), static_cast<double>(page.size()) / 1e6);
}

}  // namespace

void add_report_command(CLI::App& app) {
  CLI::App* command = app.add_subcommand("report", "write a page about a preset and a recording");
  auto options = std::make_shared<report_options>();
  command->footer(kFooter);
  options->rack.add_to(*command);
  command->add_option("--in", options->in, "audio file that libsndfile reads")
      ->type_name("FILE")
      ->required();
  command->add_option("-o,--out", options->out, "page to write, .html")
      ->type_name("FILE")
      ->required();
  command->add_option("--tail", options->tail, "silence to append to the recording [0]")
      ->type_name("SECONDS");
  command->add_option("--from", options->from, "where the player's stretch begins [the loudest]")
      ->type_name("SECONDS")
      ->check(CLI::NonNegativeNumber);
  command->add_option("--seconds", options->seconds, "the player's stretch; 0 for no player")
      ->type_name("SECONDS")
      ->check(CLI::Range(0.0, 600.0))
      ->capture_default_str();
  command->callback([options] { run(*options); });
}

}  // namespace sonx
