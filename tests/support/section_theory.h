// What a section of a parametric equalizer does by its formula.
#pragma once

#include <cmath>
#include <complex>
#include <numbers>

struct section {
  int type;  // peak, low shelf, high shelf, low-pass, high-pass, all-pass
  double frequency, gain, q;
};

// The analogue section with its gain in dB, where the bilinear transform puts it.
inline double section_db(const section& of, double frequency, int rate) {
  using complex = std::complex<double>;
  const auto tangent = [=](double f) { return std::tan(std::numbers::pi * f / rate); };
  const complex s(0.0, tangent(frequency) / tangent(of.frequency));
  const double a = std::pow(10.0, of.gain / 40), root = std::sqrt(a), q = of.q;
  const complex forms[] = {(s * s + s * (a / q) + 1.0) / (s * s + s / (a * q) + 1.0),
                           a * (s * s + s * (root / q) + a) / (a * s * s + s * (root / q) + 1.0),
                           a * (a * s * s + s * (root / q) + 1.0) / (s * s + s * (root / q) + a),
                           1.0 / (s * s + s / q + 1.0),
                           s * s / (s * s + s / q + 1.0),
                           (s * s - s / q + 1.0) / (s * s + s / q + 1.0)};
  return 20 * std::log10(std::abs(forms[of.type]));
}
