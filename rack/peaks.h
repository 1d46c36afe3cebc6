// The largest magnitudes of a stereo signal since they were last taken, from one thread to others.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdlib>

class peaks {
 public:
  // n samples, 24 bits with room above.
  void raise(const int* const samples[2], int n) {
    for (int c = 0; c < 2; ++c) {
      int largest = 0;
      for (int i = 0; i < n; ++i) largest = std::max(largest, std::abs(samples[c][i]));
      if (largest > largest_[c].load(std::memory_order_relaxed))
        largest_[c].store(largest, std::memory_order_relaxed);
    }
  }

  // 1.0 = full scale; out may be null.
  void take(float out[2]) {
    for (int c = 0; c < 2; ++c) {
      const int largest = largest_[c].exchange(0, std::memory_order_relaxed);
      if (out != nullptr) out[c] = static_cast<float>(largest) / 0x1p23F;
    }
  }

 private:
  std::atomic<int> largest_[2] = {};
};
