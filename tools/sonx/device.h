// Anything that stereo sound goes through, as the measurements see it.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace sonx {

constexpr size_t kBlock = 256;  // frames per call

// Processes kBlock frames of interleaved stereo, full scale 1.0, from `in` to `out`. `in` becomes
// what was really fed, with its rounding.
using block_process = std::function<void(std::vector<float>& in, std::vector<float>& out)>;

struct device {
  std::string label;
  int latency = 0;                       // frames
  std::function<block_process()> start;  // a new one, without a past
};

}  // namespace sonx
