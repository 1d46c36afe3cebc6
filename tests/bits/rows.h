// Coefficient rows b0, b1, b2, -a1, -a2 in Q28.
#pragma once

#include "bits/trial.h"
#include "effects/equalizer.h"

// Ten stable sections, those of an equalizer at any rate; or any words.
inline void draw_rows(trial& t, int (&rows)[10][5]) {
  held<equalizer_t, equalizer_init, equalizer_end> equalizer;
  int gains[10];
  t.decibels(gains);
  equalizer_set_param_index(&equalizer, gains, static_cast<SampleRateType>(t.roll(4)));
  equalizer_getparameter(&equalizer, rows);
  if (t.wild() && t.once_in(2))
    for (auto& row : rows)
      for (int& word : row) word = t.any();
}

inline void draw_row(trial& t, int (&row)[5]) {
  int rows[10][5];
  draw_rows(t, rows);
  std::copy_n(rows[t.roll(10)], 5, row);
}
