#include "effects/reverb.h"

#include "support.h"

namespace {

void reverb_stereo_24(benchmark::State& state) {
  reverb_t reverb;
  reverb_init(&reverb);
  std::vector<int> left = bench_noise(), right = bench_noise(kBenchFrames, 2);
  std::vector<int> out_left = left, out_right = right;
  for (auto _ : state) {
    reverb_process_stereo_24(&reverb, left.data(), right.data(), out_left.data(), out_right.data(),
                             kBenchFrames);
    benchmark::ClobberMemory();
  }
  report_frames(state);
  reverb_end(&reverb);
}
BENCHMARK(reverb_stereo_24);

void reverb_stereo_16(benchmark::State& state) {
  reverb_t reverb;
  reverb_init(&reverb);
  const std::vector<int> noise = bench_noise();
  std::vector<short> left, out_left(kBenchFrames), out_right(kBenchFrames);
  for (int x : noise) left.push_back(static_cast<short>(x >> 8));
  std::vector<short> right(left.rbegin(), left.rend());
  for (auto _ : state) {
    reverb_process_stereo_16(&reverb, left.data(), right.data(), out_left.data(), out_right.data(),
                             kBenchFrames);
    benchmark::ClobberMemory();
  }
  report_frames(state);
  reverb_end(&reverb);
}
BENCHMARK(reverb_stereo_16);

}  // namespace
