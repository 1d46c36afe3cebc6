// Levels of interleaved stereo: sample peak and integrated loudness (EBU R 128), and the largest
// step between two neighbouring samples.
#pragma once

#include <ebur128.h>

#include <cstddef>
#include <memory>
#include <string>

namespace sonx {

struct levels {
  double peak_dbfs;  // sample peak, -infinity for silence
  double lufs;       // integrated loudness, -infinity for silence or less than 0.4 s
};

class level_meter {
 public:
  explicit level_meter(int rate);
  void add(const float* stereo, size_t frames);
  levels result() const;

 private:
  struct deleter {
    void operator()(ebur128_state* state) const { ebur128_destroy(&state); }
  };
  std::unique_ptr<ebur128_state, deleter> state_;
};

// The largest |x[n] - x[n-1]| of either channel, full scale 1.0. The first sample of all counts
// against silence.
class step_meter {
 public:
  // The steps of the next frames go into `largest` where it is given, else they are passed over.
  void add(const float* stereo, size_t frames, float* largest);

 private:
  float last_left_ = 0;
  float last_right_ = 0;
};

// "-12.3", or "-inf" for what is not finite.
std::string decibels(double value);

// A line for a report whose output had to be clipped in its file, or nothing.
std::string clipping_note(const levels& out);

// The level of an amplitude, full scale 1.0.
double to_decibels(double amplitude);

}  // namespace sonx
