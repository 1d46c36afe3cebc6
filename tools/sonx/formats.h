// Between float samples (full scale 1.0) and the sample formats that the library takes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace sonx {

// Rounded to the nearest step and clamped to full scale; 0 for what is no number.
short to_16_bits(float sample);

// One period of interleaved stereo in a HAL format, as it is handed to the library. The format is
// one of SONX_FORMAT_*.
class period_buffer {
 public:
  period_buffer(int format, size_t frames);

  void* data() { return bytes_.data(); }
  size_t bytes() const { return bytes_.size(); }
  size_t samples() const { return samples_; }  // both channels

  // Takes samples() floats, rounded to the nearest step and clamped to full scale.
  void encode(const float* stereo);

  // Gives samples() samples, as floats and with full scale at 2^31. The formats that hold 24 bits
  // in 32 can go beyond full scale: the floats show it, the words are clamped.
  void decode(float* stereo, int32_t* words) const;

 private:
  int format_;
  size_t samples_;
  std::vector<unsigned char> bytes_;
};

}  // namespace sonx
