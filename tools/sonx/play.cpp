// sonx play: files through a rack, with timed changes.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "audio_writer.h"
#include "commands.h"
#include "file_job.h"
#include "messages.h"
#include "parallel_jobs.h"
#include "rack_host.h"
#include "rack_player.h"
#include "settings.h"
#include "stream.h"

namespace sonx {

namespace {

namespace fs = std::filesystem;

constexpr size_t kPeriod = 480;  // frames; the result doesn't depend on it

const char* const kFooter =
    R"(The output is as long as the input and lies on it: the rack's latency is taken
out. A tail, of a reverb say, comes with --tail. It has the input's rate,
channels and bits; a file at a rate that an effect lacks is converted and back.
One channel is heard on both sides and comes out as their mean; --channels 2
keeps both.
A timed change comes in as the rack brings it in, without a click.
Several files go into a folder, each under its name. --jobs of them are worked
on at a time, each on its own, so that no result depends on the others.
'sonx preset list' has the presets that go by a name.

Examples:
  sonx play in.wav out.wav --preset late-evening
  sonx play in.wav out.wav --set reverb.room=60 --at 5:reverb.room=20 \
    --tail 3
  sonx play in.wav out.wav --preset my.toml \
    --at 2:2.enabled=off --at 4:2.enabled=on
  sonx play *.flac folder --preset late-evening --jobs 4)";

struct play_options {
  std::vector<std::string> files;  // the last one is OUT
  rack_options rack;
  std::vector<std::string> changes;
  std::string tail = "0";
  bool bypass = false;
  int jobs = 0;  // all cores
  int bits = 0, channels = 0;
  bool force = false, no_convert = false;
};

// Each text is "SECONDS:EFFECT.PARAMETER=VALUE,..".
std::vector<timed_assignments> parse_timed(const std::vector<std::string>& texts) {
  std::vector<timed_assignments> all;
  for (const std::string& text : texts) {
    const size_t colon = text.find(':');
    if (colon == std::string::npos)
      throw std::runtime_error("--at takes SECONDS:EFFECT.PARAMETER=VALUE,.., not '" + text + "'");
    timed_assignments one{
        parse_seconds(text.substr(0, colon), "the time of --at"), text.substr(colon + 1), {}};
    for (const std::string& part : split(one.text, ",")) one.assignments.emplace_back(part);
    all.push_back(one);
  }
  std::stable_sort(all.begin(), all.end(),
                   [](const auto& a, const auto& b) { return a.seconds < b.seconds; });
  return all;
}

void describe_rack(const rack& its) {
  std::string names;
  for (int k = 0; k < its.slots(); ++k) {
    if (!names.empty()) names += ", ";
    names += its.effect(k).id;
  }
  say("%s, at %d Hz; a latency of %d frames (%.1f ms) taken out\n",
      names.empty() ? "an empty rack" : names.c_str(), its.rate(), its.latency(),
      1000.0 * its.latency() / its.rate());
}

void play_file(const play_options& options, const rack_recipe& recipe, const std::string& in,
               const std::string& out, const std::function<void(int64_t)>& watch) {
  const std::string rack_name = recipe.label.empty() ? "the rack" : "'" + recipe.label + "'";
  file_job job({.in = in, .out = out, .force = options.force, .no_convert = options.no_convert},
               {rack_name, rates_text(recipe.rates()) + " Hz",
                [&](int file_rate) { return recipe.rate_for(file_rate); }});
  const int rate = job.reader().rate();
  const auto timed = parse_timed(options.changes);
  rack_player player(recipe, rate, timed);
  const int bits = options.bits != 0 ? options.bits : job.reader().bits();
  const auto channels =
      static_cast<size_t>(options.channels != 0 ? options.channels : job.reader().channels());
  const bool to_16 = bits == 16 && rate == job.reader().file_rate();
  const double tail = parse_seconds(options.tail, "--tail");
  job.open_output(bits, static_cast<int>(channels));
  const stream_report report =
      stream(job.reader(), job.writer(),
             {.period = kPeriod,
              .tail = tail,
              .label = "sonx play",
              .channels = channels,
              .delay = player.device().latency(),
              .watch = watch},
             [&](std::vector<float>& stereo, std::vector<int32_t>& words, stopwatch& busy) {
               player.process(stereo, channels, busy);
               for (size_t i = 0; i < words.size(); ++i)
                 words[i] = to_word(stereo[i / channels * 2 + i % channels], to_16);
             });
  job.finish(tail);

  say("%s\n", job.describe(report.frames).c_str());
  describe_rack(player.device());
  const double end = static_cast<double>(report.frames) / rate;
  for (const timed_assignments& one : timed)
    if (one.seconds < end)
      say("at %.3f s: %s\n", one.seconds, one.text.c_str());
    else
      warn("at " + decibels(one.seconds) + " s: left out, since the sound ends at " +
           decibels(end) + " s");
  print_levels(report);
}

// A file in the folder, under the name of IN; one that can't be written in IN's format is a WAV.
std::string name_in(const fs::path& folder, const fs::path& in) {
  fs::path name = in.filename();
  if (!can_be_written(name)) name.replace_extension(".wav");
  return (folder / name).string();
}

void play_folder(const play_options& options, const rack_recipe& recipe) {
  const fs::path folder = options.files.back();
  if (!fs::is_directory(folder) && !fs::create_directory(folder))
    throw std::runtime_error("cannot make the folder '" + folder.string() + "'");
  std::set<std::string> names;
  std::vector<parallel_job> jobs;
  for (size_t i = 0; i + 1 < options.files.size(); ++i) {
    const std::string in = options.files[i], out = name_in(folder, in);
    if (!names.insert(out).second) throw std::runtime_error("two files would become '" + out + "'");
    jobs.push_back({audio_reader(in).frames(), [&options, &recipe, in, out](const auto& watch) {
                      play_file(options, recipe, in, out, watch);
                    }});
  }
  const int cores = static_cast<int>(std::max(std::thread::hardware_concurrency(), 1U));
  run_jobs(jobs, options.jobs > 0 ? options.jobs : cores, "sonx play");
}

void run(const play_options& options) {
  if (options.files.size() < 2) throw std::runtime_error("IN and OUT are needed");
  rack_recipe recipe = options.rack.recipe();
  recipe.bypass = options.bypass;
  recipe.rates();  // says what is wrong before a file is touched
  if (options.files.size() > 2 || fs::is_directory(options.files.back()))
    play_folder(options, recipe);
  else
    play_file(options, recipe, options.files[0], options.files[1], nullptr);
}

}  // namespace

