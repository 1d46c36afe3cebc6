// Spectra of recordings: the mean one, and how it goes on in time, as a picture.
#pragma once

#include <string>
#include <vector>

#include "recording.h"

namespace sonx {

// Mean power of both channels in bands of a sixth octave around the frequencies, in dBFS, a full
// sine being 0.
std::vector<double> band_levels(const recording& sound, const std::vector<double>& frequencies);

// Power in dB over time (columns) and frequency (rows, the lowest first), spaced by octaves.
struct spectrogram {
  size_t columns, rows;
  double lowest, highest;       // Hz
  std::vector<float> decibels;  // row by row
};
spectrogram measure_spectrogram(const recording& sound, size_t columns, size_t rows);

// A PNG file in memory: from `range` dB below `loudest`, dark, to `loudest`, light.
std::string to_png(const spectrogram& of, float loudest, float range);

// The same colours, as a CSS gradient from left to right.
std::string colour_scale();

}  // namespace sonx
