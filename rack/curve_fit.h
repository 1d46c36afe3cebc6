// Sections of the parametric equalizer as magnitudes, and a curve fitted by ten of them.
#pragma once

#include <vector>

#include "biquad_design.h"

struct equalizer_section {
  biquad_type type;
  double frequency;  // Hz
  double gain;       // dB
  double q;
};

// What the sections' words do together, in dB, at a rate in Hz.
double level_of(const std::vector<equalizer_section>& sections, double frequency, int rate);

struct curve_point {
  double frequency;  // Hz
  double level;      // dB
};

struct fitted_curve {
  double offset;  // dB, on top of the sections
  std::vector<equalizer_section> sections;
  double rms, largest, largest_at;  // dB, dB, Hz: how far off it is, from 20 to 20000 Hz
};

// The least squares of dB over the logarithm of frequency, by two shelves and eight peaks. Points
// rise in frequency; between them the curve is straight over the logarithm of frequency, beyond
// them level.
fitted_curve fit_curve(const std::vector<curve_point>& points);
