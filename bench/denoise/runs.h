// Signals through a suppressor: ours with each prior, and libspeexdsp's denoiser for comparison.
#pragma once

#include <ns/noise_suppressor.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <vector>

using pcm = std::vector<short>;

enum class prior { presence = 0, own = 1, tracked = 2 };

inline size_t block_of(int rate) { return rate == 8000 ? 80 : 160; }
inline size_t latency_of(int rate) { return rate == 8000 ? 48 : 96; }

// An instance of ours, freed with its owner.
class suppressor {
 public:
  suppressor(int rate, int policy, prior source) : block_(block_of(rate)) {
    if (tekaNs_InitCore(&ns_, static_cast<unsigned>(rate)) != 0 ||
        tekaNs_set_policy_core(&ns_, policy) != 0 ||
        tekaNs_set_prior_source(&ns_, static_cast<int>(source)) != 0) {
      std::fprintf(stderr, "the noise suppressor refused its settings\n");
      std::exit(2);
    }
  }
  ~suppressor() { tekaNs_FreeCore(&ns_); }
  suppressor(const suppressor&) = delete;
  suppressor& operator=(const suppressor&) = delete;

  void set_policy(int policy) { tekaNs_set_policy_core(&ns_, policy); }
  void block(short* x) { tekaNs_ProcessCore(&ns_, x, x); }

  // A last part that doesn't fill a block is left as it is.
  void run(pcm& x) {
    for (size_t at = 0; at + block_ <= x.size(); at += block_) block(&x[at]);
  }

 private:
  size_t block_;
  NsxInst_t_ ns_;
};

// What came out, and whether it is all: with the presence prior the library may have ended the
// process before.
struct outcome {
  pcm out;
  bool ended;
};

// The presence prior's run is in a child process; standard output, to which the library prints why
// it ends, is dropped there.
outcome run_suppressor(const pcm& in, int rate, int policy, prior source);

// libspeexdsp's denoiser in blocks of 20 ms, its other effects off (as they are by default).
pcm run_speex(const pcm& in, int rate, int suppress_db);

// The delay in samples at which out resembles in most, up to 60 ms.
inline size_t delay_between(const pcm& in, const pcm& out, int rate) {
  size_t best = 0;
  double highest = 0.0;
  for (size_t lag = 0; lag < static_cast<size_t>(rate) * 6 / 100; ++lag) {
    double sum = 0.0;
    for (size_t i = lag; i < out.size(); ++i) sum += double(out[i]) * in[i - lag];
    if (sum > highest) {
      highest = sum;
      best = lag;
    }
  }
  return best;
}

// Taken out: element i belongs to the input's sample i; the end is filled with zeros.
inline std::vector<double> advanced(const pcm& out, size_t delay) {
  std::vector<double> y(out.size());
  for (size_t i = 0; i + delay < out.size(); ++i) y[i] = out[i + delay];
  return y;
}
