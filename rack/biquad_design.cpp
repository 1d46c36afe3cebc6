#include "biquad_design.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "portable_math.h"

namespace {

struct biquad {
  double b0, b1, b2, a0, a1, a2;
};

// The terms that the formulas share.
struct biquad_terms {
  double cosine, alpha;  // of the frequency; sine / (2 Q)
  double a;              // square root of the linear gain
};

biquad peak(const biquad_terms& t) {
  const double boost = t.alpha * t.a, cut = t.alpha / t.a;
  return {1.0 + boost, -2.0 * t.cosine, 1.0 - boost, 1.0 + cut, -2.0 * t.cosine, 1.0 - cut};
}

// A high shelf is a low shelf with the frequency axis turned round: the sign of the cosine and of
// the words for one sample ago.
biquad shelf(const biquad_terms& t, double side) {
  const double a = t.a, cosine = side * t.cosine;
  const double slope = 2.0 * std::sqrt(a) * t.alpha;
  const double more = a + 1.0, less = a - 1.0;
  return {a * (more - less * cosine + slope),   side * 2.0 * a * (less - more * cosine),
          a * (more - less * cosine - slope),   more + less * cosine + slope,
          side * -2.0 * (less + more * cosine), more + less * cosine - slope};
}

biquad pass(const biquad_terms& t, double side) {
  const double b = 0.5 * (1.0 - side * t.cosine);
  return {b, side * 2.0 * b, b, 1.0 + t.alpha, -2.0 * t.cosine, 1.0 - t.alpha};
}

biquad all_pass(const biquad_terms& t) {
  const double middle = -2.0 * t.cosine, lower = 1.0 - t.alpha, upper = 1.0 + t.alpha;
  return {lower, middle, upper, upper, middle, lower};
}

constexpr double kLow = 1.0, kHigh = -1.0;

biquad section(biquad_type type, const biquad_terms& t) {
  switch (type) {
    case biquad_type::peak:
      return peak(t);
    case biquad_type::low_shelf:
      return shelf(t, kLow);
    case biquad_type::high_shelf:
      return shelf(t, kHigh);
    case biquad_type::low_pass:
      return pass(t, kLow);
    case biquad_type::high_pass:
      return pass(t, kHigh);
    case biquad_type::all_pass:
      return all_pass(t);
    case biquad_type::off:
      break;
  }
  return {1.0, 0.0, 0.0, 1.0, 0.0, 0.0};
}

// NaN gives low.
double within(double x, double low, double high) { return x >= low ? std::min(x, high) : low; }

int32_t to_q28(double x) { return static_cast<int32_t>(std::llround(x * 268435456.0)); }

}  // namespace

void design_biquad(biquad_type type, double frequency, double gain_db, double q, int rate,
                   int32_t words[5]) {
  frequency = std::min(within(frequency, kBiquadFrequencyMinimum, kBiquadFrequencyMaximum),
                       kBiquadHighestShare * rate);
  gain_db = within(gain_db, kBiquadGainMinimum, kBiquadGainMaximum);
  q = within(q, kBiquadQMinimum, kBiquadQMaximum);

  const double angle = 2.0 * std::numbers::pi * frequency / rate;
  const biquad s = section(
      type, {portable_cos(angle), portable_sin(angle) / (2.0 * q), db_to_linear(0.5 * gain_db)});
  words[0] = to_q28(s.b0 / s.a0);
  words[1] = to_q28(s.b1 / s.a0);
  words[2] = to_q28(s.b2 / s.a0);
  words[3] = to_q28(-s.a1 / s.a0);
  words[4] = to_q28(-s.a2 / s.a0);
}

// A step response rises by 1 and swings: the sum is its way up and down, which for a pass grows with
// Q. A peak is 1 plus a band-pass, a shelf 1 plus something like a pass, each times the gain less 1.
double biquad_reach(biquad_type type, double gain_db, double q) {
  const double change = std::abs(db_to_linear(gain_db) - 1.0), pass_swings = 1.7 + 1.4 * q;
  switch (type) {
    case biquad_type::peak:
      return 1.0 + 2.2 * change;
    case biquad_type::low_shelf:
    case biquad_type::high_shelf:
      return 1.0 + pass_swings * change;
    case biquad_type::low_pass:
    case biquad_type::high_pass:
      return pass_swings;
    case biquad_type::all_pass:
      return 5.0;
    case biquad_type::off:
      break;
  }
  return 1.0;
}
