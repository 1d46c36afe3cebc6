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

// a * x towards zero: with |a| < 1 a free response then gets smaller with every sample, to 0.
inline int shrunk(int a, int x) {
  return static_cast<int>(int64_t{a} * x / (int64_t{1} << kSectionBits));
}

// One sample through a branch: sections (a + z^-1) / (1 + a z^-1) in a row.
//
//   x ─┬─► ×a ──► + ──────┬──► y      Q10 all along. No signal in a branch exceeds 4.4 times the
//      │          ▲       │           largest input, no state 2 times that: 2^15 * 8.8 in Q10 is
//      └─► + ──► z^-1     ▼           below 2^29.
//          ▲  − ◄─────── ×a
inline int branch_step(int x, int* state, const int (&sections)[kSections]) {
  for (int i = 0; i < kSections; ++i) {
    const int y = state[i] + shrunk(sections[i], x);
    state[i] = x - shrunk(sections[i], y);
    x = y;
  }
  return x;
}

inline short rounded(int value, int bits) {
  return saturate16((value + (1 << (bits - 1))) >> bits);
}

// A branch's state in locals over a block.
struct both_branches {
  int* words;
  int state[2][kSections];

  explicit both_branches(int* from) : words(from) {
    for (int i = 0; i < 2 * kSections; ++i) state[i / kSections][i % kSections] = from[i];
  }
  ~both_branches() {
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
  both_branches branches(state);
  for (int i = 0; i < n; ++i) {
    const short x = in[i];
    *out++ = rounded(branches.step(0, x), kFraction);
    *out++ = rounded(branches.step(1, x), kFraction);
  }
}

//   even inputs ──► branch 1 ─┐
//   odd inputs ───► branch 0 ─┴─► mean ──► out
void tekaSpl_DownsampleBy2(const short* in, int n, short* out, int* state) {
  both_branches branches(state);
  for (int i = 0; i < n / 2; ++i) {
    const int sum = branches.step(1, in[2 * i]) + branches.step(0, in[2 * i + 1]);
    out[i] = rounded(sum, kFraction + 1);
  }
}
