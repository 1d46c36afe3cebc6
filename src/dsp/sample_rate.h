// The sample rates that the modules know, as an index into their per-rate tables.
// Compiles as C11 and as C++.
#pragma once

#ifdef __cplusplus
// Of a fixed type, so that a value outside the list is one too: it counts as 48000 Hz.
enum SampleRateType : unsigned int {
#else
enum SampleRateType {
#endif
  SAMPLE_RATE_44100 = 0,
  SAMPLE_RATE_48000 = 1,
  SAMPLE_RATE_96000 = 2,
  SAMPLE_RATE_192000 = 3,
};

// Index of a rate in Hz: 44100 -> 0, 96000 -> 2, 192000 -> 3, any other rate -> 1 (48000).
static inline enum SampleRateType sample_rate_type(unsigned int hertz) {
  switch (hertz) {
    case 44100:
      return SAMPLE_RATE_44100;
    case 96000:
      return SAMPLE_RATE_96000;
    case 192000:
      return SAMPLE_RATE_192000;
    default:
      return SAMPLE_RATE_48000;
  }
}
