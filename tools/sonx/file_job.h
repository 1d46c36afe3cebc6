// What the subcommands that take a file through an effect share: IN and OUT, the rates at which
// the effect works, and the way there and back.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "audio_reader.h"
#include "audio_writer.h"

namespace CLI {
class App;
}

namespace sonx {

struct file_options {
  std::string in;
  std::string out;
  bool force = false;
  bool no_convert = false;

  void add_to(CLI::App& command);
  void add_no_convert_to(CLI::App& command);
};

// Where an effect works.
struct effect_rates {
  std::string effect;                         // "the karaoke chain"
  std::string rates;                          // "48000 Hz"
  std::function<int(int file_rate)> nearest;  // the rate for a file: its own, or one to convert to
};

class file_job {
 public:
  // Opens IN, and converts its rate where the effect doesn't work at it: says so, or refuses with
  // --no-convert.
  file_job(const file_options& options, const effect_rates& rates);

  // OUT has IN's rate. Throws if it is IN itself, but for --force.
  void open_output(int bits, int channels = 2);

  audio_reader& reader() { return reader_; }
  audio_writer& writer() { return *writer_; }

  // OUT, as long as IN and this many seconds, gets its name; then the warnings.
  void finish(double tail = 0);

  // "IN: 44100 Hz, 2 channels, 3.000 s -> OUT: WAV, 16 bits"
  std::string describe(int64_t frames) const;

 private:
  file_options options_;
  audio_reader reader_;
  std::unique_ptr<audio_writer> writer_;
};

// Throws if OUT is IN itself.
void refuse_to_overwrite(const file_options& options);

}  // namespace sonx
