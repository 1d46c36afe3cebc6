#include "spl/by_two.h"

#include <algorithm>
#include <cstdint>

#include "dsp/kernels/kernels.h"
#include "fixed.h"

namespace {

constexpr int kFraction = 10;  // fractional bits inside the branches

inline short rounded(int value, int bits) {
  return saturate16((value + (1 << (bits - 1))) >> bits);
}

// Samples of each branch at a time, with 10 fractional bits. No signal in a branch exceeds 4.4 times
// the largest input, no state 2 times that: 2^15 * 8.8 with 10 fractional bits is below 2^29.
constexpr int kBlock = 256;
struct branch_pair {
  int first[kBlock], second[kBlock];

  void run(int* state, int n) { kernels().half_band_branches(state, first, second, n); }
};

}  // namespace

//   in ─┬─► branch 0 ──► even outputs
//       └─► branch 1 ──► odd outputs
void tekaSpl_UpsampleBy2(const short* in, int n, short* out, int* state) {
  branch_pair branches;
  for (int count; n > 0; n -= count, in += count, out += 2 * count) {
    count = std::min(n, kBlock);
    for (int i = 0; i < count; ++i)
      branches.first[i] = branches.second[i] = in[i] * (1 << kFraction);
    branches.run(state, count);
    for (int i = 0; i < count; ++i) {
      out[2 * i] = rounded(branches.first[i], kFraction);
      out[2 * i + 1] = rounded(branches.second[i], kFraction);
    }
  }
}

//   even inputs ──► branch 1 ─┐
//   odd inputs ───► branch 0 ─┴─► mean ──► out
void tekaSpl_DownsampleBy2(const short* in, int n, short* out, int* state) {
  branch_pair branches;
  for (int count; n > 1; n -= 2 * count, in += 2 * count, out += count) {
    count = std::min(n / 2, kBlock);
    for (int i = 0; i < count; ++i) {
      branches.second[i] = in[2 * i] * (1 << kFraction);
      branches.first[i] = in[2 * i + 1] * (1 << kFraction);
    }
    branches.run(state, count);
    for (int i = 0; i < count; ++i)
      out[i] = rounded(branches.first[i] + branches.second[i], kFraction + 1);
  }
}
