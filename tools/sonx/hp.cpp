// sonx hp: a file through the headphone effect, with timed changes.
#include <hp/sonx_hp_effect.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "commands.h"
#include "file_job.h"
#include "messages.h"
#include "render.h"
#include "settings.h"

namespace sonx {

namespace {

const char* const kFooter =
    R"(The output is as long as the input. The effect delays the sound by its
limiter's look-ahead (440 samples at 44100 Hz, 480 at other rates: about 10 ms),
so the last 10 ms of the input, and a reverb's tail, come only with --tail.
The effect works at 44100 and 48000 Hz; a file at another rate is converted to
one of these and back. A file of more than 16 bits goes through it with 24.
A timed change takes effect at the next period and fades, 2 blocks out and some
in, so that nothing clicks. It changes what it names; a new effect starts from
that effect's defaults.

Examples:
  sonx hp in.wav out.wav --effect reverb --room 80% --damp 30% --tail 3
  sonx hp in.wav out.wav --effect eq --eq 3,2,0,0,0,-2 --format 4
  sonx hp in.wav out.wav --effect 4 \
    --words 2=4096,3=4096,4=5461,5=4096,6=8192,7=127
  sonx hp in.wav out.wav --at 5:effect=bass --at 10:effect=eq,eq=6,3,0 \
    --at 15:effect=none)";

struct hp_options {
  file_options files;
  effect_options effect;
  std::vector<std::string> changes;
  int format = 0;  // as the file
  int period = 480;
  std::string tail = "0";
};

struct timed_settings {
  double seconds;
  effect_settings settings;
};

std::string at(double seconds) {
  char text[64];
  std::snprintf(text, sizeof text, "at %.3f s", seconds);
  return text;
}

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
  say("\n%9s %9s  %-22s %7s  %13s  %13s  %15s\n", "", "", "", "make-up", "peak dBFS",
      "loudness LUFS", "step at switch");
  say("%9s %9s  %-22s %7s  %6s %6s  %6s %6s  %7s %7s\n", "from s", "to s", "effect", "dB", "in",
      "out", "in", "out", "in", "out");
  for (const stretch_report& row : report.stretches) {
    say("%9.3f %9.3f  %-22s %7.1f  %6s %6s  %6s %6s  %7.4f %7.4f\n",
        static_cast<double>(row.begin) / rate, static_cast<double>(row.end) / rate,
        short_name(row.record).c_str(), row.gain_db, decibels(row.in.peak_dbfs).c_str(),
        decibels(row.out.peak_dbfs).c_str(), decibels(row.in.lufs).c_str(),
        decibels(row.out.lufs).c_str(), row.step_in, row.step_out);
  }
  const stretch_report& last = report.stretches.back();
  say("\n%s%s%.0f times real time\n", gain_note(last.record, last.gain_db).c_str(),
      clipping_note(report.out).c_str(), report.speed);
}

void warn_of_idle(const timed_settings& change) {
  const std::string idle = change.settings.idle_words();
  if (!idle.empty()) warn((change.seconds > 0 ? at(change.seconds) + ": " : "") + idle);
}

void run(const hp_options& options) {
  file_job job(options.files, kHpRates);
  const int format = options.format != 0        ? options.format
                     : job.reader().bits() > 16 ? SONX_FORMAT_24_IN_32
                                                : SONX_FORMAT_16_BIT;
  render_options how{
      format, static_cast<size_t>(options.period), parse_seconds(options.tail, "--tail"), {}};
  const auto changes = parse_changes(options.changes, options.effect.settings());
  for (const auto& [seconds, settings] : changes) {
    how.changes.push_back({seconds, settings.record()});
  }
  job.open_output(format == SONX_FORMAT_16_BIT ? 16 : 24);
  const render_report report = render(job.reader(), job.writer(), how, "sonx hp");
  job.finish(how.tail);

  const int rate = job.reader().rate();
  say("%s\n", job.describe(report.frames).c_str());
  say("format %d, period %d frames, delayed by %d samples at %d Hz (%.1f ms)\n", format,
      options.period, chain_delay(rate), rate, 1000.0 * chain_delay(rate) / rate);
  for (size_t i = 0; i < changes.size(); ++i) {
    const auto& [seconds, settings] = changes[i];
    if (i < report.stretches.size()) {
      say("%s: %s\n", at(seconds).c_str(), settings.describe().c_str());
      warn_of_idle(changes[i]);
    } else {
      warn(at(seconds) + ": left out, since the sound ends " +
           at(static_cast<double>(report.frames) / rate));
    }
  }
  if (changes.size() > 1 && !fades_in_full(options.period, rate)) {
    warn("a period of " + std::to_string(options.period) +
         " frames cuts the fade of a change short, which may click; sonx_hp_effect.h lists periods "
         "that don't, 480 among them");
  }
  print_report(report, rate);
}

}  // namespace

void add_hp_command(CLI::App& app) {
  CLI::App* command =
      app.add_subcommand("hp", "play a file by the headphone effect, as a HAL does");
  auto options = std::make_shared<hp_options>();
  command->footer(kFooter);
  options->files.add_to(*command);
  options->effect.add_to(*command);
  command
      ->add_option("--at", options->changes,
                   "a change at a time, SECONDS:name=value,..: names are effect, adapter, eq "
                   "(with its gains), room, damp, wet, dry, width, gain and word numbers, all "
                   "separated by , or /; can be repeated")
      ->type_name("CHANGE")
      ->expected(1)
      ->take_all()
      ->allow_extra_args(false);
  command
      ->add_option("--format", options->format,
                   "sample format at the effect's door: 1 16 bits, 2 and 4 24 bits in 32, 3 32 "
                   "bits; without it 2 for a file of more than 16 bits, else 1. OUT has 16 bits "
                   "with 1, else 24")
      ->check(CLI::Range(1, 4));
  command->add_option("--period", options->period, "frames per call")
      ->check(CLI::Range(1, 1 << 20))
      ->capture_default_str();
  command->add_option("--tail", options->tail, "silence to append to the input [0]")
      ->type_name("SECONDS");
  options->files.add_no_convert_to(*command);
  command->callback([options] { run(*options); });
}

}  // namespace sonx
