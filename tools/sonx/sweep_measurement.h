// The frequency response of a stereo processor, measured with a sine sweep.
//
// The processor is fed an exponential sweep that repeats without a break. The
// first period carries it through its start-up fade and lets every level
// follower settle; the second is measured. As input and output are then
// periodic, the ratio of their spectra is the response exactly, for any linear
// setting. Its inverse transform is the impulse response; harmonic distortion
// of an exponential sweep lies in that at negative times (A. Farina,
// "Simultaneous measurement of impulse response and distortion with a
// swept-sine technique", 2000) and is cut away with the second half of the
// period.
#pragma once

#include <complex>
#include <functional>
#include <string>
#include <vector>

namespace sonx {

constexpr size_t kSweepLength = 1 << 19;  // samples: 11 s at 48000 Hz
constexpr size_t kSweepPeriod = 256;      // frames per call; divides it

// Processes kSweepPeriod frames of interleaved stereo, full scale 1.0, from
// `in` to `out`. `in` becomes what was really fed, with its rounding.
using sweep_process = std::function<void(std::vector<float>& in, std::vector<float>& out)>;

struct sweep {
  int rate;                    // Hz
  double level;                // dBFS
  std::string input = "both";  // or the one channel that gets it: left, right
};

class response {
 public:
  using spectrum = std::vector<std::complex<double>>;  // bins of a transform over the sweep

  response(int rate, spectrum left, spectrum right);

  struct sides {
    double left;
    double right;
  };
  // The level in dB, interpolated between bins, or with `smoothing` > 0 the
  // mean power over 1/smoothing octave.
  sides at(double hertz, int smoothing) const;

  // What is left when a delay of `latency` frames is taken out: the phase in
  // degrees, -180..180, and the group delay in ms, averaged over a twelfth of
  // an octave by power.
  sides phase(double hertz, int latency) const;
  sides delay(double hertz, int latency) const;

 private:
  int rate_;
  spectrum left_;
  spectrum right_;
};

response measure_response(const sweep& sweep, const sweep_process& process);

}  // namespace sonx
