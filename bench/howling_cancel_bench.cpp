#include "ktv/howling_cancel.h"
#include "support.h"

// One period with all five notches running, the analyses included as they fall due.
static void howling_cancel_process(benchmark::State& state) {
  howlingCancel canceller;
  howling_canceling_init(&canceller);
  const std::vector<int> in = bench_noise();
  std::vector<int> x(in.size());
  for (auto _ : state) {
    x = in;
    howling_canceling_process(&canceller, x.data(), x.data(), kBenchFrames);
    benchmark::DoNotOptimize(x.data());
  }
  report_frames(state);
  howling_canceling_end(&canceller);
}
BENCHMARK(howling_cancel_process);

// One analysis: window, transform, powers, peaks.
static void fft_int_frame(benchmark::State& state) {
  fft_int fft;
  fft_int_init(&fft, 256);
  std::vector<int> in = bench_noise(256);
  int found[5];
  for (auto _ : state) {
    fft_int_dowin_process(&fft, in.data(), found, 256);
    benchmark::DoNotOptimize(found);
  }
  report_frames(state, 256);
  fft_int_end(&fft);
}
BENCHMARK(fft_int_frame);
