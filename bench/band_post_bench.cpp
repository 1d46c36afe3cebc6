// The noise suppressor's band post-processing, one frame per iteration. The argument is the rate.
#include "ns/band_post.h"

#include <algorithm>
#include <numeric>

#include "support.h"

namespace {

struct frame {
  int rate, samples, bins;
  std::vector<short> quiet, loud;  // -65 dBFS: presence far from where it ends the process
  explicit frame(const benchmark::State& state)
      : rate(static_cast<int>(state.range(0))),
        samples(rate == 8000 ? 80 : 160),
        bins(rate == 8000 ? 65 : 129) {
    for (const int v : bench_noise(samples)) {
      quiet.push_back(static_cast<short>(v >> 17));
      loud.push_back(static_cast<short>(v >> 8));
    }
  }
};

void band_post_peaks(benchmark::State& state) {
  frame f(state);
  BPInfo_tag* bp = BP_ns_init(f.rate, f.bins);
  for (auto _ : state) {
    BP_ns_pre(bp, f.loud.data(), f.samples, nullptr);
    benchmark::ClobberMemory();
  }
  report_frames(state, f.samples, f.rate);
  BP_ns_delete(bp);
}
BENCHMARK(band_post_peaks)->Arg(8000)->Arg(16000);

void band_post_presence(benchmark::State& state) {
  frame f(state);
  BPInfo_tag* bp = BP_ns_init(f.rate, f.bins);
  BP_ns_pre(bp, f.quiet.data(), f.samples, nullptr);
  std::vector<unsigned short> spectrum;
  for (const int v : bench_noise(f.bins)) spectrum.push_back(static_cast<unsigned short>(v & 255));
  const unsigned total = std::accumulate(spectrum.begin(), spectrum.end(), 0u);
  for (auto _ : state) {
    benchmark::DoNotOptimize(BP_ns_app(bp, spectrum.data(), total, 0));
    benchmark::ClobberMemory();
  }
  report_frames(state, f.samples, f.rate);
  BP_ns_delete(bp);
}
BENCHMARK(band_post_presence)->Arg(8000)->Arg(16000);

// The second argument: whether each frame is a transient, which is limited, or none, at full gain.
void band_post_limiter(benchmark::State& state) {
  frame f(state);
  BPInfo_tag* bp = BP_ns_init(f.rate, f.bins);
  std::vector<short>& x = state.range(1) ? f.quiet : f.loud;
  if (state.range(1)) x[5] = 20000;
  std::vector<short> y = x;
  for (auto _ : state) {
    bp->post_gain = 32767;
    std::fill(std::begin(bp->max_history), std::end(bp->max_history), short{100});
    std::copy(x.begin(), x.end(), y.begin());
    BP_ns_post(bp, y.data(), f.samples, y.data());
    benchmark::ClobberMemory();
  }
  report_frames(state, f.samples, f.rate);
  BP_ns_delete(bp);
}
BENCHMARK(band_post_limiter)->ArgNames({"rate", "limited"})->ArgsProduct({{8000, 16000}, {0, 1}});

}  // namespace
