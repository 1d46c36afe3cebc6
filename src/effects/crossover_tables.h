// Crossovers of fourth order as Linkwitz-Riley pairs: each band is two identical Butterworth
// sections in series, so that both bands are 6 dB down at the corner and add up to an all-pass
// (spectral_band_split.h has the source).
//
// A row holds one section of each band, Q28 in the order b0, b1, b2, -a1, -a2; both share their
// poles. The rows are given data; they agree with the bilinear transform of the analogue section,
// and a single section is 3 dB down at the table's frequency at every rate.
#pragma once

struct crossover_set {
  int low[5];
  int high[5];
};

// At 192000 Hz all coefficients are 0: the filters put out silence.
inline constexpr crossover_set kCrossover250[] = {
    {{83041, 166083, 83041, 523351812, -255248523},  // 44100 Hz
     {261758947, -523517895, 261758947, 523351812, -255248523}},
    {{70236, 140473, 70236, 524449850, -256295343},  // 48000 Hz
     {262295162, -524590324, 262295162, 524449850, -256295343}},
    {{17761, 35522, 17761, 530659581, -262295171},  // 96000 Hz
     {265347552, -530695104, 265347552, 530659581, -262295171}},
    {},  // 192000 Hz: silence
};

inline constexpr crossover_set kCrossover950[] = {
    {{1120643, 2241286, 1120643, 485624122, -221671239},  // 44100 Hz
     {243932704, -487865408, 243932704, 485624122, -221671239}},
    {{952869, 1905738, 952869, 489769607, -225145629},  // 48000 Hz
     {245837672, -491675345, 245837672, 489769607, -225145629}},
    {{248444, 496889, 248444, 513281073, -245839397},  // 96000 Hz
     {256888981, -513777963, 256888981, 513281073, -245839397}},
};

inline constexpr crossover_set kCrossover2800[] = {
    {{8268278, 16536557, 8268278, 388112813, -152750473},  // 44100 Hz
     {202324685, -404649370, 202324685, 388112813, -152750473}},
    {{7112376, 14224753, 7112376, 399880653, -159894704},  // 48000 Hz
     {207052703, -414105406, 207052703, 399880653, -159894704}},
    {{1990936, 3981872, 1990936, 467623060, -207151350},  // 96000 Hz
     {235802466, -471604933, 235802466, 467623060, -207151350}},
};
