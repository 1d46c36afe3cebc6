// sonx denoise: a file through the noise suppressor.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <iterator>
#include <memory>
#include <vector>

#include "commands.h"
#include "file_job.h"
#include "formats.h"
#include "messages.h"
#include "stream.h"
#include "suppressors.h"

namespace sonx {

namespace {

constexpr const char* kBounds[] = {"-6", "-12", "-18", "-21"};  // dB, by policy

struct prior_source {
  const char* name;
  const char* source;
};
constexpr prior_source kPriors[] = {
    {"presence", "the presence"}, {"own", "its own features"}, {"tracked", "the tracked noise"}};

const char* const kFooter =
    R"(Turns steady noise down: by 6, 12, 18 or 21 dB, by policy. The suppressor works
at 8000, 16000 and 32000 Hz and in 16 bits; a file at another rate is converted
to one of these and back, which leaves of 44100 or 48000 Hz what is below
16 kHz. OUT is as long as IN and not delayed. Mono stays mono, each channel of a
stereo file is treated on its own.

The prior says what is noise. With 'tracked' it is what stays at the least of a
second, which is followed fastest and takes least from a voice; with 'own' a
pause is told by features of the signal. 'presence' is what the library does
unless told otherwise: it leaves steady noise above some -55 dBFS alone, and
most speech at a usual level makes it end the process; the command then ends
with an error and no output.
In a row with other effects, with the tracked prior, the suppressor plays by
'sonx play'; 'sonx effects' has its name.

Examples:
  sonx denoise noisy.wav clean.wav
  sonx denoise noisy.wav clean.wav --policy 3
  sonx denoise faint.wav out.wav --prior presence)";

struct denoise_arguments {
  file_options files;
  denoise_options options;
  std::string prior = "tracked";
};

// The suppressor's own: the lowest that keeps all of a file's sound, or else the highest.
const effect_rates kDenoiseRates = {"the noise suppressor", "8000, 16000 and 32000 Hz",
                                    [](int rate) {
                                      return rate <= 8000 ? 8000 : rate <= 16000 ? 16000 : 32000;
                                    }};

// As long as the input and not delayed. Mono stays mono, the channels of stereo go separate ways.
stream_report render_denoise(audio_reader& reader, audio_writer& writer,
                             const denoise_options& options, const std::string& label) {
  const int rate = reader.rate();
  const auto channels = static_cast<size_t>(reader.channels());
  const auto period = static_cast<size_t>(suppressor_block(rate));
  suppressors all(rate, channels, options);
  std::vector<std::vector<short>> sound(channels, std::vector<short>(period));
  return stream(
      reader, writer,
      {.period = period, .label = label, .channels = channels, .delay = suppressor_delay(rate)},
      [&](std::vector<float>& stereo, std::vector<int32_t>& words, stopwatch& busy) {
        for (size_t i = 0; i < stereo.size(); ++i)
          if (i % 2 < channels) sound[i % 2][i / 2] = to_16_bits(stereo[i]);
        busy.time([&] { all.process(sound); });
        for (size_t i = 0; i < words.size(); ++i)
          words[i] = sound[i % channels][i / channels] * 65536;
        for (size_t i = 0; i < stereo.size(); ++i)
          stereo[i] = static_cast<float>(sound[i % 2 % channels][i / 2]) / 32768.0F;
      });
}

void run(const denoise_arguments& arguments) {
  file_job job(arguments.files, kDenoiseRates);
  job.open_output(job.reader().bits(), job.reader().channels());
  const denoise_options& options = arguments.options;
  const stream_report report = render_denoise(job.reader(), job.writer(), options, "sonx denoise");
  job.finish();
  const int rate = job.reader().rate();
  say("%s\npolicy %d (down to %s dB), prior from %s, at %d Hz; a delay of %d samples taken out\n",
      job.describe(report.frames).c_str(), options.policy, kBounds[options.policy],
      kPriors[options.prior].source, rate, suppressor_delay(rate));
  print_levels(report);
}

}  // namespace

void add_denoise_command(CLI::App& app) {
  CLI::App* command = app.add_subcommand("denoise", "take steady noise away from a voice");
  auto arguments = std::make_shared<denoise_arguments>();
  command->footer(kFooter);
  arguments->files.add_to(*command);
  command->add_option("--policy", arguments->options.policy, "how far noise is turned down")
      ->check(CLI::Range(0, 3))
      ->capture_default_str();
  command->add_option("--prior", arguments->prior, "where the probability of a pause comes from")
      ->check(CLI::IsMember({"tracked", "own", "presence"}))
      ->capture_default_str();
  arguments->files.add_no_convert_to(*command);
  command->callback([arguments] {
    const auto chosen = std::find_if(std::begin(kPriors), std::end(kPriors),
                                     [&](const auto& p) { return arguments->prior == p.name; });
    arguments->options.prior = static_cast<int>(chosen - std::begin(kPriors));
    run(*arguments);
  });
}

}  // namespace sonx
