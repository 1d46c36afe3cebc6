// The library's noise suppressor for each channel of a stream.
#pragma once

#include <memory>
#include <vector>

namespace sonx {

struct denoise_options {
  int policy = 2;
  int prior = 2;  // source: 0 the library's default, the presence; 1 own features; 2 tracked noise
};

// Samples that the suppressor takes at a time at one of its rates (8000, 16000 or 32000 Hz), and by
// which it delays.
int suppressor_block(int rate);
int suppressor_delay(int rate);

// With the presence prior the library may end the process that it runs in. The suppressors then
// live in a child process, and its end becomes an exception in this one.
class suppressors {
 public:
  suppressors(int rate, size_t channels, const denoise_options& options);
  ~suppressors();
  suppressors(const suppressors&) = delete;
  suppressors& operator=(const suppressors&) = delete;

  // Any number of whole blocks for each channel, in place. Throws std::runtime_error if the library
  // has ended the child.
  void process(std::vector<std::vector<short>>& channels);

 private:
  class bank;
  class child;
  std::unique_ptr<bank> bank_;  // one of the two
  std::unique_ptr<child> child_;
};

}  // namespace sonx
