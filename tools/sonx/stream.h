// Audio from a file through a processor into a file, period by period, measured on the way.
#pragma once

#include <time.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "audio_reader.h"
#include "audio_writer.h"
#include "measure.h"

namespace sonx {

// Adds up the processor's time spent inside the library.
class stopwatch {
 public:
  template <typename Work>
  void time(Work work) {
    const double start = now();
    work();
    seconds_ += now() - start;
  }
  double seconds() const { return seconds_; }

 private:
  static double now() {
    timespec t;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
  }

  double seconds_ = 0;
};

struct stream_options {
  size_t period;    // frames per call
  double tail = 0;  // seconds of silence after the input
  std::string label;
  size_t channels = 2;  // of the output
  int64_t delay = 0;    // frames that the process delays by: taken out, so that both ends line up
  std::function<void(int64_t done)> watch = {};  // told after each period, beside the progress bar
};

struct stream_report {
  levels in;
  levels out;
  int64_t frames;
  double speed;  // multiple of real time spent in the library
};

// Takes a period of interleaved stereo floats, full scale 1.0, and replaces it by the result, in
// floats (stereo again) and as words of the output's channels with full scale at 2^31.
using period_process =
    std::function<void(std::vector<float>& stereo, std::vector<int32_t>& words, stopwatch& busy)>;

// All of the reader's file into the writer. The last period is filled up with silence, and what
// comes of that is not written.
stream_report stream(audio_reader& reader, audio_writer& writer, const stream_options& options,
                     const period_process& process);

// "peak, loudness, speed" of a report, three lines on standard output.
void print_levels(const stream_report& report);

}  // namespace sonx
