// How much a change of the headphone handle's record clicks.
#pragma once

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>
#include <vector>

#include "hp/sonx_hp_effect.h"

struct change {
  audio_effect_control_acdb_t from, to;
};

// The largest step of a tone that starts at a place of its period and meets the change a second later,
// as a multiple of the largest that it has by itself, before the change or a second after it.
inline double step_of_change(const change& c, int rate, int period, double hertz, double turns) {
  const std::unique_ptr<void, decltype(&sonx_hp_effect_deinit)> effect(
      sonx_hp_effect_init(static_cast<unsigned>(rate), SONX_FORMAT_32_BIT), sonx_hp_effect_deinit);
  std::vector<int> words(2 * static_cast<size_t>(period));
  double before = 0, own = 0, largest = 0;
  const int at = rate / period, settled = 2 * at, end = settled + at / 4;
  for (int k = 0, n = 0; k < end; ++k) {
    for (size_t i = 0; i < words.size(); ++n, i += 2)
      words[i] = words[i + 1] =
          static_cast<int>(0x1p28 * std::sin(2 * std::numbers::pi * (hertz * n / rate + turns)));
    audio_effect_control_acdb_t record = k < at ? c.from : c.to;
    sonx_hp_effect_set_parameters(effect.get(), &record);
    sonx_hp_effect_process(effect.get(), words.data(), words.size() * sizeof words[0]);
    for (size_t i = 0; i < words.size(); i += 2) {
      double& step = at <= k && k < settled ? largest : own;
      if (k > at / 2) step = std::max(step, std::abs(words[i] - before));
      before = words[i];
    }
  }
  return largest / own;
}
