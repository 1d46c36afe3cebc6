// The headphone effect's fixed tuning, in the modules' own formats. docs/tuning.md says what it is
// meant to do. Coefficients are Q28 rows b0, b1, b2, -a1, -a2; index 0 of a rate is 44100 Hz.
#pragma once

namespace tuning {

// The parametric equalizer's preset, the same for left and right: ten rows of flag and
// coefficients. [0] is for 44100 Hz, [1] for every other rate.
extern const int kParametricPreset[2][10][6];

// Headphone corrections by SampleRateType and adapter - 1. Word 0 is not used, 1 and 2 are the
// gains left and right (Q13), 3..62 ten rows of flag and coefficients for the left channel, 63..122
// for the right. All zero at 96000 and 192000 Hz.
extern const int kAdapterCorrection[4][7][123];

// The virtual bass's band filter by SampleRateType: words 5..9 are one section's coefficients,
// words 0..4 are not read.
extern const int kVirtualBassRow[4][10];

}  // namespace tuning
