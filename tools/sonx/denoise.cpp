// sonx denoise: a file through the noise suppressor.
#include "denoise.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <set>
#include <stdexcept>
#include <vector>

#include "commands.h"
#include "conversion.h"
#include "formats.h"

namespace sonx {

namespace {

constexpr int kRates[] = {8000, 16000, 32000};                  // of the suppressor
constexpr const char* kBounds[] = {"-6", "-12", "-18", "-21"};  // dB, by policy
constexpr int kShortestPeriod = 20;                             // ms

const char* const kFooter =
    R"(Turns steady noise down: by 6, 12, 18 or 21 dB, by policy. Works at 8000, 16000
and 32000 Hz; a file at another rate goes through the library's converter and
back where that has the ratio (48000, 96000 and 192000 Hz at 32000, for example,
which leaves the sound up to 16 kHz). The output has 16 bits, is as long as the
input and not delayed. Mono stays mono, each channel of a stereo file is treated
on its own.

The prior says how likely a pause is. With 'own' it is learnt from the features
of the signal. 'presence' is what the library does unless told otherwise: it
leaves steady noise above some -55 dBFS alone, and most speech at a usual level
makes it end the process; the command then ends with an error and no output.

Examples:
  sonx denoise noisy.wav clean.wav
  sonx denoise noisy.wav clean.wav --policy 3
  sonx denoise faint.wav out.wav --prior presence)";

bool connects(int file_rate, int rate) {
  return file_rate == rate ||
         (conversion_block(file_rate, rate) > 0 && conversion_block(rate, file_rate) > 0);
}

// One channel between the file's rate and the suppressor's.
class way_of_channel {
 public:
  way_of_channel(int from, int to) {
    if (from != to) converter_ = std::make_unique<converter>(from, to);
  }
  void process(const std::vector<short>& in, std::vector<short>& out) {
    if (converter_)
      converter_->process(in, out);
    else
      out = in;
  }

 private:
  std::unique_ptr<converter> converter_;
};

size_t length_at(size_t frames, int from, int to) {
  return static_cast<size_t>(static_cast<int64_t>(frames) * to / from);
}

// By how much the converters delay there and back: where an impulse comes out largest.
int64_t delay_of_converters(int file_rate, int rate, size_t period) {
  if (file_rate == rate) return 0;
  way_of_channel there(file_rate, rate), back(rate, file_rate);
  std::vector<short> in(period), inside(length_at(period, file_rate, rate)), out(period), all;
  in[0] = 16384;
  while (all.size() < static_cast<size_t>(file_rate / 10)) {
    there.process(in, inside);
    back.process(inside, out);
    all.insert(all.end(), out.begin(), out.end());
    in[0] = 0;
  }
  return std::max_element(all.begin(), all.end()) - all.begin();
}

struct denoise_arguments {
  std::string in;
  std::string out;
  denoise_options options;
  std::string prior = "own";
};

std::string describe(const denoise_options& options, int file_rate) {
  const denoise_way way = find_denoise_way(file_rate);
  std::string text = "policy " + std::to_string(options.policy) + " (down to " +
                     kBounds[options.policy] + " dB), prior from " +
                     (options.own_prior ? "its own features" : "the presence") + ", at " +
                     std::to_string(way.rate) + " Hz";
  if (way.rate != file_rate) text += " through the library's converter and back";
  return text + "; a delay of " + std::to_string(way.delay) + " samples taken out";
}

void run(const denoise_arguments& arguments) {
  audio_reader reader(arguments.in);
  find_denoise_way(reader.rate());  // or refuse
  audio_writer writer(arguments.out, reader.rate(), 16, reader.frames(), reader.channels());
  const stream_report report = render_denoise(reader, writer, arguments.options, "sonx denoise");
  writer.commit();
  std::printf("%s: %d Hz, %s, %.3f s -> %s, 16 bits\n%s\n", arguments.in.c_str(), reader.rate(),
              reader.describe_channels().c_str(),
              static_cast<double>(report.frames) / reader.rate(), arguments.out.c_str(),
              describe(arguments.options, reader.rate()).c_str());
  print_levels(report);
}

}  // namespace

