// The frequency response of a device, measured with a sine sweep.
//
// The device is fed an exponential sweep that repeats without a break. The first period carries
// it through its start-up fade and lets every level follower settle; the second is measured. As
// input and output are then periodic, the ratio of their spectra is the response exactly, for any
// linear setting. Its inverse transform is the impulse response; harmonic distortion of an
// exponential sweep lies in that at negative times (A. Farina, "Simultaneous measurement of impulse
// response and distortion with a swept-sine technique", 2000) and is cut away with the second half
// of the period, and so is what follows when the impulse response has sunk into noise.
#pragma once

#include <complex>
#include <string>
#include <vector>

#include "device.h"

namespace sonx {

constexpr size_t kSweepLength = 1 << 19;  // samples: 11 s at 48000 Hz; whole blocks

struct sweep {
  int rate;                    // Hz
  double level;                // dBFS
  std::string input = "both";  // or the one channel that gets it: left, right
};

class response {
 public:
  using spectrum = std::vector<std::complex<double>>;  // H per bin of a transform over the sweep

  response(int rate, int latency, spectrum left, spectrum right);

  struct sides {
    double left;
    double right;
  };
  // In dB, interpolated between bins, or with `smoothing` > 0 the mean power over 1/smoothing
  // octave.
  sides level(double hertz, int smoothing) const;

  // What is left when the latency is taken out, NaN where the level is more than 60 dB below its
  // highest: the phase in degrees, -180..180, and the group delay in ms, the mean by power over a
  // twelfth of an octave.
  sides phase(double hertz) const;
  sides delay(double hertz) const;

 private:
  template <typename Measure>
  sides of_both(Measure measure) const;

  int rate_, latency_;
  spectrum left_, right_;
  double least_;  // |H|^2 from which on phases are told
};

response measure_response(const sweep& sweep, const device& device);

}  // namespace sonx
