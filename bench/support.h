// What every benchmark reports beside its time: nanoseconds per frame and multiples of real time.
#pragma once

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

constexpr int kBenchFrames = 240;  // one period of 5 ms at 48 kHz

// Noise at about -12 dBFS of the 24-bit format.
inline std::vector<int> bench_noise(int n = kBenchFrames, unsigned seed = 1) {
  std::mt19937 generator(seed);
  std::vector<int> x(static_cast<size_t>(n));
  for (int& v : x) v = static_cast<int>(generator() & 0x3FFFFF) - 0x200000;
  return x;
}

// Call once after the timing loop: frames is what one iteration processed. Prints the time of one
// frame and how many times faster than real time that is at the rate (processor time, both).
inline void report_frames(benchmark::State& state, int frames = kBenchFrames,
                          double rate = 48000.0) {
  const double total = static_cast<double>(state.iterations()) * frames;
  using benchmark::Counter;
  state.counters["s/frame"] = Counter(total, Counter::kIsRate | Counter::kInvert);
  state.counters["x_realtime"] = Counter(total / rate, Counter::kIsRate);
}
