#include "ktv/frequency_shifter.h"

#include <algorithm>

#include "fixed.h"

namespace {

// c of (c + z^-1) / (1 + c z^-1), Q26.
constexpr int kChains[2][kShiftSections] = {
#include "ktv/frequency_shifter_chains.inc"
};

constexpr int kHeadroomBits = 7;         // inner scale above the samples'
constexpr int kLoudest = (1 << 24) - 1;  // of the input
constexpr int kFullShare = 1 << 20;
constexpr int kShareStep = kFullShare / 1024;
constexpr int kGlideStep = 45;  // 24 Hz in a second at 48 kHz

// y[n] = x[n-1] + c (x[n] - y[n-1]); the chain's words are x, then each section's y.
inline int64_t all_pass_chain(const int* c, int64_t* words, int64_t x) {
#pragma GCC unroll 6
  for (int k = 0; k < kShiftSections; ++k) {
    const int64_t y = words[k] + c[k] * (x - words[k + 1]) / (1 << 26);
    words[k] = x;
    x = y;
  }
  words[kShiftSections] = x;
  return x;
}

// sin of a phase in Q24, by Hastings' polynomial in odd powers of the angle in quarter turns
// (Approximations for digital computers, 1955, sheet 15): off by 1.4e-6 at most.
inline int64_t sine_q24(uint32_t phase) {
  constexpr int64_t kOne = 1 << 24;
  const auto turned = static_cast<int32_t>(phase);
  int64_t x = turned >> 6;  // quarter turns, Q24: -2..2
  if (x > kOne) x = 2 * kOne - x;
  if (x < -kOne) x = -2 * kOne - x;
  const int64_t square = x * x >> 24;
  int64_t sum = -73190;                    // -0.004362476
  sum = 1333582 + (sum * square >> 24);    // 0.079487663
  sum = -10836756 + (sum * square >> 24);  // -0.645920978
  sum = 26353565 + (sum * square >> 24);   // 1.570794852
  return sum * x >> 24;
}

inline int64_t cosine_q24(uint32_t phase) { return sine_q24(phase + (1U << 30)); }

inline int approached(int value, int target, int step) {
  return value < target ? std::min(value + step, target) : std::max(value - step, target);
}

}  // namespace

void reset(frequency_shifter* shifter) { *shifter = {}; }

void shift_block(frequency_shifter* shifter, int target, bool in_use, int* x, int n) {
  if (!in_use && !is_heard(shifter)) return;
  frequency_shifter s = *shifter;
  for (int i = 0; i < n; ++i) {
    const int64_t in = int64_t{std::clamp(x[i], -kLoudest, kLoudest)} * (1 << kHeadroomBits);
    const int64_t p = all_pass_chain(kChains[0], s.chains[0], in);
    const int64_t q = all_pass_chain(kChains[1], s.chains[1], in);
    const int64_t shifted = p * cosine_q24(s.phase) + q * sine_q24(s.phase);
    s.phase += static_cast<uint32_t>(s.step);
    s.step = approached(s.step, target, kGlideStep);
    s.share = approached(s.share, in_use ? kFullShare : 0, kShareStep);
    const int64_t out = (shifted + (int64_t{1} << (23 + kHeadroomBits))) >> (24 + kHeadroomBits);
    x[i] = saturate32(x[i] + ((out - x[i]) * s.share >> 20));
  }
  *shifter = s;
  if (!is_heard(shifter)) reset(shifter);
}
