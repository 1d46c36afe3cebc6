// sonx resample: a file through the library's sample-rate converter.
#include <ktv/resampler.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <numeric>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "audio_file.h"
#include "commands.h"
#include "progress.h"

namespace sonx {

namespace {

// What the converter's modes can do, as in : out in lowest terms, and the input block of each.
struct supported_ratio {
  int in, out, block;
};
constexpr supported_ratio kRatios[] = {
    {1, 2, 1},   {1, 3, 160},  {1, 4, 1},     {1, 6, 80},    {1, 12, 40},  {2, 3, 160}, {2, 11, 80},
    {4, 11, 80}, {8, 11, 160}, {11, 16, 110}, {11, 32, 110}, {2, 1, 2},    {3, 1, 480}, {4, 1, 4},
    {6, 1, 480}, {12, 1, 480}, {3, 2, 240},   {11, 2, 220},  {11, 4, 220}, {11, 8, 220}};

constexpr int kPeriod = 5280;  // samples per call: a multiple of every block

const char* const kFooter =
    R"(Mono stays mono, each channel of a stereo file is converted on its own, with 16
bits. The output is delayed by the converter's filters, some milliseconds at
most, and as long as the input at the new rate.

Examples:
  sonx resample voice.wav voice32.wav --rate 32000
  sonx resample music48.wav music16.wav --rate 16000)";

const supported_ratio* find_ratio(int in_rate, int out_rate) {
  const int divisor = std::gcd(in_rate, out_rate);
  const auto* match =
      std::find_if(std::begin(kRatios), std::end(kRatios), [&](const supported_ratio& ratio) {
        return ratio.in == in_rate / divisor && ratio.out == out_rate / divisor;
      });
  return match == std::end(kRatios) ? nullptr : match;
}

[[noreturn]] void refuse(int in_rate, int out_rate) {
  if (in_rate == out_rate)
    throw std::runtime_error("the file has " + std::to_string(in_rate) +
                             " Hz already: nothing to convert");
  std::string text = "cannot convert " + std::to_string(in_rate) + " to " +
                     std::to_string(out_rate) + " Hz; from " + std::to_string(in_rate) +
                     " Hz the converter reaches";
  std::set<int64_t> rates;
  for (const supported_ratio& ratio : kRatios) {
    const int64_t product = int64_t{in_rate} * ratio.out;
    if (product % ratio.in == 0) rates.insert(product / ratio.in);
  }
  for (const int64_t rate : rates) text.append(" ").append(std::to_string(rate));
  throw std::runtime_error(text + (rates.empty() ? " no other rate" : " Hz"));
}

// One channel's converter, ended with its owner.
class converter {
 public:
  converter(int in_rate, int out_rate) { Resampler_config(&resampler_, in_rate, out_rate); }
  ~converter() { Resampler_delete(&resampler_); }
  converter(const converter&) = delete;
  converter& operator=(const converter&) = delete;

  void process(const std::vector<short>& in, std::vector<short>& out) {
    int made = 0;
    if (Resampler_proc(&resampler_, in.data(), static_cast<int>(in.size()), out.data(),
                       static_cast<int>(out.size()), &made) != 0 ||
        static_cast<size_t>(made) != out.size())
      throw std::logic_error("the converter refused a block");
  }

 private:
  Resampler_t resampler_{};
};

struct resample_arguments {
  std::string in;
  std::string out;
  int rate = 0;
};

void run(const resample_arguments& arguments) {
  audio_reader reader(arguments.in);
  const int in_rate = reader.rate(), out_rate = arguments.rate;
  if (find_ratio(in_rate, out_rate) == nullptr) refuse(in_rate, out_rate);
  const int channels = reader.channels();
  const auto made = static_cast<size_t>(int64_t{kPeriod} * out_rate / in_rate);
  int64_t left = (reader.frames() * out_rate + in_rate - 1) / in_rate;  // frames to write
  audio_writer writer(arguments.out, out_rate, 16, left, channels);
  progress_bar progress("sonx resample", left);

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
      for (size_t i = 0; i < in.size(); ++i)
        in[i] = static_cast<short>(
            std::clamp(std::lround(stereo[2 * i + c] * 32768.0F), -32768L, 32767L));
      converters[c]->process(in, out);
      for (size_t i = 0; i < made; ++i) words[converters.size() * i + c] = out[i] * 65536;
    }
    const auto count = std::min<int64_t>(left, static_cast<int64_t>(made));
    writer.write(words.data(), static_cast<size_t>(count));
    left -= count;
    done += count;
    progress.update(done);
  }
  writer.commit();
  std::printf("%s: %d Hz, %s -> %s: %d Hz, 16 bits, %lld frames\n", arguments.in.c_str(), in_rate,
              reader.describe_channels().c_str(), arguments.out.c_str(), out_rate,
              static_cast<long long>(done));
}

}  // namespace

void add_resample_command(CLI::App& app) {
  CLI::App* command = app.add_subcommand("resample", "convert a file to another sample rate");
  auto arguments = std::make_shared<resample_arguments>();
  command->footer(kFooter);
  command->add_option("IN", arguments->in, "audio file that libsndfile reads")->required();
  command->add_option("OUT", arguments->out, "WAV file to write, 16 bits")->required();
  command->add_option("--rate", arguments->rate, "sample rate of OUT in Hz")
      ->required()
      ->check(CLI::Range(1, 1 << 20));
  command->callback([arguments] { run(*arguments); });
}

}  // namespace sonx
