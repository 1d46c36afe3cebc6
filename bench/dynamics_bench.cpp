#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "effects/compressor.h"
#include "support.h"

namespace {

constexpr double kThreshold = 30720.0 * 256;

// Full-scale bursts of 1..720 samples at all places in the block, each out of 40 quiet blocks.
// Returns the largest output over the compressor's threshold, in dB.
double overshoot_db(int volume) {
  compressor_t compressor;
  compressor_init(&compressor, volume, 2);
  compressor_set_sample_rate(&compressor, SAMPLE_RATE_48000);
  std::mt19937 generator(1);
  int largest = 0;
  for (int burst = 0; burst < 200; ++burst) {
    const int start = 40 * kBenchFrames + static_cast<int>(generator() % kBenchFrames);
    const int end = start + 1 + static_cast<int>(generator() % 720);
    for (int block = 0; block < 48; ++block) {
      int left[kBenchFrames], right[kBenchFrames];
      for (int i = 0; i < kBenchFrames; ++i) {
        const int at = block * kBenchFrames + i;
        left[i] = right[i] = at >= start && at < end ? 8388607 : 80000;
      }
      compressor_process(&compressor, left, right, left, right, kBenchFrames);
      for (int y : left) largest = std::max(largest, std::abs(y));
    }
  }
  compressor_end(&compressor);
  return 20.0 * std::log10(largest / kThreshold);
}

void compressor_block(benchmark::State& state) {
  const int volume = static_cast<int>(state.range(0));
  compressor_t compressor;
  compressor_init(&compressor, volume, 2);
  compressor_set_sample_rate(&compressor, SAMPLE_RATE_48000);
  std::vector<int> left = bench_noise(), right = bench_noise(kBenchFrames, 2);
  std::vector<int> out_left(left.size()), out_right(right.size());
  for (auto _ : state) {
    compressor_process(&compressor, left.data(), right.data(), out_left.data(), out_right.data(),
                       kBenchFrames);
    benchmark::DoNotOptimize(out_left.data());
    benchmark::ClobberMemory();
  }
  report_frames(state);
  state.counters["overshoot_dB"] = overshoot_db(volume);
  compressor_end(&compressor);
}
BENCHMARK(compressor_block)->ArgName("volume_q13")->Arg(4608)->Arg(8192)->Arg(11585)->Arg(16384);

// One channel whose gain never rests: the level alternates from block to block.
void dynamic_range_control_restless(benchmark::State& state) {
  dynamic_range_control_t drc;
  dynamic_range_control_init(&drc, 2, kBenchFrames);
  dynamic_range_control_set_threshold(&drc, 4096);
  const std::vector<int> loud = bench_noise();
  std::vector<int> x(2 * loud.size()), out(x.size());
  for (size_t i = 0; i < loud.size(); ++i) x[i] = loud[i], x[loud.size() + i] = loud[i] / 64;
  for (auto _ : state) {
    dynamic_range_control_process(&drc, x.data(), out.data(), kBenchFrames);
    dynamic_range_control_process(&drc, x.data() + kBenchFrames, out.data(), kBenchFrames);
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  report_frames(state, 2 * kBenchFrames);
  dynamic_range_control_end(&drc);
}
BENCHMARK(dynamic_range_control_restless);

}  // namespace
