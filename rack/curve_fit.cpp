#include "curve_fit.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <numbers>
#include <utility>

namespace {

constexpr int kRate = 48000;
constexpr int kSections = 10, kPerSection = 3;  // log2 of frequency, gain, log2 of Q
constexpr int kUnknowns = kSections * kPerSection + 1;
constexpr int kPoints = 160;  // of the grid on which the error is counted
constexpr int kRounds = 80;
constexpr double kLowest = 20.0, kHighest = 20000.0;  // Hz

using unknowns = std::array<double, kUnknowns>;  // the last is the offset
using levels = std::array<double, kPoints>;

double level_of(const equalizer_section& section, double frequency, int rate) {
  int32_t words[5];
  design_biquad(section.type, section.frequency, section.gain, section.q, rate, words);
  const double w = 2 * std::numbers::pi * frequency / rate;
  const std::complex<double> z1 = std::polar(1.0, -w), z2 = std::polar(1.0, -2 * w);
  const auto word = [&](int k) { return words[k] * 0x1p-28; };
  return 10 * std::log10(std::norm(word(0) + word(1) * z1 + word(2) * z2) /
                         std::norm(1.0 - word(3) * z1 - word(4) * z2));
}

double grid(int point) {
  return kLowest * std::pow(kHighest / kLowest, static_cast<double>(point) / (kPoints - 1));
}

double curve_at(const std::vector<curve_point>& points, double frequency) {
  const auto above = std::find_if(points.begin(), points.end(), [=](const curve_point& point) {
    return point.frequency >= frequency;
  });
  if (above == points.begin()) return points.front().level;
  if (above == points.end()) return points.back().level;
  const curve_point& below = *(above - 1);
  const double part =
      std::log(frequency / below.frequency) / std::log(above->frequency / below.frequency);
  return below.level + part * (above->level - below.level);
}

biquad_type type_of(int section) {
  return section == 0               ? biquad_type::low_shelf
         : section == kSections - 1 ? biquad_type::high_shelf
                                    : biquad_type::peak;
}

equalizer_section section_of(const unknowns& x, int section) {
  const double* const its = &x[static_cast<size_t>(section * kPerSection)];
  return {type_of(section), std::exp2(its[0]), its[1], std::exp2(its[2])};
}

levels levels_of(const equalizer_section& section) {
  levels result;
  for (int i = 0; i < kPoints; ++i)
    result[static_cast<size_t>(i)] = level_of(section, grid(i), kRate);
  return result;
}

// What the sections give, and how that changes with each unknown.
struct linearised {
  levels error;  // curve minus fit
  std::array<levels, kUnknowns> slope;
  double squares = 0;
};

double sum_of_squares(const levels& error) {
  double sum = 0;
  for (const double one : error) sum += one * one;
  return sum;
}

levels error_of(const unknowns& x, const levels& curve) {
  levels error = curve;
  for (double& one : error) one -= x.back();
  for (int s = 0; s < kSections; ++s) {
    const levels its = levels_of(section_of(x, s));
    for (size_t i = 0; i < error.size(); ++i) error[i] -= its[i];
  }
  return error;
}

linearised linearise(const unknowns& x, const levels& curve) {
  constexpr double kStep = 1e-3;
  linearised result{error_of(x, curve), {}, 0};
  result.squares = sum_of_squares(result.error);
  for (size_t k = 0; k + 1 < x.size(); ++k) {
    const int section = static_cast<int>(k) / kPerSection;
    unknowns less = x, more = x;
    less[k] -= kStep;
    more[k] += kStep;
    const levels low = levels_of(section_of(less, section));
    const levels high = levels_of(section_of(more, section));
    for (size_t i = 0; i < low.size(); ++i) result.slope[k][i] = (high[i] - low[i]) / (2 * kStep);
  }
  result.slope.back().fill(1.0);
  return result;
}

// The step of Levenberg and Marquardt: solves (J'J + damping diag J'J) step = J' error.
unknowns step_of(const linearised& at, double damping) {
  std::array<std::array<double, kUnknowns + 1>, kUnknowns> rows;
  for (size_t r = 0; r < kUnknowns; ++r) {
    const auto product = [&](const levels& other) {
      double sum = 0;
      for (size_t i = 0; i < other.size(); ++i) sum += at.slope[r][i] * other[i];
      return sum;
    };
    for (size_t c = 0; c < kUnknowns; ++c) rows[r][c] = product(at.slope[c]);
    rows[r][r] = rows[r][r] * (1 + damping) + 1e-6;
    rows[r][kUnknowns] = product(at.error);
  }
  for (size_t k = 0; k < kUnknowns; ++k) {
    size_t pivot = k;
    for (size_t r = k; r < kUnknowns; ++r)
      if (std::abs(rows[r][k]) > std::abs(rows[pivot][k])) pivot = r;
    std::swap(rows[k], rows[pivot]);
    for (size_t r = 0; r < kUnknowns; ++r) {
      const double factor = r == k ? 0 : rows[r][k] / rows[k][k];
      for (size_t c = k; c <= kUnknowns; ++c) rows[r][c] -= factor * rows[k][c];
    }
  }
  unknowns step;
  for (size_t k = 0; k < kUnknowns; ++k) step[k] = rows[k][kUnknowns] / rows[k][k];
  return step;
}

// Within what the equalizer takes; the fit itself keeps from the narrowest sections.
void limit(unknowns& x) {
  for (size_t s = 0; s < kSections; ++s) {
    double* const its = &x[s * kPerSection];
    const bool shelf = type_of(static_cast<int>(s)) != biquad_type::peak;
    its[0] = std::clamp(its[0], std::log2(kLowest), std::log2(kHighest));
    its[1] = std::clamp(its[1], kBiquadGainMinimum, kBiquadGainMaximum);
    its[2] = std::clamp(its[2], std::log2(0.3), std::log2(shelf ? 1.2 : 8.0));
  }
  x.back() = std::clamp(x.back(), -30.0, 12.0);
}

unknowns start(const levels& curve) {
  unknowns x;
  double mean = 0;
  for (const double level : curve) mean += level / kPoints;
  for (int s = 0; s < kSections; ++s) {
    double* const its = &x[static_cast<size_t>(s * kPerSection)];
    its[0] = std::log2(kLowest * 1.6) + s * std::log2(kHighest / 1.6 / (kLowest * 1.6)) / 9;
    its[1] = 0.0;
    its[2] = type_of(s) == biquad_type::peak ? 0.5 : -0.5;
  }
  x.back() = mean;
  return x;
}

unknowns least_squares(const levels& curve) {
  unknowns x = start(curve);
  double damping = 0.1;
  linearised at = linearise(x, curve);
  for (int round = 0; round < kRounds && damping < 1e6; ++round) {
    unknowns next = x;
    const unknowns step = step_of(at, damping);
    for (size_t k = 0; k < x.size(); ++k) next[k] += std::clamp(step[k], -3.0, 3.0);
    limit(next);
    if (sum_of_squares(error_of(next, curve)) < at.squares) {
      x = next;
      at = linearise(x, curve);
      damping = std::max(damping / 4, 1e-5);
    } else {
      damping *= 5;
    }
  }
  return x;
}

double rounded(double value, double steps_per_unit) {
  return std::round(value * steps_per_unit) / steps_per_unit;
}

}  // namespace

