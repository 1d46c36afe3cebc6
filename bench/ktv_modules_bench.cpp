// The karaoke chain's own modules, one period per iteration.
#include "ktv/gramophone.h"
#include "ktv/iirecho.h"
#include "support.h"

namespace {

void gramophone_mono(benchmark::State& state) {
  gramophone effect;
  gramophone_init(&effect);
  std::vector<int> in = bench_noise(), out(in.size());
  for (auto _ : state) {
    gramophone_process(&effect, in.data(), out.data(), kBenchFrames);
    benchmark::ClobberMemory();
  }
  report_frames(state);
  gramophone_end(&effect);
}
BENCHMARK(gramophone_mono);

// The argument is the delay in milliseconds: a short loop stays in the nearest cache, the longest
// one (134 kB for both channels) does not.
void iirecho_stereo(benchmark::State& state) {
  iirecho echo;
  iirecho_init(&echo);
  iirecho_setdelay(&echo, static_cast<int>(state.range(0)));
  std::vector<int> in_left = bench_noise(), in_right = bench_noise(kBenchFrames, 2);
  std::vector<int> out_left(in_left.size()), out_right(in_left.size());
  for (auto _ : state) {
    iirecho_processStereo(&echo, in_left.data(), in_right.data(), out_left.data(), out_right.data(),
                          kBenchFrames);
    benchmark::ClobberMemory();
  }
  report_frames(state);
  iirecho_end(&echo);
}
BENCHMARK(iirecho_stereo)->Arg(1)->Arg(100)->Arg(350);

}  // namespace
