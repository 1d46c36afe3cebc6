// What the effects take from a rate: a row of their tables, and the length of a frame.
#pragma once

#include "dsp/sample_rate.h"

// The row of a table by SampleRateType. A value without a row, beyond the four rates or beyond a
// table that ends at 96000 Hz (3 rows), counts as 48000 Hz.
constexpr int rate_row(SampleRateType rate, int rows = 4) {
  const int row = rate;
  return row >= 0 && row < rows ? row : static_cast<int>(SAMPLE_RATE_48000);
}

// Samples per block that the look-ahead of the dynamics is made for, about 5 ms.
constexpr int frame_length(SampleRateType rate) {
  constexpr int kLengths[] = {220, 240, 480, 960};
  return kLengths[rate_row(rate)];
}
