// The filter tables of the stereo widening's three stages and the choice of a row.
#pragma once

#include "dsp/sample_rate.h"

// One section's Q28 coefficients b0, b1, b2, -a1, -a2 at 44100, 48000, 96000 and 192000 Hz.
using section_rows = int[4][5];

#include "effects/stereo_widening_tables.inc"

// The rate as an index into a table's rows; any value outside 0..3 counts as 48000 Hz.
constexpr int rate_row(SampleRateType rate) {
  const int row = rate;
  return row >= 0 && row <= 3 ? row : static_cast<int>(SAMPLE_RATE_48000);
}
