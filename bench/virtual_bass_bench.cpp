#include "effects/virtual_bass_system.h"
#include "support.h"

namespace {

void virtual_bass(benchmark::State& state) {
  virtual_bass_system bass;
  virtual_bass_system_init(&bass);
  std::vector<int> left = bench_noise(), right = bench_noise(kBenchFrames, 2);
  std::vector<int> out_left = left, out_right = right;
  for (auto _ : state) {
    virtual_bass_system_process(&bass, left.data(), right.data(), out_left.data(), out_right.data(),
                                kBenchFrames);
    benchmark::ClobberMemory();
  }
  report_frames(state);
  virtual_bass_system_end(&bass);
}
BENCHMARK(virtual_bass);

// The parts, a sample at a time.
void band_splitter_one_sample_calls(benchmark::State& state) {
  virtual_bass_system bass;
  virtual_bass_system_init(&bass);
  std::vector<int> noise = bench_noise();
  int low, high;
  for (auto _ : state)
    for (int& x : noise) {
      spectral_band_split_process(bass.split_left, &x, &low, &high);
      benchmark::DoNotOptimize(low + high);
    }
  report_frames(state);
  virtual_bass_system_end(&bass);
}
BENCHMARK(band_splitter_one_sample_calls);

void nonlinear_device_one_sample_calls(benchmark::State& state) {
  NLD nld;
  NLD_init(&nld);
  std::vector<int> noise = bench_noise();
  int y;
  for (auto _ : state)
    for (int& x : noise) {
      NLD_process(&nld, &x, &y);
      benchmark::DoNotOptimize(y);
    }
  report_frames(state);
  NLD_end(&nld);
}
BENCHMARK(nonlinear_device_one_sample_calls);

void bass_compressor(benchmark::State& state) {
  compressor_bass compressor;
  compressor_bass_init(&compressor);
  std::vector<int> noise = bench_noise(), out = noise;
  for (auto _ : state) {
    compressor_bass_process(&compressor, noise.data(), out.data(), kBenchFrames);
    benchmark::ClobberMemory();
  }
  report_frames(state);
}
BENCHMARK(bass_compressor);

}  // namespace
