// The scalar functions, per call; a "frame" is one call.
#include "dsp/fixed_math.h"

#include <random>
#include <vector>

#include "square_root.h"
#include "support.h"

namespace {

// Arguments spread evenly over 0..limit - 1.
std::vector<unsigned int> arguments(unsigned int limit) {
  std::mt19937 generator(1);
  std::vector<unsigned int> x(kBenchFrames);
  for (unsigned int& v : x) v = static_cast<unsigned int>(generator()) % limit;
  return x;
}

template <typename Function>
void measure(benchmark::State& state, unsigned int limit, Function function) {
  const std::vector<unsigned int> x = arguments(limit);
  for (auto _ : state)
    for (unsigned int v : x) benchmark::DoNotOptimize(function(v));
  report_frames(state);
}

void sqrt_fixed_calls(benchmark::State& state) { measure(state, 65536, sqrt_fixed); }
BENCHMARK(sqrt_fixed_calls);

void sqrt_q16_inlined(benchmark::State& state) { measure(state, UINT32_MAX, sqrtFxQ16); }
BENCHMARK(sqrt_q16_inlined);

void exp_fixed_calls(benchmark::State& state) {
  measure(state, 681391, [](unsigned int x) { return exp_fixed(static_cast<int>(x)); });
}
BENCHMARK(exp_fixed_calls);

void log_fixed_calls(benchmark::State& state) { measure(state, 1u << 31, log_fixed); }
BENCHMARK(log_fixed_calls);

}  // namespace
