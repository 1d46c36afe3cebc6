#include "effects/stereo_widening_system.h"

#include "support.h"

namespace {

// Runs process(system, left, right, out_left, out_right) over one period of noise.
template <typename Process>
void run(benchmark::State& state, Process process) {
  stereo_widening_system system;
  stereo_widening_system_init(&system);
  stereo_widening_system_set_sample_rate(&system, SAMPLE_RATE_48000);
  std::vector<int> left = bench_noise(), right = bench_noise(kBenchFrames, 2);
  std::vector<int> out_left = left, out_right = right;
  for (auto _ : state) {
    process(&system, left.data(), right.data(), out_left.data(), out_right.data());
    benchmark::ClobberMemory();
  }
  report_frames(state);
  stereo_widening_system_end(&system);
}

void stereo_widening(benchmark::State& state) {
  run(state, [](stereo_widening_system* s, int* l, int* r, int* out_l, int* out_r) {
    stereo_widening_system_process(s, l, r, out_l, out_r, kBenchFrames);
  });
}
BENCHMARK(stereo_widening);

void stereo_widening_difference(benchmark::State& state) {
  run(state, [](stereo_widening_system* s, int* l, int* r, int* out_l, int* out_r) {
    difference_circuit_process_block(s->difference, l, r, out_l, out_r, kBenchFrames);
  });
}
BENCHMARK(stereo_widening_difference);

void stereo_widening_crossfeed(benchmark::State& state) {
  run(state, [](stereo_widening_system* s, int* l, int* r, int* out_l, int* out_r) {
    crossfeed_network_process_block(s->crossfeed, l, r, out_l, out_r, kBenchFrames);
  });
}
BENCHMARK(stereo_widening_crossfeed);

void stereo_widening_reflector(benchmark::State& state) {
  run(state, [](stereo_widening_system* s, int* l, int* r, int* out_l, int* out_r) {
    early_reflector_process_block(s->reflector, l, r, out_l, out_r, kBenchFrames);
  });
}
BENCHMARK(stereo_widening_reflector);

}  // namespace
