// What tones and noise tell of a device that isn't linear or changes with time.
#pragma once

#include <vector>

#include "device.h"

namespace sonx {

struct tone {
  int rate;                    // Hz
  int hertz = 1000;            // whole, so that a second holds whole periods
  std::string input = "both";  // or the one channel that gets it: left, right
};

// Values against something else: an input level in dBFS, or seconds.
struct trace {
  std::vector<double> x, left, right;
};

// Output levels and total harmonic distortion for a tone from -80 to 0 dBFS, each into a device of
// its own that has had four seconds to settle. Levels are those of the tone itself in dBFS, a full
// sine being 0; distortion is the sum of harmonics below it, in dB; both are NaN where nothing is.
struct tone_ladder {
  trace levels, distortion;
};
tone_ladder measure_ladder(const tone& tone, const device& device);

// The output's level in dBFS around a step of the tone from -40 to -10 dBFS at 0 s and back after
// one second, with the latency taken out; 4 s at the low level come first.
trace measure_step(const tone& tone, const device& device);

// The output's level after two seconds of white noise end at 0 s, in dB of its level before, with
// the latency taken out; what it comes to rest at is no sound.
trace measure_decay(const tone& tone, const device& device);

// When a decay is last louder than `level`, in s; negative if it stays so to the end.
double time_above(const trace& decay, double level);

}  // namespace sonx
