#include "spl/by_two.h"

#include <algorithm>
#include <cstdint>

#include "fixed.h"

namespace {

constexpr int kSections = 4;
constexpr int kSectionBits = 24;
constexpr int kFraction = 10;  // fractional bits inside the branches

// Q24, [branch][section]: tools/make_resampler_tables.py.
constexpr int kBranches[2][kSections] = {
#include "spl/by_two_tables.inc"
};

// a * x in Q24 / 2^24, rounded toward zero: with |a| < 1 a section without input then decays to 0.
inline int scale_toward_zero(int a, int x) {
  return static_cast<int>(int64_t{a} * x / (int64_t{1} << kSectionBits));
}

// One sample through a branch: sections (a + z^-1) / (1 + a z^-1) in series.
//
//   x ─┬─► × a ─► + ────┬──► y      Samples with 10 fractional bits. No signal in a branch exceeds
//      │          ▲     ▼           4.4 times the largest input, no state 2 times that:
//      │        z^-1   × a          2^15 * 8.8 with 10 fractional bits is below 2^29.
//      │          ▲     │
//      └────────► − ◄───┘
inline int branch_step(int x, int* state, const int (&sections)[kSections]) {
  for (int i = 0; i < kSections; ++i) {
    const int y = state[i] + scale_toward_zero(sections[i], x);
    state[i] = x - scale_toward_zero(sections[i], y);
    x = y;
  }
  return x;
}

inline short rounded(int value, int bits) {
  return saturate16((value + (1 << (bits - 1))) >> bits);
}

// Both branches, their state in locals over a block.
struct branch_pair {
  int* words;
  int state[2][kSections];

  explicit branch_pair(int* from) : words(from) {
    for (int i = 0; i < 2 * kSections; ++i) state[i / kSections][i % kSections] = from[i];
  }
  ~branch_pair() {
    for (int i = 0; i < 2 * kSections; ++i) words[i] = state[i / kSections][i % kSections];
  }
  int step(int branch, short x) {
    return branch_step(x * (1 << kFraction), state[branch], kBranches[branch]);
  }
};

}  // namespace

//   in ─┬─► branch 0 ──► even outputs
//       └─► branch 1 ──► odd outputs
void tekaSpl_UpsampleBy2(const short* in, int n, short* out, int* state) {
  branch_pair branches(state);
  for (int i = 0; i < n; ++i) {
    const short x = in[i];
    *out++ = rounded(branches.step(0, x), kFraction);
    *out++ = rounded(branches.step(1, x), kFraction);
  }
}

//   even inputs ──► branch 1 ─┐
//   odd inputs ───► branch 0 ─┴─► mean ──► out
void tekaSpl_DownsampleBy2(const short* in, int n, short* out, int* state) {
  branch_pair branches(state);
  for (int i = 0; i < n / 2; ++i) {
    const int sum = branches.step(1, in[2 * i]) + branches.step(0, in[2 * i + 1]);
    out[i] = rounded(sum, kFraction + 1);
  }
}
