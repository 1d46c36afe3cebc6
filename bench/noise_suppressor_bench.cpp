// The noise suppressor, one of its frames per iteration (10 ms of noise, at 32 kHz 5 ms): Time is
// that of a frame, s/frame that of a sample. The arguments are the rate and the prior source.
#include "ns/noise_suppressor.h"

#include "support.h"

static void noise_suppressor_process(benchmark::State& state) {
  const auto rate = static_cast<unsigned>(state.range(0));
  NsxInst_t_ ns;
  tekaNs_InitCore(&ns, rate);
  tekaNs_set_policy_core(&ns, 2);
  tekaNs_set_prior_source(&ns, static_cast<int>(state.range(1)));
  const int block = ns.block_length, blocks = 100;
  // -65 dBFS: far from where the presence ends the process.
  std::vector<short> in, out(static_cast<size_t>(block));
  for (const int v : bench_noise(block * blocks)) in.push_back(static_cast<short>(v >> 16));
  int at = 0;
  for (auto _ : state) {
    tekaNs_ProcessCore(&ns, &in[static_cast<size_t>(at * block)], out.data());
    benchmark::DoNotOptimize(out.data());
    at = (at + 1) % blocks;
  }
  report_frames(state, block, rate);
  tekaNs_FreeCore(&ns);
}
BENCHMARK(noise_suppressor_process)
    ->ArgNames({"rate", "own_prior"})
    ->ArgsProduct({{8000, 16000, 32000}, {0, 1}});
