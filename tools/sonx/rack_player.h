// A rack in a stream of periods, with changes at their frames.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "rack_host.h"
#include "stream.h"

namespace sonx {

struct timed_assignments {
  double seconds;
  std::string text;
  std::vector<assignment> assignments;
};

class rack_player {
 public:
  rack_player(const rack_recipe& recipe, int rate, const std::vector<timed_assignments>& timed);

  rack& device() { return rack_; }
  int64_t position() const { return position_; }  // frames taken in

  // Interleaved stereo in place; the rack gets both channels or their mean.
  void process(std::vector<float>& stereo, size_t channels, stopwatch& busy);

 private:
  struct change {
    int64_t frame;
    rack_change what;
  };

  void run(int channels, int64_t frames);

  rack rack_;
  std::vector<change> changes_;
  size_t next_ = 0;
  int64_t position_ = 0;
  std::vector<float> planes_[2];
};

// A sample with full scale at 2^31; for a file of 16 bits rounded to the nearest, halves upward.
int32_t to_word(float sample, bool to_16);

}  // namespace sonx
