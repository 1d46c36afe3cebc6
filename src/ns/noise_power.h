// Arithmetic on powers: |X|^2 / N^2 in Q24, at most 56 bits, for prior source 2. Shares and
// probabilities are in Q15, 32768 being 1.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

constexpr int kOneQ15 = 1 << 15;

// power * factor / 2^15, rounded down; the factor is at most 17 bits. Powers may be differences.
constexpr int64_t scaled(int64_t power, int factor) {
  return (power >> 15) * factor + (((power & 0x7FFF) * factor) >> 15);
}

// num / den in Q15 for 0 <= num <= den; 0 / 0 is 0. Both are brought to 32 bits first: wrong by a
// step at most.
constexpr int share_q15(uint64_t num, uint64_t den) {
  const int down = std::max(0, static_cast<int>(std::bit_width(den)) - 32);
  num >>= down;
  den >>= down;
  return den == 0 ? 0 : static_cast<int>((num << 15) / den);
}

// num / den in Q12, at most 64.0; den is at least 4096.
constexpr int kLargestRatio = 64;
constexpr int ratio_q12(uint64_t num, uint64_t den) {
  const int down = std::max(0, static_cast<int>(std::bit_width(den)) - 32);
  num >>= down;
  den >>= down;
  return static_cast<int>(num / kLargestRatio >= den ? kLargestRatio << 12 : (num << 12) / den);
}

// The probability of speech by Bayes' rule, from that of its absence beforehand and a frame's
// evidence: SNR a priori as wiener = SNR / (1 + SNR), and e^-v. All Q15.
//
//   1 / (1 + absence / (1 - absence) (1 + SNR) e^-v)
constexpr int kLargestWiener = kOneQ15 - 32;  // 30 dB
constexpr int speech_probability(int absence, int wiener, int unlikeliness) {
  const auto likely = static_cast<uint64_t>(kOneQ15 - absence) *
                      static_cast<uint64_t>(kOneQ15 - std::min(wiener, kLargestWiener));
  const auto unlikely = static_cast<uint64_t>(absence) * static_cast<uint64_t>(unlikeliness);
  return share_q15(likely, likely + unlikely);
}
