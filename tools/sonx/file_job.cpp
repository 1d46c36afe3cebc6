#include "file_job.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <stdexcept>

#include "messages.h"

namespace sonx {

void file_options::add_to(CLI::App& command) {
  command.add_option("IN", in, "audio file that libsndfile reads")->type_name("FILE")->required();
  command
      .add_option(
          "OUT", out,
          "file to write, or to replace: .wav, .flac, .ogg, .caf or .w64; - is WAV on standard "
          "output")
      ->type_name("FILE")
      ->required();
  command.add_flag("--force", force, "let OUT replace IN");
}

void file_options::add_no_convert_to(CLI::App& command) {
  command.add_flag("--no-convert", no_convert,
                   "refuse a file at a rate that would have to be converted");
}

void refuse_to_overwrite(const file_options& options) {
  std::error_code none;
  if (!options.force && std::filesystem::equivalent(options.in, options.out, none))
    throw std::runtime_error("'" + options.out +
                             "' is the input itself; with --force the result replaces it");
}

file_job::file_job(const file_options& options, const effect_rates& rates)
    : options_(options), reader_(options.in) {
  refuse_to_overwrite(options);
  const int from = reader_.file_rate(), to = rates.nearest(from);
  if (from == to) return;
  const std::string file = "'" + options.in + "' has " + std::to_string(from) + " Hz";
  if (options.no_convert)
    throw std::runtime_error(file + "; " + rates.effect + " works at " + rates.rates);
  reader_.convert_to(to);
  std::fprintf(
      stderr, "sonx: %s: converted to %d Hz for %s and back%s\n", file.c_str(), to,
      rates.effect.c_str(),
      to < from ? ("; nothing above " + std::to_string(to / 2) + " Hz remains").c_str() : "");
}

void file_job::open_output(int bits, int channels) {
  writer_ = std::make_unique<audio_writer>(options_.out, audio_shape{.rate = reader_.file_rate(),
                                                                     .bits = bits,
                                                                     .frames = reader_.frames(),
                                                                     .channels = channels,
                                                                     .from_rate = reader_.rate()});
}

void file_job::finish(double tail) {
  reader_.require_sound();
  writer_->commit(reader_.frames_read() + std::llround(tail * reader_.file_rate()));
  reader_.warn_of_faults();
}

std::string file_job::describe(int64_t frames) const {
  char text[64];
  std::snprintf(text, sizeof text, "%.3f s", static_cast<double>(frames) / reader_.rate());
  return options_.in + ": " + std::to_string(reader_.file_rate()) + " Hz, " +
         reader_.describe_channels() + ", " + text + " -> " + options_.out + ": " +
         writer_->description();
}

}  // namespace sonx
