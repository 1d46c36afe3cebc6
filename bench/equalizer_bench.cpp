#include "effects/equalizer.h"

#include "support.h"

namespace {

int curve[10] = {6, 4, 2, 0, -2, -3, 0, 3, 5, 7};

void equalizer_stereo(benchmark::State& state) {
  equalizer_t equalizer;
  equalizer_init(&equalizer);
  equalizer_set_param_index(&equalizer, curve, SAMPLE_RATE_48000);
  std::vector<int> left = bench_noise(), right = bench_noise(kBenchFrames, 2);
  std::vector<int> out_left(left.size()), out_right(left.size());
  for (auto _ : state) {
    equalizer_process_stereo(&equalizer, left.data(), right.data(), out_left.data(),
                             out_right.data(), kBenchFrames);
    benchmark::DoNotOptimize(out_left.data());
    benchmark::ClobberMemory();
  }
  report_frames(state);
  equalizer_end(&equalizer);
}
BENCHMARK(equalizer_stereo);

void equalizer_mono(benchmark::State& state) {
  equalizer_t equalizer;
  equalizer_init(&equalizer);
  equalizer_set_param_index(&equalizer, curve, SAMPLE_RATE_48000);
  std::vector<int> in = bench_noise(), out(in.size());
  for (auto _ : state) {
    equalizer_process_mono(&equalizer, in.data(), out.data(), kBenchFrames);
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  report_frames(state);
  equalizer_end(&equalizer);
}
BENCHMARK(equalizer_mono);

}  // namespace
