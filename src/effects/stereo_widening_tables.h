// The filter tables of the stereo widening's three stages.
#pragma once

// One section's Q28 coefficients b0, b1, b2, -a1, -a2 at 44100, 48000, 96000 and 192000 Hz.
using section_rows = int[4][5];

#include "effects/stereo_widening_tables.inc"
