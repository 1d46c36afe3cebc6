#include "effects/speaker_boost_system.h"
#include "support.h"

namespace {

void speaker_boost_stereo(benchmark::State& state) {
  speaker_boost_system_t boost;
  speaker_boost_system_init(&boost);
  std::vector<int> left = bench_noise(), right = bench_noise(kBenchFrames, 2);
  std::vector<int> out_left = left, out_right = right;
  for (auto _ : state) {
    speaker_boost_system_process_stereo(&boost, left.data(), right.data(), out_left.data(),
                                        out_right.data(), kBenchFrames);
    benchmark::ClobberMemory();
  }
  report_frames(state);
  speaker_boost_system_end(&boost);
}
BENCHMARK(speaker_boost_stereo);

void speaker_boost_mono(benchmark::State& state) {
  speaker_boost_system_t boost;
  speaker_boost_system_init(&boost);
  std::vector<int> in = bench_noise(), out = in;
  for (auto _ : state) {
    speaker_boost_system_process_mono(&boost, in.data(), out.data(), kBenchFrames);
    benchmark::ClobberMemory();
  }
  report_frames(state);
  speaker_boost_system_end(&boost);
}
BENCHMARK(speaker_boost_mono);

}  // namespace
