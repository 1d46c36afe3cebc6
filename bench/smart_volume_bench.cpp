#include "effects/smart_volume_control.h"
#include "support.h"

namespace {

void smart_volume_control_block(benchmark::State& state) {
  smart_volume_control_t control;
  smart_volume_control_init(&control);
  std::vector<int> left = bench_noise(), right = bench_noise(kBenchFrames, 2);
  std::vector<int> out_left(left.size()), out_right(right.size());
  for (auto _ : state) {
    smart_volume_control_process(&control, left.data(), right.data(), out_left.data(),
                                 out_right.data(), kBenchFrames);
    benchmark::DoNotOptimize(out_left.data());
    benchmark::ClobberMemory();
  }
  report_frames(state);
  smart_volume_control_end(&control);
}
BENCHMARK(smart_volume_control_block);

}  // namespace
