#include "effects/parameter_equalizer.h"

#include "support.h"

namespace {

// A gentle peaking section (+1 dB at 240 Hz, Q = 1) in as many rows as asked.
parameter_equalizer_t with_bands(int bands) {
  int rows[10][6] = {};
  for (int k = 0; k < bands; ++k) {
    constexpr int kRow[6] = {1, 268985936, -527539437, 258862062, 527539437, -259412543};
    std::copy_n(kRow, 6, rows[k]);
  }
  parameter_equalizer_t equalizer;
  parameter_equalizer_init(&equalizer);
  parameter_equalizer_setparameter_left(&equalizer, rows);
  parameter_equalizer_setparameter_right(&equalizer, rows);
  return equalizer;
}

void parameter_equalizer_stereo(benchmark::State& state) {
  parameter_equalizer_t equalizer = with_bands(static_cast<int>(state.range(0)));
  std::vector<int> left = bench_noise(), right = bench_noise(kBenchFrames, 2);
  std::vector<int> out_left(left.size()), out_right(left.size());
  for (auto _ : state) {
    parameter_equalizer_process_stereo(&equalizer, left.data(), right.data(), out_left.data(),
                                       out_right.data(), kBenchFrames);
    benchmark::DoNotOptimize(out_left.data());
    benchmark::ClobberMemory();
  }
  report_frames(state);
}
BENCHMARK(parameter_equalizer_stereo)->Arg(4)->Arg(6)->Arg(10);

}  // namespace