double level_of(const std::vector<equalizer_section>& sections, double frequency, int rate) {
  double sum = 0;
  for (const equalizer_section& one : sections) sum += level_of(one, frequency, rate);
  return sum;
}

fitted_curve fit_curve(const std::vector<curve_point>& points) {
  levels curve;
  for (int i = 0; i < kPoints; ++i) curve[static_cast<size_t>(i)] = curve_at(points, grid(i));
  const unknowns x = least_squares(curve);

  fitted_curve result{rounded(x.back(), 100), {}, 0, 0, 0};
  for (int s = 0; s < kSections; ++s) {
    const equalizer_section exact = section_of(x, s);
    result.sections.push_back({exact.type, rounded(exact.frequency, exact.frequency < 100 ? 10 : 1),
                               rounded(exact.gain, 100), rounded(exact.q, 100)});
  }
  std::sort(result.sections.begin(), result.sections.end(),
            [](const auto& a, const auto& b) { return a.frequency < b.frequency; });
  for (int i = 0; i < kPoints; ++i) {
    const double off =
        curve_at(points, grid(i)) - result.offset - level_of(result.sections, grid(i), kRate);
    result.rms += off * off / kPoints;
    if (std::abs(off) <= result.largest) continue;
    result.largest = std::abs(off);
    result.largest_at = grid(i);
  }
  result.rms = std::sqrt(result.rms);
  return result;
}
