// sonx resample: a file through the library's sample-rate converter.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "commands.h"
#include "conversion.h"
#include "file_job.h"
#include "formats.h"
#include "messages.h"
#include "progress.h"

namespace sonx {

namespace {

constexpr int kPeriod = 5280;  // samples per call: a multiple of every block

const char* const kFooter =
    R"(Mono stays mono, each channel of a stereo file is converted on its own, in 16
bits. The output is delayed by the converter's filters, some milliseconds at
most, and as long as the input at the new rate.

Examples:
  sonx resample voice.wav voice32.wav --rate 32000
  sonx resample music48.wav music16.wav --rate 16000)";

[[noreturn]] void refuse(int in_rate, int out_rate) {
  if (in_rate == out_rate)
    throw std::runtime_error("the file has " + std::to_string(in_rate) +
                             " Hz already: nothing to convert");
  const auto rates = reached_rates(in_rate);
  throw std::runtime_error("cannot convert " + std::to_string(in_rate) + " to " +
                           std::to_string(out_rate) + " Hz; from " + std::to_string(in_rate) +
                           " Hz the converter reaches " +
                           (rates.empty() ? "no other rate" : list_rates(rates) + " Hz"));
}

struct resample_arguments {
  file_options files;
  int rate = 0;
};

void run(const resample_arguments& arguments) {
  audio_reader reader(arguments.files.in);
  refuse_to_overwrite(arguments.files);
  const int in_rate = reader.rate(), out_rate = arguments.rate;
  if (in_rate == out_rate || conversion_block(in_rate, out_rate) == 0) refuse(in_rate, out_rate);
  const int channels = reader.channels();
  const auto made = static_cast<size_t>(int64_t{kPeriod} * out_rate / in_rate);
  int64_t left = (reader.frames() * out_rate + in_rate - 1) / in_rate;  // frames to write
  audio_writer writer(
      arguments.files.out,
      {.rate = out_rate, .bits = reader.bits(), .frames = left, .channels = channels});
  progress_bar progress("sonx resample", left);
  if (left == 0) left = INT64_MAX;  // unknown

  std::vector<std::unique_ptr<converter>> converters;
  for (int c = 0; c < channels; ++c)
    converters.push_back(std::make_unique<converter>(in_rate, out_rate));
  std::vector<float> stereo(2 * kPeriod);
  std::vector<short> in(kPeriod), out(made);
  std::vector<int32_t> words(made * static_cast<size_t>(channels));
  int64_t tail_left = kPeriod;  // silence that pushes the last samples out
  int64_t done = 0;
  while (left > 0 && read_period(reader, stereo, tail_left).all > 0) {
    for (size_t c = 0; c < converters.size(); ++c) {
      for (size_t i = 0; i < in.size(); ++i) in[i] = to_16_bits(stereo[2 * i + c]);
      converters[c]->process(in, out);
      for (size_t i = 0; i < made; ++i) words[converters.size() * i + c] = out[i] * 65536;
    }
    const auto count = std::min<int64_t>(left, static_cast<int64_t>(made));
    writer.write(words.data(), static_cast<size_t>(count));
    left -= count;
    done += count;
    progress.update(done);
  }
  reader.require_sound();
  writer.commit(done);
  reader.warn_of_faults();
  say("%s: %d Hz, %s -> %s: %s, %d Hz, %lld frames\n", arguments.files.in.c_str(), in_rate,
      reader.describe_channels().c_str(), arguments.files.out.c_str(), writer.description().c_str(),
      out_rate, static_cast<long long>(done));
}

}  // namespace

void add_resample_command(CLI::App& app) {
  CLI::App* command = app.add_subcommand("resample", "convert a file to another sample rate");
  auto arguments = std::make_shared<resample_arguments>();
  command->footer(kFooter);
  arguments->files.add_to(*command);
  command->add_option("--rate", arguments->rate, "sample rate of OUT in Hz")
      ->required()
      ->check(CLI::Range(1, 1 << 20));
  command->callback([arguments] { run(*arguments); });
}

}  // namespace sonx
