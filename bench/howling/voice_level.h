// The level of a voice between its pauses.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "room.h"

// Brings the level of the loud half of the 50 ms stretches to a mean of level_db.
inline void bring_to(signal& x, double level_db) {
  constexpr size_t kStretch = 2400;
  std::vector<double> powers;
  for (size_t at = 0; at + kStretch <= x.size(); at += kStretch) {
    double sum = 0.0;
    for (size_t i = 0; i < kStretch; ++i) sum += double(x[at + i]) * x[at + i];
    powers.push_back(sum / kStretch);
  }
  if (powers.empty()) return;
  std::sort(powers.begin(), powers.end());
  const size_t half = powers.size() / 2;
  double loud = 1e-20;
  for (size_t i = half; i < powers.size(); ++i)
    loud += powers[i] / static_cast<double>(powers.size() - half);
  const auto gain = static_cast<float>(std::sqrt(std::pow(10.0, level_db / 10.0) / loud));
  for (float& v : x) v *= gain;
}
