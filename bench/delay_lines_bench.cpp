#include "dsp/allpass.h"
#include "support.h"

namespace {

void allpass_one_sample_calls(benchmark::State& state) {
  allpass section;
  allpass_init(&section, 619);
  const std::vector<int> noise = bench_noise();
  for (auto _ : state)
    for (int x : noise) benchmark::DoNotOptimize(allpass_process(x, &section));
  report_frames(state);
  allpass_end(&section);
}
BENCHMARK(allpass_one_sample_calls);

}  // namespace