void add_play_command(CLI::App& app) {
  CLI::App* command = app.add_subcommand("play", "run files through a rack of effects");
  auto options = std::make_shared<play_options>();
  command->footer(kFooter);
  command
      ->add_option("FILES", options->files,
                   "IN and OUT: audio files; OUT is .wav, .flac, .ogg, .caf or .w64, - is WAV on "
                   "standard output; several IN and a folder")
      ->type_name("FILE");
  options->rack.add_to(*command);
  command
      ->add_option("--at", options->changes,
                   "what is set at a time of the input, in seconds; several parted by commas; can "
                   "be repeated")
      ->type_name("SECONDS:EFFECT.PARAMETER=VALUE,..")
      ->expected(1)
      ->take_all()
      ->allow_extra_args(false);
  command->add_option("--tail", options->tail, "silence to append to the input [0]")
      ->type_name("SECONDS");
  command->add_flag("--bypass", options->bypass, "switch the whole rack off");
  command->add_option("--jobs", options->jobs, "files at a time [all cores]")
      ->check(CLI::Range(1, 1024));
  command->add_option("--bits", options->bits, "of OUT's samples [as IN]")
      ->check(CLI::IsMember({16, 24}));
  command->add_option("--channels", options->channels, "of OUT [as IN, 2 at the most]")
      ->check(CLI::Range(1, 2));
  command->add_flag("--force", options->force, "let OUT replace IN");
  command->add_flag("--no-convert", options->no_convert,
                    "refuse a file at a rate that would have to be converted");
  command->callback([options] { run(*options); });
}

}  // namespace sonx
