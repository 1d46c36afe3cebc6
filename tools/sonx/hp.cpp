// sonx hp: a file through the headphone effect, with timed changes.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "commands.h"
#include "render.h"
#include "settings.h"

namespace sonx {

namespace {

const char* const kFooter =
    R"(The output is as long as the input. The effect delays the sound by its
limiter's look-ahead (440 samples at 44100 Hz, 480 at other rates: about 10 ms),
so the last 10 ms of the input, and a reverb's tail, come only with --tail.
Works at rates from 44050 to 48050 Hz, as the effect itself: 44100 and 48000 Hz.
A timed change takes effect at the next period and fades, 2 blocks out and some
in, so that nothing clicks. It changes what it names; a new effect starts from
that effect's defaults.

Examples:
  sonx hp in.wav out.wav --effect reverb --room 80% --damp 30% --tail 3
  sonx hp in.wav out.wav --effect eq --eq 3,2,0,0,0,-2 --adapter 0 --format 4
  sonx hp in.wav out.wav --effect 4 --words 2=4096,3=4096,4=5461,5=4096,6=8192,7=127
  sonx hp in.wav out.wav --at 5:effect=bass --at 10:effect=eq,eq=6/3/0 --at 15:effect=none)";

struct hp_options {
  std::string in;
  std::string out;
  effect_options effect;
  std::vector<std::string> changes;
  int format = 1;
  int period = 480;
  std::string tail = "0";
};

struct timed_settings {
  double seconds;
  effect_settings settings;
};

// Each text is "SECONDS:name=value,name=value"; in order of time, the initial settings first.
std::vector<timed_settings> parse_changes(const std::vector<std::string>& texts,
                                          const effect_settings& initial) {
  std::vector<std::pair<double, std::string>> parts;
  for (const std::string& text : texts) {
    const size_t colon = text.find(':');
    if (colon == std::string::npos) {
      throw std::runtime_error("--at takes SECONDS:name=value,.., not '" + text + "'");
    }
    parts.emplace_back(parse_seconds(text.substr(0, colon), "the time of --at"),
                       text.substr(colon + 1));
  }
  std::stable_sort(parts.begin(), parts.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<timed_settings> changes{{0, initial}};
  for (const auto& [seconds, text] : parts) {
    effect_settings settings = changes.back().settings;
    auto pairs = parse_pairs(text);
    // The effect first: it clears the words of the one before.
    std::stable_partition(pairs.begin(), pairs.end(),
                          [](const auto& pair) { return pair.first == "effect"; });
    for (const auto& [name, value] : pairs) settings.set(name, value);
    changes.push_back({seconds, settings});
  }
  return changes;
}

void print_report(const render_report& report, int rate) {
  std::printf("\n%9s %9s  %-22s %13s  %13s  %15s\n", "", "", "", "peak dBFS", "loudness LUFS",
              "step at switch");
  std::printf("%9s %9s  %-22s %6s %6s  %6s %6s  %7s %7s\n", "from s", "to s", "effect", "in", "out",
              "in", "out", "in", "out");
  for (const stretch_report& row : report.stretches) {
    std::printf("%9.3f %9.3f  %-22s %6s %6s  %6s %6s  %7.4f %7.4f\n",
                static_cast<double>(row.begin) / rate, static_cast<double>(row.end) / rate,
                short_name(row.record).c_str(), decibels(row.in.peak_dbfs).c_str(),
                decibels(row.out.peak_dbfs).c_str(), decibels(row.in.lufs).c_str(),
                decibels(row.out.lufs).c_str(), row.step_in, row.step_out);
  }
  std::printf("\n%s%.0f times real time\n", clipping_note(report.out).c_str(), report.speed);
}

void run(const hp_options& options) {
  audio_reader reader(options.in);
  if (!hp_effect::processes(reader.rate())) {
    throw std::runtime_error("'" + options.in + "' has " + std::to_string(reader.rate()) +
                             " Hz, at which the effect passes audio through unprocessed; it works "
                             "at 44100 and 48000 Hz (44050..48050 Hz)");
  }
  render_options how;
  how.format = options.format;
  how.period = static_cast<size_t>(options.period);
  how.tail = parse_seconds(options.tail, "--tail");
  const auto changes = parse_changes(options.changes, options.effect.settings());
  for (const auto& [seconds, settings] : changes) {
    how.changes.push_back({seconds, settings.record()});
  }

  const int bits = options.format == 1 ? 16 : 24;
  audio_writer writer(options.out, reader.rate(), bits, reader.frames());
  const render_report report = render(reader, writer, how, "sonx hp");
  writer.commit();

  std::printf("%s: %d Hz, %s, %.3f s -> %s, %d bits, delayed by %d samples\n", options.in.c_str(),
              reader.rate(), reader.describe_channels().c_str(),
              static_cast<double>(report.frames) / reader.rate(), options.out.c_str(), bits,
              chain_delay(reader.rate()));
  std::printf("format %d, period %d frames\n", options.format, options.period);
  for (const auto& [seconds, settings] : changes) {
    std::printf("at %.3f s: %s\n", seconds, settings.describe().c_str());
  }
  print_report(report, reader.rate());
}

}  // namespace

void add_hp_command(CLI::App& app) {
  CLI::App* command =
      app.add_subcommand("hp", "run a file through the headphone effect, as an audio HAL does");
  auto options = std::make_shared<hp_options>();
  command->footer(kFooter);
  command->add_option("IN", options->in, "audio file that libsndfile reads")->required();
  command->add_option("OUT", options->out, "WAV file to write: 16 bits in format 1, else 24")
      ->required();
  options->effect.add_to(*command);
  command
      ->add_option("--at", options->changes,
                   "a change at a time, SECONDS:name=value,..: names are effect, adapter, eq "
                   "(gains separated by /), room, damp, wet, dry, width, gain and word numbers; "
                   "can be repeated")
      ->type_name("CHANGE")
      ->expected(1)
      ->take_all();
  command
      ->add_option(
          "--format", options->format,
          "sample format at the effect's door: 1 16 bits, 2 and 4 24 bits in 32, 3 32 bits")
      ->check(CLI::Range(1, 4))
      ->capture_default_str();
  command->add_option("--period", options->period, "frames per call")
      ->check(CLI::Range(1, 1 << 20))
      ->capture_default_str();
  command->add_option("--tail", options->tail, "silence to append to the input [0]")
      ->type_name("SECONDS");
  command->callback([options] { run(*options); });
}

}  // namespace sonx
