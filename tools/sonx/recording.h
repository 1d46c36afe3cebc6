// Recordings in memory: read, rendered, measured and matched in loudness.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "rack_host.h"

namespace sonx {

struct recording {
  int rate = 0;
  size_t channels = 2;        // 1: both sides are the same
  std::vector<float> stereo;  // interleaved, full scale 1.0

  size_t frames() const { return stereo.size() / 2; }
  double seconds() const { return static_cast<double>(frames()) / rate; }
};

// All of a file, converted to the rate; says so in a line where it has another.
recording read_recording(const std::string& file, int rate);

struct rendering {
  recording sound;         // as long as what went in, with the latency taken out
  double nanoseconds = 0;  // in the rack, per frame
  double speed = 0;        // multiple of real time
};

// Through the rack, with a progress bar.
rendering render(const rack_recipe& recipe, const recording& in, double tail,
                 const std::string& label);

struct loudness {
  double integrated;  // LUFS, EBU R 128; -infinity for silence
  double range;       // LU, EBU Tech 3342
  double true_peak;   // dBTP, the louder channel's
  double peak;        // dBFS, the largest sample's
};
loudness measure_loudness(const recording& sound);

// What turns the louder one of two down to the softer one, in dB, 0 or below; both 0 where one is
// silent.
struct loudness_match {
  double first, second;
};
loudness_match match(const loudness& first, const loudness& second);

void turn(recording& sound, double decibels);

// Mean power of both channels over windows that follow each other, in dBFS, a full sine being 0.
std::vector<double> levels_over_time(const recording& sound, double window);

// Writes a WAV file of 24 bits.
void write_recording(const std::string& file, const recording& sound);

// The largest magnitudes over parts of equal length, both channels together.
std::vector<float> outline(const recording& sound, size_t parts);

// A stretch of it.
recording cut(const recording& sound, double from, double seconds);

// SHA-256 of the samples as 24-bit words, little end first, in hexadecimal.
std::string hash(const recording& sound);

// A FLAC file of 16 bits in memory.
std::string to_flac(const recording& sound);

}  // namespace sonx
