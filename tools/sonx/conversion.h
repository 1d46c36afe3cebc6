// The library's sample-rate converter as the subcommands use it: which rates it connects, and one
// channel's stream through it.
#pragma once

#include <ktv/resampler.h>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace sonx {

// The input samples that the conversion takes at a time; 0 if the converter has no such ratio.
int conversion_block(int in_rate, int out_rate);

// The whole rates in Hz that are reached from this one, itself left out.
std::set<int64_t> reached_rates(int in_rate);

// "8000 16000 32000", for messages.
std::string list_rates(const std::set<int64_t>& rates);

// One channel's converter, ended with its owner.
class converter {
 public:
  converter(int in_rate, int out_rate) { Resampler_config(&resampler_, in_rate, out_rate); }
  ~converter() { Resampler_delete(&resampler_); }
  converter(const converter&) = delete;
  converter& operator=(const converter&) = delete;

  // Whole blocks in; out has the length that they come to.
  void process(const std::vector<short>& in, std::vector<short>& out);

 private:
  Resampler_t resampler_{};
};

}  // namespace sonx