denoise_way find_denoise_way(int file_rate) {
  // The lowest rate that keeps all of the sound; without one the highest.
  int rate = 0;
  for (const int candidate : kRates)
    if (connects(file_rate, candidate) && rate < file_rate) rate = candidate;
  if (rate == 0) {
    std::set<int64_t> known(std::begin(kRates), std::end(kRates));
    for (const int one : kRates)
      for (const int64_t other : reached_rates(one))
        if (connects(static_cast<int>(other), one)) known.insert(other);
    throw std::runtime_error("the file has " + std::to_string(file_rate) +
                             " Hz; the noise suppressor works at 8000, 16000 and 32000 Hz, and "
                             "through the library's converter at all of " +
                             list_rates(known) + " Hz");
  }
  // Whole blocks of the suppressor and of both converters.
  const auto blocks_of = [](int from, int to) {
    return from == to ? size_t{1} : static_cast<size_t>(conversion_block(from, to));
  };
  const size_t there = blocks_of(file_rate, rate), back = blocks_of(rate, file_rate);
  const auto block = static_cast<size_t>(suppressor_block(rate));
  size_t period = there;
  for (;; period += there) {
    const size_t inside = length_at(period, file_rate, rate);
    if (inside % block == 0 && inside % back == 0 && length_at(inside, rate, file_rate) == period &&
        period * 1000 >= static_cast<size_t>(kShortestPeriod) * static_cast<size_t>(file_rate))
      break;
  }
  return {rate, period,
          delay_of_converters(file_rate, rate, period) +
              int64_t{suppressor_delay(rate)} * file_rate / rate};
}

stream_report render_denoise(audio_reader& reader, audio_writer& writer,
                             const denoise_options& options, const std::string& label) {
  const int file_rate = reader.rate();
  const denoise_way way = find_denoise_way(file_rate);
  const auto channels = static_cast<size_t>(reader.channels());
  suppressors all(way.rate, channels, options);
  std::vector<std::unique_ptr<way_of_channel>> there, back;
  for (size_t c = 0; c < channels; ++c) {
    there.push_back(std::make_unique<way_of_channel>(file_rate, way.rate));
    back.push_back(std::make_unique<way_of_channel>(way.rate, file_rate));
  }
  std::vector<std::vector<short>> outside(channels, std::vector<short>(way.period));
  std::vector<std::vector<short>> inside(
      channels, std::vector<short>(length_at(way.period, file_rate, way.rate)));
  return stream(reader, writer,
                {.period = way.period, .label = label, .channels = channels, .delay = way.delay},
                [&](std::vector<float>& stereo, std::vector<int32_t>& words, stopwatch& busy) {
                  for (size_t i = 0; i < stereo.size(); ++i)
                    if (i % 2 < channels) outside[i % 2][i / 2] = to_16_bits(stereo[i]);
                  busy.time([&] {
                    for (size_t c = 0; c < channels; ++c) there[c]->process(outside[c], inside[c]);
                    all.process(inside);
                    for (size_t c = 0; c < channels; ++c) back[c]->process(inside[c], outside[c]);
                  });
                  for (size_t i = 0; i < words.size(); ++i)
                    words[i] = outside[i % channels][i / channels] * 65536;
                  for (size_t i = 0; i < stereo.size(); ++i)
                    stereo[i] = static_cast<float>(outside[i % 2 % channels][i / 2]) / 32768.0F;
                });
}

void add_denoise_command(CLI::App& app) {
  CLI::App* command = app.add_subcommand("denoise", "take steady noise away from a voice");
  auto arguments = std::make_shared<denoise_arguments>();
  command->footer(kFooter);
  command->add_option("IN", arguments->in, "audio file that libsndfile reads")->required();
  command->add_option("OUT", arguments->out, "WAV file to write, 16 bits")->required();
  command->add_option("--policy", arguments->options.policy, "how far noise is turned down, 0..3")
      ->check(CLI::Range(0, 3))
      ->capture_default_str();
  command->add_option("--prior", arguments->prior, "where the probability of a pause comes from")
      ->check(CLI::IsMember({"own", "presence"}))
      ->capture_default_str();
  command->callback([arguments] {
    arguments->options.own_prior = arguments->prior == "own";
    run(*arguments);
  });
}

}  // namespace sonx
