// The signal-processing toolkit: vectors, transforms, rate kernels; and the converter's modes.
#include <array>

#include "ktv/resampler.h"
#include "spl/by_two.h"
#include "spl/fft.h"
#include "spl/resample.h"
#include "spl/vectors.h"
#include "support.h"

namespace {

std::vector<short> pcm_noise(int n) {
  std::vector<short> x;
  for (int v : bench_noise(n)) x.push_back(static_cast<short>(v >> 8));
  return x;
}

void up_by_2(benchmark::State& run) {
  const std::vector<short> in = pcm_noise(240);
  std::vector<short> out(480);
  int state[tekaSpl_kBy2StateWords] = {};
  for (auto _ : run) {
    tekaSpl_UpsampleBy2(in.data(), 240, out.data(), state);
    benchmark::ClobberMemory();
  }
  report_frames(run, 240, 24000.0);
}
BENCHMARK(up_by_2);

void down_by_2(benchmark::State& run) {
  const std::vector<short> in = pcm_noise(480);
  std::vector<short> out(240);
  int state[tekaSpl_kBy2StateWords] = {};
  for (auto _ : run) {
    tekaSpl_DownsampleBy2(in.data(), 480, out.data(), state);
    benchmark::ClobberMemory();
  }
  report_frames(run, 480, 48000.0);
}
BENCHMARK(down_by_2);

// Frames are those of the input.
template <typename State, auto reset, auto resample, int block, int rate>
void fixed_ratio(benchmark::State& run) {
  const std::vector<short> in = pcm_noise(block);
  std::vector<short> out(480);
  std::array<int, 496> scratch;
  State state;
  reset(&state);
  for (auto _ : run) {
    resample(in.data(), out.data(), &state, scratch.data());
    benchmark::ClobberMemory();
  }
  report_frames(run, block, rate);
}
BENCHMARK(fixed_ratio<tekaSpl_State16khzTo48khz, tekaSpl_ResetResample16khzTo48khz,
                      tekaSpl_Resample16khzTo48khz, 160, 16000>)
    ->Name("16khz_to_48khz");
BENCHMARK(fixed_ratio<tekaSpl_State48khzTo16khz, tekaSpl_ResetResample48khzTo16khz,
                      tekaSpl_Resample48khzTo16khz, 480, 48000>)
    ->Name("48khz_to_16khz");
BENCHMARK(fixed_ratio<tekaSpl_State8khzTo22khz, tekaSpl_ResetResample8khzTo22khz,
                      tekaSpl_Resample8khzTo22khz, 80, 8000>)
    ->Name("8khz_to_22khz");
BENCHMARK(fixed_ratio<tekaSpl_State16khzTo22khz, tekaSpl_ResetResample16khzTo22khz,
                      tekaSpl_Resample16khzTo22khz, 160, 16000>)
    ->Name("16khz_to_22khz");
BENCHMARK(fixed_ratio<tekaSpl_State22khzTo16khz, tekaSpl_ResetResample22khzTo16khz,
                      tekaSpl_Resample22khzTo16khz, 220, 22000>)
    ->Name("22khz_to_16khz");
BENCHMARK(fixed_ratio<tekaSpl_State22khzTo8khz, tekaSpl_ResetResample22khzTo8khz,
                      tekaSpl_Resample22khzTo8khz, 220, 22000>)
    ->Name("22khz_to_8khz");

// The karaoke chain's two converters and the longest cascades; one block of 10 ms.
void converter(benchmark::State& run) {
  const int in_rate = static_cast<int>(run.range(0)), out_rate = static_cast<int>(run.range(1));
  const int n = in_rate / 100;
  const std::vector<short> in = pcm_noise(n);
  std::vector<short> out(480);
  Resampler_t resampler;
  Resampler_config(&resampler, in_rate, out_rate);
  int made;
  for (auto _ : run) {
    Resampler_proc(&resampler, in.data(), n, out.data(), 480, &made);
    benchmark::ClobberMemory();
  }
  report_frames(run, n, in_rate);
  Resampler_delete(&resampler);
}
BENCHMARK(converter)
    ->Args({48000, 32000})
    ->Args({32000, 48000})
    ->Args({4000, 48000})
    ->Args({48000, 4000})
    ->Args({11000, 32000});

// The argument is the number of stages; frames are points.
template <auto transform>
void complex_transform(benchmark::State& run) {
  const int stages = static_cast<int>(run.range(0)), points = 1 << stages;
  const std::vector<short> in = pcm_noise(2 * points);
  std::vector<short> data(in.size());
  for (auto _ : run) {
    tekaSpl_Copy16(in.data(), data.data(), 2 * points);
    benchmark::DoNotOptimize(transform(data.data(), stages));
    benchmark::ClobberMemory();
  }
  report_frames(run, points);
}
BENCHMARK(complex_transform<tekaSpl_ComplexFft>)->Name("complex_fft")->DenseRange(7, 10);
BENCHMARK(complex_transform<tekaSpl_ComplexInverseFft>)
    ->Name("complex_inverse_fft")
    ->DenseRange(7, 10);

template <auto transform>
void real_transform(benchmark::State& run) {
  const int stages = static_cast<int>(run.range(0)), points = 1 << stages;
  const std::vector<short> in = pcm_noise(points + 2);
  std::vector<short> out(in.size());
  for (auto _ : run) {
    benchmark::DoNotOptimize(transform(in.data(), out.data(), stages));
    benchmark::ClobberMemory();
  }
  report_frames(run, points);
}
BENCHMARK(real_transform<tekaSpl_RealFft>)->Name("real_fft")->Arg(7)->Arg(8);
BENCHMARK(real_transform<tekaSpl_RealInverseFft>)->Name("real_inverse_fft")->Arg(7)->Arg(8);

template <auto function>
void vector_measure(benchmark::State& run) {
  const std::vector<short> x = pcm_noise(kBenchFrames);
  for (auto _ : run) benchmark::DoNotOptimize(function(x.data(), kBenchFrames));
  report_frames(run);
}
BENCHMARK(vector_measure<tekaSpl_MaxAbsValue16>)->Name("max_abs_value_16");
BENCHMARK(vector_measure<tekaSpl_MaxIndex16>)->Name("max_index_16");
BENCHMARK(vector_measure<[](const short* x, int n) {
  int scale;
  return tekaSpl_Energy16(x, n, &scale);
}>)->Name("energy_16");

void square_root(benchmark::State& run) {
  const std::vector<int> x = bench_noise();
  for (auto _ : run)
    for (int v : x) benchmark::DoNotOptimize(tekaSpl_SqrtFloor(static_cast<unsigned int>(v)));
  report_frames(run);
}
BENCHMARK(square_root);

}  // namespace
